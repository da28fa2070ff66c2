// From the record of a request to the fields of its token over a real connection, in HTTP and in the socket
// framing: the library's framed request is sent unchanged, and the reply is unframed as it arrives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "tests/interop/round_trip.h"
#include "tests/interop/samples.h"
#include "tests/support/authority.h"
#include "tests/support/loopback.h"
#include "tests/support/messages.h"

namespace qex::test {
namespace {

// An authority over keys that all these tests share; its attribute is of the version that this process reads.
class Authority : public TestAuthority {
 public:
  explicit Authority(std::vector<std::string> options = {})
      : TestAuthority(QEX_PYTHON, QEX_SOURCE_DIR "/tests/authority/authority.py", SamplePath("authority"),
                      with_version(std::move(options))) {}

  Octets answer(const Octets& framed, int32_t transport) const {
    return Exchange(transport == QEX_TRANSPORT_HTTP ? http_port() : socket_port(), framed);
  }

 private:
  static std::vector<std::string> with_version(std::vector<std::string> options) {
    options.insert(options.begin(), {"--ess", SwitchIsSet() ? "v2" : "v1", "--other-policies",
                                     "1.3.6.1.4.1.99999.1", "1.2.3.4.5.6.77.8888"});
    return options;
  }
};

Octets authority_certificate() {
  const Folder folder;
  EXPECT_EQ(RunShell("openssl x509 -outform DER -in " + SamplePath("authority/tsa.pem") + " -out " +
                     folder.path("tsa.der")),
            0);
  return ReadFile(folder.path("tsa.der"));
}

const int32_t kTransports[] = {QEX_TRANSPORT_SOCKET, QEX_TRANSPORT_HTTP};

uint32_t status_of_success(int32_t transport) {
  return transport == QEX_TRANSPORT_HTTP ? 200 : 5;
}

// unframed strips the framing of a reply in place, in memory that ends with it.
Octets unframed(const Octets& framed, int32_t transport) {
  Guarded buffer(framed);
  uint32_t length = buffer.size();
  uint32_t status = 0;
  EXPECT_EQ(QEX_UnpackTSR(buffer.data(), &length, &status, transport), QEX_OK);
  EXPECT_EQ(status, status_of_success(transport));
  EXPECT_LE(length, buffer.size());
  Octets reply = buffer.octets();
  reply.resize(std::min(size_t{length}, reply.size()));
  return reply;
}

TEST(Transport, CarriesEveryHashThereAndBack) {
  const Authority authority;
  const Octets certificate = authority_certificate();
  for (const int32_t transport : kTransports) {
    for (const char* hash : {"md5", "sha1", "sha256", "sha384", "sha512"}) {
      for (const uint32_t cert : {0u, 1u}) {
        SCOPED_TRACE(std::string(hash) + " " + std::to_string(transport));
        const QEX_TSQ_DATA_EX data =
            RequestFor(hash, cert ? "1.2.3.4.5.6.77.8888" : "", {0x00, 0x99, 1, 2, 3, 4, 5, 6}, cert);
        const Octets framed = authority.answer(EncodedRequest(data, uint32_t(transport)), transport);
        ExpectAnswer(data, unframed(framed, transport), certificate);
      }
    }
  }
}

TEST(Transport, CarriesTheShortRecordThereAndBack) {
  const Authority authority;
  for (const int32_t transport : kTransports) {
    QEX_TSQ_DATA data{};
    const QEX_TSQ_DATA_EX full = RequestFor("sha256", "", {}, 1);
    std::memcpy(data.hashAlgorithm, full.hashAlgorithm, sizeof data.hashAlgorithm);
    std::memcpy(data.hashedMessage, full.hashedMessage, 32);
    data.hashedMessageLength = 32;
    data.nonce = {0x89ABCDEF, 0x01234567};
    data.certReq = 1;
    uint8_t request[512];
    uint32_t length = sizeof request;
    ASSERT_EQ(QEX_EncodeTSQ(&data, request, &length, transport), QEX_OK);
    const Octets token =
        TokenOf(unframed(authority.answer(Octets(request, request + length), transport), transport));
    EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), nullptr, 0), QEX_OK);
    QEX_TSTINFO info;
    ASSERT_EQ(QEX_GetTST_TSTInfo(&info, token.data(), uint32_t(token.size())), QEX_OK);
    EXPECT_EQ(info.nonce.high, data.nonce.high);
    EXPECT_EQ(info.nonce.low, data.nonce.low);
  }
}

// The length of an HTTP request of 100 to 109 octets has a blank for its zero: "1 1" for 101.
TEST(Transport, CarriesHttpRequestsWhoseLengthHasAZero) {
  const Authority authority;
  const Octets certificate = authority_certificate();
  std::map<size_t, QEX_TSQ_DATA_EX> by_length;
  for (const char* hash : {"sha256", "sha384", "sha512"}) {
    for (size_t nonce = 1; nonce <= 40; ++nonce) {
      const QEX_TSQ_DATA_EX data = RequestFor(hash, "", Octets(nonce, 0x5A), 1);
      by_length[EncodedRequest(data, QEX_TRANSPORT_RAW).size()] = data;
    }
  }
  for (size_t length = 100; length <= 110; ++length) {
    SCOPED_TRACE(length);
    ASSERT_EQ(by_length.count(length), 1u);
    const QEX_TSQ_DATA_EX& data = by_length[length];
    const Octets request = EncodedRequest(data, QEX_TRANSPORT_HTTP);
    ASSERT_EQ(request.size(), 117 + length);
    std::string digits = std::to_string(length);
    if (digits[1] == '0') digits[1] = ' ';
    EXPECT_EQ(std::string(request.begin() + 108, request.begin() + 115), "  " + digits + "\r\n");
    ExpectAnswer(data, unframed(authority.answer(request, QEX_TRANSPORT_HTTP), QEX_TRANSPORT_HTTP),
                 certificate);
  }
}

