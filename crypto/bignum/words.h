// Word kernels of the big numbers: the inner loops.
//
// Vectors of 32-bit words, least significant first; B is 2^32. A kernel allocates nothing and knows no signs.
// "Apart" means that two vectors do not overlap. Builds for debugging check these conditions on operands.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

// ClearWords sets r[0..n) to 0.
void ClearWords(uint32_t* r, size_t n);

// CompareWords compares a[0..n) and b[0..n) from the top: -1, 0 or +1.
[[nodiscard]] int CompareWords(const uint32_t* a, const uint32_t* b, size_t n);

// AddWord computes r[0..n) += w and returns the carry: 0 or 1, or w when n is 0.
[[nodiscard]] uint32_t AddWord(uint32_t* r, size_t n, uint32_t w);

// AddWords computes r[0..n) = a[0..n) + b[0..n) and returns the carry. Each operand is r, or apart.
[[nodiscard]] uint32_t AddWords(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n);

// SubWords computes r[0..n) = a[0..n) - b[0..n) and returns the borrow. Each operand is r, or apart.
[[nodiscard]] uint32_t SubWords(uint32_t* r, const uint32_t* a, const uint32_t* b, size_t n);

// MulWords computes r[0..n) = a[0..n) * w and returns the word carried out. r is a, or apart.
[[nodiscard]] uint32_t MulWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w);

// MulAddWords computes r[0..n) += a[0..n) * w and returns the word carried out. r is a, or apart.
[[nodiscard]] uint32_t MulAddWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w);

// MulSubWords computes r[0..n) -= a[0..n) * w and returns the word still to be
// taken from r[n]. r is a, or apart.
[[nodiscard]] uint32_t MulSubWords(uint32_t* r, const uint32_t* a, size_t n, uint32_t w);

// DivWords returns thi:tlo / b and stores the remainder in `*remainder`. Asserts "thi < b",
// which says that the quotient is one word and b is not 0.
[[nodiscard]] uint32_t DivWords(uint32_t thi, uint32_t tlo, uint32_t b, uint32_t* remainder);

// ProductWords computes r[0..la+lb) = a[0..la) * b[0..lb), row by row of b; la >= lb >= 1.
// r is apart from both operands, which may be one vector.
void ProductWords(uint32_t* r, const uint32_t* a, size_t la, const uint32_t* b, size_t lb);

// MontWorkWords is the size of the working area of the Montgomery kernels below for
// operands of n words. They compute with R = B^n and an odd modulus m of n words, its top ones possibly 0;
// operands are below m, mPrime is -1/m modulo B, and the result r is below m. r may be an operand; the
// working area is apart from everything.
[[nodiscard]] constexpr size_t MontWorkWords(size_t n) {
  return 2 * n + 1;
}

// MontWords returns the number of words, n or one more, with which the kernels below are fastest for a
// modulus of n words; the modulus then has a word of 0 at its top, and R follows.
[[nodiscard]] size_t MontWords(size_t n);

// MontInverse returns -1/m0 modulo B for an odd m0.
[[nodiscard]] uint32_t MontInverse(uint32_t m0);

// MontProduct computes r = a * b / R mod m.
void MontProduct(uint32_t* r, const uint32_t* a, const uint32_t* b, const uint32_t* m, size_t n,
                 uint32_t mPrime, uint32_t* work);

// MontSquare computes r = a * a / R mod m.
void MontSquare(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, uint32_t mPrime, uint32_t* work);

// MontReduce computes r = a / R mod m, which leads out of Montgomery form.
void MontReduce(uint32_t* r, const uint32_t* a, const uint32_t* m, size_t n, uint32_t mPrime, uint32_t* work);

}  // namespace qex
