// Octets for tests: from hexadecimal text, as input in one block or many, and out of encoders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "ber/buffer.h"
#include "ber/primitives.h"

namespace qex::test {

using Octets = std::vector<uint8_t>;

// FromHex takes pairs of digits; blanks between them do not count.
inline Octets FromHex(std::string_view text) {
  const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
  Octets octets;
  int high = -1;
  for (const char c : text) {
    if (c == ' ') continue;
    if (high < 0) {
      high = digit(c);
    } else {
      octets.push_back(uint8_t(high << 4 | digit(c)));
      high = -1;
    }
  }
  return octets;
}

// ToHex gives lower-case digits without blanks.
inline std::string ToHex(const uint8_t* data, size_t n) {
  std::string text;
  for (size_t i = 0; i < n; ++i) {
    char two[3];
    std::snprintf(two, sizeof two, "%02x", data[i]);
    text += two;
  }
  return text;
}
inline std::string ToHex(const Octets& octets) {
  return ToHex(octets.data(), octets.size());
}
inline std::string ToHex(const AsnOcts& v) {
  return ToHex(v.octs, v.count);
}
inline std::string ToHex(const AsnOid& v) {
  return ToHex(v.octs, v.count);
}

// OidOf is an identifier of these contents octets, which it does not own.
inline AsnOid OidOf(const Octets& contents) {
  return {uint32_t(contents.size()), contents.data()};
}

inline Octets operator+(Octets a, const Octets& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Input is a chain of blocks to decode from, its octets copied to the heap, exactly as many as
// there are, so that a read beyond them is seen by the sanitizer.
class Input {
 public:
  explicit Input(const Octets& octets) : Input(std::vector<Octets>{octets}) {}
  explicit Input(std::string_view hex) : Input(FromHex(hex)) {}
  explicit Input(std::vector<Octets> blocks) : data_(std::move(blocks)), blocks_(data_.size()) {
    for (size_t i = 0; i < blocks_.size(); ++i) {
      data_[i].shrink_to_fit();
      ExpBufWrapData(&blocks_[i], data_[i].data(), data_[i].size());
      if (i != 0) {
        blocks_[i].prevBlock = &blocks_[i - 1];
        blocks_[i - 1].nextBlock = &blocks_[i];
      }
    }
    current_ = blocks_.data();
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  ExpBuf** handle() { return &current_; }
  ExpBuf* block() { return current_; }
  size_t index() const { return size_t(current_ - blocks_.data()); }
  const uint8_t* data() const { return data_[0].data(); }

 private:
  std::vector<Octets> data_;
  std::vector<ExpBuf> blocks_;
  ExpBuf* current_;
};

// InBlocksOf cuts `octets` into runs of `n`; the last one may be shorter.
inline std::vector<Octets> InBlocksOf(size_t n, const Octets& octets) {
  std::vector<Octets> blocks;
  for (size_t at = 0; at < octets.size(); at += n) {
    const size_t end = at + n < octets.size() ? at + n : octets.size();
    blocks.emplace_back(octets.begin() + ptrdiff_t(at), octets.begin() + ptrdiff_t(end));
  }
  if (blocks.empty()) blocks.emplace_back();
  return blocks;
}

// BlockSize sets the size of new blocks while it lives.
class BlockSize {
 public:
  explicit BlockSize(size_t bytes) : before_(ExpBufBlockSize()) { ExpBufSetBlockSize(bytes); }
  ~BlockSize() { ExpBufSetBlockSize(before_); }
  BlockSize(const BlockSize&) = delete;
  BlockSize& operator=(const BlockSize&) = delete;

 private:
  size_t before_;
};

// OctetsOf reads the data of a whole chain from its front, block by block.
inline Octets OctetsOf(ExpBuf* block) {
  Octets all;
  for (block = ExpBufFirst(block); block != nullptr; block = block->nextBlock) {
    all.insert(all.end(), block->first, block->end);
  }
  return all;
}

// Encoded returns the output of `encode` to a fresh chain; `*written`, if not null, is the length that it
// returns.
template <class F>
Octets Encoded(F encode, AsnLen* written = nullptr) {
  ExpBufHolder chain;
  const AsnLen n = encode(chain.handle());
  if (written != nullptr) *written = n;
  return OctetsOf(chain.block());
}

// Printed returns the output of `print` to its file.
template <class F>
std::string Printed(F print) {
  std::FILE* file = std::tmpfile();
  print(file);
  std::string result(size_t(std::ftell(file)), '\0');
  std::rewind(file);
  result.resize(std::fread(result.data(), 1, result.size(), file));
  std::fclose(file);
  return result;
}

}  // namespace qex::test
