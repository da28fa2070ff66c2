// The messages of the assertions, word for word.
#include "crypto/assertion.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/instrumentation.h"

namespace qex {
namespace {

// exactly returns a pattern that matches `text` and nothing else, except for the line that qemu may add when
// a process aborts.
std::string exactly(const std::string& text) {
  std::string pattern = "^";
  for (const char c : text) {
    if (std::string("\\|()*+?.[]^${}").find(c) != std::string::npos) pattern += '\\';
    pattern += c;
  }
  return pattern + (test::Emulated() ? "\n" : "\n$");
}

TEST(AssertionDeathTest, EveryClaimHasItsTextFileAndLine) {
  const struct {
    Claim claim;
    const char* message;
  } cases[] = {
      {Claim::PoolHasSlot, R"(0, file ..\bignum.c, line 258)"},
      {Claim::QuotientIsOneWord, R"(thi < b, file ..\bignum86.c, line 392)"},
      {Claim::ErrorBoundIsKnown, R"(!"invalid primality error bound", file ..\bigprime.c, line 1295)"},
      {Claim::JacobiModulusIsOdd, R"(is_odd(n->digits[0]), file ..\bnlucas.c, line 62)"},
      {Claim::NumberIsNotZero, R"(KXBN_getsize(n) >= 2, file ..\bnlucas.c, line 74)"},
      {Claim::SymbolModulusIsOdd, R"(is_odd(lsw), file ..\bnlucas.c, line 101)"},
      {Claim::UpperNumberIsOdd, R"(lsw==1 || lsw==3, file ..\bnlucas.c, line 117)"},
      {Claim::LowerNumberIsOdd, R"(lsw==1 || lsw==3, file ..\bnlucas.c, line 121)"},
      {Claim::DigestContextFits, R"(sizeof(hashctx) >= hi->ctxsz, file ..\dsa.c, line 61)"},
      {Claim::DigestHasTheBitsOfQ,
       R"(params->N == 0 || params->N == params->qhf->hashsz * 8, file ..\dsa.c, line 574)"},
      {Claim::DigestCoversQ, R"(params->qhf->hashsz >= Nbytes, file ..\dsa.c, line 582)"},
      {Claim::SearchFoundNoPrime, R"(rc == KXBN_NONPRIME, file ..\dsa.c, line 652)"},
      {Claim::PrimeSizeIsKnown, R"(!"invalid rsa prime size", file ..\rsa.c, line 141)"},
      {Claim::ModulusIsPresent, R"(!!(mod), file ..\rsa.c, line 538)"},
      {Claim::ExponentIsPresent, R"(!!(exp), file ..\rsa.c, line 539)"},
      {Claim::QIsPresent, R"(!!(key->q), file ..\rsa.c, line 554)"},
      {Claim::Dmp1IsPresent, R"(!!(key->dmp1), file ..\rsa.c, line 555)"},
      {Claim::Dmq1IsPresent, R"(!!(key->dmq1), file ..\rsa.c, line 556)"},
      {Claim::IqmpIsPresent, R"(!!(key->iqmp), file ..\rsa.c, line 557)"},
  };
  for (const auto& c : cases) {
    EXPECT_DEATH(AssertionFailed(c.claim), exactly(std::string("Assertion failed: ") + c.message));
  }
}

TEST(AssertionDeathTest, TheMessageReachesABufferedErrorStreamToo) {
  // abort flushes no stream.
  EXPECT_DEATH(
      {
        static char buffer[BUFSIZ];
        std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
        AssertionFailed(Claim::PoolHasSlot);
      },
      exactly("Assertion failed: 0, file ..\\bignum.c, line 258"));
}

}  // namespace
}  // namespace qex
