// Computations of several steps, written as their formulas.
//
//   Arithmetic compute(pool);
//   compute.mul(product, a, b).mod(r, product, m);
//   return compute.code();
//
// A step is an operation of bignum.h. After the first failing step the others do nothing, and code() is the
// code of that failure. After a failure numbers may be null or have lost their value, so check ok() before
// reading one: in a loop, a branch, a word of its digits.
#pragma once

#include "crypto/bignum/bignum.h"
#include "crypto/bignum/number.h"

namespace qex {

// Arithmetic carries out steps with one pool, which may be null, until one of them fails.
class Arithmetic {
 public:
  explicit Arithmetic(KXBN_Pool* pool) : pool_(pool) {}

  // ok returns whether no step has failed; code returns the code of the one that has, else KXBN_OK.
  [[nodiscard]] bool ok() const { return code_ == KXBN_OK; }
  [[nodiscard]] uint32_t code() const { return code_; }

  // make gives each of the numbers, in their order, a new number 0 with room for `bits` bits.
  template <class... Numbers>
  Arithmetic& make(uint32_t bits, Numbers&... numbers) {
    (make_one(bits, numbers), ...);
    return *this;
  }

  // call is any operation that returns a code, of these operands.
  template <class Operation, class... Operands>
  Arithmetic& call(Operation operation, const Operands&... operands) {
    if (ok()) code_ = operation(operands...);
    return *this;
  }

  Arithmetic& frombytes(Number& n, const uint8_t* octets, size_t length) {
    if (ok()) code_ = n.frombytes(octets, length, pool_);
    return *this;
  }
  Arithmetic& setword(KXBN* n, uint32_t w) {
    if (ok()) KXBN_setword(n, w);
    return *this;
  }
  Arithmetic& setbit(KXBN* n, uint32_t index) { return call(KXBN_setbit, n, index, 1u); }
  Arithmetic& clearbit(KXBN* n, uint32_t index) { return call(KXBN_setbit, n, index, 0u); }
  Arithmetic& copy(KXBN* r, const KXBN* a) { return call(KXBN_copy, r, a); }
  Arithmetic& add(KXBN* r, const KXBN* a, const KXBN* b) { return call(KXBN_add, r, a, b); }
  Arithmetic& sub(KXBN* r, const KXBN* a, const KXBN* b) { return call(KXBN_sub, r, a, b); }
  Arithmetic& addword(KXBN* r, uint32_t w) { return call(KXBN_addword, r, w); }
  Arithmetic& lshift(KXBN* r, uint32_t count) { return call(KXBN_lshift, r, count); }
  Arithmetic& mul(KXBN* r, const KXBN* a, const KXBN* b) { return call(KXBN_mul, r, a, b, pool_); }
  Arithmetic& divrem(KXBN* q, KXBN* a, const KXBN* d) { return call(KXBN_divrem, q, a, d); }
  Arithmetic& mod(KXBN* r, const KXBN* a, const KXBN* m) { return call(KXBN_mod, r, a, m, pool_); }
  // reduce is a = a mod m, in place.
  Arithmetic& reduce(KXBN* a, const KXBN* m) { return call(KXBN_divrem, nullptr, a, m); }
  Arithmetic& modexp(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m) {
    return call(KXBN_modexp, r, base, exp, m, pool_);
  }
  Arithmetic& modexp2_public(KXBN* r, const KXBN* base1, const KXBN* exp1, const KXBN* base2,
                             const KXBN* exp2, const KXBN* m) {
    return call(KXBN_modexp2_public, r, base1, exp1, base2, exp2, m, pool_);
  }
  Arithmetic& xgcd(const KXBN* a, const KXBN* m, Number& coefficient, Number& gcd) {
    if (ok()) code_ = KXBN_xgcd(a, m, coefficient.out(), gcd.out(), pool_);
    return *this;
  }
  Arithmetic& modinv(KXBN* r, const KXBN* a, const KXBN* m) { return call(KXBN_modinv, r, a, m, pool_); }
  Arithmetic& modinv_public(KXBN* r, const KXBN* a, const KXBN* m) {
    return call(KXBN_modinv_public, r, a, m, pool_);
  }

 private:
  void make_one(uint32_t bits, Number& number) {
    if (ok()) code_ = number.make(pool_, bits);
  }

  KXBN_Pool* pool_;
  uint32_t code_ = KXBN_OK;
};

}  // namespace qex
