// A kernel of power_steps.h that multiplies eight digits of 52 bits at a time.
//
// Lanes has the instructions: those of AVX-512 IFMA in power_ifma.cpp, a stand-in of plain C++ in the tests.
// Its products read the low 52 bits of each factor and add the low or the high 52 bits of the 104.
//
// The modulus m has d digits' room: R = 2^(52d) >= 16m. Values lie in V >= d / 8 vectors, the digits from
// d upward 0. They are below 3m, not below m ("almost reduced"), and have digits of exactly 52 bits.
//
// One row for each digit of b adds a * b[i] and a multiple of m that clears digit 0 of the sum, which then
// moves down by a digit. Every row but the last adds q * N, N = m * v with v = -1/m modulo 2^52. As N is -1
// modulo 2^52, q is digit 0 itself, and adding q * N and moving down means dropping digit 0 and adding q * M,
// M = (N + 1) / 2^52 <= m. The last row adds q * m with q = v * digit 0 modulo 2^52: with N the result would
// have a digit too many.
//
// Size of a product. All rows together add less than R * m by N, as the q before the last are a number below
// R / 2^52 and N < 2^52 * m, and less than R * m by the last row. With a, b < 3m the result is below
// (9m^2 + 2Rm) / R <= (9/16 + 2) m < 3m, which is less than R: the digits from d upward are 0 indeed.
//
// Size of a lane. In one row a lane receives four halves of products, each below 2^52, and lane 0 of the
// first vector what was above its 52 bits. After d <= 80 rows a lane is below 80 * 4 * 2^52 + 2^12 < 2^61: it
// never overflows. Only then are the digits brought to 52 bits (normalise).
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "crypto/bignum/power.h"
#include "crypto/bignum/scale.h"

namespace qex {

inline constexpr uint32_t kIfmaMinBits = 1024;
inline constexpr uint32_t kIfmaMaxBits = 4096;

template <class Lanes>
class IfmaKernel {
 public:
  using Digit = uint64_t;
  static constexpr size_t kMaxDigits = 80;  // ceil(4100 / 52) = 79, in whole vectors

  // The modulus has kIfmaMinBits to kIfmaMaxBits bits.
  IfmaKernel(const uint32_t* m, size_t n);

  [[nodiscard]] size_t size() const { return 8 * vectors_; }
  void enter(uint64_t* r, const uint32_t* x);
  void plain(uint64_t* r, const uint32_t* x) const { split(r, x); }
  void product(uint64_t* r, const uint64_t* a, const uint64_t* b) const { multiply_(r, a, b, *this); }
  void square(uint64_t* r, const uint64_t* a) const { multiply_(r, a, a, *this); }
  void leave(uint32_t* r, const uint64_t* a);

 private:
  using Vector = typename Lanes::Vector;
  using Wide = unsigned __int128;
  static constexpr uint64_t kMask = (uint64_t{1} << 52) - 1;
  static constexpr size_t kMaxApart = 8;                 // vectors for which rows_apart has registers
  static constexpr size_t kMaxWide = kIfmaMaxBits / 64;  // digits of 64 bits

  template <size_t V>
  static void multiply(uint64_t* r, const uint64_t* a, const uint64_t* b, const IfmaKernel& kernel);
  template <size_t V>
  static void rows_apart(Vector (&sum)[V], const Vector (&x)[V], const Vector (&M)[V], const uint64_t* b,
                         size_t last, Vector& before);
  template <size_t V>
  static void rows_in_place(Vector (&sum)[V], const Vector (&x)[V], const Vector (&M)[V], const uint64_t* b,
                            size_t last, Vector& before);
  template <size_t V>
  static void move_down(Vector (&sum)[V]) {
    for (size_t v = 0; v + 1 < V; ++v) sum[v] = Lanes::down(sum[v], sum[v + 1]);
    sum[V - 1] = Lanes::down(sum[V - 1], Lanes::zero());
  }
  template <size_t V>
  static void normalise(uint64_t* r, Vector (&sum)[V]);
  void choose();
  template <size_t V>
  void use() {
    vectors_ = V;
    multiply_ = multiply<V>;
  }
  void split(uint64_t* r, const uint32_t* x) const;
  static uint32_t* words(uint64_t* digits) { return reinterpret_cast<uint32_t*>(digits); }

