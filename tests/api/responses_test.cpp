// Responses: the framing of a reply, its status, and the token taken out of it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/error_capture.h"
#include "tests/support/exports.h"
#include "tests/support/messages.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// --- Unpacking -----------------------------------------------------------------------

struct Unpacked {
  int32_t code;
  uint32_t length;
  uint32_t status;
  Octets buffer;  // all of it
  bool operator==(const Unpacked&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Unpacked& unpacked) {
  return out << "code " << unpacked.code << ", length " << unpacked.length << ", status " << unpacked.status;
}

Unpacked unpack(const Octets& reply, int32_t transport, uint32_t length) {
  Guarded buffer(reply);
  uint32_t status = kUnset;
  const int32_t code = QEX_UnpackTSR(buffer.data(), &length, &status, transport);
  return {code, length, status, buffer.octets()};
}
Unpacked unpack(const Octets& reply, int32_t transport) {
  return unpack(reply, transport, uint32_t(reply.size()));
}

const Octets kBody = {1, 2, 3, 4, 5, 6, 7, 8, 9};

// body_of returns the first octets of the buffer, those that make up the message.
Octets body_of(const Unpacked& unpacked) {
  return Octets(unpacked.buffer.begin(), unpacked.buffer.begin() + ptrdiff_t(unpacked.length));
}

TEST(Unpack, TransportIsTestedBeforeThePointers) {
  for (const int32_t transport : {-1, -2, INT32_MIN, 4, 5, INT32_MAX}) {
    EXPECT_EQ(QEX_UnpackTSR(nullptr, nullptr, nullptr, transport), QEX_E_ARG) << transport;
    EXPECT_EQ(unpack(kBody, transport), (Unpacked{QEX_E_ARG, 9, kUnset, kBody})) << transport;
  }
  EXPECT_EQ(QEX_UnpackTSR(nullptr, nullptr, nullptr, QEX_TRANSPORT_RESERVED), QEX_E_UNSUPPORTED);
  EXPECT_EQ(unpack(kBody, QEX_TRANSPORT_RESERVED), (Unpacked{QEX_E_UNSUPPORTED, 9, kUnset, kBody}));
}

TEST(Unpack, NullPointersAreRefusedInEveryMode) {
  for (const int32_t transport : {0, 1, 2}) {
    Guarded buffer(kBody);
    uint32_t length = 9, status = 7;
    EXPECT_EQ(QEX_UnpackTSR(nullptr, &length, &status, transport), QEX_E_ARG);
    EXPECT_EQ(QEX_UnpackTSR(buffer.data(), nullptr, &status, transport), QEX_E_ARG);
    EXPECT_EQ(QEX_UnpackTSR(buffer.data(), &length, nullptr, transport), QEX_E_ARG);
    EXPECT_EQ(status, 7u) << "not yet set";
    EXPECT_EQ(length, 9u);
    EXPECT_EQ(buffer.octets(), kBody);
  }
}

TEST(Unpack, RawReplyIsUnchanged) {
  EXPECT_EQ(unpack(kBody, QEX_TRANSPORT_RAW), (Unpacked{QEX_OK, 9, 0, kBody}));
  EXPECT_EQ(unpack({}, QEX_TRANSPORT_RAW), (Unpacked{QEX_OK, 0, 0, {}}));
}

TEST(Unpack, LastErrorIsNotTouched) {
  const ErrorCapture quiet;
  GuardedRecord<QEX_TSR_STATUS> record;
  EXPECT_EQ(QEX_GetTSR_Status(record.get(), kBody.data(), 9), QEX_E_DECODE);
  const int32_t before = QEX_GetLastAsnError();
  EXPECT_NE(before, 0);
  EXPECT_EQ(unpack(kBody, QEX_TRANSPORT_RAW).code, QEX_OK);
  EXPECT_EQ(QEX_GetLastAsnError(), before);
}

// --- Socket ----------------------------------------------------------------------------

Octets socket_reply(uint32_t announced, uint8_t flag, const Octets& body) {
  return der::concat(Octets{uint8_t(announced >> 24), uint8_t(announced >> 16), uint8_t(announced >> 8),
                            uint8_t(announced), flag},
                     body);
}

TEST(UnpackSocket, BodyMovesToTheStart) {
  const Unpacked unpacked = unpack(socket_reply(10, 5, kBody), QEX_TRANSPORT_SOCKET);
  EXPECT_EQ(unpacked.code, QEX_OK);
  EXPECT_EQ(unpacked.length, 9u);
  EXPECT_EQ(unpacked.status, 5u);
  EXPECT_EQ(body_of(unpacked), kBody);
}

TEST(UnpackSocket, EmptyBodyIsTaken) {
  const Unpacked unpacked = unpack(socket_reply(1, 5, {}), QEX_TRANSPORT_SOCKET);
  EXPECT_EQ(unpacked.code, QEX_OK);
  EXPECT_EQ(unpacked.length, 0u);
}

TEST(UnpackSocket, AnotherFlagIsRefused) {
  for (const uint8_t flag : std::initializer_list<uint8_t>{0, 1, 4, 6, 0xFF}) {
    const Octets reply = socket_reply(10, flag, kBody);
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_SOCKET), (Unpacked{QEX_E_FRAMING, 14, flag, reply})) << int{flag};
  }
}

