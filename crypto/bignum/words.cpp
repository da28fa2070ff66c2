// Word kernels of the big numbers.
//
// digits.h has the loops for digits of 32 and of 64 bits. Here a vector is cut into 64-bit digits where the
// machine has them, and an odd last word is processed by itself; the carry between the two is always a single
// word.
#include "crypto/bignum/words.h"

#include <cstring>
#include <functional>

#include "crypto/assertion.h"
#include "crypto/bignum/digits.h"
#include "ground/expect.h"

namespace qex {
namespace {

using digits::kWide;

// The digit of the machine. Where it is the word, the wide branches below fall away.
#if defined(__SIZEOF_INT128__)
using Wide = uint64_t;
#else
using Wide = uint32_t;
#endif

// Words of a vector of n that are done as wide digits.
constexpr size_t wide_part(size_t n) {
  return kWide ? n & ~size_t{1} : 0;
}

// The Montgomery kernels clear whole digits, so R is the same for both widths only
// when the words are even in number.
[[nodiscard]] constexpr bool mont_wide(size_t n) {
  return kWide && n % 2 == 0;
}

// apart returns whether a[0..la) and b[0..lb) do not overlap.
[[nodiscard, maybe_unused]] bool apart(const uint32_t* a, size_t la, const uint32_t* b, size_t lb) {
  const std::less_equal<> not_above;  // holds for addresses of different blocks, too
  return not_above(a + la, b) || not_above(b + lb, a);
}

[[nodiscard, maybe_unused]] bool same_or_apart(const uint32_t* r, const uint32_t* a, size_t n) {
  return r == a || apart(r, n, a, n);
}

// is_montgomery returns whether m, mPrime and work are as the Montgomery kernels want them for the result r.
[[nodiscard, maybe_unused]] bool is_montgomery(const uint32_t* r, const uint32_t* m, size_t n,
                                               uint32_t mPrime, const uint32_t* work) {
  return n >= 1 && (m[0] & 1) != 0 && uint32_t(m[0] * mPrime) == UINT32_MAX && apart(r, n, m, n) &&
         apart(work, MontWorkWords(n), r, n) && apart(work, MontWorkWords(n), m, n);
}

// is_operand returns whether a may be an operand of them.
[[nodiscard, maybe_unused]] bool is_operand(const uint32_t* a, const uint32_t* r, const uint32_t* m, size_t n,
                                            const uint32_t* work) {
  return CompareWords(a, m, n) < 0 && same_or_apart(r, a, n) && apart(work, MontWorkWords(n), a, n);
}

// product_row: r[0..n) += a[0..n) * w and r[n..n+2) = carry, for a w of two words.
void product_row(uint32_t* r, const uint32_t* a, size_t n, uint64_t w) {
  using digits::DoubleOf;
  const size_t even = wide_part(n);
  Wide carry = digits::mul_add<Wide>(r, a, even / 2, Wide(w), 0);
  if (even != n) {
    // At most (B-1)(B^2-1) + (B-1) + (B^2-1) = B^3 - 1: the carry is again two words.
    const auto t = DoubleOf<Wide>{a[even]} * Wide(w) + r[even] + carry;
    r[even] = uint32_t(t);
    carry = Wide(t >> 32);
  }
  r[n] = uint32_t(carry);
  r[n + 1] = uint32_t(uint64_t{carry} >> 32);
}

}  // namespace

void ClearWords(uint32_t* r, size_t n) {
  if (n != 0) std::memset(r, 0, n * sizeof *r);
}

int CompareWords(const uint32_t* a, const uint32_t* b, size_t n) {
  while (n-- > 0) {
    if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
  }
  return 0;
}

uint32_t AddWord(uint32_t* r, size_t n, uint32_t w) {
  for (size_t i = 0; i < n && w != 0; ++i) {
    r[i] += w;
    w = r[i] < w ? 1 : 0;
  }
  return w;
}

uint32_t AddWords(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n) {
  QEX_EXPECT(same_or_apart(r, a, n) && same_or_apart(r, b, n));
  const size_t even = wide_part(n);
  const auto carry = uint32_t(digits::add<Wide>(r, a, b, even / 2, 0));
  return digits::add<uint32_t>(r + even, a + even, b + even, n - even, carry);
}

uint32_t SubWords(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n) {
  QEX_EXPECT(same_or_apart(r, a, n) && same_or_apart(r, b, n));
  const size_t even = wide_part(n);
  const auto borrow = uint32_t(digits::sub<Wide>(r, a, b, even / 2, 0));
  return digits::sub<uint32_t>(r + even, a + even, b + even, n - even, borrow);
}

// With a digit of 64 bits and a w of one word the carries below stay one word:
// (B^2-1)(B-1) + (B^2-1) + (B-1) = B^3 - 1, and B^2 of it are the digit.
uint32_t MulWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w) {
  QEX_EXPECT(same_or_apart(r, a, n));
  const size_t even = wide_part(n);
  const auto carry = uint32_t(digits::mul<Wide>(r, a, even / 2, w, 0));
  return digits::mul<uint32_t>(r + even, a + even, n - even, w, carry);
}

