// The test cases of every digest, over its own functions and vectors.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace digest_cases {

using Octets = std::vector<uint8_t>;

// Digest names the functions of one digest. `column` is its place in digests_by_length.txt; `setCount` sets
// the low 64 bits of the message count, and the higher ones where they exist.
template <class Context>
struct Digest {
  const char* name;
  size_t column;
  size_t size;
  size_t block;
  void (*init)(Context*);
  void (*update)(Context*, const uint8_t*, uint32_t);
  void (*final)(Context*, uint8_t*);
  void (*digest)(const uint8_t*, uint32_t, uint8_t*);
  void (*setCount)(Context*, uint64_t low, uint64_t above);
};

struct Vector {
  const char* message;
  const char* digest;
};

// The messages of the standards' examples.
inline constexpr const char* kTwoBlocksOf64 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
inline constexpr const char* kTwoBlocksOf128 =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
    "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";

inline std::string hex(const uint8_t* data, size_t length) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (size_t i = 0; i < length; ++i) {
    text += kDigits[data[i] >> 4];
    text += kDigits[data[i] & 15];
  }
  return text;
}

// The message of n octets that the data files speak of.
inline Octets message(size_t n) {
  Octets octets(n);
  for (size_t i = 0; i < n; ++i) octets[i] = uint8_t(31 * i + n);
  return octets;
}

// The rows of a data file, split at spaces, without the lines that begin with '#'.
inline std::vector<std::vector<std::string>> rows(const char* file) {
  std::ifstream in(std::string(QEX_TEST_DATA "/") + file);
  EXPECT_TRUE(in.is_open()) << file;
  std::vector<std::vector<std::string>> all;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    all.emplace_back();
    for (std::string word; words >> word;) all.back().push_back(word);
  }
  return all;
}

template <class Context>
std::string one_shot(const Digest<Context>& d, const uint8_t* data, size_t length) {
  Octets out(d.size + 1, 0xa5);
  d.digest(data, uint32_t(length), out.data());
  EXPECT_EQ(out[d.size], 0xa5) << "wrote past the digest";
  return hex(out.data(), d.size);
}

// finish ends `ctx` and returns the digest, of which nothing may pass the stated size.
template <class Context>
std::string finish(const Digest<Context>& d, Context* ctx) {
  Octets out(d.size + 1, 0xa5);
  d.final(ctx, out.data());
  EXPECT_EQ(out[d.size], 0xa5) << "wrote past the digest";
  return hex(out.data(), d.size);
}

// in_pieces feeds `data` in updates of `piece` octets.
template <class Context>
std::string in_pieces(const Digest<Context>& d, const uint8_t* data, size_t length, size_t piece) {
  Context ctx;
  d.init(&ctx);
  for (size_t at = 0; at < length; at += piece) {
    d.update(&ctx, data + at, uint32_t(std::min(piece, length - at)));
  }
  return finish(d, &ctx);
}

template <class Context>
void expect_vectors(const Digest<Context>& d, std::initializer_list<Vector> vectors) {
  for (const Vector& v : vectors) {
    const std::string text = v.message;
    EXPECT_EQ(one_shot(d, reinterpret_cast<const uint8_t*>(text.data()), text.size()), v.digest) << text;
  }
}

template <class Context>
void expect_million_a(const Digest<Context>& d, const char* digest) {
  const Octets data(1000000, 'a');
  EXPECT_EQ(one_shot(d, data.data(), data.size()), digest);
  EXPECT_EQ(in_pieces(d, data.data(), data.size(), 997), digest);
}

template <class Context>
void expect_every_length(const Digest<Context>& d) {
  const auto table = rows("digests_by_length.txt");
  ASSERT_EQ(table.size(), 301u);
  for (size_t n = 0; n < table.size(); ++n) {
    ASSERT_EQ(table[n].size(), 6u);
    ASSERT_EQ(table[n][0], std::to_string(n));
    EXPECT_EQ(one_shot(d, message(n).data(), n).substr(0, 16), table[n][d.column]) << n << " octets";
  }
}

// Every message of up to 300 octets in two updates, cut everywhere.
template <class Context>
void expect_every_cut(const Digest<Context>& d) {
  const auto table = rows("digests_by_length.txt");
  for (size_t n = 0; n < table.size(); ++n) {
    const Octets data = message(n);
    for (size_t first = 0; first <= n; ++first) {
      Context ctx;
      d.init(&ctx);
      d.update(&ctx, data.data(), uint32_t(first));
      d.update(&ctx, data.data() + first, uint32_t(n - first));
      ASSERT_EQ(finish(d, &ctx).substr(0, 16), table[n][d.column]) << n << " octets, cut at " << first;
    }
  }
}