TEST(UnpackSocket, AnotherLengthIsReportedBeforeTheFlag) {
  const struct {
    uint32_t announced;
    uint32_t total;
  } rows[] = {{11, 15}, {9, 13}, {0, 4}, {0x01020304, 0x01020308}, {0x7FFFFFFF, 0x80000003}};
  for (const auto& row : rows) {
    for (const uint8_t flag : std::initializer_list<uint8_t>{5, 6}) {
      const Octets reply = socket_reply(row.announced, flag, kBody);
      EXPECT_EQ(unpack(reply, QEX_TRANSPORT_SOCKET), (Unpacked{QEX_E_LENGTH, row.total, flag, reply}))
          << row.announced;
    }
  }
}

TEST(UnpackSocket, LengthBeyondTheReplyIsCorrected) {
  Octets reply = socket_reply(10, 5, kBody);
  reply.resize(20);
  EXPECT_EQ(unpack(reply, QEX_TRANSPORT_SOCKET, 20), (Unpacked{QEX_E_LENGTH, 14, 5, reply}));
}

TEST(UnpackSocket, AnnouncedLengthThatWrapsIsNotTaken) {
  // 0xFFFFFFFC and above plus 4 do not fit 32 bits; the sum must not pass for a small length.
  for (const uint32_t announced : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFDu, 0xFFFFFFFCu}) {
    const Octets reply = socket_reply(announced, 5, {});
    for (uint32_t length = 0; length <= 5; ++length) {
      const Unpacked unpacked = unpack(Octets(reply.begin(), reply.begin() + length), QEX_TRANSPORT_SOCKET);
      EXPECT_LT(unpacked.code, 0) << announced << " " << length;
    }
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_SOCKET), (Unpacked{QEX_E_LENGTH, UINT32_MAX, 5, reply}))
        << announced;
  }
}

TEST(UnpackSocket, FewerThanFiveOctetsAreAnArgumentError) {
  for (size_t n = 0; n < 5; ++n) {
    const Octets reply(n, 0);
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_SOCKET), (Unpacked{QEX_E_ARG, uint32_t(n), 0, reply})) << n;
  }
}

// --- HTTP --------------------------------------------------------------------------------

Octets http_reply(const std::string& head, const Octets& body = kBody) {
  return der::concat(der::octets(head), body);
}

const std::string kStatusLine = "HTTP/1.1 200 OK\r\n";
const std::string kType = "Content-Type: application/timestamp-reply\r\n";

void expect_body(const std::string& head, const Octets& body = kBody) {
  const Unpacked unpacked = unpack(http_reply(head, body), QEX_TRANSPORT_HTTP);
  EXPECT_EQ(unpacked.code, QEX_OK) << head;
  EXPECT_EQ(unpacked.status, 200u) << head;
  ASSERT_EQ(unpacked.length, body.size()) << head;
  EXPECT_EQ(body_of(unpacked), body) << head;
}

