// Requests. The octets of kRequest are laid out by hand from RFC 3161, 2.4.1, and X.690; what the samples
// hold is what `openssl ts -query -text` prints.
#include <gtest/gtest.h>

#include "support.h"

namespace hpp_test {
namespace {

using qex::result_code;
using qex::transport;

// SEQUENCE { 1, { { sha256 }, 32 octets 0x5A }, policy 1.2.3, nonce 0x00FF, certReq TRUE }
constexpr std::string_view kRequest =
    "303f020101302f300b060960864801650304020104205a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a"
    "5a5a"
    "06022a03020200ff0101ff";

template <class Request>
Request made_request() {
  qex::sha256::value_type hash;
  hash.fill(0x5A);
  Request asked = Request::template of<qex::sha256>(hash);
  EXPECT_TRUE(asked.set_policy("1.2.3"));
  if constexpr (Request::is_short) {
    asked.set_nonce(0xFF);
  } else {
    EXPECT_TRUE(asked.set_nonce(from_hex("00ff")));
  }
  asked.set_certificate_wanted();
  return asked;
}

template <class Request>
void expect_encoded() {
  const Request asked = made_request<Request>();
  const struct {
    transport framing;
    std::size_t head;
  } rows[] = {{transport::raw, 0}, {transport::socket, 5}, {transport::http, 117}};
  for (const auto& [framing, head] : rows) {
    SCOPED_TRACE(head);
    const std::size_t whole = head + 65;
    const auto encoded = qex::encode_request(asked, framing);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(encoded->size(), whole);
    EXPECT_EQ(hex(std::span(*encoded).subspan(head)), kRequest);
    EXPECT_EQ(qex::encode_request(asked, {}, framing).error(),
              (qex::failure{result_code::size, std::uint32_t(whole), 0}));
    std::vector<std::byte> out(whole);
    EXPECT_EQ(*qex::encode_request(asked, out, framing), whole);
    EXPECT_EQ(hex(out), hex(*encoded));
    out.resize(whole - 1);
    EXPECT_EQ(qex::encode_request(asked, out, framing).error().length, whole);

    const auto read = qex::decode_request<Request>(*encoded);
    ASSERT_TRUE(read);
    EXPECT_EQ(std::memcmp(&read->record, &asked.record, sizeof asked.record), 0);
  }
  EXPECT_EQ(qex::encode_request(asked, transport::reserved).error(), result_code::unsupported);
  EXPECT_EQ(qex::encode_request(asked, transport{-1}).error(), result_code::argument);
  EXPECT_EQ(qex::encode_request(asked, transport{4}).error(), result_code::argument);
}

TEST(Requests, AreEncodedInEachFramingAndReadBack) {
  expect_encoded<qex::request>();
  expect_encoded<qex::short_request>();
}

TEST(Requests, ReadAsOpensslReadsThem) {
  const auto policy = qex::decode_request(sample("samples/request_sha256_policy.der"));
  ASSERT_TRUE(policy);
  EXPECT_EQ(policy->hash_algorithm(), qex::sha256::oid);
  EXPECT_EQ(hex(policy->hashed_message()), kSha256OfStamped);
  EXPECT_EQ(policy->policy(), kOtherPolicy);
  EXPECT_EQ(hex(policy->nonce()), "00fc9eb897b7be026d");
  EXPECT_TRUE(policy->certificate_wanted());
  const auto md5 = qex::decode_request(sample("samples/request_md5.der"));
  ASSERT_TRUE(md5);
  EXPECT_EQ(md5->hash_algorithm(), qex::md5::oid);
  EXPECT_EQ(hex(md5->hashed_message()), "1d5af1a4e67dafe2ea65a5221e77f933");
  EXPECT_EQ(md5->policy(), "");
  EXPECT_TRUE(md5->nonce().empty());
  EXPECT_FALSE(md5->certificate_wanted());

  const auto sha512 = qex::decode_request<qex::short_request>(sample("samples/request_sha512_cert.der"));
  ASSERT_TRUE(sha512);
  EXPECT_EQ(sha512->hash_algorithm(), qex::sha512::oid);
  EXPECT_EQ(sha512->nonce(), 0x672A001FCA2E0770u);
  EXPECT_EQ(sha512->record.hashedMessageLength, 64u);
  EXPECT_EQ(hex(sha512->hashed_message()), kSha512OfStamped.substr(0, 80)) << "cut to its field";
}

TEST(Requests, ShortRecordIsClearedBeforeItIsRead) {
  qex::short_request asked;
  std::memset(&asked.record, 'x', sizeof asked.record);
  EXPECT_TRUE(qex::decode_request(sample("samples/request_md5.der"), asked));
  EXPECT_EQ(asked.policy(), "");
}

TEST(Requests, ValuesThatDoNotFitTheRecordAreRefusedAndChangeNothing) {
  qex::request asked = made_request<qex::request>();
  const qex::request before = asked;
  EXPECT_EQ(asked.set_policy(std::string(128, '1')).error(), result_code::argument);
  EXPECT_EQ(asked.set_policy(std::string_view("1.2\0.3", 6)).error(), result_code::argument);
  EXPECT_EQ(asked.set_nonce(qex::bytes(41)).error(), result_code::argument);
  EXPECT_EQ(asked.set_imprint("1.2.3", qex::bytes(129)).error(), result_code::argument);
  EXPECT_EQ(asked.set_imprint(std::string(128, '1'), qex::bytes(32)).error(), result_code::argument);
  EXPECT_EQ(std::memcmp(&asked.record, &before.record, sizeof asked.record), 0);
  EXPECT_TRUE(asked.set_policy(std::string(127, '1')));
  EXPECT_TRUE(asked.set_nonce(qex::bytes(40, 1)));
  EXPECT_TRUE(asked.set_imprint("1.2.3", qex::bytes(128, 2)));
  EXPECT_EQ(asked.hashed_message().size(), 128u);
  EXPECT_TRUE(asked.set_nonce({}));
  EXPECT_TRUE(asked.nonce().empty());
  EXPECT_EQ(qex::short_request().set_imprint("1.2.3", qex::bytes(41)).error(), result_code::argument);
}

TEST(Requests, AnythingElseDoesNotDecode) {
  EXPECT_EQ(qex::decode_request({}).error(), result_code::decode);
  EXPECT_NE(qex::last_asn_error(), 0);
  EXPECT_EQ(qex::decode_request<qex::short_request>(sample("samples/certificate_tsa.der")).error(),
            result_code::decode);
}

TEST(Requests, NonceLongerThanItsFieldIsCutAndReported) {
  // SEQUENCE { 1, { { sha256 }, 1 octet }, nonce of 41 octets }, by hand
  qex::bytes data = from_hex("30400201013010300b060960864801650304020104015a0229");
  data.resize(data.size() + 41, 0x11);
  qex::request asked;
  EXPECT_EQ(qex::decode_request(data, asked).error(), (qex::failure{result_code::size, 0, 0}));
  EXPECT_EQ(asked.record.nonceLength, 41u);
  EXPECT_EQ(asked.nonce().size(), 40u);
  EXPECT_FALSE(qex::decode_request(data));
}

}  // namespace
}  // namespace hpp_test