template <class Context>
void expect_pieces_to_agree(const Digest<Context>& d) {
  const Octets data = message(1000);
  const std::string whole = one_shot(d, data.data(), data.size());
  for (size_t piece : {1u, 2u, 3u, 63u, 64u, 65u, 127u, 128u, 129u, 200u, 999u}) {
    EXPECT_EQ(in_pieces(d, data.data(), data.size(), piece), whole) << "pieces of " << piece;
  }
  for (size_t first = 0; first <= 2 * d.block + 1; ++first) {
    Context ctx;
    d.init(&ctx);
    d.update(&ctx, data.data(), uint32_t(first));
    d.update(&ctx, data.data() + first, uint32_t(data.size() - first));
    EXPECT_EQ(finish(d, &ctx), whole) << "cut at " << first;
  }
}

template <class Context>
void expect_addresses_to_agree(const Digest<Context>& d) {
  const Octets data = message(331);
  const std::string whole = one_shot(d, data.data(), data.size());
  Octets room(data.size() + 16);
  for (size_t shift = 0; shift < 16; ++shift) {
    std::copy(data.begin(), data.end(), room.begin() + std::ptrdiff_t(shift));
    EXPECT_EQ(one_shot(d, room.data() + shift, data.size()), whole) << "shift " << shift;
    EXPECT_EQ(in_pieces(d, room.data() + shift, data.size(), 65), whole) << "shift " << shift;
  }
}

template <class Context>
void expect_counts(const Digest<Context>& d) {
  size_t tested = 0;
  for (const auto& row : rows("digests_by_count.txt")) {
    ASSERT_EQ(row.size(), 4u);
    if (row[0] != d.name) continue;
    const std::string padded = std::string(32 - row[1].size(), '0') + row[1];
    const Octets data = message(std::stoul(row[2]));
    Context ctx;
    d.init(&ctx);
    d.setCount(&ctx, std::stoull(padded.substr(16), nullptr, 16),
               std::stoull(padded.substr(0, 16), nullptr, 16));
    d.update(&ctx, data.data(), uint32_t(data.size()));
    EXPECT_EQ(finish(d, &ctx), row[3]) << row[0] << " from " << row[1] << ", " << row[2] << " octets";
    ++tested;
  }
  EXPECT_GE(tested, 25u);
}

// One update of more than 2^29 octets: the length in bits does not fit a word.
template <class Context>
void expect_long_update(const Digest<Context>& d, const char* digest) {
  constexpr size_t kLength = (size_t{1} << 29) + 65;
  const std::unique_ptr<void, void (*)(void*)> zeros(std::calloc(kLength, 1), std::free);
  ASSERT_NE(zeros, nullptr);
  EXPECT_EQ(one_shot(d, static_cast<const uint8_t*>(zeros.get()), kLength), digest);
}

template <class Context>
void expect_nothing_from_empty_updates(const Digest<Context>& d) {
  const Octets data = message(100);
  Context ctx;
  d.init(&ctx);
  d.update(&ctx, nullptr, 0);
  d.update(&ctx, data.data(), 100);
  const Context before = ctx;
  d.update(&ctx, nullptr, 0);
  d.update(&ctx, data.data(), 0);
  EXPECT_EQ(std::memcmp(&ctx, &before, sizeof(ctx)), 0);
  EXPECT_EQ(finish(d, &ctx), one_shot(d, data.data(), 100));
  EXPECT_EQ(one_shot(d, nullptr, 0), one_shot(d, data.data(), 0));
}

// A context that has held anything is as good as new after Init.
template <class Context>
void expect_init_to_begin_anew(const Digest<Context>& d) {
  const Octets data = message(77);
  Context ctx;
  std::memset(&ctx, 0xff, sizeof(ctx));
  d.init(&ctx);
  d.update(&ctx, data.data(), 77);
  EXPECT_EQ(finish(d, &ctx), one_shot(d, data.data(), 77));
  d.init(&ctx);
  EXPECT_EQ(finish(d, &ctx), one_shot(d, data.data(), 0));
}

}  // namespace digest_cases