  size_t n_, wide_;          // words of the modulus, and digits of 64 bits
  size_t digits_, vectors_;  // d and V
  void (*multiply_)(uint64_t* r, const uint64_t* a, const uint64_t* b, const IfmaKernel& kernel);
  uint64_t v_;                          // -1/m modulo 2^52
  uint64_t modulus_[kMaxWide];          // m in digits of 64 bits
  alignas(64) uint64_t m_[kMaxDigits];  // m and M in digits of 52
  alignas(64) uint64_t M_[kMaxDigits];
  uint64_t work_[digits::scale_digits<uint64_t>(kMaxWide, 52 * kMaxDigits)];
};

template <class Lanes>
IfmaKernel<Lanes>::IfmaKernel(const uint32_t* m, size_t n) : n_(n), wide_((n + 1) / 2) {
  const size_t bits = 32 * n - size_t(std::countl_zero(m[n - 1]));
  digits_ = (bits + 4 + 51) / 52;
  choose();
  modulus_[wide_ - 1] = 0;
  std::memcpy(modulus_, m, n * sizeof *m);
  split(m_, m);

  // Newton: x = 1/m modulo 2^k becomes x * (2 - m * x), 1/m modulo 2^2k. m is its own inverse modulo 8.
  uint64_t x = modulus_[0];
  for (int k = 3; k < 52; k *= 2) x *= 2 - modulus_[0] * x;
  v_ = (0 - x) & kMask;
  // N has d + 1 digits, and digit 0 is 2^52 - 1: adding 1 leaves 0 and a carry.
  Wide t = Wide{m_[0]} * v_ + 1;
  for (size_t i = 1; i < size(); ++i) {
    t = Wide{m_[i]} * v_ + (t >> 52);  // below 2^104
    M_[i - 1] = uint64_t(t) & kMask;
  }
  M_[size() - 1] = uint64_t(t >> 52);
}

// choose sets the routine with the fewest vectors that suffice: moduli of 1024, 2048, 3072 and 4096 bits have
// routines of their own.
template <class Lanes>
void IfmaKernel<Lanes>::choose() {
  const size_t needed = (digits_ + 7) / 8;
  if (needed <= 3) {
    use<3>();
  } else if (needed <= 5) {
    use<5>();
  } else if (needed <= 8) {
    use<8>();
  } else {
    use<10>();
  }
}

// split cuts the words x[0..n) into digits of 52 bits. Two of them are 13 octets.
template <class Lanes>
void IfmaKernel<Lanes>::split(uint64_t* r, const uint32_t* x) const {
  uint8_t octets[kMaxDigits / 2 * 13 + 8];
  std::memcpy(octets, x, 4 * n_);
  std::memset(octets + 4 * n_, 0, size() / 2 * 13 + 8 - 4 * n_);
  for (size_t i = 0; i < size(); i += 2) {
    uint64_t low, up;
    std::memcpy(&low, octets + i / 2 * 13, sizeof low);
    std::memcpy(&up, octets + i / 2 * 13 + 6, sizeof up);
    r[i] = low & kMask;
    r[i + 1] = up >> 4 & kMask;
  }
}

template <class Lanes>
void IfmaKernel<Lanes>::enter(uint64_t* r, const uint32_t* x) {
  uint64_t value[kMaxWide];
  value[wide_ - 1] = 0;
  std::memcpy(value, x, n_ * sizeof *x);
  digits::scale<uint64_t>(words(value), words(value), 52 * digits_, words(modulus_), wide_, words(work_),
                          Lanes::row);
  split(r, words(value));
}

// leave joins the digits of a, which is below 3m, to digits of 64 bits and subtracts m at most twice.
template <class Lanes>
void IfmaKernel<Lanes>::leave(uint32_t* r, const uint64_t* a) {
  uint8_t octets[kMaxDigits / 2 * 13 + 16] = {};
  for (size_t i = 0; i < size(); i += 2) {
    // The three octets above each pair of digits are 0 until the next pair overwrites them.
    const Wide pair = Wide{a[i + 1]} << 52 | a[i];
    std::memcpy(octets + i / 2 * 13, &pair, sizeof pair);
  }
  uint64_t value[kMaxWide + 1], less[kMaxWide];
  std::memcpy(value, octets, (wide_ + 1) * sizeof *value);
  uint64_t top = value[wide_];
  for (;;) {
    const uint64_t borrow = digits::sub<uint64_t>(words(less), words(value), words(modulus_), wide_, 0);
    if (top < borrow) break;
    top -= borrow;
    std::memcpy(value, less, wide_ * sizeof *less);
  }
  std::memcpy(r, value, n_ * sizeof *r);
}

// In the rows below, halves of q * M that belong a digit higher wait a row, with their q in `before`. The sum
// has the low halves of row i already when the row starts, and those of row i + 1 when it ends.

// rows_apart adds up what does not depend on the sum on its own, in `side`: row i's high halves and the low
// halves of row i + 1. The next row then waits for one product, not for four.
template <class Lanes>
template <size_t V>
inline void IfmaKernel<Lanes>::rows_apart(Vector (&sum)[V], const Vector (&x)[V], const Vector (&M)[V],
                                          const uint64_t* b, size_t last, Vector& before) {
  Vector digit = Lanes::broadcast(b[0]);
  for (size_t i = 0; i < last; ++i) {
    const Vector next = Lanes::broadcast(b[i + 1]);
    Vector side[V];
    for (size_t v = 0; v < V; ++v) side[v] = Lanes::add_high(Lanes::zero(), x[v], digit);
    for (size_t v = 0; v < V; ++v) side[v] = Lanes::add_high(side[v], M[v], before);
    for (size_t v = 0; v < V; ++v) side[v] = Lanes::add_low(side[v], x[v], next);
    const Vector q = Lanes::broadcast_first(sum[0]);  // its bits from 52 upward do not count as a factor
    side[0] = Lanes::add(side[0], Lanes::first_above_52(sum[0]));
    move_down<V>(sum);
    for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_low(Lanes::add(sum[v], side[v]), M[v], q);
    before = q;
    digit = next;
  }
}

// rows_in_place adds everything to the sum, for numbers of vectors that leave no registers for more.
template <class Lanes>
template <size_t V>
inline void IfmaKernel<Lanes>::rows_in_place(Vector (&sum)[V], const Vector (&x)[V], const Vector (&M)[V],
                                             const uint64_t* b, size_t last, Vector& before) {
  for (size_t i = 0; i < last; ++i) {
    const Vector digit = Lanes::broadcast(b[i]);
    const Vector next = Lanes::broadcast(b[i + 1]);
    const Vector q = Lanes::broadcast_first(sum[0]);
    const Vector carry = Lanes::first_above_52(sum[0]);
    move_down<V>(sum);
    sum[0] = Lanes::add(sum[0], carry);
    for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_high(sum[v], x[v], digit);
    for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_high(sum[v], M[v], before);
    for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_low(sum[v], M[v], q);
    for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_low(sum[v], x[v], next);
    before = q;
  }
}

// multiply: r = a * b / R mod m.
template <class Lanes>
template <size_t V>
void IfmaKernel<Lanes>::multiply(uint64_t* r, const uint64_t* a, const uint64_t* b,
                                 const IfmaKernel& kernel) {
  Vector sum[V], x[V], M[V];
  const Vector first = Lanes::broadcast(b[0]);
  for (size_t v = 0; v < V; ++v) {
    x[v] = Lanes::load(a + 8 * v);
    M[v] = Lanes::load(kernel.M_ + 8 * v);
    sum[v] = Lanes::add_low(Lanes::zero(), x[v], first);
  }
  Vector before = Lanes::zero();
  const size_t last = kernel.digits_ - 1;
  if constexpr (V <= kMaxApart) {
    rows_apart<V>(sum, x, M, b, last, before);
  } else {
    rows_in_place<V>(sum, x, M, b, last, before);
  }

  // The last row: q * m has to be added before the sum moves, as digit 0 of m is not -1.
  const Vector digit = Lanes::broadcast(b[last]);
  const Vector q = Lanes::add_low(Lanes::zero(), Lanes::broadcast_first(sum[0]), Lanes::broadcast(kernel.v_));
  for (size_t v = 0; v < V; ++v) sum[v] = Lanes::add_low(sum[v], Lanes::load(kernel.m_ + 8 * v), q);
  const Vector carry = Lanes::first_above_52(sum[0]);
  move_down<V>(sum);
  sum[0] = Lanes::add(sum[0], carry);
  for (size_t v = 0; v < V; ++v) {
    sum[v] = Lanes::add_high(sum[v], x[v], digit);
    sum[v] = Lanes::add_high(sum[v], M[v], before);
    sum[v] = Lanes::add_high(sum[v], Lanes::load(kernel.m_ + 8 * v), q);
  }
  normalise<V>(r, sum);
}

// normalise stores the value of `sum` in digits of 52 bits. First every lane gives what is above its 52 bits,
// less than 2^9, to the next; a lane is then below 2^52 + 2^9 and its carry 0 or 1. The carries of all lanes
// come from one addition: a lane above the mask makes one, and one equal to it passes one on.
template <class Lanes>
template <size_t V>
void IfmaKernel<Lanes>::normalise(uint64_t* r, Vector (&sum)[V]) {
  const Vector mask = Lanes::broadcast(kMask);
  Vector below = Lanes::zero();
  Wide makes = 0;
  Wide passes = 0;
  for (size_t v = 0; v < V; ++v) {
    const Vector above = Lanes::above_52(sum[v]);
    sum[v] = Lanes::add(Lanes::both(sum[v], mask), Lanes::up(below, above));
    below = above;
    makes |= Wide{Lanes::lanes_above(sum[v], mask)} << 8 * v;
    passes |= Wide{Lanes::lanes_equal(sum[v], mask)} << 8 * v;
  }
  const Wide carries = ((makes << 1) + passes) ^ passes;  // bit k: into lane k
  for (size_t v = 0; v < V; ++v) {
    sum[v] = Lanes::both(Lanes::add_one(sum[v], uint8_t(carries >> 8 * v)), mask);
    Lanes::store(r + 8 * v, sum[v]);
  }
}

}  // namespace qex
