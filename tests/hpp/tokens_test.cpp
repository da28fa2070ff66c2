// Tokens: contents, signer, verification, rewriting, output buffers. What the samples hold is what
// `openssl ts -reply -text` prints, and the records of tests/data/bouncycastle/samples.txt.
#include <gtest/gtest.h>

#include "support.h"

namespace hpp_test {
namespace {

using namespace std::chrono_literals;
using qex::result_code;

const char kNone[] = "bouncycastle/token_rsa2048_sha256_v2.der";
const char kWithTac[] = "bouncycastle/token_rsa2048_sha256_v2_tac.der";
const char kSigner[] = "bouncycastle/certificate_rsa2048.der";

TEST(Tokens, ReadAsOpensslReadsThem) {
  const qex::bytes token = *qex::extract_token(sample("samples/reply_sha1_v1_cert.der"));
  const auto info = qex::read_token(token);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->version(), 1u);
  EXPECT_EQ(info->policy(), kPolicy);
  EXPECT_EQ(info->hash_algorithm(), qex::sha1::oid);
  EXPECT_EQ(hex(info->hashed_message()), "374cc8f8c88904b5d7ab659a25d373babf8affed");
  EXPECT_TRUE(info->hash_is_whole());
  EXPECT_EQ(hex(info->serial_number()), "0102030405060708090a0b0c0d0e0f1012");
  EXPECT_EQ(info->time(), "20261120115126Z");
  EXPECT_EQ(info->accuracy(), 1s + 500ms + 100us);
  EXPECT_TRUE(info->ordering());
  EXPECT_EQ(hex(info->nonce()), "77fcecd33a82aaab");
  EXPECT_EQ(info->tsa_name(), "C=SE;O=Example Trust;CN=Example TSA;E=tsa@example.org;SerialNumber=1234");