void expect_refusal(const std::string& head, int32_t code, uint32_t status) {
  const Octets reply = http_reply(head);
  EXPECT_EQ(unpack(reply, QEX_TRANSPORT_HTTP), (Unpacked{code, uint32_t(reply.size()), status, reply}))
      << head;
}

TEST(UnpackHttp, BodyMovesToTheStart) {
  expect_body(kStatusLine + kType + "Content-Length: 9\r\n\r\n");
}

TEST(UnpackHttp, LinesMayEndInLineFeedsAlone) {
  expect_body("HTTP/1.1 200 OK\nContent-Type: application/timestamp-reply\nContent-Length: 9\n\n");
  expect_body("HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\n\r\n");
  expect_body("HTTP/1.1 200 OK\nContent-Type: application/timestamp-reply\r\n\n");
}

TEST(UnpackHttp, CaseOfLettersDoesNotMatter) {
  expect_body(kStatusLine + "CONTENT-type: APPLICATION/Timestamp-Reply\r\ncontent-LENGTH: 9\r\n\r\n");
}

TEST(UnpackHttp, WhiteSpaceAfterTheColonIsSkipped) {
  expect_body(kStatusLine + "Content-Type:application/timestamp-reply\r\nContent-Length:9\r\n\r\n");
  expect_body(kStatusLine +
              "Content-Type: \t \v\f application/timestamp-reply\r\nContent-Length: \t\v\f9\r\n\r\n");
}

TEST(UnpackHttp, BytesOfTheBodyThatLookLikeAHeadStayBody) {
  const Octets body = der::octets("\r\n\r\nHTTP/1.1 404\r\n\r\n");
  expect_body(kStatusLine + kType + "\r\n", body);
}

TEST(UnpackHttp, AbsentLengthTakesAllThatFollows) {
  expect_body(kStatusLine + kType + "\r\n");
  expect_body(kStatusLine + kType + "\r\n", {});
}

TEST(UnpackHttp, NegativeLengthTakesAllThatFollows) {
  expect_body(kStatusLine + kType + "Content-Length: -1\r\n\r\n");
  expect_body(kStatusLine + kType + "Content-Length: -99999999999999999999\r\n\r\n");
}

TEST(UnpackHttp, LengthMayHaveASignAndTrailingText) {
  expect_body(kStatusLine + kType + "Content-Length: +9\r\n\r\n");
  expect_body(kStatusLine + kType + "Content-Length: 9 octets\r\n\r\n");
  expect_body(kStatusLine + kType + "Content-Length: 0009\r\n\r\n");
}

TEST(UnpackHttp, LastLengthCounts) {
  expect_body(kStatusLine + kType + "Content-Length: 77\r\nContent-Length: 9\r\n\r\n");
  expect_refusal(kStatusLine + kType + "Content-Length: 9\r\nContent-Length: 0\r\n\r\n", QEX_E_FRAMING, 200);
}

TEST(UnpackHttp, LengthOf0IsRefused) {
  for (const char* zero : {"0", "-0", "+0", "", "nothing", "0x9"}) {
    expect_refusal(kStatusLine + kType + "Content-Length: " + zero + "\r\n\r\n", QEX_E_FRAMING, 200);
  }
}

TEST(UnpackHttp, AnotherLengthIsReportedWithTheTotal) {
  const struct {
    const char* digits;
    uint32_t announced;
  } rows[] = {
      {"10", 10}, {"8", 8}, {"1", 1}, {"2147483647", 2147483647}, {"99999999999999999999", 2147483647}};
  for (const auto& row : rows) {
    const std::string head = kStatusLine + kType + "Content-Length: " + row.digits + "\r\n\r\n";
    const Octets reply = http_reply(head);
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_HTTP),
              (Unpacked{QEX_E_LENGTH, uint32_t(row.announced + head.size()), 200, reply}))
        << row.digits;
  }
}

