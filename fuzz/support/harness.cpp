// Shared code of all fuzz targets.
#include "fuzz/support/harness.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "api/frame.h"
#include "api/signing_certificate.h"
#include "ber/constructed.h"
#include "ber/error_hook.h"

namespace qex::fuzz {
namespace {

#if defined(__SANITIZE_ADDRESS__)
#define QEX_FUZZ_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEX_FUZZ_ASAN 1
#endif
#endif

#ifdef QEX_FUZZ_ASAN
constexpr size_t kGuard = 0;
#else
constexpr size_t kGuard = 32;
#endif
constexpr uint8_t kGuardOctet = 0x5C;

}  // namespace

void Fail(const char* file, int line, const char* condition, long long detail) {
  std::fprintf(stderr, "%s:%d: does not hold: %s (%lld)\n", file, line, condition, detail);
  std::abort();
}

void ResetProcess(SigningCertificate which) {
  AsnErrorHandler = [](const char*, int) {};
  lastUnusedBits = 0;
  lastAsnError = 0;
  essCertIdV2Switch = which == SigningCertificate::V2 ? 1 : 0;
}

Block::Block(size_t size)
    : memory_(static_cast<uint8_t*>(std::malloc(size + 2 * kGuard))), data_(memory_ + kGuard), size_(size) {
  if (memory_ == nullptr) Fail(__FILE__, __LINE__, "memory", static_cast<long long>(size));
  std::memset(memory_, kGuardOctet, kGuard);
  std::memset(data_ + size, kGuardOctet, kGuard);
}

Block::~Block() {
  for (size_t i = 0; i < kGuard; ++i) {
    FUZZ_CHECK(memory_[i] == kGuardOctet, i);
    FUZZ_CHECK(data_[size_ + i] == kGuardOctet, i);
  }
  std::free(memory_);
}

Input::Input(View in) : block_(in.size()), copy_(in.begin(), in.end()) {
  std::copy(in.begin(), in.end(), block_.data());
}

Input::~Input() {
  FUZZ_CHECK(std::ranges::equal(view(), copy_), copy_.size());
}

void CheckCode(int32_t code, Codes allowed, const char* what) {
  if (std::find(allowed.begin(), allowed.end(), code) == allowed.end()) {
    Fail(what, 0, "a result code of this export", code);
  }
}

std::string TextOf(const char* field, size_t size) {
  const void* end = std::memchr(field, 0, size);
  FUZZ_CHECK(end != nullptr, size);
  return std::string(field, static_cast<const char*>(end));
}

uint64_t Mix(View in, uint64_t salt) {
  uint64_t h = 0x9E3779B97F4A7C15u ^ salt;
  for (const uint8_t octet : in) h = (h ^ octet) * 0x100000001B3u;
  h ^= h >> 29;
  h *= 0xBF58476D1CE4E5B9u;
  return h ^ h >> 32;
}

#if defined(__GNUC__)
__attribute__((weak))
#endif
size_t
NotEncodings(View) {
  return 0;
}

}  // namespace qex::fuzz