  const auto bare = qex::read_token(sample("samples/token_sha256_v2_cert.der"));
  ASSERT_TRUE(bare);
  EXPECT_EQ(bare->time(), "20261120115126.977Z");
  EXPECT_EQ(bare->accuracy(), 0s);
  EXPECT_FALSE(bare->ordering());
  EXPECT_EQ(hex(bare->nonce()), "00b856ceb5e653af1f");
  EXPECT_EQ(bare->tsa_name(), "");
}

TEST(Tokens, OneRecordServesManyCalls) {
  qex::tst_info info;
  ASSERT_TRUE(qex::read_token(*qex::extract_token(sample("samples/reply_sha1_v1_cert.der")), info));
  EXPECT_NE(info.tsa_name(), "");
  std::memset(info.record.tsaName, 'x', sizeof info.record.tsaName);
  ASSERT_TRUE(qex::read_token(sample("samples/token_sha256_v2_cert.der"), info));
  EXPECT_EQ(info.tsa_name(), "");
  for (const char c : info.record.tsaName) EXPECT_EQ(c, '\0');
  EXPECT_FALSE(qex::read_token({}, info));
  EXPECT_EQ(info.time(), "") << "nothing of an earlier token remains";
}

TEST(Tokens, SerialNumberOfSeventeenOctetsExceedsTheShortRecord) {
  const qex::bytes token = sample(kNone);
  qex::short_tst_info info;
  EXPECT_EQ(qex::read_token(token, info).error(), result_code::size);
  EXPECT_EQ(info.serial_number(), 0u);
  EXPECT_EQ(hex(info.hashed_message()), kSha256OfStamped);
  EXPECT_EQ(info.nonce(), 0x462ef42add83159eu);
  EXPECT_EQ(qex::read_token<qex::short_tst_info>(token).error(), result_code::size);
}

TEST(Tokens, VerifyUnderTheirSignersCertificateOnly) {
  const qex::bytes token = sample(kNone), certificate = sample(kSigner);
  EXPECT_TRUE(qex::verify_signature(token, certificate));
  EXPECT_TRUE(qex::verify_consistency(token));
  EXPECT_FALSE(qex::verify_signature(token, sample("samples/certificate_tsa.der")));
  EXPECT_EQ(qex::verify_signature(token, {}).error(), result_code::argument) << "never any signer";
  EXPECT_EQ(qex::verify_signature(token, qex::bytes()).error(), result_code::argument);
  EXPECT_EQ(qex::verify_signature(token, token).error(), result_code::argument);
  EXPECT_EQ(qex::verify_signature({}, certificate).error(), result_code::bad_token);
  EXPECT_EQ(qex::verify_consistency({}).error(), result_code::bad_token);
  EXPECT_EQ(qex::verify_consistency(sample("bouncycastle/token_rsa2048_sha256_v2_bare.der")).error(),
            result_code::no_certificate);
  EXPECT_EQ(qex::verify_signature(sample("bouncycastle/token_rsa2048_sha256_v1.der"), certificate).error(),
            result_code::decode);
  qex::bytes damaged = token;
  damaged.back() ^= 1;
  EXPECT_EQ(qex::verify_signature(damaged, certificate).error(), result_code::signature);
  // SEQUENCE { id-signedData } and no content
  EXPECT_EQ(qex::read_token(from_hex("300b06092a864886f70d010702")).error(), result_code::missing);
}

TEST(Tokens, SignersCertificateIsTheOneThatSigned) {
  EXPECT_EQ(*qex::signer_certificate(sample(kNone)), sample(kSigner));
  EXPECT_EQ(qex::signer_certificate(sample("bouncycastle/token_rsa2048_sha256_v2_bare.der")).error(),
            result_code::no_certificate);
  EXPECT_EQ(qex::signer_certificate({}).error(), result_code::bad_token);
}

TEST(Tokens, AreRetypedAsPlainData) {
  const qex::bytes token = sample(kNone);
  const auto plain = qex::to_plain_data(token);
  ASSERT_TRUE(plain);
  // The identifier of the content becomes id-data, which is 2 octets shorter; the attribute that names the
  // content type is signed and stays.
  const std::string before = hex(token), after = hex(*plain);
  const std::string type = "060b2a864886f70d0109100104", data = "06092a864886f70d010701";
  const auto count = [](const std::string& text, const std::string& part) {
    int n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
  };
  EXPECT_EQ(count(after, type), count(before, type) - 1);
  EXPECT_EQ(count(after, data), count(before, data) + 1);
  EXPECT_EQ(plain->size(), token.size() - 2);
  EXPECT_EQ(qex::to_plain_data({}).error(), result_code::decode);
}

TEST(Tokens, LoseTheirAttributeCertificates) {
  const qex::bytes token = sample(kWithTac), tac = sample("bouncycastle/tac_full.der");
  const auto without = qex::remove_attribute_certificates(token);
  ASSERT_TRUE(without);
  EXPECT_LE(without->size(), token.size() - tac.size());
  EXPECT_TRUE(qex::verify_signature(*without, sample(kSigner)));
  EXPECT_EQ(qex::extract_tac(*without).error(), result_code::no_tac);
  qex::bytes in_place = token;
  const auto length = qex::remove_attribute_certificates(in_place, in_place);
  ASSERT_TRUE(length);
  in_place.resize(*length);
  EXPECT_EQ(in_place, *without);

  const qex::bytes none = sample(kNone);
  EXPECT_EQ(*qex::remove_attribute_certificates(none), none);
  in_place = none;
  EXPECT_EQ(*qex::remove_attribute_certificates(in_place, in_place), none.size());
  EXPECT_EQ(in_place, none);
  EXPECT_EQ(qex::remove_attribute_certificates({}).error(), result_code::decode);
}

// --- Output buffers ----------------------------------------------------------------

using Write = qex::result<std::size_t> (*)(qex::bytes_in, qex::bytes_out);
using Make = qex::result<qex::bytes> (*)(qex::bytes_in);
const struct {
  const char* name;
  Write write;
  Make make;
  const char* input;
} kWriters[] = {
    {"extract_token", qex::extract_token, qex::extract_token, "samples/reply_sha256_v2_cert.der"},
    {"signer_certificate", qex::signer_certificate, qex::signer_certificate, kNone},
    {"to_plain_data", qex::to_plain_data, qex::to_plain_data, kNone},
    {"remove_attribute_certificates", qex::remove_attribute_certificates, qex::remove_attribute_certificates,
     kWithTac},
    {"remove_attribute_certificates of none", qex::remove_attribute_certificates,
     qex::remove_attribute_certificates, kNone},
    {"extract_tac", qex::extract_tac, qex::extract_tac, kWithTac},
};

TEST(OutputBuffers, ThatAreTooSmallStayAndNameTheLength) {
  for (const auto& [name, write, make, input] : kWriters) {
    SCOPED_TRACE(name);
    const qex::bytes in = sample(input);
    const auto whole = make(in);
    ASSERT_TRUE(whole);
    const qex::failure too_small{result_code::size, std::uint32_t(whole->size()), 0};
    EXPECT_EQ(write(in, {}).error(), too_small) << "a question for the length";
    EXPECT_EQ(write(in, qex::bytes_out(nullptr, 0)).error(), too_small);
    qex::bytes out(whole->size() - 1, 0xA5);
    EXPECT_EQ(write(in, out).error(), too_small);
    EXPECT_EQ(out, qex::bytes(whole->size() - 1, 0xA5));
    out.assign(whole->size(), 0);
    EXPECT_EQ(*write(in, out), whole->size());
    EXPECT_EQ(out, *whole);
    out.assign(whole->size() + 1, 0xA5);
    EXPECT_EQ(*write(in, out), whole->size());
    EXPECT_EQ(out.back(), 0xA5);
  }
}

TEST(OutputBuffers, OfTheCallerMayBeLargerThanTheCInterfaceCanSay) {
  if constexpr (sizeof(std::size_t) > 4) {
    qex::bytes out(4096);
    const auto more = static_cast<std::size_t>(std::uint64_t{1} << 33);
    EXPECT_TRUE(
        qex::extract_token(sample("samples/reply_sha256_v2_cert.der"), qex::bytes_out(out.data(), more)));
  }
}

TEST(Input, LongerThanTheCInterfaceCanSayIsRefused) {
  if constexpr (sizeof(std::size_t) > 4) {
    // The octets after the first are never looked at.
    const std::uint8_t octet = 0x30;
    std::uint8_t out = 0;
    const qex::bytes_in in(&octet, static_cast<std::size_t>(std::uint64_t{1} << 32));
    for (const auto& row : kWriters) {
      EXPECT_EQ(row.write(in, {}).error(), result_code::argument) << row.name;
      EXPECT_EQ(row.make(in).error(), result_code::argument) << row.name;
    }
    EXPECT_EQ(qex::verify_signature(in, sample(kSigner)).error(), result_code::argument);
    EXPECT_EQ(qex::verify_signature(sample(kNone), in).error(), result_code::argument);
    EXPECT_EQ(qex::verify_consistency(in).error(), result_code::argument);
    EXPECT_EQ(qex::check_tac(in, sample(kNone)).error(), result_code::argument);
    EXPECT_EQ(qex::read_token(in).error(), result_code::argument);
    EXPECT_EQ(qex::unpack_reply(qex::bytes_out(&out, static_cast<std::size_t>(std::uint64_t{1} << 32)),
                                qex::transport::raw)
                  .error(),
              result_code::argument);
  }
}

}  // namespace
}  // namespace hpp_test