TEST(UnpackHttp, StatusOtherThan200IsRefusedAndReported) {
  const struct {
    const char* line;
    uint32_t status;
  } rows[] = {
      {"HTTP/1.1 404 Not Found", 404},
      {"HTTP/1.1 500", 500},
      {"HTTP/1.1 2000 OK", 2000},
      {"HTTP/1.1 20", 20},
      {"HTTP/1.1 OK 200", 0},
      {"HTTP/1.1 -200", 0},
      {"HTTP/1.1 +200", 0},
      {"HTTP/1.1 99999999999", 2147483647},
      {"HTTP/1.1 2147483648", 2147483647},
  };
  for (const auto& row : rows) {
    expect_refusal(std::string(row.line) + "\r\n" + kType + "\r\n", QEX_E_FRAMING, row.status);
  }
}

TEST(UnpackHttp, StatusLineMayHaveOtherFormsAround200) {
  for (const char* line : {"HTTP/1.0 200", "HTTP/2 \t 200 OK", "HTTP/ 200", "HTTP/1.1 200OK", "HTTP/1.1 0200",
                           "HTTP/1.1\t200", "HTTP/1.1\v200", "HTTP/1.1\f200"}) {
    expect_body(std::string(line) + "\r\n" + kType + "\r\n");
  }
}

TEST(UnpackHttp, StatusLineWithoutAStatusIsAnArgumentError) {
  for (const char* line : {"HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 \t", "HTTP/", "HTTP/200"}) {
    expect_refusal(std::string(line) + "\r\n" + kType + "\r\n", QEX_E_ARG, 0);
  }
}

TEST(UnpackHttp, ContentTypeIsComparedWhole) {
  const char* const others[] = {
      "",
      "Content-Type: text/html\r\n",
      "Content-Type: application/timestamp-reply; charset=binary\r\n",
      "Content-Type: application/timestamp-reply \r\n",
      "Content-Type: application/timestamp-repl\r\n",
      "Content-Type: application/timestamp-replyx\r\n",
      "Content-Type:\r\n",
      "Content-Type : application/timestamp-reply\r\n",
      " Content-Type: application/timestamp-reply\r\n",
      "X-Content-Type: application/timestamp-reply\r\n",
      "Content-Typ\r\n",
  };
  for (const char* other : others) expect_refusal(kStatusLine + other + "\r\n", QEX_E_FRAMING, 200);
}

TEST(UnpackHttp, OneGoodContentTypeIsEnough) {
  expect_body(kStatusLine + "Content-Type: text/html\r\n" + kType + "\r\n");
  expect_body(kStatusLine + kType + "Content-Type: text/html\r\n\r\n");
}

TEST(UnpackHttp, OtherLinesAreIgnored) {
  expect_body(kStatusLine + "Date: today\r\n" + kType +
              "Server: Content-Length: 0\r\nx\r\nContent-Length: 9\r\n\r\n");
}

TEST(UnpackHttp, ContentTypeInTheBodyDoesNotCount) {
  const Octets reply = http_reply(kStatusLine + "\r\n", der::octets(kType));
  EXPECT_EQ(unpack(reply, QEX_TRANSPORT_HTTP).code, QEX_E_FRAMING);
}

TEST(UnpackHttp, DataThatDoNotBeginAsHttpAreAnArgumentError) {
  const char* const others[] = {"http/1.1 200 OK\r\n\r\n", "HTTP 200 OK\r\n\r\n", "Http/1.1 200\r\n\r\n",
                                " HTTP/1.1 200\r\n\r\n", "ICY 200 OK\r\n\r\n"};
  for (const char* other : others) expect_refusal(other, QEX_E_ARG, 0);
}

TEST(UnpackHttp, FewerThanSixOctetsAreAnArgumentError) {
  const Octets all = der::octets("HTTP/");
  for (size_t n = 0; n <= 5; ++n) {
    const Octets reply(all.begin(), all.begin() + ptrdiff_t(n));
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_HTTP), (Unpacked{QEX_E_ARG, uint32_t(n), 0, reply})) << n;
  }
}

