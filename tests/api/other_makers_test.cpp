// Requests, replies and tokens that Bouncy Castle and openssl made, through the exports: read, verified
// and written back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "asn1/cms.h"
#include "asn1/timestamp.h"
#include "tests/support/codec.h"
#include "tests/support/codec_errors.h"
#include "tests/support/der_tree.h"
#include "tests/support/fresh_process.h"
#include "tests/support/other_makers.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {
namespace {

// --- Requests and replies --------------------------------------------------------------

enum class CertReq { False, True };

void expect_request(const Octets& octets, const char* hash, size_t hash_length, const char* policy,
                    CertReq certificate, const std::string& nonce) {
  ExpectWrittenBack(TOP(TimeStampReq), octets);
  const Guarded request(octets);
  GuardedRecord<QEX_TSQ_DATA_EX> asked;
  asked->size = sizeof(QEX_TSQ_DATA_EX);
  ASSERT_EQ(QEX_DecodeTSQ_Ex(asked.get(), request.data(), request.size()), QEX_OK);
  EXPECT_STREQ(asked->hashAlgorithm, hash);
  EXPECT_EQ(asked->hashedMessageLength, hash_length);
  EXPECT_EQ(OctetsOfField(asked->hashedMessage, hash_length),
            Digest(hash, der::octets("the data to be stamped\n")));
  EXPECT_STREQ(asked->reqPolicy, policy);
  EXPECT_EQ(asked->certReq, certificate == CertReq::True ? 1u : 0u);
  if (!nonce.empty()) {
    EXPECT_EQ(ToHex(OctetsOfField(asked->nonce, asked->nonceLength)), nonce);
  } else {
    EXPECT_GT(asked->nonceLength, 0u);
  }
}

TEST(OtherMakers, RequestsAreReadAndWrittenBack) {
  int met = 0;
  for (const PeerSample& sample : PeerSamples("bouncycastle", "token_", 37)) {
    if (!sample.has("Reply")) continue;
    SCOPED_TRACE(sample["Name"]);
    const bool full = sample.with_certificate();
    expect_request(sample.file("request_" + sample["Reply"] + ".der"), kSha256, 32, full ? kSamplePolicy : "",
                   full ? CertReq::True : CertReq::False, sample["Nonce"]);
    ++met;
  }
  EXPECT_EQ(met, 13);
  expect_request(BouncyCastleFile("request_sha1_bare.der"), kSha1, 20, "", CertReq::False, "");
  expect_request(BouncyCastleFile("request_sha512_cert.der"), kSha512, 64, kSamplePolicy, CertReq::True, "");
  ExpectWrittenBack(TOP(TimeStampReq), PeerSamples("openssl_dsa", "token_", 12)[0].file("request.der"));
}

TEST(OtherMakers, RepliesHoldTheirTokens) {
  int met = 0;
  for (const PeerSample& sample : Tokens()) {
    if (!sample.has("Reply")) continue;
    SCOPED_TRACE(sample["Name"]);
    const bool of_openssl = sample.folder == "openssl_dsa";
    const Octets reply = sample.file(
        of_openssl ? sample["Reply"] : "reply_" + sample["Reply"] + (sample.in_ber() ? ".ber" : ".der"));
    if (!sample.in_ber()) ExpectWrittenBack(TOP(TimeStampResp), reply);
    const Guarded input(reply);
    GuardedRecord<QEX_TSR_STATUS> status;
    ASSERT_EQ(QEX_GetTSR_Status(status.get(), input.data(), input.size()), QEX_OK);
    EXPECT_EQ(status->status, 0);
    EXPECT_STREQ(status->statusText, of_openssl ? "" : "Operation Okay");
    EXPECT_EQ(Fetch(EncodedToken(reply)).octets, sample.der());
    ++met;
  }
  EXPECT_EQ(met, 25);
}

TEST(OtherMakers, RejectionIsReported) {
  const Octets reply = BouncyCastleFile("reply_rejected.der");
  ExpectWrittenBack(TOP(TimeStampResp), reply);
  const Guarded input(reply);
  GuardedRecord<QEX_TSR_STATUS> status;
  ASSERT_EQ(QEX_GetTSR_Status(status.get(), input.data(), input.size()), QEX_OK);
  EXPECT_EQ(status->status, 2);
  EXPECT_STREQ(status->statusText, "the data has the wrong form");
  EXPECT_EQ(status->failInfo, 5u) << "badDataFormat";
  EXPECT_EQ(AskLength(EncodedToken(reply)).code, QEX_E_REJECTED);
}

// --- Tokens ----------------------------------------------------------------------------

TEST(OtherMakers, TokensAreWrittenBackAndBerBecomesTheOriginalDer) {
  int in_ber = 0;
  for (const PeerSample& sample : Tokens()) {
    SCOPED_TRACE(sample["Name"]);
    ExpectWrittenBack(TOP(ContentInfo), sample.der());
    if (!sample.in_ber()) continue;
    const Octets ber = sample.octets();
    ASSERT_EQ(ber[1], 0x80);
    Octets expected = sample.der();
    if (sample.has("Tac")) {
      // Certificates keep their order; the other implementation's DER has the attribute certificate first.
      const Element set = ParseDer(expected)[1][0][3];
      ASSERT_EQ(set.parts.size(), 2u);
      const auto place = [&](size_t at) { return expected.begin() + ptrdiff_t(at); };
      std::rotate(place(set.content), place(set[1].start), place(set.end));
    }
    for (const size_t n : {ber.size(), size_t{1}}) {
      const Decoded<ContentInfo> value(TOP(ContentInfo), InBlocksOf(n, ber));
      ASSERT_TRUE(value.ok());
      EXPECT_EQ(ToHex(value.encoded()), ToHex(expected));
    }
    ++in_ber;
  }
  EXPECT_EQ(in_ber, 6);
}

TEST(OtherMakers, TstInfoHasItsOriginalValues) {
  for (const PeerSample& sample : Tokens()) {
    SCOPED_TRACE(sample["Name"]);
    const Guarded token(sample.octets());
    GuardedRecord<QEX_TSTINFO_EX> info;
    info->size = sizeof(QEX_TSTINFO_EX);
    ASSERT_EQ(QEX_GetTST_TSTInfoEx(info.get(), token.data(), token.size()), QEX_OK);
    const auto lower = [](std::string text) {
      std::transform(text.begin(), text.end(), text.begin(), [](char c) { return char(std::tolower(c)); });
      return text;
    };
    EXPECT_EQ(info->version, 1u);
    EXPECT_STREQ(info->policy, kSamplePolicy);
    EXPECT_STREQ(info->hashAlgorithm, kSha256);
    EXPECT_EQ(OctetsOfField(info->hashedMessage, info->hashedMessageLength),
              Digest(kSha256, der::octets("the data to be stamped\n")));
    EXPECT_EQ(ToHex(info->serialNumber, info->serialNumberLength), lower(sample["Serial"]));
    // openssl prints no octet of the sign.
    const uint32_t sign = sample.folder == "openssl_dsa" && info->nonce[0] == 0 ? 1 : 0;
    EXPECT_EQ(ToHex(info->nonce + sign, info->nonceLength - sign), lower(sample["Nonce"]));
    EXPECT_EQ(info->accuracySeconds, 1u);
    EXPECT_EQ(info->accuracyMillis, 500u);
    EXPECT_EQ(info->accuracyMicros, 100u);
    EXPECT_EQ(info->ordering, 1u);
    EXPECT_EQ(info->tsaName, std::string("C=SE;O=Example Trust;CN=Example TSA") +
                                 (sample.folder == "openssl_dsa" ? "" : " " + sample["Key"]));
    if (sample.has("Time")) {
      EXPECT_EQ(std::string(info->genTime).substr(0, 14), sample["Time"]);
      EXPECT_EQ(std::string(info->genTime).back(), 'Z');
      EXPECT_STREQ(info->policy, sample["Policy"].c_str());
      EXPECT_EQ(ToHex(info->hashedMessage, info->hashedMessageLength), sample["Imprint"]);
    }
  }
}

// The outcome for the signature itself. Deliberate: with DSA at most 20 octets of a digest count; of a
// SHA-256 and a q of 224 or 256 bits FIPS 186 signs 28 or 32.
int32_t signature_verdict(const PeerSample& sample) {
  const bool sha256 = sample["Digest"] == "SHA256" || sample["Digest"] == "sha256";
  return sample["Key"].compare(0, 7, "dsa2048") == 0 && sha256 ? QEX_E_SIGNATURE : QEX_OK;
}

void expect_verdicts(Switch v2) {
  const bool switched = v2 == Switch::On;
  int verified = 0, refused = 0;
  for (const PeerSample& sample : Tokens()) {
    SCOPED_TRACE(sample["Name"]);
    const Octets token = sample.octets();
    const bool usable = sample.second_version() == switched;
    const bool found = usable && sample.with_certificate();
    const int32_t verdict = signature_verdict(sample);
    EXPECT_EQ(Verify(token), found ? verdict : QEX_E_NOCERT);
    EXPECT_EQ(QEX_GetLastAsnError(), found ? 0 : 100);
    EXPECT_EQ(Verify(token, sample.certificate()), verdict == QEX_OK && !usable ? QEX_E_DECODE : verdict);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    if (found) {
      EXPECT_EQ(Fetch(TsaCert(token)).octets, sample.certificate());
    } else {
      EXPECT_EQ(AskLength(TsaCert(token)).code, QEX_E_NOCERT);
    }
    // Rewritten, it means the same.
    const Output afresh = Fetch(EncodedToken(der::sequence(der::sequence(der::integer(0)), token)));
    ASSERT_EQ(afresh.code, QEX_OK);
    EXPECT_EQ(Verify(afresh.octets), found ? verdict : QEX_E_NOCERT);
    if (found) ++(verdict == QEX_OK ? verified : refused);
  }
  EXPECT_EQ(verified, switched ? 14 : 16);
  EXPECT_EQ(refused, 4);
}

TEST(OtherMakers, TokensOfTheFirstVersionVerifyWithoutTheSwitch) {
  InFreshProcess(nullptr, [] { expect_verdicts(Switch::Off); });
}

TEST(OtherMakers, TokensOfTheSecondVersionVerifyWithTheSwitch) {
  InFreshProcess("1", [] { expect_verdicts(Switch::On); });
}

TEST(OtherMakers, CertificateOfAnotherKeyIsRefused) {
  const std::string keys[] = {"rsa2048", "dsa1024_160", "dsa2048_224", "dsa2048_256"};
  for (const PeerSample& sample : PeerSamples("bouncycastle", "token_", 37)) {
    if (sample.with_protection()) continue;
    SCOPED_TRACE(sample["Name"]);
    for (const std::string& key : keys) {
      if (sample.is("Key", key)) continue;
      const bool same_kind = sample["Key"].substr(0, 3) == key.substr(0, 3);
      EXPECT_EQ(Verify(sample.octets(), sample.file("certificate_" + key + ".der")),
                same_kind ? QEX_E_SIGNATURE : QEX_E_UNSUPPORTED)
          << key;
    }
  }
}

// The attribute CMSAlgorithmProtection (RFC 6211), which this implementation adds by default, is registered
// for no type: such a token does not decode.
TEST(OtherMakers, TokensWithAnAttributeOfAnUnknownTypeDoNotDecode) {
  for (const PeerSample& sample : TokensWithProtection()) {
    SCOPED_TRACE(sample["Name"]);
    const Octets octets = sample.octets();
    const Guarded token(octets);
    const auto expect_code = [](int32_t code, int32_t expected) {
      EXPECT_EQ(code, expected);
      EXPECT_EQ(QEX_GetLastAsnError(), kUnknownType);
    };
    const ErrorCapture report;
    expect_code(Verify(octets), QEX_E_BADTOKEN);
    EXPECT_EQ(report.text(), kNoDecoder);
    expect_code(Verify(octets, sample.certificate()), QEX_E_BADTOKEN);
    expect_code(AskLength(TsaCert(octets)).code, QEX_E_BADTOKEN);
    GuardedRecord<QEX_TSTINFO_EX> info;
    info->size = sizeof(QEX_TSTINFO_EX);
    expect_code(QEX_GetTST_TSTInfoEx(info.get(), token.data(), token.size()), QEX_E_DECODE);
    GuardedRecord<QEX_TSTINFO> short_info;
    expect_code(QEX_GetTST_TSTInfo(short_info.get(), token.data(), token.size()), QEX_E_DECODE);
    expect_code(AskLength(EncodedToken(der::sequence(der::sequence(der::integer(0)), octets))).code,
                QEX_E_DECODE);
    expect_code(TacOf(octets).code, QEX_E_DECODE);
    expect_code(CheckTac(BouncyCastleFile("tac_full.der"), octets), QEX_E_DECODE);
    uint32_t length = 0;
    expect_code(QEX_RemoveAttrCerts(token.data(), token.size(), nullptr, &length), QEX_E_DECODE);
  }
}

}  // namespace
}  // namespace qex::test
