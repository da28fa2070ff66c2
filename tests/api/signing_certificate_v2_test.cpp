// The two versions of the signing-certificate attribute in the exports, and the switch between them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "api/signing_certificate.h"
#include "tests/support/exports.h"
#include "tests/support/fresh_process.h"
#include "tests/support/naming_tokens.h"

namespace qex::test {
namespace {

constexpr Verdict kNoCertificate{QEX_E_NOCERT, kLacksAPart};

// --- The switch ------------------------------------------------------------------------

TEST(EssSwitch, IsOnForExactly1) {
  InFreshProcess("1", [] { EXPECT_EQ(UseEssCertIdV2(), 1u); });
}

TEST(EssSwitch, IsOffForAnyOtherValue) {
  InFreshProcess("0", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("01", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("1 ", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess(" 1", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("11", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("true", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess("", [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
  InFreshProcess(nullptr, [] { EXPECT_EQ(UseEssCertIdV2(), 0u); });
}

// Deliberate: read once in the life of the process.
TEST(EssSwitch, IsReadOnce) {
  InFreshProcess("1", [] {
    EXPECT_EQ(UseEssCertIdV2(), 1u);
    setenv("QEX_VERIFY_ESSCERTIDV2", "0", 1);
    EXPECT_EQ(UseEssCertIdV2(), 1u);
    unsetenv("QEX_VERIFY_ESSCERTIDV2");
    EXPECT_EQ(UseEssCertIdV2(), 1u);
  });
  InFreshProcess(nullptr, [] {
    EXPECT_EQ(UseEssCertIdV2(), 0u);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(UseEssCertIdV2(), 0u);
  });
}

TEST(EssSwitch, IsReadByTheFirstCheckAndNotBefore) {
  InFreshProcess(nullptr, [] {
    // A token that is refused before any certificate is looked for leaves the switch unread.
    TokenMaker maker;
    maker.signers.clear();
    EXPECT_EQ(Verify(maker.encode()), QEX_E_BADTOKEN);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(Verify(TokenNaming({}, {NameV2(kSha256, AuthorityCertificate())})), QEX_OK);
  });
}

TEST(EssSwitch, IsNotReadForATokenWithoutCertificates) {
  // The search read the switch before it knew whether there was a certificate to check.
  InFreshProcess(nullptr, [] {
    TokenMaker maker;
    maker.certificates.clear();
    EXPECT_EQ(Verify(maker.encode()), QEX_E_NOCERT);
    setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
    EXPECT_EQ(Verify(TokenNaming({}, {NameV2(kSha256, AuthorityCertificate())})), QEX_OK);
  });
}

// --- The second version ------------------------------------------------------------------

TEST(EssCertIdV2, AnySha2DigestNamesTheCertificate) {
  InFreshProcess("1", [] {
    for (const char* digest : {kSha256, kSha384, kSha512}) {
      const Octets token = TokenNaming({}, {NameV2(digest, AuthorityCertificate())});
      EXPECT_EQ(VerdictOn(token), kVerifies) << digest;
      EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), kVerifies) << digest;
      EXPECT_EQ(Fetch(TsaCert(token)).octets, AuthorityCertificate()) << digest;
    }
  });
}

TEST(EssCertIdV2, Sha1AndMd5NeverMatch) {
  InFreshProcess("1", [] {
    for (const char* digest : {kSha1, kMd5}) {
      const Octets token = TokenNaming({}, {NameV2(digest, AuthorityCertificate())});
      EXPECT_EQ(VerdictOn(token), kNoCertificate) << digest;
      EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0})) << digest;
    }
  });
}

TEST(EssCertIdV2, ParametersOfTheAlgorithmDoNotMatter) {
  InFreshProcess("1", [] {
    const Octets hash = Digest(kSha256, AuthorityCertificate());
    EXPECT_EQ(VerdictOn(TokenNaming({}, {EssCertIdV2(der::algorithm(kSha256, der::null()), hash)})),
              kVerifies);
  });
}

TEST(EssCertIdV2, AbsentAlgorithmIsSha256) {
  InFreshProcess("1", [] {
    const Octets token = TokenNaming({}, {EssCertIdV2({}, Digest(kSha256, AuthorityCertificate()))});
    EXPECT_EQ(VerdictOn(token), kVerifies);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), kVerifies);
    for (const char* other : {kSha1, kSha384, kSha512}) {
      EXPECT_EQ(VerdictOn(TokenNaming({}, {EssCertIdV2({}, Digest(other, AuthorityCertificate()))})),
                kNoCertificate)
          << other;
    }
  });
}

TEST(EssCertIdV2, HashUnderAnotherAlgorithmDoesNotMatch) {
  InFreshProcess("1", [] {
    const Octets token =
        TokenNaming({}, {EssCertIdV2(der::algorithm(kSha384), Digest(kSha256, AuthorityCertificate()))});
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, OtherCertificateDoesNotMatch) {
  InFreshProcess("1", [] {
    const Octets token = TokenNaming({}, {NameV2(kSha256, OtherCertificate())});
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, CertificateNamedOnlySecondIsAMismatch) {
  InFreshProcess("1", [] {
    const Octets token =
        TokenNaming({}, {NameV2(kSha256, OtherCertificate()), NameV2(kSha256, AuthorityCertificate())});
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
  });
}

TEST(EssCertIdV2, FirstVersionAloneCountsAsNone) {
  InFreshProcess("1", [] {
    const Octets token = TokenMaker().encode();
    EXPECT_EQ(VerdictOn(token), kNoCertificate);
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
    EXPECT_EQ(AskLength(TsaCert(token), kUnset),
              (Output{QEX_E_NOCERT, uint32_t(AuthorityCertificate().size()), {}}));
  });
}

TEST(EssCertIdV2, OfBothVersionsTheOneSwitchedToCounts) {
  const auto second_right = [] {
    return TokenNaming({NameV1(OtherCertificate())}, {NameV2(kSha256, AuthorityCertificate())});
  };
  const auto first_right = [] {
    return TokenNaming({NameV1(AuthorityCertificate())}, {NameV2(kSha256, OtherCertificate())});
  };
  InFreshProcess("1", [&] {
    EXPECT_EQ(VerdictOn(second_right()), kVerifies);
    EXPECT_EQ(VerdictOn(first_right()), kNoCertificate);
  });
  InFreshProcess(nullptr, [&] {
    EXPECT_EQ(VerdictOn(second_right()), kNoCertificate);
    EXPECT_EQ(VerdictOn(first_right()), kVerifies);
  });
}

TEST(EssCertIdV2, AttributeWithoutAnIdentifierCountsAsNone) {
  InFreshProcess("1", [] {
    for (const Octets& attribute : {Attribute(kSigningCertificateV2Attribute, {}),
                                    Attribute(kSigningCertificateV2Attribute, {SigningCertificate({})})}) {
      TokenMaker maker;
      maker.signer().extra = {attribute};
      EXPECT_EQ(VerdictOn(maker.encode()), kNoCertificate);
      EXPECT_EQ(VerdictOn(maker.encode(), AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
    }
  });
}

}  // namespace
}  // namespace qex::test
