// Requests, replies and tokens made by openssl (data/make_samples.sh), through the exports.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/exports.h"
#include "tests/support/files.h"
#include "tests/support/fresh_process.h"
#include "tests/support/other_makers.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {
namespace {

constexpr const char* kSampleTsaName =
    "C=SE;O=Example Trust;CN=Example TSA;E=tsa@example.org;SerialNumber=1234";

Octets sample(const std::string& name) {
  const Octets octets = ReadFile(QEX_TEST_DATA "/samples/" + name);
  EXPECT_FALSE(octets.empty()) << name;
  return octets;
}

// token_of_reply also expects that the status is granted.
Octets token_of_reply(const std::string& reply) {
  const Guarded response(sample(reply));
  GuardedRecord<QEX_TSR_STATUS> status;
  EXPECT_EQ(QEX_GetTSR_Status(status.get(), response.data(), response.size()), QEX_OK) << reply;
  EXPECT_EQ(status->status, 0) << reply;
  const Output token = Fetch(EncodedToken(response.octets()));
  EXPECT_EQ(token.code, QEX_OK) << reply;
  return token.octets;
}

const struct Reply {
  const char* name;
  const char* request;
  bool second_version;  // of the signing-certificate attribute
  bool with_certificate;
  const char* hash_algorithm;
  const char* policy;
  uint32_t seconds, millis, micros;
  bool ordering, named;
  uint8_t last_serial_octet;
} kReplies[] = {
    {"reply_sha1_v1_cert.der", "request_sha1_cert.der", false, true, kSha1, kSamplePolicy, 1, 500, 100, true,
     true, 0x12},
    {"reply_sha256_v1_cert.der", "request_sha256_policy.der", false, true, kSha256, kOtherSamplePolicy, 1,
     500, 100, true, true, 0x13},
    {"reply_sha256_v1_bare.der", "request_sha256_bare.der", false, false, kSha256, kSamplePolicy, 1, 500, 100,
     true, true, 0x14},
    {"reply_sha256_v2_cert.der", "request_sha256_cert.der", true, true, kSha256, kSamplePolicy, 0, 0, 0,
     false, false, 0x15},
    {"reply_sha256_v2_bare.der", "request_sha256_bare.der", true, false, kSha256, kSamplePolicy, 0, 0, 0,
     false, false, 0x16},
    {"reply_sha256_v2_sha512_cert.der", "request_sha256_cert.der", true, true, kSha256, kSamplePolicy, 0, 0,
     0, false, true, 0x17},
};

TEST(Samples, TokenIsTheLastPartOfItsReplyByteForByte) {
  for (const Reply& one : kReplies) {
    const Octets reply = sample(one.name);
    const Octets token = token_of_reply(one.name);
    ASSERT_LT(token.size(), reply.size());
    EXPECT_EQ(Octets(reply.end() - ptrdiff_t(token.size()), reply.end()), token) << one.name;
  }
  EXPECT_EQ(token_of_reply("reply_sha256_v2_cert.der"), sample("token_sha256_v2_cert.der"));
}

TEST(Samples, TstInfoAnswersItsRequest) {
  for (const Reply& one : kReplies) {
    SCOPED_TRACE(one.name);
    GuardedRecord<QEX_TSQ_DATA_EX> asked;
    asked->size = sizeof(QEX_TSQ_DATA_EX);
    const Guarded request(sample(one.request));
    ASSERT_EQ(QEX_DecodeTSQ_Ex(asked.get(), request.data(), request.size()), QEX_OK);

    GuardedRecord<QEX_TSTINFO_EX> info;
    info->size = sizeof(QEX_TSTINFO_EX);
    const Guarded token(token_of_reply(one.name));
    ASSERT_EQ(QEX_GetTST_TSTInfoEx(info.get(), token.data(), token.size()), QEX_OK);
    EXPECT_EQ(info->version, 1u);
    EXPECT_STREQ(info->policy, one.policy);
    EXPECT_STREQ(info->hashAlgorithm, one.hash_algorithm);
    EXPECT_STREQ(info->hashAlgorithm, asked->hashAlgorithm);
    EXPECT_EQ(info->hashedMessageLength, asked->hashedMessageLength);
    EXPECT_EQ(OctetsOfField(info->hashedMessage, 128), OctetsOfField(asked->hashedMessage, 128));
    EXPECT_EQ(info->nonceLength, asked->nonceLength);
    EXPECT_EQ(OctetsOfField(info->nonce, 40), OctetsOfField(asked->nonce, 40));
    EXPECT_EQ(OctetsOfField(info->serialNumber, info->serialNumberLength),
              (Octets{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, one.last_serial_octet}));
    EXPECT_EQ(info->accuracySeconds, one.seconds);
    EXPECT_EQ(info->accuracyMillis, one.millis);
    EXPECT_EQ(info->accuracyMicros, one.micros);
    EXPECT_EQ(info->ordering, one.ordering ? 1u : 0u);
    EXPECT_STREQ(info->tsaName, one.named ? kSampleTsaName : "");
    EXPECT_EQ(std::string(info->genTime).substr(0, 2), "20");
    EXPECT_EQ(std::string(info->genTime).back(), 'Z');
  }
}

// expect_verified goes through the replies under the current switch.
void expect_verified(Switch v2) {
  const Octets certificate = sample("certificate_tsa.der");
  for (const Reply& one : kReplies) {
    SCOPED_TRACE(one.name);
    const Octets token = token_of_reply(one.name);
    const bool usable = one.second_version == (v2 == Switch::On);
    EXPECT_EQ(Verify(token), usable && one.with_certificate ? QEX_OK : QEX_E_NOCERT);
    EXPECT_EQ(Verify(token, certificate), usable ? QEX_OK : QEX_E_DECODE);
    EXPECT_EQ(Verify(token, sample("certificate_root.der")), QEX_E_SIGNATURE);
    if (usable && one.with_certificate) {
      EXPECT_EQ(Fetch(TsaCert(token)).octets, certificate);
    } else {
      EXPECT_EQ(AskLength(TsaCert(token)).code, QEX_E_NOCERT);
    }
  }
}

TEST(Samples, TokensOfTheFirstVersionVerifyWithoutTheSwitch) {
  InFreshProcess(nullptr, [] { expect_verified(Switch::Off); });
}

TEST(Samples, TokensOfTheSecondVersionVerifyWithTheSwitch) {
  InFreshProcess("1", [] { expect_verified(Switch::On); });
}

TEST(Samples, AnyOctetOfTheContentCounts) {
  const Octets token = token_of_reply("reply_sha1_v1_cert.der");
  const Octets version{0x02, 0x01, 0x01, 0x06};  // the start of the TSTInfo, after its head
  const auto at = std::search(token.begin(), token.end(), version.begin(), version.end());
  ASSERT_NE(at, token.end());
  const size_t start = size_t(at - token.begin());
  for (size_t i = start + 2; i < start + 150; i += 7) {
    Octets spoilt = token;
    spoilt[i] ^= 0x01;
    EXPECT_EQ(Verify(spoilt), QEX_E_SIGNATURE) << i;
  }
}

TEST(Samples, RejectionIsReported) {
  const Guarded response(sample("reply_rejected.der"));
  GuardedRecord<QEX_TSR_STATUS> status;
  ASSERT_EQ(QEX_GetTSR_Status(status.get(), response.data(), response.size()), QEX_OK);
  EXPECT_EQ(status->status, 2);
  EXPECT_STREQ(status->statusText, "Message digest algorithm is not supported.");
  EXPECT_EQ(status->failInfo, 0u) << "badAlg";
  EXPECT_EQ(AskLength(EncodedToken(response.octets())).code, QEX_E_REJECTED);
}

TEST(Samples, RequestsEqualTheEncodedRecords) {
  for (const char* name : {"request_sha1_cert.der", "request_sha256_cert.der", "request_sha256_bare.der",
                           "request_sha256_policy.der", "request_sha384_cert.der", "request_sha512_cert.der",
                           "request_md5.der"}) {
    SCOPED_TRACE(name);
    const Guarded request(sample(name));
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    record->size = sizeof(QEX_TSQ_DATA_EX);
    ASSERT_EQ(QEX_DecodeTSQ_Ex(record.get(), request.data(), request.size()), QEX_OK);
    EXPECT_EQ(record->certReq,
              std::string(name).find("bare") == std::string::npos && std::string(name) != "request_md5.der");
    const Output encoded = Fetch(EncodedRequest(*record, QEX_TRANSPORT_RAW));
    ASSERT_EQ(encoded.code, QEX_OK);
    // openssl writes NULL parameters for SHA too; except for these two octets and the lengths around them the
    // encodings are the same.
    const bool null_written = std::string(name) != "request_md5.der";
    Octets expected = request.octets();
    if (null_written) {
      const Octets null_and_octets{0x05, 0x00, 0x04};
      const auto found =
          std::search(expected.begin(), expected.end(), null_and_octets.begin(), null_and_octets.end());
      ASSERT_NE(found, expected.end());
      expected.erase(found, found + 2);
      expected[1] = uint8_t(expected[1] - 2);  // TimeStampReq
      expected[6] = uint8_t(expected[6] - 2);  // MessageImprint
      expected[8] = uint8_t(expected[8] - 2);  // AlgorithmIdentifier
    }
    EXPECT_EQ(encoded.octets, expected);
  }
}

TEST(Samples, SignedDataThatIsNotATokenIsHandled) {
  for (const char* name : {"signed_data_keyid.der", "signed_data_indefinite.ber", "signed_data_crl.der"}) {
    EXPECT_EQ(Verify(sample(name)), QEX_E_BADTOKEN) << name;
    EXPECT_EQ(QEX_GetLastAsnError(), 100) << name;
    EXPECT_EQ(AskLength(TsaCert(sample(name))).code, QEX_E_NOCERT) << name;
  }
}

}  // namespace
}  // namespace qex::test
