// Vector kernels over digits of either width.
//
// A vector of 32-bit words, least significant first, is on a little-endian machine
// at the same time a vector of 64-bit digits. Each kernel is written once for both
// widths; words.cpp takes the wide one where the compiler has a product of two such
// digits. Vectors are always addressed as words, `n` counts digits, and the results
// do not depend on the width.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qex::digits {

template <class Digit>
struct Double;  // the type that holds a product of two digits

template <>
struct Double<uint32_t> {
  using type = uint64_t;
};

#if defined(__SIZEOF_INT128__)
template <>
struct Double<uint64_t> {
  using type = unsigned __int128;
};
inline constexpr bool kWide = std::endian::native == std::endian::little;
#else
inline constexpr bool kWide = false;
#endif

template <class Digit>
using DoubleOf = typename Double<Digit>::type;

template <class Digit>
inline constexpr int kBits = int(8 * sizeof(Digit));

template <class Digit>
inline constexpr size_t kWords = sizeof(Digit) / sizeof(uint32_t);  // words in one digit

template <class Digit>
inline Digit load(const uint32_t* p, size_t i) {
  Digit d;
  std::memcpy(&d, p + i * kWords<Digit>, sizeof d);
  return d;
}

template <class Digit>
inline void store(uint32_t* p, size_t i, Digit d) {
  std::memcpy(p + i * kWords<Digit>, &d, sizeof d);
}

template <class Digit>
inline Digit high(DoubleOf<Digit> t) {
  return Digit(t >> kBits<Digit>);
}

// mul: r[0..n) = a[0..n) * w + carry; returns the digit carried out. r is a, or apart from it.
template <class Digit>
inline Digit mul(uint32_t* r, const uint32_t* a, size_t n, Digit w, Digit carry) {
  for (size_t i = 0; i < n; ++i) {
    // At most (B-1)^2 + (B-1) < B^2.
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} * w + carry;
    store<Digit>(r, i, Digit(t));
    carry = high<Digit>(t);
  }
  return carry;
}

// mul_add: r[0..n) += a[0..n) * w + carry; returns the digit carried out. r is a, or apart from it.
template <class Digit>
inline Digit mul_add(uint32_t* r, const uint32_t* a, size_t n, Digit w, Digit carry) {
  for (size_t i = 0; i < n; ++i) {
    // At most (B-1)^2 + 2(B-1) = B^2 - 1.
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} * w + load<Digit>(r, i) + carry;
    store<Digit>(r, i, Digit(t));
    carry = high<Digit>(t);
  }
  return carry;
}

// mul_sub: r[0..n) -= a[0..n) * w + borrow; returns the digit still to be taken from
// r[n]. r is a, or apart from it.
template <class Digit>
inline Digit mul_sub(uint32_t* r, const uint32_t* a, size_t n, Digit w, Digit borrow) {
  for (size_t i = 0; i < n; ++i) {
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} * w + borrow;  // at most B^2 - B
    const Digit old = load<Digit>(r, i);
    const Digit low = Digit(t);
    store<Digit>(r, i, Digit(old - low));
    // The high digit of t is at most B - 1, and B - 1 only when low is 0: the sum is a digit.
    borrow = Digit(high<Digit>(t) + (old < low));
  }
  return borrow;
}

// add: r[0..n) = a[0..n) + b[0..n) + carry (0 or 1); returns the carry. Each operand is
// r, or apart from it.
template <class Digit>
inline Digit add(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n, Digit carry) {
  for (size_t i = 0; i < n; ++i) {
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} + load<Digit>(b, i) + carry;  // at most 2B - 1
    store<Digit>(r, i, Digit(t));
    carry = high<Digit>(t);
  }
  return carry;
}

// sub: r[0..n) = a[0..n) - b[0..n) - borrow (0 or 1); returns the borrow. Each operand is
// r, or apart from it.
template <class Digit>
inline Digit sub(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n, Digit borrow) {
  for (size_t i = 0; i < n; ++i) {
    // At least -B: the digit above the difference is then all ones, and its last bit the borrow.
    const auto t = DoubleOf<Digit>{load<Digit>(a, i)} - load<Digit>(b, i) - borrow;
    store<Digit>(r, i, Digit(t));
    borrow = high<Digit>(t) & 1;
  }
  return borrow;
}

// mont_inverse widens m' = -1/m modulo 2^32 to a digit by Newton's step: when m * x = -1
// modulo 2^k, then m * x(2 + m * x) = -1 modulo 2^2k.
template <class Digit>
inline Digit mont_inverse(Digit m0, uint32_t mPrime) {
  Digit x = mPrime;
  if constexpr (sizeof(Digit) > sizeof(uint32_t)) x = x * (2 + m0 * x);
  return x;
}

