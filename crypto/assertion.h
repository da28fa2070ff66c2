// Assertions of the cryptographic layer: a broken precondition stops the process, in releases too.
//
// A site names the claim that must hold; the table of assertion.cpp has its output.
#pragma once

#include <cstdint>

namespace qex {

// Claim is a condition that must hold. They are grouped by the file that the message names.
enum class Claim : uint32_t {
  PoolHasSlot,
  QuotientIsOneWord,
  ErrorBoundIsKnown,
  JacobiModulusIsOdd,
  NumberIsNotZero,
  SymbolModulusIsOdd,
  UpperNumberIsOdd,
  LowerNumberIsOdd,
  DigestContextFits,
  DigestHasTheBitsOfQ,
  DigestCoversQ,
  SearchFoundNoPrime,
  PrimeSizeIsKnown,
  ModulusIsPresent,
  ExponentIsPresent,
  QIsPresent,
  Dmp1IsPresent,
  Dmq1IsPresent,
  IqmpIsPresent,
};

// AssertionFailed writes "Assertion failed: %s, file %s, line %d\n" for the claim to the standard error
// stream and aborts the process.
[[noreturn]] void AssertionFailed(Claim claim);

}  // namespace qex

// QEX_ASSERT stops the process unless `condition` holds, which the claim says in words.
#define QEX_ASSERT(condition, claim)                   \
  do {                                                 \
    if (!(condition)) ::qex::AssertionFailed((claim)); \
  } while (false)
