// Products of powers modulo an odd number: the arithmetic of a verification.
//
// For public values only: the time depends on all of them. Nothing is allocated; the working area, at most
// 40 KiB, is on the stack.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

inline constexpr size_t kPowerMaxWords = 256;  // words of the largest modulus: 8192 bits
inline constexpr size_t kPowerMaxTerms = 2;

// PowerTerm is one factor of the product, base^exponent; 0^0 is 1. The exponent may have zeros at its top.
struct PowerTerm {
  const uint32_t* base;      // as many words as the modulus has, and below it
  const uint32_t* exponent;  // words
  uint32_t exponentBits;     // 0 for an exponent of 0
};

// PowerOdd computes r[0..n) = the product of `count` terms modulo m[0..n), for an odd m above 1 whose top
// word is not 0, n up to kPowerMaxWords, and count from 1 to kPowerMaxTerms. Vectors of 32-bit words, least
// significant first. r may be any of the operands.
void PowerOdd(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n);

}  // namespace qex
