// Big numbers: identities that hold for all operands, and a comparison with schoolbook arithmetic on octets.
// The first octet chooses the operation, the second and third divide the rest into three operands, the fourth
// holds their signs.
#include "crypto/bignum/number.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr size_t kMaxOperand = 96;  // octets; an exponent has less
constexpr size_t kMaxExponent = 12;

void ok(uint32_t code) {
  FUZZ_CHECK(code == KXBN_OK, code);
}

Number zero() {
  Number n;
  ok(n.make(nullptr, 0));
  return n;
}

Number number(View octets, bool negative = false) {
  Number n;
  const Input in(octets);
  ok(n.frombytes(in.data(), octets.size()));
  if (negative && KXBN_bits(n) != 0) n->sign = 1;
  return n;
}

Number small(uint32_t w) {
  Number n = zero();
  KXBN_setword(n, w);
  return n;
}

Number copy(const Number& a) {
  Number n = zero();
  ok(KXBN_copy(n, a));
  return n;
}

[[nodiscard]] bool equal(const Number& a, const Number& b) {
  return KXBN_cmp(a, b) == 0;
}

Number product(const Number& a, const Number& b) {
  Number r = zero();
  ok(KXBN_mul(r, a, b, nullptr));
  return r;
}
Number sum(const Number& a, const Number& b) {
  Number r = zero();
  ok(KXBN_add(r, a, b));
  return r;
}
Number difference(const Number& a, const Number& b) {
  Number r = zero();
  ok(KXBN_sub(r, a, b));
  return r;
}
Number residue(const Number& a, const Number& m) {
  Number r = zero();
  ok(KXBN_mod(r, a, m, nullptr));
  return r;
}

Octets magnitude(const Number& a) {
  const Block out((KXBN_bits(a) + 7) / 8 + 1);
  ok(KXBN_tobytes(a, out.data(), out.size()));
  return {out.view().begin(), out.view().end()};
}

Octets without_zeros(View octets) {
  const auto first = std::find_if(octets.begin(), octets.end(), [](uint8_t o) { return o != 0; });
  return {first, octets.end()};
}

// Octet by octet, as on paper.
Octets schoolbook_product(View a, View b) {
  Octets out(a.size() + b.size());
  for (size_t i = a.size(); i-- > 0;) {
    unsigned carry = 0;
    for (size_t j = b.size(); j-- > 0;) {
      const unsigned t = unsigned{a[i]} * b[j] + out[i + j + 1] + carry;
      out[i + j + 1] = uint8_t(t);
      carry = t >> 8;
    }
    out[i] = uint8_t(carry);
  }
  return without_zeros(out);
}

struct Operands {
  View a, b, c;
  bool signA, signB, signC;
};

void check_conversion(const Operands& o) {
  const Number n = number(o.a);
  const Octets significant = without_zeros(o.a);
  FUZZ_CHECK(without_zeros(magnitude(n)) == significant, o.a.size());
  const size_t length = std::max<size_t>(significant.size(), 1);
  const Block exact(length);
  ok(KXBN_tobytes(n, exact.data(), length));
  const Block shorter(length - 1);
  FUZZ_CHECK(KXBN_tobytes(n, shorter.data(), length - 1) == KXBN_BADARG, length);

  Octets reversed(o.a.rbegin(), o.a.rend());
  Number le;
  ok(KXBN_frombytes_le(le.out(), reversed.data(), reversed.size(), nullptr));
  FUZZ_CHECK(equal(n, le), o.a.size());
  const Block leOut(length + 3);
  ok(KXBN_tobytes_le(n, leOut.data(), leOut.size()));
  const Octets back(std::make_reverse_iterator(leOut.view().end()),
                    std::make_reverse_iterator(leOut.view().begin()));
  FUZZ_CHECK(without_zeros(back) == significant, length);

  uint32_t bits = 0;
  if (!significant.empty()) {
    bits = uint32_t(significant.size() * 8);
    for (uint8_t top = significant[0]; top < 0x80; top = uint8_t(top << 1)) --bits;
  }
  FUZZ_CHECK(KXBN_bits(n) == bits, bits);
  if (bits != 0) FUZZ_CHECK(KXBN_testbit(n, bits - 1) == 1 && KXBN_testbit(n, bits) == 0, bits);
}

