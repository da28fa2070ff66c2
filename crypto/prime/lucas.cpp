// Primality: the Lucas test and the Jacobi symbol.
#include "crypto/prime/lucas.h"

#include <cstdlib>

#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"

namespace qex {
namespace {

constexpr int kCandidates = 29;  // values of Q that are tried

[[nodiscard]] constexpr bool is_odd(uint32_t word) {
  return (word & 1) != 0;
}

// symbol_of_two returns (2/n) for an odd n with the low word `lsw`: +1 for n = 1 or 7 modulo 8.
[[nodiscard]] int symbol_of_two(uint32_t lsw) {
  QEX_ASSERT(is_odd(lsw), Claim::SymbolModulusIsOdd);
  return lsw % 8 == 1 || lsw % 8 == 7 ? 1 : -1;
}

// reciprocity returns (m/n)(n/m) for odd m and n without a common factor, given their low words:
// -1 when both are 3 modulo 4.
[[nodiscard]] int reciprocity(uint32_t m, uint32_t n) {
  uint32_t lsw = m % 4;
  QEX_ASSERT(lsw == 1 || lsw == 3, Claim::UpperNumberIsOdd);
  if (lsw == 1) return 1;
  lsw = n % 4;
  QEX_ASSERT(lsw == 1 || lsw == 3, Claim::LowerNumberIsOdd);
  return lsw == 1 ? 1 : -1;
}

// set_signed sets n = value.
void set_signed(KXBN* n, int value) {
  KXBN_setword(n, uint32_t(std::abs(value)));
  n->sign = value < 0 ? 1 : 0;
}

// choose_q finds the first Q whose D = 1 - 4Q has the symbol -1; `*q` stays 0 when none has.
[[nodiscard]] uint32_t choose_q(int* q, const KXBN* n, KXBN_Pool* pool) {
  *q = 0;
  Arithmetic compute(pool);
  Number d;
  compute.make(32, d);
  for (int i = 1; compute.ok() && *q == 0 && i <= kCandidates; ++i) {
    const int candidate = i % 2 == 1 ? -i : i;
    set_signed(d, 1 - 4 * candidate);
    int symbol = 0;
    compute.call(bnlucas_jacobi, &symbol, d, n, pool);
    if (symbol == -1) *q = candidate;
  }
  return compute.code();
}

// The Lucas sequence U for P = 1 modulo n: two neighbours U(k) and U(k+1), from k = 0.
// They are enough to double the index, and need neither V nor a division by 2:
//   U(2k)   = U(k) * (2 U(k+1) - U(k))
//   U(2k+1) = U(k+1)^2 - Q U(k)^2
//   U(k+2)  = U(k+1) - Q U(k)
class LucasU {
 public:
  LucasU(Arithmetic& compute, const KXBN* n) : compute_(compute), n_(n) {}

  void start(int q);
  void double_index();
  void next_index();
  const KXBN* value() const { return u_; }

 private:
  void product_mod(KXBN* r, const KXBN* a, const KXBN* b) {
    compute_.mul(product_, a, b).mod(r, product_, n_);
  }

  Arithmetic& compute_;
  const KXBN* n_;
  Number u_, next_, q_;
  Number even_, odd_, product_;
};

void LucasU::start(int q) {
  compute_.make(KXBN_bits(n_), u_, next_, q_, product_, even_, odd_).setword(next_, 1);
  if (compute_.ok()) set_signed(q_, q);
}

void LucasU::double_index() {
  compute_.add(odd_, next_, next_).sub(odd_, odd_, u_);
  product_mod(even_, u_, odd_);

  product_mod(odd_, u_, u_);
  product_mod(u_, odd_, q_);  // Q U(k)^2
  product_mod(odd_, next_, next_);
  compute_.sub(product_, odd_, u_).mod(next_, product_, n_);
  swap(u_, even_);
}

void LucasU::next_index() {
  product_mod(even_, u_, q_);
  compute_.sub(product_, next_, even_);
  swap(u_, next_);
  compute_.mod(next_, product_, n_);
}

}  // namespace

uint32_t bnlucas_jacobi(int* symbol, const KXBN* a, const KXBN* n, KXBN_Pool* pool) {
  QEX_ASSERT(is_odd(n->digits[0]), Claim::JacobiModulusIsOdd);
  *symbol = 0;
  if (is_negative(n)) return KXBN_BADARG;

  // (top/bottom) * sign is the symbol asked for from turn to turn; bottom stays odd.
  Arithmetic compute(pool);
  Number top, bottom;
  int sign = 1;
  compute.make(KXBN_bits(n), top, bottom).mod(top, a, n).copy(bottom, n);
  while (compute.ok() && !is_zero(top)) {
    if (is_odd(KXBN_strip_twos(top))) sign *= symbol_of_two(bottom->digits[0]);
    sign *= reciprocity(top->digits[0], bottom->digits[0]);
    swap(top, bottom);
    compute.reduce(top, bottom);
  }
  if (compute.ok() && is_one(bottom)) *symbol = sign;  // bottom is the greatest common divisor
  return compute.code();
}

uint32_t bnlucas_test(const KXBN* n, KXBN_Pool* pool) {
  if (is_negative(n) || KXBN_bits(n) < 2) return KXBN_NONPRIME;
  if (!is_odd(n->digits[0])) return KXBN_bits(n) == 2 ? KXBN_OK : KXBN_NONPRIME;  // 2 is prime

  int q = 0;
  if (const uint32_t rc = choose_q(&q, n, pool)) return rc;
  if (q == 0) return KXBN_NONPRIME;

  Arithmetic compute(pool);
  Number index;
  LucasU lucas(compute, n);
  compute.make(KXBN_bits(n), index).copy(index, n).addword(index, 1);
  lucas.start(q);
  if (!compute.ok()) return compute.code();
  for (uint32_t i = KXBN_bits(index); compute.ok() && i-- > 0;) {
    lucas.double_index();
    if (KXBN_testbit(index, i) != 0) lucas.next_index();
  }
  if (!compute.ok()) return compute.code();
  return is_zero(lucas.value()) ? KXBN_OK : KXBN_NONPRIME;
}

}  // namespace qex
