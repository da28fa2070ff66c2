// Big numbers: the integers under RSA and DSA.
//
// A number is a magnitude of 32-bit words, least significant first, and a sign. Numbers
// live on the heap or in the slots of a pool. Operations return a result code and put
// their result operand first; after a code other than KXBN_OK that operand is
// still a number, fit for every use and for KXBN_free, but its value means nothing.
// Operands may be the same record unless said otherwise. A pool argument may be null.
// KXBN_new4 has no caller in the library; it is part of what this header offers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

enum KXBN_Code : uint32_t {
  KXBN_OK = 0,
  KXBN_BADARG = 1,    // a size out of range, operands that must be distinct, an output too small
  KXBN_NOMEM = 3,     // out of memory; what had been made is freed
  KXBN_DIVZERO = 4,   // division by zero, or a modulus of zero
  KXBN_NONPRIME = 5,  // composite; from KXBN_modinv: no inverse
};

inline constexpr uint32_t kMaxBits = 0x80000;    // largest number
inline constexpr uint32_t kDefaultBits = 512;    // room made when none is asked for
inline constexpr uint32_t kMaxOctets = 0x10000;  // most octets that a conversion takes or gives

struct KXBN_Pool;

// Words from `used` upward have no meaning. For a while there may be top zero words below `used`; every
// operation accepts them, and leaves none in its result.
struct KXBN {
  KXBN_Pool* pool;    // owner of this record, null for a record of the heap
  uint32_t* digits;   // magnitude, least significant word first
  uint32_t used;      // words in use, at least 1
  uint32_t capacity;  // words allocated in `digits`
  uint32_t sign;      // bit 0 set: negative; 0 for zero
};

inline constexpr uint32_t kPoolSlots = 32;

// A scratch pool, one block. Its slots keep their `digits` from use to use, so that a
// computation that starts again finds its numbers ready. One thread at a time.
struct KXBN_Pool {
  KXBN_Pool* next;         // the pools of a chain; the first one is handed around
  uint32_t bitSize;        // least room of a number of this pool
  uint32_t freeMask;       // bit k set: slot k is free
  KXBN slots[kPoolSlots];  // a slot without `digits` has not been used yet
};
static_assert(sizeof(void*) != 4 || sizeof(KXBN_Pool) == 652, "a pool of a 32-bit machine has 652 octets");

// KXBN_pool_new makes a pool for numbers of `bits` bits. Codes: KXBN_BADARG when `bits` is negative or above
// kMaxBits, KXBN_NOMEM. The caller frees it with KXBN_pool_free.
[[nodiscard]] uint32_t KXBN_pool_new(int32_t bits, KXBN_Pool** out);

// KXBN_pool_free frees `pool`, the pools chained after it and all their numbers, including those still in
// use. Null is allowed.
void KXBN_pool_free(KXBN_Pool* pool);

// KXBN_pool_take takes the slot of `pool` that suits a number of `words` words, 1 or more, best, makes room
// in it, marks it used and stores its record, set to 0, in `*out`: the first free slot with room enough, else
// the first with `digits`, which are enlarged, else the first. Asserts "0" when the pool has no free slot.
// Codes: KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_pool_take(KXBN_Pool* pool, uint32_t words, KXBN** out);

// KXBN_new stores in `*out` a new number 0 with room for `bits` bits (0: kDefaultBits) and, from a pool, for
// at least the pool's size. A full pool gets another one after it. Codes: KXBN_BADARG when `bits` is negative
// or above kMaxBits, KXBN_NOMEM; `*out` is then null.
[[nodiscard]] uint32_t KXBN_new(KXBN_Pool* pool, int32_t bits, KXBN** out);

// KXBN_new4 makes a number for each pointer that is not null. Codes: those of KXBN_new; the numbers made so
// far are then freed, and all outputs are null.
[[nodiscard]] uint32_t KXBN_new4(KXBN_Pool* pool, int32_t bits, KXBN** a, KXBN** b, KXBN** c, KXBN** d);

// KXBN_free frees `n`, or gives it back to its pool. Null is allowed.
void KXBN_free(KXBN* n);

// KXBN_free4 frees each of its arguments; null is allowed.
void KXBN_free4(KXBN* a, KXBN* b, KXBN* c, KXBN* d);

// KXBN_frombytes stores in `*out` a new number of the value of big-endian octets, with room for 64 bits more
// than they have. Codes: KXBN_BADARG when length is above kMaxOctets or the room above kMaxBits, KXBN_NOMEM;
// `*out` is then null.
[[nodiscard]] uint32_t KXBN_frombytes(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool);

// KXBN_tobytes writes the magnitude of `n` as big-endian octets, with zeros on the left up to `length`.
// Codes: KXBN_BADARG when length is above kMaxOctets or too small; zero takes one octet.
[[nodiscard]] uint32_t KXBN_tobytes(const KXBN* n, uint8_t* buffer, size_t length);

// KXBN_frombytes_le and KXBN_tobytes_le are the same with the octets in the reverse order.
[[nodiscard]] uint32_t KXBN_frombytes_le(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool);
[[nodiscard]] uint32_t KXBN_tobytes_le(const KXBN* n, uint8_t* buffer, size_t length);

// KXBN_getsize returns the number of words without top zero words, at least 1.
[[nodiscard]] uint32_t KXBN_getsize(const KXBN* n);

// KXBN_bits returns the bit length of the magnitude, 0 for zero.
[[nodiscard]] uint32_t KXBN_bits(const KXBN* n);