void check_ring(const Operands& o) {
  const Number a = number(o.a, o.signA), b = number(o.b, o.signB), c = number(o.c, o.signC);
  FUZZ_CHECK(equal(difference(sum(a, b), b), a), 0);
  FUZZ_CHECK(equal(sum(a, b), sum(b, a)), 0);
  FUZZ_CHECK(equal(product(a, sum(b, c)), sum(product(a, b), product(a, c))), 0);
  const Number p = product(a, b);
  FUZZ_CHECK(without_zeros(magnitude(p)) == schoolbook_product(o.a, o.b), 0);
  FUZZ_CHECK(is_negative(p) == (!is_zero(p) && is_negative(a) != is_negative(b)), 0);
  // In place.
  Number square = copy(a);
  ok(KXBN_mul(square, square, square, nullptr));
  FUZZ_CHECK(equal(square, product(a, a)), 0);
  Number shifted = copy(a);
  const auto count = uint32_t(Mix(o.b) % 70);
  ok(KXBN_lshift(shifted, count));
  Number power = zero();
  ok(KXBN_setbit(power, count, 1));
  FUZZ_CHECK(equal(shifted, product(a, power)), count);
}

void check_division(const Operands& o) {
  const Number a = number(o.a, o.signA), d = number(o.b, o.signB);
  Number q = zero();
  Number r = copy(a);
  const uint32_t code = KXBN_divrem(q, r, d);
  if (is_zero(d)) {
    FUZZ_CHECK(code == KXBN_DIVZERO && equal(r, a), code);
    return;
  }
  ok(code);
  FUZZ_CHECK(equal(sum(product(q, d), r), a), 0);
  Number absR = copy(r), absD = copy(d);
  absR->sign = absD->sign = 0;
  FUZZ_CHECK(KXBN_cmp(absR, absD) < 0, 0);
  FUZZ_CHECK(is_zero(r) || is_negative(r) == is_negative(d), 0);
  FUZZ_CHECK(equal(residue(a, d), r), 0);
}

void check_power(const Operands& o) {
  const Number base = number(o.a, o.signA), m = number(o.b, o.signB);
  const View exponentOctets = o.c.first(std::min(o.c.size(), kMaxExponent));
  const Number exponent = number(exponentOctets);
  Number r = zero();
  const uint32_t code = KXBN_modexp(r, base, exponent, m, nullptr);
  if (is_zero(m)) {
    FUZZ_CHECK(code == KXBN_DIVZERO, code);
    return;
  }
  ok(code);
  // Bit by bit.
  Number expected = residue(small(1), m);
  for (uint32_t i = KXBN_bits(exponent); i-- > 0;) {
    expected = residue(product(expected, expected), m);
    if (KXBN_testbit(exponent, i) == 1) expected = residue(product(expected, base), m);
  }
  FUZZ_CHECK(equal(r, expected), KXBN_bits(exponent));
  KXBN_Pool* pool = nullptr;
  ok(KXBN_pool_new(64, &pool));
  Number fromPool = zero();
  ok(KXBN_modexp(fromPool, base, exponent, m, pool));
  FUZZ_CHECK(equal(fromPool, expected), 0);
  KXBN_pool_free(pool);
}

void check_inverse(const Operands& o) {
  const Number a = number(o.a, o.signA), m = number(o.b);
  Number coefficient, gcd;
  ok(KXBN_xgcd(a, m, coefficient.out(), gcd.out(), nullptr));
  if (!is_zero(gcd)) {
    FUZZ_CHECK(is_zero(residue(a, gcd)) && is_zero(residue(m, gcd)), 0);
  } else {
    FUZZ_CHECK(is_zero(a) && is_zero(m), 0);
  }
  if (!is_zero(m)) FUZZ_CHECK(equal(residue(product(a, coefficient), m), residue(gcd, m)), 0);

  Number inverse = zero();
  const uint32_t code = KXBN_modinv(inverse, a, m, nullptr);
  if (is_zero(m)) {
    FUZZ_CHECK(code == KXBN_DIVZERO, code);
    return;
  }
  Number unit = copy(gcd);
  unit->sign = 0;
  const bool coprime = is_one(unit);
  FUZZ_CHECK(code == (coprime ? KXBN_OK : KXBN_NONPRIME), code);
  if (!coprime) return;
  FUZZ_CHECK(equal(residue(product(a, inverse), m), residue(small(1), m)), 0);
  FUZZ_CHECK(!is_negative(inverse) && KXBN_cmp(inverse, m) < 0, 0);
}

constexpr void (*kChecks[])(const Operands&) = {check_conversion, check_ring, check_division, check_power,
                                                check_inverse};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const View rest(data + 4, size - 4);
  const size_t n = std::min(rest.size(), size_t{data[1]});
  const size_t m = std::min(rest.size() - n, size_t{data[2]});
  const auto bounded = [](View v) { return v.first(std::min(v.size(), kMaxOperand)); };
  const Operands operands{bounded(rest.first(n)), bounded(rest.subspan(n, m)), bounded(rest.subspan(n + m)),
                          (data[3] & 1) != 0,     (data[3] & 2) != 0,          (data[3] & 4) != 0};
  kChecks[data[0] % std::size(kChecks)](operands);
  return 0;
}

}  // namespace qex::fuzz
