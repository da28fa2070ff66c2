// The output of an assertion.
//
// Texts, files and lines are part of the library's interface: they are fixed, wherever the
// code is.
#include "crypto/assertion.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace qex {
namespace {

struct ClaimRow {
  Claim claim;
  int line;
  const char* file;
  const char* text;
};

// clang-format off
constexpr ClaimRow kClaims[] = {
    {Claim::PoolHasSlot,          258, "..\\bignum.c",    "0"},
    {Claim::QuotientIsOneWord,    392, "..\\bignum86.c",  "thi < b"},
    {Claim::ErrorBoundIsKnown,   1295, "..\\bigprime.c",  "!\"invalid primality error bound\""},
    {Claim::JacobiModulusIsOdd,    62, "..\\bnlucas.c",   "is_odd(n->digits[0])"},
    {Claim::NumberIsNotZero,       74, "..\\bnlucas.c",   "KXBN_getsize(n) >= 2"},
    {Claim::SymbolModulusIsOdd,   101, "..\\bnlucas.c",   "is_odd(lsw)"},
    {Claim::UpperNumberIsOdd,     117, "..\\bnlucas.c",   "lsw==1 || lsw==3"},
    {Claim::LowerNumberIsOdd,     121, "..\\bnlucas.c",   "lsw==1 || lsw==3"},
    {Claim::DigestContextFits,     61, "..\\dsa.c",       "sizeof(hashctx) >= hi->ctxsz"},
    {Claim::DigestHasTheBitsOfQ,  574, "..\\dsa.c",       "params->N == 0 || params->N == params->qhf->hashsz * 8"},
    {Claim::DigestCoversQ,        582, "..\\dsa.c",       "params->qhf->hashsz >= Nbytes"},
    {Claim::SearchFoundNoPrime,   652, "..\\dsa.c",       "rc == KXBN_NONPRIME"},
    {Claim::PrimeSizeIsKnown,     141, "..\\rsa.c",       "!\"invalid rsa prime size\""},
    {Claim::ModulusIsPresent,     538, "..\\rsa.c",       "!!(mod)"},
    {Claim::ExponentIsPresent,    539, "..\\rsa.c",       "!!(exp)"},
    {Claim::QIsPresent,           554, "..\\rsa.c",       "!!(key->q)"},
    {Claim::Dmp1IsPresent,        555, "..\\rsa.c",       "!!(key->dmp1)"},
    {Claim::Dmq1IsPresent,        556, "..\\rsa.c",       "!!(key->dmq1)"},
    {Claim::IqmpIsPresent,        557, "..\\rsa.c",       "!!(key->iqmp)"},
};
// clang-format on

[[nodiscard]] constexpr bool each_row_is_at_its_claim() {
  for (size_t i = 0; i < std::size(kClaims); ++i) {
    if (kClaims[i].claim != Claim(i)) return false;
  }
  return std::end(kClaims)[-1].claim == Claim::IqmpIsPresent;
}
static_assert(each_row_is_at_its_claim(), "kClaims has one row a claim, in the order of Claim");

}  // namespace

void AssertionFailed(Claim claim) {
  const ClaimRow& row = kClaims[size_t(claim)];
  std::fprintf(stderr, "Assertion failed: %s, file %s, line %d\n", row.text, row.file, row.line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace qex