// 20x octets need more than any hash that openssl knows, so the reply is a refusal.
TEST(Transport, CarriesHttpRequestsOfTwoHundredOctets) {
  const Authority authority;
  std::map<size_t, Octets> by_length;
  for (uint32_t hash = 80; hash <= 128; ++hash) {
    for (const size_t nonce : {size_t{30}, size_t{40}}) {
      QEX_TSQ_DATA_EX data = RequestFor("sha512", "1.2.3.4.5.6.7.8.9.10", Octets(nonce, 0x5A), 1);
      data.hashedMessageLength = hash;
      by_length[EncodedRequest(data, QEX_TRANSPORT_RAW).size()] = EncodedRequest(data, QEX_TRANSPORT_HTTP);
    }
  }
  for (const unsigned length : {200u, 201u, 205u, 209u}) {
    SCOPED_TRACE(length);
    ASSERT_EQ(by_length.count(length), 1u);
    const Octets reply =
        unframed(authority.answer(by_length[length], QEX_TRANSPORT_HTTP), QEX_TRANSPORT_HTTP);
    QEX_TSR_STATUS status;
    ASSERT_EQ(QEX_GetTSR_Status(&status, reply.data(), uint32_t(reply.size())), QEX_OK);
    EXPECT_EQ(status.status, 2);
    EXPECT_STREQ(status.statusText, "Bad message digest.");  // the authority read the request
    EXPECT_EQ(status.failInfo, 5u);
  }
}

// A caller that has read a part of the reply learns how much there is, reads on, and succeeds.
TEST(Transport, ReportsTheMissingLengthOfAReply) {
  const Authority authority;
  for (const int32_t transport : kTransports) {
    const QEX_TSQ_DATA_EX data = RequestFor("sha256", "", {1}, 1);
    const Octets framed = authority.answer(EncodedRequest(data, uint32_t(transport)), transport);
    for (const size_t missing : {size_t{1}, size_t{100}, framed.size() / 2}) {
      const Octets part(framed.begin(), framed.end() - ptrdiff_t(missing));
      Guarded buffer(part);
      uint32_t length = buffer.size();
      uint32_t status = 0;
      EXPECT_EQ(QEX_UnpackTSR(buffer.data(), &length, &status, transport), QEX_E_LENGTH);
      EXPECT_EQ(length, framed.size());
      EXPECT_EQ(buffer.octets(), part);
    }
    EXPECT_FALSE(TokenOf(unframed(framed, transport)).empty());
  }
}

TEST(Transport, ReportsAReplyThatWasCutShort) {
  const Authority authority({"--truncate", "100"});
  for (const int32_t transport : kTransports) {
    const QEX_TSQ_DATA_EX data = RequestFor("sha256", "", {1}, 1);
    Octets framed = authority.answer(EncodedRequest(data, uint32_t(transport)), transport);
    uint32_t length = uint32_t(framed.size());
    uint32_t status = 0;
    EXPECT_EQ(QEX_UnpackTSR(framed.data(), &length, &status, transport), QEX_E_LENGTH);
    EXPECT_GT(length, framed.size());
  }
}

TEST(Transport, ReportsAnotherHttpStatus) {
  const Authority authority({"--http-status", "503"});
  Octets framed = authority.answer(EncodedRequest(RequestFor("sha256", "", {1}, 1), QEX_TRANSPORT_HTTP),
                                   QEX_TRANSPORT_HTTP);
  uint32_t length = uint32_t(framed.size());
  uint32_t status = 0;
  EXPECT_EQ(QEX_UnpackTSR(framed.data(), &length, &status, QEX_TRANSPORT_HTTP), QEX_E_FRAMING);
  EXPECT_EQ(status, 503u);
}

TEST(Transport, RefusesAnotherContentType) {
  for (const char* type : {"text/html", "application/timestamp-reply; charset=binary"}) {
    const Authority authority({"--content-type", type});
    Octets framed = authority.answer(EncodedRequest(RequestFor("sha256", "", {1}, 1), QEX_TRANSPORT_HTTP),
                                     QEX_TRANSPORT_HTTP);
    uint32_t length = uint32_t(framed.size());
    uint32_t status = 0;
    EXPECT_EQ(QEX_UnpackTSR(framed.data(), &length, &status, QEX_TRANSPORT_HTTP), QEX_E_FRAMING) << type;
    EXPECT_EQ(status, 200u);
  }
}

TEST(Transport, CarriesEveryReasonOfARefusal) {
  for (const FailureReason& failure : kFailureReasons) {
    const std::string reason = failure.name;
    SCOPED_TRACE(reason);
    const Authority authority({"--reject", reason, "--status-text", "refused: " + reason});
    for (const int32_t transport : kTransports) {
      const Octets request = EncodedRequest(RequestFor("sha256", "", {1}, 1), uint32_t(transport));
      const Octets reply = unframed(authority.answer(request, transport), transport);
      QEX_TSR_STATUS status;
      ASSERT_EQ(QEX_GetTSR_Status(&status, reply.data(), uint32_t(reply.size())), QEX_OK);
      EXPECT_EQ(status.status, 2);
      EXPECT_EQ(status.failInfo, failure.bit);
      EXPECT_EQ(status.statusText, "refused: " + reason);
    }
  }
}

}  // namespace
}  // namespace qex::test
