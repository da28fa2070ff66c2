// Replies: framing, status, token. The framed replies are made by hand around openssl's.
#include <gtest/gtest.h>

#include "support.h"

namespace hpp_test {
namespace {

using qex::result_code;
using qex::transport;

qex::bytes joined(std::string_view head, const qex::bytes& body) {
  qex::bytes whole(head.begin(), head.end());
  whole.insert(whole.end(), body.begin(), body.end());
  return whole;
}

qex::bytes in_socket_frame(const qex::bytes& reply, std::size_t announced) {
  const char head[] = {0, 0, char(announced >> 8), char(announced & 0xFF), 5};
  return joined({head, sizeof head}, reply);
}

const char kHead[] = "HTTP/1.0 200 OK\r\nContent-Type: application/timestamp-reply\r\n\r\n";

TEST(Replies, AreUnpackedInPlaceAndInAVector) {
  const qex::bytes reply = sample("samples/reply_sha256_v2_cert.der");
  const struct {
    transport framing;
    qex::bytes framed;
    std::uint32_t status;
  } rows[] = {{transport::raw, reply, 0},
              {transport::socket, in_socket_frame(reply, reply.size() + 1), 5},
              {transport::http, joined(kHead, reply), 200}};
  for (const auto& [framing, framed, status] : rows) {
    qex::bytes vector = framed;
    const auto unpacked = qex::unpack_reply(vector, framing);
    ASSERT_TRUE(unpacked);
    EXPECT_EQ(unpacked->transport_status, status);
    EXPECT_EQ(vector, reply);
    qex::bytes buffer = framed;
    EXPECT_EQ(qex::unpack_reply(std::as_writable_bytes(std::span(buffer)), framing)->length, reply.size());
    EXPECT_EQ(buffer.size(), framed.size());
    EXPECT_TRUE(std::equal(reply.begin(), reply.end(), buffer.begin()));
  }
}

TEST(Replies, FramingThatIsRefusedKeepsStatusAndLength) {
  const qex::bytes reply = sample("samples/reply_sha256_v2_cert.der");
  qex::bytes refused = joined("HTTP/1.0 503 Busy\r\n\r\n", reply);
  EXPECT_EQ(qex::unpack_reply(refused, transport::http).error(),
            (qex::failure{result_code::framing, 0, 503}));
  qex::bytes begun = in_socket_frame(reply, reply.size() + 11);
  const qex::bytes before = begun;
  EXPECT_EQ(qex::unpack_reply(begun, transport::socket).error(),
            (qex::failure{result_code::length, std::uint32_t(reply.size() + 15), 5}));
  EXPECT_EQ(begun, before);
  EXPECT_EQ(qex::unpack_reply(begun, transport::reserved).error(), result_code::unsupported);
  EXPECT_EQ(qex::unpack_reply(begun, transport{9}).error(), result_code::argument);
  EXPECT_EQ(qex::unpack_reply({}, transport::socket).error(), result_code::argument);
  EXPECT_EQ(qex::unpack_reply({}, transport::raw)->length, 0u);
}

TEST(Replies, StatusReadsAsOpensslReadsIt) {
  const auto granted = qex::read_status(sample("samples/reply_sha256_v2_cert.der"));
  ASSERT_TRUE(granted);
  EXPECT_EQ(granted->status(), qex::pki_status::granted);
  EXPECT_TRUE(granted->granted());
  EXPECT_EQ(granted->text(), "");
  const auto rejected = qex::read_status(sample("samples/reply_rejected.der"));
  ASSERT_TRUE(rejected);
  EXPECT_EQ(rejected->status(), qex::pki_status::rejection);
  EXPECT_FALSE(rejected->granted());
  EXPECT_EQ(rejected->text(), "Message digest algorithm is not supported.");
  EXPECT_EQ(rejected->failure_info(), qex::pki_failure::bad_algorithm);
  EXPECT_EQ(qex::read_status({}).error(), result_code::decode);
}

TEST(Replies, TokenIsThatOfOpenssl) {
  const qex::bytes reply = sample("samples/reply_sha256_v2_cert.der");
  const qex::bytes token = sample("samples/token_sha256_v2_cert.der");
  EXPECT_EQ(*qex::extract_token(reply), token);
  EXPECT_EQ(*qex::extract_token(std::as_bytes(std::span(reply))), token);
  EXPECT_EQ(qex::extract_token(sample("samples/reply_rejected.der")).error(), result_code::rejected);
  EXPECT_EQ(qex::extract_token(from_hex("30053003020100")).error(), result_code::no_token);
  EXPECT_EQ(qex::extract_token(token).error(), result_code::decode);
  EXPECT_EQ(qex::extract_token({}).error(), result_code::decode);
}

TEST(Replies, ReplyInALargeBufferNeedsNoLargerOne) {
  qex::bytes buffer = sample("samples/reply_sha256_v2_cert.der");
  buffer.resize(1 << 22);
  const auto token = qex::extract_token(buffer);
  EXPECT_EQ(*token, sample("samples/token_sha256_v2_cert.der"));
  EXPECT_LE(token->capacity(), 16384u);
}

TEST(Replies, PassBetweenUnits) {
  const qex::bytes reply = sample("samples/reply_sha256_v2_cert.der");
  EXPECT_EQ(content_of_reply(reply)->time(), "20261120115126.977Z");
  const auto content = content_without_exceptions(reply, sample("samples/certificate_tsa.der"));
  EXPECT_EQ(content.value().time(), "20261120115126.977Z");
  EXPECT_EQ(content_without_exceptions(reply, sample("samples/certificate_root.der")).error(),
            result_code::signature);
  EXPECT_EQ(content_of_reply({}).error(), result_code::decode);
}

}  // namespace
}  // namespace hpp_test