TEST(UnpackHttp, HeadWithoutAnEndIsAnArgumentError) {
  const std::string head = kStatusLine + kType;
  for (const std::string& data :
       {std::string("HTTP/1"), head.substr(0, head.size() - 1), head + "\r", head + "x"}) {
    const Octets reply = der::octets(data);
    EXPECT_EQ(unpack(reply, QEX_TRANSPORT_HTTP), (Unpacked{QEX_E_ARG, uint32_t(reply.size()), 0, reply}))
        << data;
  }
}

// Deliberate: a lone line feed that is the last octet ends the head.
TEST(UnpackHttp, LoneLineFeedAtTheEndOfTheDataEndsTheHead) {
  const std::string head = kStatusLine + kType;  // ends in CR LF, and no empty line follows
  const Unpacked unpacked = unpack(der::octets(head), QEX_TRANSPORT_HTTP);
  EXPECT_EQ(unpacked.code, QEX_OK);
  EXPECT_EQ(unpacked.length, 0u);
}

TEST(UnpackHttp, EveryPrefixOfAReplyIsAnsweredWithoutReadingOn) {
  const Octets reply = http_reply(kStatusLine + kType + "Content-Length: 9\r\n\r\n");
  for (size_t n = 0; n < reply.size(); ++n) {
    const Unpacked unpacked = unpack(Octets(reply.begin(), reply.begin() + ptrdiff_t(n)), QEX_TRANSPORT_HTTP);
    EXPECT_TRUE(unpacked.code == QEX_E_ARG || unpacked.code == QEX_E_LENGTH ||
                unpacked.code == QEX_E_FRAMING || unpacked.code == QEX_OK)
        << n << ": " << unpacked;
    // A line feed at the very end ends the head, and the body is then empty.
    if (unpacked.code == QEX_OK) {
      EXPECT_EQ(reply[n - 1], '\n') << n;
    }
  }
}

// --- Status ------------------------------------------------------------------------------------

int32_t status_of(const Octets& response, GuardedRecord<QEX_TSR_STATUS>* record) {
  const Guarded input(response);
  return QEX_GetTSR_Status(record->get(), input.data(), input.size());
}

Octets record_octets(int32_t status, std::string_view text, uint32_t fail_info) {
  QEX_TSR_STATUS record{};
  record.status = status;
  PutText(record.statusText, text);
  record.failInfo = fail_info;
  Octets octets(sizeof record);
  std::memcpy(octets.data(), &record, sizeof record);
  return octets;
}

TEST(Status, IsReportedAsDecoded) {
  for (const int32_t status : {0, 1, 2, 3, 4, 5, 77, -1, INT32_MAX, INT32_MIN}) {
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(status)), &record), QEX_OK);
    EXPECT_EQ(record.octets(), record_octets(status, "", 0)) << status;
  }
}

TEST(Status, FirstTextIsReported) {
  GuardedRecord<QEX_TSR_STATUS> record;
  const Octets texts = der::sequence(der::utf8_string("first"), der::utf8_string("second"));
  EXPECT_EQ(status_of(Response(StatusInfo(2, texts)), &record), QEX_OK);
  EXPECT_EQ(record.octets(), record_octets(2, "first", 0));
}

TEST(Status, TextIsCutTo79BytesWithoutAReport) {
  for (const size_t n : {78u, 79u, 80u, 100u, 5000u}) {
    std::string text;
    while (text.size() < n) text += char('a' + text.size() % 26);
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(2, der::sequence(der::utf8_string(text)))), &record), QEX_OK);
    EXPECT_EQ(record.octets(), record_octets(2, text.substr(0, 79), 0)) << n;
  }
}

TEST(Status, NoTextsAndAnEmptyTextReadAsEmpty) {
  for (const Octets& texts : {der::sequence(), der::sequence(der::utf8_string(""))}) {
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(2, texts)), &record), QEX_OK);
    EXPECT_EQ(record.octets(), record_octets(2, "", 0));
  }
}

