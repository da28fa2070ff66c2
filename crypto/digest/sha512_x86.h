// SHA-512 on x86-64: rounds in general registers with rotations that keep their operand (BMI2), and the
// message schedule in vectors of four words, beside the rounds.
//
// A source includes this header after it has defined QEX_FORM_TARGET, the instructions that it may use, and
// QEX_FORM_NAMESPACE, and passes the schedule as a class with one function:
//   next(w0, w4, w8, w12)   the words t + 16 to t + 19, from the words t to t + 15 in vectors of four
// Words wrap modulo 2^64. There is no guard against a second inclusion: each form has its own copy.

#include <bit>
#include <cstdint>
#include <cstring>

#include "crypto/digest/forms.h"
#include "crypto/digest/sha512.h"
#include "crypto/octets.h"

#define QEX_IN_PLACE __attribute__((always_inline))  // or names of chaining values would not become registers

namespace QEX_FORM_NAMESPACE {
namespace {  // NOLINT(cert-dcl59-cpp): each form has its own copy

QEX_FORM_TARGET QEX_IN_PLACE inline __m256i load(const void* p) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

QEX_FORM_TARGET QEX_IN_PLACE inline void store(uint64_t* p, __m256i v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// in_register returns `v`, which keeps compilers from a single load of several words. Such a load would wait
// until all of them have reached the cache, where each may have just been stored.
QEX_FORM_TARGET QEX_IN_PLACE inline uint64_t in_register(uint64_t v) {
  __asm__("" : "+r"(v));
  return v;
}

// load_last loads 32 octets, the last two words of which may be the length of a message.
QEX_FORM_TARGET QEX_IN_PLACE inline __m256i load_last(const uint8_t* p) {
  uint64_t word[2];
  std::memcpy(word, p + 16, sizeof(word));
  const __m128i front = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i length = _mm_set_epi64x(int64_t(in_register(word[1])), int64_t(in_register(word[0])));
  return _mm256_inserti128_si256(_mm256_castsi128_si256(front), length, 1);
}

// run_round runs round kRound of eight, after which all values are in their places again: the chaining value
// i is in v[(i - kRound) mod 8]. `sum` is K_t + W_t. `bc` is b ^ c and becomes that of the next round.
template <size_t kRound>
QEX_FORM_TARGET QEX_IN_PLACE inline void run_round(uint64_t (&v)[8], uint64_t& bc, uint64_t sum) {
  const uint64_t a = v[(8 - kRound) % 8], b = v[(9 - kRound) % 8];
  const uint64_t e = v[(12 - kRound) % 8], f = v[(13 - kRound) % 8], g = v[(14 - kRound) % 8];
  uint64_t& d = v[(11 - kRound) % 8];
  uint64_t& h = v[(15 - kRound) % 8];
  h += sum;
  h += ~e & g;  // Ch in two parts, of which no bit is in both
  h += e & f;
  h += std::rotr(e, 14) ^ std::rotr(e, 18) ^ std::rotr(e, 41);
  const uint64_t ab = a ^ b;
  const uint64_t maj = (ab & bc) ^ b;  // c where a and b differ, otherwise b
  const uint64_t t2 = (std::rotr(a, 28) ^ std::rotr(a, 34) ^ std::rotr(a, 39)) + maj;
  bc = ab;
  d += h;
  h += t2;
}

// run_four runs four rounds with the sums at `sums`; kRound is 0 or 4.
template <size_t kRound>
QEX_FORM_TARGET QEX_IN_PLACE inline void run_four(uint64_t (&v)[8], uint64_t& bc, const uint64_t* sums) {
  run_round<kRound>(v, bc, sums[0]);
  run_round<kRound + 1>(v, bc, sums[1]);
  run_round<kRound + 2>(v, bc, sums[2]);
  run_round<kRound + 3>(v, bc, sums[3]);
}

// run_and_extend runs four rounds and replaces their sums, of which `k` are the new constants.
template <class Schedule, size_t kStep>
QEX_FORM_TARGET QEX_IN_PLACE inline void run_and_extend(uint64_t (&v)[8], uint64_t& bc, __m256i (&w)[4],
                                                        uint64_t* sums, const uint64_t* k) {
  w[kStep] = Schedule::next(w[kStep], w[(kStep + 1) % 4], w[(kStep + 2) % 4], w[(kStep + 3) % 4]);
  run_four<kStep % 2 * 4>(v, bc, sums + 4 * kStep);
  store(sums + 4 * kStep, _mm256_add_epi64(w[kStep], load(k + 4 * kStep)));
}

// compress is the block function. `sums` holds K_t + W_t of sixteen rounds; those of sixteen rounds later
// replace them as they are used.
template <class Schedule>
QEX_FORM_TARGET QEX_IN_PLACE inline void compress(uint32_t (&state)[16], const uint8_t* data, size_t blocks) {
  const __m256i bigEndian = _mm256_set_epi64x(0x08090a0b0c0d0e0f, 0x0001020304050607,  //
                                              0x08090a0b0c0d0e0f, 0x0001020304050607);
  uint64_t v[8];
  uint64_t before[8];
  for (size_t i = 0; i < 8; ++i) before[i] = v[i] = in_register(qex::LoadPair(state + 2 * i));
  for (; blocks != 0; --blocks, data += qex::kSHA512Block) {
    qex::PrefetchBlock<qex::kSHA512Block>(data, blocks);
    const uint64_t* k = qex::kSHA512K;
    __asm__("" : "+r"(k));  // or compilers copy constants to the stack before the first block
    alignas(32) uint64_t sums[16];
    __m256i w[4];
    for (size_t i = 0; i < 4; ++i) {
      w[i] = _mm256_shuffle_epi8(i < 3 ? load(data + 32 * i) : load_last(data + 96), bigEndian);
      store(sums + 4 * i, _mm256_add_epi64(w[i], load(k + 4 * i)));
    }
    uint64_t bc = v[1] ^ v[2];
    for (const uint64_t* const last = k + 64; k != last;) {
      k += 16;
      run_and_extend<Schedule, 0>(v, bc, w, sums, k);
      run_and_extend<Schedule, 1>(v, bc, w, sums, k);
      run_and_extend<Schedule, 2>(v, bc, w, sums, k);
      run_and_extend<Schedule, 3>(v, bc, w, sums, k);
    }
    run_four<0>(v, bc, sums);
    run_four<4>(v, bc, sums + 4);
    run_four<0>(v, bc, sums + 8);
    run_four<4>(v, bc, sums + 12);
    for (size_t i = 0; i < 8; ++i) {
      v[i] += before[i];
      before[i] = v[i];
    }
  }
  for (size_t i = 0; i < 8; ++i) qex::StorePair(state + 2 * i, in_register(v[i]));
}

}  // namespace
}  // namespace QEX_FORM_NAMESPACE