// mont_subtract: r[0..n) = t - m when t >= m, else t, for the n + 1 digits t = top:t[0..n) < 2m. r and t do
// not overlap.
template <class Digit>
inline void mont_subtract(uint32_t* r, const uint32_t* t, Digit top, const uint32_t* m, size_t n) {
  const Digit borrow = sub<Digit>(r, t, m, n, 0);
  if (top < borrow) std::memcpy(r, t, n * sizeof(Digit));
}

// mont_reduce_two: two rows of the reduction in one pass, for n >= 2. q0 clears digit 0 and q1 digit 1; q1
// follows directly after q0, so that the two carries run side by side. `top`, 0 or 1, is the part above digit
// n before and above digit n + 1 after.
template <class Digit>
inline Digit mont_reduce_two(uint32_t* row, const uint32_t* m, size_t n, Digit inverse, Digit top) {
  using Wide = DoubleOf<Digit>;
  const Digit m0 = load<Digit>(m, 0);
  const Digit q0 = Digit(load<Digit>(row, 0) * inverse);
  Wide t = Wide{m0} * q0 + load<Digit>(row, 0);  // its low digit is 0
  t = Wide{load<Digit>(m, 1)} * q0 + load<Digit>(row, 1) + high<Digit>(t);
  const Digit q1 = Digit(Digit(t) * inverse);
  Wide u = Wide{m0} * q1 + Digit(t);  // its low digit is 0
  for (size_t j = 2; j < n; ++j) {
    t = Wide{load<Digit>(m, j)} * q0 + load<Digit>(row, j) + high<Digit>(t);  // at most B^2 - 1
    u = Wide{load<Digit>(m, j - 1)} * q1 + Digit(t) + high<Digit>(u);         // likewise
    store<Digit>(row, j, Digit(u));
  }
  t = Wide{load<Digit>(row, n)} + high<Digit>(t) + top;  // at most 2B - 1
  u = Wide{load<Digit>(m, n - 1)} * q1 + Digit(t) + high<Digit>(u);
  store<Digit>(row, n, Digit(u));
  t = Wide{load<Digit>(row, n + 1)} + high<Digit>(u) + high<Digit>(t);
  store<Digit>(row, n + 1, Digit(t));
  return high<Digit>(t);
}

// mont_reduce_rows: r = t / B^n mod m, for t < m * B^n in area[0..2n), which is overwritten. Row i adds the
// multiple of m that clears digit i. After it the area holds less than (m * B^n + m * B^(i+1)), so the part
// above digit i + n is 0 or 1: `top`. r does not overlap the area or m.
template <class Digit>
inline void mont_reduce_rows(uint32_t* r, uint32_t* area, const uint32_t* m, size_t n, Digit inverse) {
  Digit top = 0;
  size_t i = 0;
  for (; i + 2 <= n; i += 2) top = mont_reduce_two<Digit>(area + i * kWords<Digit>, m, n, inverse, top);
  if (i < n) {
    uint32_t* const row = area + i * kWords<Digit>;
    const Digit q = Digit(load<Digit>(row, 0) * inverse);
    const Digit carry = mul_add<Digit>(row, m, n, q, 0);
    const auto t = DoubleOf<Digit>{load<Digit>(row, n)} + carry + top;  // at most 2B - 1
    store<Digit>(row, n, Digit(t));
    top = high<Digit>(t);
  }
  mont_subtract<Digit>(r, area + n * kWords<Digit>, top, m, n);
}

// mont_product: r = a * b / B^n mod m, for a, b < m. `area` has 2n digits. r may be a or b.
//
// Row i adds a * b[i] and the multiple of m that clears digit i, both in one pass with
// a carry of its own each. The sum before row i is below 2m, after it below
// (2m + (B-1)m + (B-1)m) / B < 2m in the units of the next row: `top` is 0 or 1.
template <class Digit>
inline void mont_product(uint32_t* r, const uint32_t* a, const uint32_t* b, const uint32_t* m, size_t n,
                         Digit inverse, uint32_t* area) {
  using Wide = DoubleOf<Digit>;
  const Digit a0 = load<Digit>(a, 0);
  const Digit m0 = load<Digit>(m, 0);
  std::memset(area, 0, n * sizeof(Digit));
  Digit top = 0;
  for (size_t i = 0; i < n; ++i) {
    uint32_t* const row = area + i * kWords<Digit>;
    const Digit w = load<Digit>(b, i);
    Wide t = Wide{a0} * w + load<Digit>(row, 0);
    const Digit q = Digit(Digit(t) * inverse);
    Wide u = Wide{m0} * q + Digit(t);  // its low digit is 0
    for (size_t j = 1; j < n; ++j) {
      t = Wide{load<Digit>(a, j)} * w + load<Digit>(row, j) + high<Digit>(t);  // at most B^2 - 1
      u = Wide{load<Digit>(m, j)} * q + Digit(t) + high<Digit>(u);             // likewise
      store<Digit>(row, j, Digit(u));
    }
    t = Wide{high<Digit>(t)} + high<Digit>(u) + top;
    store<Digit>(row, n, Digit(t));
    top = high<Digit>(t);
  }
  mont_subtract<Digit>(r, area + n * kWords<Digit>, top, m, n);
}

