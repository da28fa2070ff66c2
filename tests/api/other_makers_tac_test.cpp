// Attribute certificates that Bouncy Castle made, alone and in its tokens, through the exports.
#include <gtest/gtest.h>

#include <string>

#include "asn1/attrcert.h"
#include "tests/support/codec.h"
#include "tests/support/codec_errors.h"
#include "tests/support/fresh_process.h"
#include "tests/support/other_makers.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {
namespace {

// --- Attribute certificates ------------------------------------------------------------

TEST(OtherMakersTac, AttributeCertificatesAreReadAndWrittenBack) {
  const std::string name = "C=SE;O=Example Trust;CN=Example TSA ";
  for (const PeerSample& sample : PeerSamples("bouncycastle", "tac_", 6)) {
    if (sample.is("Says", "role")) continue;
    SCOPED_TRACE(sample["Name"]);
    ExpectRoundTrip(TOP(AttributeCertificate), sample.octets());
    const Guarded tac(sample.octets());
    GuardedRecord<QEX_TACINFO_EX> info;
    info->size = sizeof(QEX_TACINFO_EX);
    ASSERT_EQ(QEX_GetTAC_CertInfoEx(info.get(), tac.data(), tac.size()), QEX_OK);
    const bool named = sample["Says"].find("name") != std::string::npos;
    const bool digested = sample["Says"].find("digest") != std::string::npos;
    EXPECT_EQ(info->version, 1);
    EXPECT_EQ(info->holderName, named ? name + sample["Key"] : "");
    EXPECT_STREQ(info->digestAlgorithm, digested ? kSha256 : "");
    EXPECT_EQ(OctetsOfField(info->objectDigest, size_t(info->objectDigestLen)),
              digested ? Digest(kSha256, sample.certificate()) : Octets{});
    EXPECT_EQ(info->issuerName, name + sample["Key"]);
    EXPECT_EQ(ToHex(info->serialNumber, size_t(info->serialNumberLen)), sample["Serial"]);
    EXPECT_STREQ(info->notBefore, "20240101000000Z");
    EXPECT_STREQ(info->notAfter, "20440101000000Z");
    EXPECT_EQ(info->signatureAlgorithm, sample["Algorithm"]);
    EXPECT_EQ(ToHex(info->signatureValue, size_t(info->signatureValueLen)), sample["Signature"]);
  }
}

TEST(OtherMakersTac, TimingAttributesHaveTheirOriginalValues) {
  for (const PeerSample& sample : PeerSamples("bouncycastle", "tac_", 6)) {
    if (sample.is("Says", "role")) continue;
    SCOPED_TRACE(sample["Name"]);
    const Guarded tac(sample.octets());
    GuardedRecord<QEX_TIMING_METRICS_EX> metrics;
    ASSERT_EQ(QEX_GetTAC_TimingMetricsEx(metrics.get(), tac.data(), tac.size()), QEX_OK);
    EXPECT_STREQ(metrics->ntpTime, "20240101000000Z");
    EXPECT_EQ(metrics->offset, -0.25F);
    EXPECT_EQ(metrics->delay, 1.5F);
    EXPECT_STREQ(metrics->expiration, "20250101000000Z");
    EXPECT_EQ(metrics->leapAction, 1);
    EXPECT_STREQ(metrics->leapTime, "20170101000000Z");
    GuardedRecord<QEX_TIMING_POLICY> policy;
    ASSERT_EQ(QEX_GetTAC_TimingPolicy(policy.get(), tac.data(), tac.size()), QEX_OK);
    EXPECT_STREQ(policy->policyID, kOtherSamplePolicy);
    EXPECT_EQ(policy->maxOffset, 2.0F);
    EXPECT_EQ(policy->maxDelay, 0.125F);
  }
}

TEST(OtherMakersTac, AttributeCertificateWithAnAttributeOfAnUnknownTypeDoesNotDecode) {
  const ErrorCapture report;
  const Guarded tac(BouncyCastleFile("tac_role.der"));
  GuardedRecord<QEX_TACINFO_EX> info;
  info->size = sizeof(QEX_TACINFO_EX);
  EXPECT_EQ(QEX_GetTAC_CertInfoEx(info.get(), tac.data(), tac.size()), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), kUnknownType);
  EXPECT_EQ(report.text(), kNoDecoder);
}

void expect_attribute_certificates(Switch v2) {
  const Octets full = BouncyCastleFile("tac_full.der"), digested = BouncyCastleFile("tac_digest.der");
  int named = 0;
  for (const PeerSample& sample : Tokens()) {
    SCOPED_TRACE(sample["Name"]);
    const Octets token = sample.octets();
    const bool usable = sample.second_version() == (v2 == Switch::On);
    const Output got = TacOf(token);
    if (sample.is("Tac", "signer") || (sample.is("Tac", "named") && usable)) {
      EXPECT_EQ(got.code, QEX_OK);
      EXPECT_EQ(got.octets, full);
      EXPECT_EQ(CheckTac(full, token), usable ? QEX_OK : QEX_E_DECODE);
      ++named;
    } else {
      EXPECT_EQ(got.code, QEX_E_NOTAC);
      const size_t last = sample.is("Tac", "named")     ? full.size()
                          : sample.is("Tac", "unnamed") ? digested.size()
                                                        : 0;
      EXPECT_EQ(got.length, last);
      EXPECT_EQ(CheckTac(full, token), usable ? QEX_E_MISMATCH : QEX_E_DECODE);
    }
    EXPECT_EQ(CheckTac(digested, token), usable ? QEX_E_MISMATCH : QEX_E_DECODE);
  }
  EXPECT_EQ(named, 3);
}

TEST(OtherMakersTac, AttributeCertificateIsFoundByTheFirstVersionOrInTheSignersAttributes) {
  InFreshProcess(nullptr, [] { expect_attribute_certificates(Switch::Off); });
}

TEST(OtherMakersTac, AttributeCertificateIsFoundByTheSecondVersionWithTheSwitch) {
  InFreshProcess("1", [] { expect_attribute_certificates(Switch::On); });
}

TEST(OtherMakersTac, TokensVerifyWithoutTheirAttributeCertificates) {
  int met = 0;
  for (const PeerSample& sample : Tokens()) {
    if (!sample.is("Tac", "named") && !sample.is("Tac", "unnamed")) continue;
    SCOPED_TRACE(sample["Name"]);
    const Guarded token(sample.octets());
    const Output without = Call(token.size(), [&](uint8_t* out, uint32_t* length) {
      return QEX_RemoveAttrCerts(token.data(), token.size(), out, length);
    });
    ASSERT_EQ(without.code, QEX_OK);
    const Octets octets(without.octets.begin(), without.octets.begin() + ptrdiff_t(without.length));
    EXPECT_LT(octets.size(), token.size() - 600);
    EXPECT_EQ(Verify(octets, sample.certificate()), sample.second_version() ? QEX_E_DECODE : QEX_OK);
    EXPECT_EQ(TacOf(octets).code, QEX_E_NOTAC);
    EXPECT_EQ(TacOf(octets).length, 0u);
    ++met;
  }
  EXPECT_EQ(met, 5);
}

}  // namespace
}  // namespace qex::test
