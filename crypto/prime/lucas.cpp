// Primality: the Lucas test and the Jacobi symbol.
#include "crypto/prime/lucas.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "crypto/assertion.h"
#include "crypto/bignum/internal.h"

#define BNLUCAS_ASSERT(condition, text, line) QEX_ASSERT(condition, text, "..\\bnlucas.c", line)

namespace qex {
namespace {

constexpr int kCandidates = 29;  // values of Q that are tried

constexpr bool is_odd(uint32_t word) {
  return (word & 1) != 0;
}

// strip_twos divides n, which is positive, by the greatest power of 2 in it and returns the exponent.
uint32_t strip_twos(KXBN* n) {
  uint32_t words = 0;
  if (n->digits[0] == 0) {
    BNLUCAS_ASSERT(KXBN_getsize(n) >= 2, "KXBN_getsize(n) >= 2", 74);
    while (n->digits[words] == 0) ++words;
    std::copy(n->digits + words, n->digits + n->used, n->digits);
    n->used -= words;
  }
  const auto shift = uint32_t(std::countr_zero(n->digits[0]));
  for (uint32_t i = 0; i < n->used; ++i) {
    const uint64_t above = i + 1 < n->used ? n->digits[i + 1] : 0;
    n->digits[i] = uint32_t((above << 32 | n->digits[i]) >> shift);
  }
  KXBN_trim(n);
  return words * 32 + shift;
}

// symbol_of_two returns (2/n) for an odd n with the low word `lsw`: +1 for n = 1 or 7 modulo 8.
int symbol_of_two(uint32_t lsw) {
  BNLUCAS_ASSERT(is_odd(lsw), "is_odd(lsw)", 101);
  return lsw % 8 == 1 || lsw % 8 == 7 ? 1 : -1;
}

// reciprocity returns (m/n)(n/m) for odd m and n without a common factor, given their low words:
// -1 when both are 3 modulo 4.
int reciprocity(uint32_t m, uint32_t n) {
  uint32_t lsw = m % 4;
  BNLUCAS_ASSERT(lsw == 1 || lsw == 3, "lsw==1 || lsw==3", 117);
  if (lsw == 1) return 1;
  lsw = n % 4;
  BNLUCAS_ASSERT(lsw == 1 || lsw == 3, "lsw==1 || lsw==3", 121);
  return lsw == 1 ? 1 : -1;
}

// set_signed sets n = value.
void set_signed(KXBN* n, int value) {
  KXBN_setword(n, uint32_t(std::abs(value)));
  n->sign = value < 0 ? 1 : 0;
}

// choose_q finds the first Q whose D = 1 - 4Q has the symbol -1; `*q` stays 0 when none has.
uint32_t choose_q(int* q, const KXBN* n, KXBN_Pool* pool) {
  *q = 0;
  Scratch d;
  if (const uint32_t rc = d.make(pool, 32)) return rc;
  for (int i = 1; i <= kCandidates; ++i) {
    const int candidate = i % 2 == 1 ? -i : i;
    set_signed(d, 1 - 4 * candidate);
    int symbol = 0;
    if (const uint32_t rc = bnlucas_jacobi(&symbol, d, n, pool)) return rc;
    if (symbol != -1) continue;
    *q = candidate;
    break;
  }
  return KXBN_OK;
}

// The Lucas sequence U for P = 1 modulo n: two neighbours U(k) and U(k+1), from k = 0.
// They are enough to double the index, and need neither V nor a division by 2:
//   U(2k)   = U(k) * (2 U(k+1) - U(k))
//   U(2k+1) = U(k+1)^2 - Q U(k)^2
//   U(k+2)  = U(k+1) - Q U(k)
class LucasU {
 public:
  [[nodiscard]] uint32_t start(const KXBN* n, int q, KXBN_Pool* pool);
  [[nodiscard]] uint32_t double_index();
  [[nodiscard]] uint32_t next_index();
  const KXBN* value() const { return u_; }

 private:
  [[nodiscard]] uint32_t product_mod(KXBN* r, const KXBN* a, const KXBN* b);