uint32_t MulAddWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w) {
  QEX_EXPECT(same_or_apart(r, a, n));
  const size_t even = wide_part(n);
  const auto carry = uint32_t(digits::mul_add<Wide>(r, a, even / 2, w, 0));
  return digits::mul_add<uint32_t>(r + even, a + even, n - even, w, carry);
}

uint32_t MulSubWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w) {
  QEX_EXPECT(same_or_apart(r, a, n));
  const size_t even = wide_part(n);
  const auto borrow = uint32_t(digits::mul_sub<Wide>(r, a, even / 2, w, 0));
  return digits::mul_sub<uint32_t>(r + even, a + even, n - even, w, borrow);
}

uint32_t DivWords(uint32_t thi, uint32_t tlo, uint32_t b, uint32_t* remainder) {
  QEX_ASSERT(thi < b, Claim::QuotientIsOneWord);
  const uint64_t t = uint64_t{thi} << 32 | tlo;
  *remainder = uint32_t(t % b);
  return uint32_t(t / b);
}

void ProductWords(uint32_t* r, const uint32_t* a, size_t la, const uint32_t* b, size_t lb) {
  QEX_EXPECT(la >= lb && lb >= 1);
  QEX_EXPECT(apart(r, la + lb, a, la) && apart(r, la + lb, b, lb));
  const size_t even = wide_part(lb);
  if (even == 0) {
    r[la] = MulWords(r, a, la, b[0]);
  } else {
    ClearWords(r, la);
    for (size_t i = 0; i < even; i += 2) product_row(r + i, a, la, digits::load<Wide>(b, i / 2));
  }
  for (size_t i = even == 0 ? 1 : even; i < lb; ++i) r[i + la] = MulAddWords(r + i, a, la, b[i]);
}

size_t MontWords(size_t n) {
  return kWide ? n + n % 2 : n;
}

uint32_t MontInverse(uint32_t m0) {
  QEX_EXPECT((m0 & 1) != 0);
  // Bit by bit: x * m0 = -1 holds modulo 2^(i+1) after bit i has been decided. Adding
  // bit i to x adds m0 << i, which is odd there, so it turns bit i of the product.
  uint32_t x = 1;
  uint32_t product = 0 - m0;
  for (int i = 1; i < 32; ++i) {
    if ((product >> i & 1) != 0) {
      x |= uint32_t{1} << i;
      product -= m0 << i;
    }
  }
  return x;
}

void MontProduct(uint32_t* r, const uint32_t* a, const uint32_t* b, const uint32_t* m, size_t n,
                 uint32_t mPrime, uint32_t* work) {
  QEX_EXPECT(is_montgomery(r, m, n, mPrime, work));
  QEX_EXPECT(is_operand(a, r, m, n, work) && is_operand(b, r, m, n, work));
  if (mont_wide(n)) {
    const Wide inverse = digits::mont_inverse<Wide>(digits::load<Wide>(m, 0), mPrime);
    digits::mont_product<Wide>(r, a, b, m, n / 2, inverse, work);
  } else {
    digits::mont_product<uint32_t>(r, a, b, m, n, mPrime, work);
  }
}

void MontSquare(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, uint32_t mPrime,
                uint32_t* work) {
  QEX_EXPECT(is_montgomery(r, m, n, mPrime, work) && is_operand(a, r, m, n, work));
  if (mont_wide(n)) {
    const Wide inverse = digits::mont_inverse<Wide>(digits::load<Wide>(m, 0), mPrime);
    digits::mont_square<Wide>(r, a, m, n / 2, inverse, work);
  } else {
    digits::mont_square<uint32_t>(r, a, m, n, mPrime, work);
  }
}

void MontReduce(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, uint32_t mPrime,
                uint32_t* work) {
  QEX_EXPECT(is_montgomery(r, m, n, mPrime, work) && is_operand(a, r, m, n, work));
  if (mont_wide(n)) {
    const Wide inverse = digits::mont_inverse<Wide>(digits::load<Wide>(m, 0), mPrime);
    digits::mont_reduce<Wide>(r, a, m, n / 2, inverse, work);
  } else {
    digits::mont_reduce<uint32_t>(r, a, m, n, mPrime, work);
  }
}

}  // namespace qex