TEST(Status, TextInPartsIsJoined) {
  GuardedRecord<QEX_TSR_STATUS> record;
  const Octets text =
      der::element(0x2C, der::octet_string(der::octets("ab")), der::octet_string(der::octets("cd")));
  EXPECT_EQ(status_of(Response(StatusInfo(2, der::sequence(text))), &record), QEX_OK);
  EXPECT_STREQ(record->statusText, "abcd");
}

TEST(Status, FailInfoIsTheNumberOfTheLastBit) {
  for (const FailureReason& failure : kFailureReasons) {
    Octets bits(failure.bit / 8 + 1, 0);
    bits.back() = uint8_t(0x80 >> failure.bit % 8);
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(2, der::bit_string(bits, 7 - failure.bit % 8))), &record),
              QEX_OK);
    EXPECT_EQ(record.octets(), record_octets(2, "", failure.bit)) << failure.name;
  }
}

// Deliberate: eight bits are the value of their octet.
TEST(Status, FailInfoOfEightBitsIsTheOctet) {
  for (const uint8_t octet : std::initializer_list<uint8_t>{0x00, 0x01, 0x20, 0x81, 0xFF}) {
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(2, der::bit_string({octet}))), &record), QEX_OK);
    EXPECT_EQ(record->failInfo, octet);
  }
}

TEST(Status, FailInfoOfOtherLengthsIsTheLengthMinus1) {
  const struct {
    Octets bits;
    unsigned unused;
    uint32_t value;
  } rows[] = {
      {{0xFF, 0xFF}, 0, 15}, {{0x00, 0x00, 0x00}, 0, 23}, {{0x80, 0x00}, 7, 8},
      {{0x00}, 1, 6},        {{}, 0, 4294967295u},
  };
  for (const auto& row : rows) {
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(Response(StatusInfo(2, der::bit_string(row.bits, row.unused))), &record), QEX_OK);
    EXPECT_EQ(record->failInfo, row.value);
  }
}

TEST(Status, TextAndFailInfoAreReadTogether) {
  GuardedRecord<QEX_TSR_STATUS> record;
  EXPECT_EQ(status_of(Response(StatusInfo(2, der::sequence(der::utf8_string("no")),
                                          der::bit_string({0x00, 0x02}, 1))),
                      &record),
            QEX_OK);
  EXPECT_EQ(record.octets(), record_octets(2, "no", 14));
}

TEST(Status, MalformedResponseLeavesTheRecordAsItWas) {
  const ErrorCapture quiet;
  const Octets cases[] = {
      {},
      der::sequence(),
      der::sequence(der::integer(0)),
      Response(der::sequence()),
      Response(der::sequence(der::big_integer({1, 2, 3, 4, 5}))),
      Response(StatusInfo(0), der::octet_string({1})),
      Response(StatusInfo(0, der::boolean(true))),
      Response(StatusInfo(0, der::element(0x03))),
  };
  for (const Octets& data : cases) {
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(status_of(data, &record), QEX_E_DECODE);
    EXPECT_TRUE(record.untouched());
    EXPECT_LT(QEX_GetLastAsnError(), 0);
  }
}

TEST(Status, StatusOfMoreThan32BitsIsRefused) {
  const ErrorCapture quiet;
  GuardedRecord<QEX_TSR_STATUS> record;
  EXPECT_EQ(status_of(Response(der::sequence(der::big_integer({1, 2, 3, 4, 5}))), &record), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), -7);
}

// --- Token -----------------------------------------------------------------------------------------

TEST(Token, IsTheContentInfoOfTheResponse) {
  const Octets token = TokenMaker().encode();
  for (const int64_t granted : {0, 1}) {
    const Output output = Fetch(EncodedToken(Response(StatusInfo(granted), token)));
    EXPECT_EQ(output, (Output{QEX_OK, uint32_t(token.size()), token}));
  }
}