// add_two_rows: the products of a[i] and of a[i+1] with all digits above them, added at
// digits i + j in one pass; the second row follows the first by one digit. Digits from
// i + n upward have not been written before. i + 2 <= n.
template <class Digit>
inline void add_two_rows(uint32_t* area, const uint32_t* a, size_t n, size_t i) {
  using Wide = DoubleOf<Digit>;
  const Digit w0 = load<Digit>(a, i);
  const Digit w1 = load<Digit>(a, i + 1);
  Wide t = 0;
  Wide u = 0;
  for (size_t j = i + 1; j < n && j < i + 3; ++j) {
    t = Wide{load<Digit>(a, j)} * w0 + load<Digit>(area, i + j) + high<Digit>(t);
    store<Digit>(area, i + j, Digit(t));
  }
  for (size_t j = i + 3; j < n; ++j) {
    t = Wide{load<Digit>(a, j)} * w0 + load<Digit>(area, i + j) + high<Digit>(t);  // at most B^2 - 1
    u = Wide{load<Digit>(a, j - 1)} * w1 + Digit(t) + high<Digit>(u);              // likewise
    store<Digit>(area, i + j, Digit(u));
  }
  const Digit last = i + 2 < n ? load<Digit>(a, n - 1) : 0;
  u = Wide{last} * w1 + high<Digit>(t) + high<Digit>(u);
  store<Digit>(area, i + n, Digit(u));
  store<Digit>(area, i + n + 1, high<Digit>(u));
}

// square_vector: area[0..2n) = a[0..n)^2. Every product of two different digits is added once; one pass then
// doubles the sum and adds the squares. a does not overlap the area.
template <class Digit>
inline void square_vector(uint32_t* area, const uint32_t* a, size_t n) {
  using Wide = DoubleOf<Digit>;
  std::memset(area, 0, n * sizeof(Digit));
  size_t row = 0;
  for (; row + 2 <= n; row += 2) add_two_rows<Digit>(area, a, n, row);
  if (row < n) store<Digit>(area, 2 * n - 1, 0);  // there is nothing above the last digit
  Digit bit = 0;                                  // shifted out of the digit below
  Digit carry = 0;
  for (size_t i = 0; i < n; ++i) {
    const Digit low = load<Digit>(area, 2 * i);
    const Digit up = load<Digit>(area, 2 * i + 1);
    const Wide square = Wide{load<Digit>(a, i)} * load<Digit>(a, i);
    const Wide t = Wide{Digit(low << 1 | bit)} + Digit(square) + carry;  // at most 2B - 1
    const Wide u = Wide{Digit(up << 1 | low >> (kBits<Digit> - 1))} + high<Digit>(square) + high<Digit>(t);
    store<Digit>(area, 2 * i, Digit(t));
    store<Digit>(area, 2 * i + 1, Digit(u));
    bit = Digit(up >> (kBits<Digit> - 1));
    carry = high<Digit>(u);
  }
}

// mont_square: r = a * a / B^n mod m, for a < m. `area` has 2n digits. r may be a.
template <class Digit>
inline void mont_square(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, Digit inverse,
                        uint32_t* area) {
  square_vector<Digit>(area, a, n);
  mont_reduce_rows<Digit>(r, area, m, n, inverse);
}

// mont_reduce: r = a / B^n mod m, for a < m. `area` has 2n digits. r may be a.
template <class Digit>
inline void mont_reduce(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, Digit inverse,
                        uint32_t* area) {
  std::memcpy(area, a, n * sizeof(Digit));
  std::memset(area + n * kWords<Digit>, 0, n * sizeof(Digit));
  mont_reduce_rows<Digit>(r, area, m, n, inverse);
}

}  // namespace qex::digits