// KXBN_testbit returns a bit of the magnitude, 0 for an index beyond it.
[[nodiscard]] uint32_t KXBN_testbit(const KXBN* n, uint32_t index);

// KXBN_setbit makes a bit of the magnitude `value` (0, else 1). Codes: KXBN_BADARG when index is not below
// kMaxBits, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_setbit(KXBN* n, uint32_t index, uint32_t value);

// KXBN_setword sets n = w.
void KXBN_setword(KXBN* n, uint32_t w);

// KXBN_copy sets dst = src. Codes: KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_copy(KXBN* dst, const KXBN* src);

enum KXBN_Kind : uint32_t {
  KXBN_IS_ZERO = 0,
  KXBN_IS_NEGATIVE = 1,
  KXBN_IS_NONZERO = 2,
  KXBN_IS_NOT_NEGATIVE = 3,
  KXBN_IS_ONE = 4,  // +1
  KXBN_IS_POSITIVE = 5,
};

// KXBN_test returns 1 when `n` is of the kind, else 0; 0 for any other kind.
[[nodiscard]] uint32_t KXBN_test(const KXBN* n, uint32_t kind);

[[nodiscard]] inline bool is_zero(const KXBN* n) {
  return KXBN_test(n, KXBN_IS_ZERO) != 0;
}
[[nodiscard]] inline bool is_negative(const KXBN* n) {
  return KXBN_test(n, KXBN_IS_NEGATIVE) != 0;
}
[[nodiscard]] inline bool is_one(const KXBN* n) {
  return KXBN_test(n, KXBN_IS_ONE) != 0;
}

// KXBN_cmp compares a and b with their signs: -1, 0 or +1.
[[nodiscard]] int KXBN_cmp(const KXBN* a, const KXBN* b);

// KXBN_add and KXBN_sub compute r = a + b and r = a - b. Codes: KXBN_BADARG when the result has more than
// kMaxBits bits, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_add(KXBN* r, const KXBN* a, const KXBN* b);
[[nodiscard]] uint32_t KXBN_sub(KXBN* r, const KXBN* a, const KXBN* b);

// KXBN_addword adds w to the magnitude of r; the sign is not consulted. Codes: as KXBN_add.
[[nodiscard]] uint32_t KXBN_addword(KXBN* r, uint32_t w);

// KXBN_lshift shifts the magnitude of r left by `count` bits. Codes: as KXBN_add.
[[nodiscard]] uint32_t KXBN_lshift(KXBN* r, uint32_t count);

// KXBN_strip_twos divides n, which is not 0, by the greatest power of 2 in it and returns the exponent.
// Asserts "KXBN_getsize(n) >= 2" for 0.
[[nodiscard]] uint32_t KXBN_strip_twos(KXBN* n);

// KXBN_mul computes r = a * b. Codes: as KXBN_add.
[[nodiscard]] uint32_t KXBN_mul(KXBN* r, const KXBN* a, const KXBN* b, KXBN_Pool* pool);

// KXBN_divrem divides a by d: q, unless null, becomes the quotient, rounded towards minus infinity, and a the
// remainder, which has the sign of d. Codes: KXBN_BADARG when two of the three are one record, KXBN_DIVZERO
// when d is 0, KXBN_NOMEM; in all these cases a is unchanged.
[[nodiscard]] uint32_t KXBN_divrem(KXBN* q, KXBN* a, const KXBN* d);

// KXBN_mod computes r = a mod m with the sign of m. Codes: KXBN_DIVZERO when m is 0, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_mod(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool);

// KXBN_modexp computes r = base^exp mod m with the sign of m; 0^0 is 1. Codes: KXBN_DIVZERO when m is 0;
// KXBN_BADARG when exp is negative, or when a product on the way has more than kMaxBits bits, as it has for
// an odd m of more than about half of them; KXBN_NOMEM. The time depends on the operands.
[[nodiscard]] uint32_t KXBN_modexp(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                   KXBN_Pool* pool);

// KXBN_modexp_public computes the same with the same codes, by the fastest instructions of the processor
// where m is odd and of at most 8192 bits. For public values only.
[[nodiscard]] uint32_t KXBN_modexp_public(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m,
                                          KXBN_Pool* pool);

// KXBN_modexp2_public computes r = base1^exp1 * base2^exp2 mod m likewise. Codes: as KXBN_modexp.
[[nodiscard]] uint32_t KXBN_modexp2_public(KXBN* r, const KXBN* base1, const KXBN* exp1, const KXBN* base2,
                                           const KXBN* exp2, const KXBN* m, KXBN_Pool* pool);

// KXBN_xgcd stores in `*gcd` and `*coefficient` new numbers g and x: g is the greatest common divisor of a
// and m, and a * x = g modulo m. g may be negative when an operand is. Codes: KXBN_BADARG, KXBN_NOMEM; both
// outputs are then null.
[[nodiscard]] uint32_t KXBN_xgcd(const KXBN* a, const KXBN* m, KXBN** coefficient, KXBN** gcd,
                                 KXBN_Pool* pool);

// KXBN_modinv computes r = 1/a mod m, in [0, m). Codes: KXBN_DIVZERO when m is 0; KXBN_NONPRIME when there is
// no inverse, and for a negative m, which has no residues; KXBN_BADARG, KXBN_NOMEM.
[[nodiscard]] uint32_t KXBN_modinv(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool);

// KXBN_modinv_public computes the same with the same codes, faster where m is a prime of at most 512 bits.
// For public values only.
[[nodiscard]] uint32_t KXBN_modinv_public(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool);

}  // namespace qex
