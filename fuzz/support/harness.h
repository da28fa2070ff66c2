// Shared by all fuzz targets: checks that end the process, memory that detects every octet read or written
// outside of it, the state of the process between inputs, and the output-buffer rule.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "api/qex.h"
#include "fuzz/support/tlv.h"

namespace qex::fuzz {

// FUZZ_CHECK ends the process with the condition and the value of `detail` when it does not hold.
#define FUZZ_CHECK(condition, detail) \
  ((condition) ? void() : ::qex::fuzz::Fail(__FILE__, __LINE__, #condition, static_cast<long long>(detail)))
[[noreturn]] void Fail(const char* file, int line, const char* condition, long long detail);

// The version of the attribute that the library reads, or that a token has.
enum class SigningCertificate { V1, V2 };

// ResetProcess resets the process-wide words of the library to their values at load, so that no input depends
// on an earlier one: last unused bits, last ASN.1 error, and the switch of QEX_VERIFY_ESSCERTIDV2, which is
// set to `which` without reading the environment. Error texts are discarded.
void ResetProcess(SigningCertificate which = SigningCertificate::V1);

// Memory of exactly `size` octets: with AddressSanitizer a heap block whose surroundings are
// poisoned, else one with guard octets on both sides, which are checked at the end.
class Block {
 public:
  explicit Block(size_t size);
  ~Block();
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  View view() const { return {data_, size_}; }

 private:
  uint8_t* memory_;
  uint8_t* data_;
  size_t size_;
};

// A copy of an input; a check at the end detects writes to it.
class Input {
 public:
  explicit Input(View in);
  ~Input();
  const uint8_t* data() const { return block_.data(); }
  uint32_t size() const { return uint32_t(block_.size()); }
  View view() const { return block_.view(); }

 private:
  Block block_;
  Octets copy_;
};

// A record of the caller, in memory of its exact size, filled with `fill` at first.
template <class T>
class Record {
 public:
  explicit Record(uint8_t fill = 0) : block_(sizeof(T)) { std::fill_n(block_.data(), sizeof(T), fill); }
  T* get() const { return reinterpret_cast<T*>(block_.data()); }
  T* operator->() const { return get(); }
  // untouched returns whether every octet from `begin` on is still `fill`.
  [[nodiscard]] bool untouched(uint8_t fill, size_t begin = 0) const {
    return std::all_of(block_.data() + begin, block_.data() + sizeof(T),
                       [&](uint8_t o) { return o == fill; });
  }

 private:
  Block block_;
};

using Codes = std::initializer_list<int32_t>;

// CheckCode ends the process unless `code` is one of those that the export can return.
void CheckCode(int32_t code, Codes allowed, const char* what);

// What an export does with a null output.
enum class NoOutput { AsksForSize, IsRefused };

// CheckOutputRule calls an export that writes an encoding, `call(out, &length)`, with no output, with one
// octet too few, with the exact room and with more, and checks the code, the length and every octet that it
// may not touch. Returns the output; nothing, with the code in `*code`, when the code is neither "too small"
// nor success: it must then be the same for every output.
template <class Call>
[[nodiscard]] std::optional<Octets> CheckOutputRule(Call call, int32_t* code,
                                                    NoOutput noOutput = NoOutput::AsksForSize);

// TextOf returns the text of a zero-terminated field; ends the process when it has no terminator.
std::string TextOf(const char* field, size_t size);

// Mix returns a number that looks random and is decided by the input.
uint64_t Mix(View in, uint64_t salt = 0);

// The target, and a function that returns how many octets before its input are not encodings (0 unless a
// target defines it).
extern "C" [[nodiscard]] int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
size_t NotEncodings(View in);

// --- CheckOutputRule ------------------------------------------------------------

namespace internal {

inline constexpr uint8_t kUnwritten = 0xA7;

template <class Call>
[[nodiscard]] int32_t CallWith(Call& call, Block& block, uint32_t* length) {
  std::fill_n(block.data(), block.size(), kUnwritten);
  *length = uint32_t(block.size());
  return call(block.data(), length);
}

[[nodiscard]] inline bool AllUnwritten(View octets) {
  return std::all_of(octets.begin(), octets.end(), [](uint8_t o) { return o == kUnwritten; });
}
}  // namespace internal

template <class Call>
[[nodiscard]] std::optional<Octets> CheckOutputRule(Call call, int32_t* code, NoOutput noOutput) {
  using namespace internal;
  uint32_t needed = 0;
  if (noOutput == NoOutput::AsksForSize) {
    *code = call(nullptr, &needed);
  } else {
    Block nothing(0);
    *code = CallWith(call, nothing, &needed);
  }
  if (*code != QEX_E_SIZE) {
    Block large(4096);
    uint32_t length;
    const int32_t again = CallWith(call, large, &length);
    FUZZ_CHECK(again == *code, again);
    FUZZ_CHECK(AllUnwritten(large.view()), *code);
    return std::nullopt;
  }
  FUZZ_CHECK(needed != 0, needed);

  uint32_t length;
  {
    Block small(needed - 1);
    const int32_t tooSmall = CallWith(call, small, &length);
    FUZZ_CHECK(tooSmall == QEX_E_SIZE, tooSmall);
    FUZZ_CHECK(length == needed, length);
    FUZZ_CHECK(AllUnwritten(small.view()), needed);
  }
  Block exact(needed);
  *code = CallWith(call, exact, &length);
  FUZZ_CHECK(*code == QEX_OK, *code);
  FUZZ_CHECK(length == needed, length);
  {
    Block roomy(needed + 9);
    const int32_t again = CallWith(call, roomy, &length);
    FUZZ_CHECK(again == QEX_OK && length == needed, again);
    FUZZ_CHECK(std::ranges::equal(roomy.view().first(needed), exact.view()), needed);
    FUZZ_CHECK(AllUnwritten(roomy.view().subspan(needed)), needed);
  }
  return Octets(exact.view().begin(), exact.view().end());
}

}  // namespace qex::fuzz