TEST(Token, ReplyThatCarriesItIsReadThroughEveryFraming) {
  const Octets token = TokenMaker().encode();
  const Octets response = Response(StatusInfo(0), token);
  const Octets framed[] = {
      response,
      socket_reply(uint32_t(response.size() + 1), 5, response),
      http_reply(kStatusLine + kType + "Content-Length: " + std::to_string(response.size()) + "\r\n\r\n",
                 response),
  };
  for (int32_t transport = 0; transport < 3; ++transport) {
    const Unpacked unpacked = unpack(framed[transport], transport);
    ASSERT_EQ(unpacked.code, QEX_OK) << transport;
    EXPECT_EQ(Fetch(EncodedToken(body_of(unpacked))).octets, token) << transport;
  }
}

TEST(Token, IsEncodedAgainInDefiniteLengths) {
  const Octets signed_data_content = [] {
    const Octets token = TokenMaker().encode();
    // ContentInfo { contentType, [0] { SignedData } }: the contents after the head of [0].
    const Octets type = der::oid(kSignedData);
    const size_t at = 4 + type.size() + 4;
    return Octets(token.begin() + ptrdiff_t(at), token.end());
  }();
  const Octets loose =
      der::indefinite(0x30, der::oid(kSignedData), der::indefinite(0xA0, signed_data_content));
  EXPECT_EQ(Fetch(EncodedToken(Response(StatusInfo(0), loose))).octets, TokenMaker().encode());
}

TEST(Token, ContentOfAnotherRegisteredTypeIsUnchanged) {
  const Octets token = der::sequence(der::oid(kData), der::context(0, der::octet_string({1, 2, 3})));
  EXPECT_EQ(Fetch(EncodedToken(Response(StatusInfo(0), token))).octets, token);
}

TEST(Token, WithoutContentIsUnchanged) {
  const Octets token = der::sequence(der::oid(kSignedData));
  EXPECT_EQ(Fetch(EncodedToken(Response(StatusInfo(0), token))).octets, token);
}

TEST(Token, RefusedStatusComesBeforeTheToken) {
  const Octets token = TokenMaker().encode();
  for (const int64_t status : {2, 3, 4, 5, -1, 256}) {
    const Octets expected(64, Guarded::kFill);
    EXPECT_EQ(Call(64, EncodedToken(Response(StatusInfo(status), token))),
              (Output{QEX_E_REJECTED, 64, expected}));
    EXPECT_EQ(Call(64, EncodedToken(Response(StatusInfo(status)))), (Output{QEX_E_REJECTED, 64, expected}));
  }
}

TEST(Token, RejectionIsReportedByBothReaders) {
  const Octets rejection = Response(StatusInfo(2, der::bit_string({0x80}, 7)));
  GuardedRecord<QEX_TSR_STATUS> record;
  EXPECT_EQ(status_of(rejection, &record), QEX_OK);
  EXPECT_EQ(record->status, 2);
  EXPECT_EQ(record->failInfo, 0u);
  EXPECT_EQ(AskLength(EncodedToken(rejection), kUnset), (Output{QEX_E_REJECTED, kUnset, {}}));
}

TEST(Token, GrantedResponseWithoutOneIsReported) {
  for (const int64_t granted : {0, 1}) {
    EXPECT_EQ(AskLength(EncodedToken(Response(StatusInfo(granted))), kUnset),
              (Output{QEX_E_NOTOKEN, kUnset, {}}));
  }
}

TEST(Token, MalformedResponseLeavesTheLength) {
  const ErrorCapture quiet;
  EXPECT_EQ(AskLength(EncodedToken(Response(StatusInfo(0), der::sequence())), kUnset),
            (Output{QEX_E_DECODE, kUnset, {}}));
  EXPECT_LT(QEX_GetLastAsnError(), 0);
}

TEST(Token, ContentOfAnUnknownTypeIsRefused) {
  const ErrorCapture quiet;
  const Octets token = der::sequence(der::oid("1.2.3.4"), der::context(0, der::null()));
  EXPECT_EQ(AskLength(EncodedToken(Response(StatusInfo(0), token)), kUnset),
            (Output{QEX_E_DECODE, kUnset, {}}));
  EXPECT_EQ(QEX_GetLastAsnError(), -44);
}

}  // namespace
}  // namespace qex::test
