// x * 2^shift mod m by one division, the way into Montgomery form that needs no R^2.
//
// The modulus is shifted until its top bit is set, M = m << s, and so is x. The quotient is found a digit at
// a time from the top (Knuth 4.3.1 D). Instead of subtracting q * M, a row adds q * (B^n - M), and q is then
// taken from the digit above: the inner loop is the one of the Montgomery products. The estimate of q is
// that of a division of three digits by two with a precomputed reciprocal (Moeller and Granlund, "Improved
// division by invariant integers"): it is exact, or in one of about B cases one too large.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "crypto/bignum/digits.h"

namespace qex::digits {

// Reciprocal divides three digits by d = d1:d0, whose top bit is set.
template <class Digit>
class Reciprocal {
 public:
  Reciprocal(Digit d1, Digit d0) : d1_(d1), d0_(d0) {
    // v = floor((B^2 - 1) / d1) - B, corrected for d0 to floor((B^3 - 1) / d) - B.
    v_ = Digit((Wide{Digit(~d1)} << kBits<Digit> | Digit(~Digit{0})) / d1);
    Digit p = Digit(d1 * v_ + d0);
    if (p < d0) {
      --v_;
      if (p >= d1) {
        --v_;
        p = Digit(p - d1);
      }
      p = Digit(p - d1);
    }
    const Wide t = Wide{v_} * d0;
    p = Digit(p + high<Digit>(t));
    if (p < high<Digit>(t)) {
      --v_;
      if (p > d1 || (p == d1 && Digit(t) >= d0)) --v_;
    }
  }

  // quotient returns floor(u2:u1:u0 / d), or B - 1 when that is no digit.
  [[nodiscard]] Digit quotient(Digit u2, Digit u1, Digit u0) const {
    const Wide d = Wide{d1_} << kBits<Digit> | d0_;
    const Wide u = Wide{u2} << kBits<Digit> | u1;
    if (u >= d) return Digit(~Digit{0});
    const Wide q = Wide{v_} * u2 + u;  // below B^2: v * u2 < (B - 1 - d1) * u2 + ..., as u2 <= d1
    Digit q1 = Digit(high<Digit>(q) + 1);
    const Digit r1 = Digit(u1 - high<Digit>(q) * d1_);
    Wide r = (Wide{r1} << kBits<Digit> | u0) - Wide{d0_} * high<Digit>(q) - d;  // modulo B^2
    if (high<Digit>(r) >= Digit(q)) {
      --q1;
      r += d;
    }
    if (r >= d) ++q1;
    return q1;
  }

 private:
  using Wide = DoubleOf<Digit>;
  Digit d1_, d0_, v_;
};

// scale_digits returns the size of the working area of scale, in digits.
template <class Digit>
constexpr size_t scale_digits(size_t n, size_t shift) {
  return 2 * n + shift / kBits<Digit> + 2;
}

// shift_up: r[0..n) = the low digits of a[0..n) << count, count < kBits; returns the digit shifted out. r is
// a, or apart from it.
template <class Digit>
inline Digit shift_up(uint32_t* r, const uint32_t* a, size_t n, int count) {
  Digit out = 0;
  for (size_t i = 0; i < n; ++i) {
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} << count;
    store<Digit>(r, i, Digit(Digit(t) | out));
    out = high<Digit>(t);
  }
  return out;
}

// scale: r = x * 2^shift mod m, for x < m and an m whose top digit is not 0. row is mul_add (digits.h), in
// any form. work has scale_digits(n, shift) digits; r and x may be the same, and are apart from it.
template <class Digit, class Row>
inline void scale(uint32_t* r, const uint32_t* x, size_t shift, const uint32_t* m, size_t n, uint32_t* work,
                  Row row) {
  constexpr size_t kStep = kWords<Digit>;
  const int s = std::countl_zero(load<Digit>(m, n - 1));
  // The complement c = B^n - M, from -M = ~M + 1.
  uint32_t* const c = work;
  shift_up<Digit>(c, m, n, s);
  const Reciprocal<Digit> divisor(load<Digit>(c, n - 1), n > 1 ? load<Digit>(c, n - 2) : Digit{0});
  Digit one = 1;
  for (size_t i = 0; i < n; ++i) {
    const Digit d = Digit(Digit(~load<Digit>(c, i)) + one);
    store<Digit>(c, i, d);
    one = one != 0 && d == 0;
  }

  // u = x << (s + shift), to be divided. Its part from digit `whole` up is below B * M.
  const size_t whole = shift / kBits<Digit>;
  const int part = int(shift % kBits<Digit>);
  uint32_t* const u = work + n * kStep;
  std::memset(u, 0, whole * sizeof(Digit));
  uint32_t* const top = u + whole * kStep;
  shift_up<Digit>(top, x, n, s);  // x < m: nothing is shifted out
  store<Digit>(top, n, shift_up<Digit>(top, top, n, part));

  for (size_t i = whole + (part != 0); i-- > 0;) {
    uint32_t* const v = u + i * kStep;  // v[0..n] < B * M becomes v mod M, with v[n] = 0
    const Digit q =
        divisor.quotient(load<Digit>(v, n), load<Digit>(v, n - 1), n > 1 ? load<Digit>(v, n - 2) : Digit{0});
    Digit above = Digit(load<Digit>(v, n) + row(v, c, n, q, Digit{0}) - q);
    while (above != 0) above = Digit(above + 1 - sub<Digit>(v, v, c, n, 0));  // q was too large: -1
  }
  Digit in = 0;
  for (size_t i = n; i-- > 0;) {
    const auto t = DoubleOf<Digit>{load<Digit>(u, i)} << (kBits<Digit> - s);
    store<Digit>(r, i, Digit(high<Digit>(t) | in));
    in = Digit(t);
  }
}

}  // namespace qex::digits
