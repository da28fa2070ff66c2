// Shared by the forms of SHA-1 and SHA-256 for the SHA instructions of x86-64: the instructions that they may
// use, and loads.
//
// There is no guard against a second inclusion: each form has its own copy.

#ifndef QEX_FORM_NAMESPACE  // a test compiles the forms over intrinsics in plain C++, under another name
#include <immintrin.h>
#define QEX_FORM_NAMESPACE qex
#define QEX_FORM_TARGET    __attribute__((target("sha,sse4.1")))
#define QEX_FORM_APART(v)  __asm__("" : "+x"(v))  // not the register of another variable of the same value
#endif

#include <cstdint>
#include <cstring>

namespace QEX_FORM_NAMESPACE {
namespace {  // NOLINT(cert-dcl59-cpp): each form has its own copy

QEX_FORM_TARGET inline __m128i load(const void* p) {
  return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

// load_halves is for octets of which the latter half, the length of a message, may have just been stored. A
// load of all sixteen would wait until that store has reached the cache.
QEX_FORM_TARGET inline __m128i load_halves(const uint8_t* p) {
  long long upper = 0;
  std::memcpy(&upper, p + 8, sizeof(upper));
  return _mm_insert_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), upper, 1);
}

}  // namespace
}  // namespace QEX_FORM_NAMESPACE