  const KXBN* n_ = nullptr;
  KXBN_Pool* pool_ = nullptr;
  Scratch u_, next_, q_;
  Scratch even_, odd_, product_;
};

uint32_t LucasU::start(const KXBN* n, int q, KXBN_Pool* pool) {
  n_ = n;
  pool_ = pool;
  const auto bits = int32_t(KXBN_bits(n));
  if (const uint32_t rc = KXBN_new4(pool, bits, &u_.n, &next_.n, &q_.n, &product_.n)) return rc;
  if (const uint32_t rc = KXBN_new4(pool, bits, &even_.n, &odd_.n, nullptr, nullptr)) return rc;
  set_signed(q_, q);
  KXBN_setword(next_, 1);
  return KXBN_OK;
}

uint32_t LucasU::product_mod(KXBN* r, const KXBN* a, const KXBN* b) {
  if (const uint32_t rc = KXBN_mul(product_, a, b, pool_)) return rc;
  return KXBN_mod(r, product_, n_, pool_);
}

uint32_t LucasU::double_index() {
  if (const uint32_t rc = KXBN_add(odd_, next_, next_)) return rc;
  if (const uint32_t rc = KXBN_sub(odd_, odd_, u_)) return rc;
  if (const uint32_t rc = product_mod(even_, u_, odd_)) return rc;

  if (const uint32_t rc = product_mod(odd_, u_, u_)) return rc;
  if (const uint32_t rc = product_mod(u_, odd_, q_)) return rc;  // Q U(k)^2
  if (const uint32_t rc = product_mod(odd_, next_, next_)) return rc;
  if (const uint32_t rc = KXBN_sub(product_, odd_, u_)) return rc;
  if (const uint32_t rc = KXBN_mod(next_, product_, n_, pool_)) return rc;
  std::swap(u_.n, even_.n);
  return KXBN_OK;
}

uint32_t LucasU::next_index() {
  if (const uint32_t rc = product_mod(even_, u_, q_)) return rc;
  if (const uint32_t rc = KXBN_sub(product_, next_, even_)) return rc;
  std::swap(u_.n, next_.n);
  return KXBN_mod(next_, product_, n_, pool_);
}

}  // namespace

uint32_t bnlucas_jacobi(int* symbol, const KXBN* a, const KXBN* n, KXBN_Pool* pool) {
  BNLUCAS_ASSERT(is_odd(n->digits[0]), "is_odd(n->digits[0])", 62);
  *symbol = 0;
  if (is_negative(n)) return KXBN_BADARG;

  // (top/bottom) * sign is the symbol asked for from turn to turn; bottom stays odd.
  Scratch top, bottom;
  int sign = 1;
  if (const uint32_t rc = top.make(pool, KXBN_bits(n))) return rc;
  if (const uint32_t rc = bottom.make(pool, KXBN_bits(n))) return rc;
  if (const uint32_t rc = KXBN_mod(top, a, n, pool)) return rc;
  if (const uint32_t rc = KXBN_copy(bottom, n)) return rc;
  while (!is_zero(top)) {
    if (is_odd(strip_twos(top))) sign *= symbol_of_two(bottom->digits[0]);
    sign *= reciprocity(top->digits[0], bottom->digits[0]);
    std::swap(top.n, bottom.n);
    if (const uint32_t rc = KXBN_divrem(nullptr, top, bottom)) return rc;
  }
  // What is left in bottom is the greatest common divisor.
  if (KXBN_test(bottom, KXBN_IS_ONE)) *symbol = sign;
  return KXBN_OK;
}

uint32_t bnlucas_test(const KXBN* n, KXBN_Pool* pool) {
  if (is_negative(n) || KXBN_bits(n) < 2) return KXBN_NONPRIME;
  if (!is_odd(n->digits[0])) return KXBN_bits(n) == 2 ? KXBN_OK : KXBN_NONPRIME;  // 2 is prime

  int q = 0;
  if (const uint32_t rc = choose_q(&q, n, pool)) return rc;
  if (q == 0) return KXBN_NONPRIME;

  Scratch index;
  LucasU lucas;
  if (const uint32_t rc = index.make(pool, KXBN_bits(n))) return rc;
  if (const uint32_t rc = KXBN_copy(index, n)) return rc;
  if (const uint32_t rc = KXBN_addword(index, 1)) return rc;
  if (const uint32_t rc = lucas.start(n, q, pool)) return rc;
  for (uint32_t i = KXBN_bits(index); i-- > 0;) {
    if (const uint32_t rc = lucas.double_index()) return rc;
    if (KXBN_testbit(index, i) == 0) continue;
    if (const uint32_t rc = lucas.next_index()) return rc;
  }
  return is_zero(lucas.value()) ? KXBN_OK : KXBN_NONPRIME;
}

}  // namespace qex
