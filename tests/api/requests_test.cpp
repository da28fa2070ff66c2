// Requests: the encoding from a record, the three framings, and the way back.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/error_capture.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/files.h"
#include "tests/support/messages.h"

namespace qex::test {
namespace {

constexpr std::string_view kHttpHead =
    "POST /VKS/HttpTspServer HTTP/1.0\r\nContent-Type: application/timestamp-query; "
    "charset=binary\r\nContent-Length:     \r\n\r\n";
static_assert(kHttpHead.size() == 117);

QEX_TSQ_DATA_EX full_record(std::string_view algorithm, const Octets& imprint) {
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  PutText(record.hashAlgorithm, algorithm);
  PutOctets(record.hashedMessage, imprint);
  record.hashedMessageLength = uint32_t(imprint.size());
  return record;
}

QEX_TSQ_DATA short_record(std::string_view algorithm, const Octets& imprint) {
  QEX_TSQ_DATA record{};
  PutText(record.hashAlgorithm, algorithm);
  PutOctets(record.hashedMessage, imprint);
  record.hashedMessageLength = uint32_t(imprint.size());
  return record;
}

const Octets kImprint(32, 0x11);

Octets raw(const QEX_TSQ_DATA_EX& record) {
  const Output output = Fetch(EncodedRequest(record, QEX_TRANSPORT_RAW));
  EXPECT_EQ(output.code, QEX_OK);
  return output.octets;
}

Octets raw(const QEX_TSQ_DATA& record) {
  const Output output = Fetch(EncodedShortRequest(record, QEX_TRANSPORT_RAW));
  EXPECT_EQ(output.code, QEX_OK);
  return output.octets;
}

template <class... Parts>
Octets request(const Octets& algorithm, const Octets& imprint, const Parts&... parts) {
  return der::sequence(der::integer(1), der::sequence(algorithm, der::octet_string(imprint)), parts...);
}

// --- Encoding the full record ------------------------------------------------------

TEST(EncodeRequest, PlainSha256RequestHasNeitherParametersNorCertReq) {
  EXPECT_EQ(raw(full_record(kSha256, kImprint)), RequestWith());
}

TEST(EncodeRequest, ParametersAreAbsentForShaAndNullForAnyOther) {
  for (const char* sha : {kSha1, kSha256, kSha384, kSha512}) {
    EXPECT_EQ(raw(full_record(sha, kImprint)), request(der::algorithm(sha), kImprint)) << sha;
  }
  for (const char* other : {kMd5, "1.3.36.3.2.1", "1.2.3", "2.16.840.1.101.3.4.2.4"}) {
    EXPECT_EQ(raw(full_record(other, kImprint)), request(der::algorithm(other, der::null()), kImprint))
        << other;
  }
}

TEST(EncodeRequest, EveryPartIsInItsPlace) {
  QEX_TSQ_DATA_EX record = full_record(kSha512, Octets(64, 0x22));
  PutText(record.reqPolicy, "1.2.3");
  PutOctets(record.nonce, {0x00, 0xFF, 0x01});
  record.nonceLength = 3;
  record.certReq = 1;
  EXPECT_EQ(raw(record), request(der::algorithm(kSha512), Octets(64, 0x22), der::oid("1.2.3"),
                                 der::big_integer({0x00, 0xFF, 0x01}), der::boolean(true)));
}

TEST(EncodeRequest, CertReqIsTrueForAnyValueBut0) {
  for (const uint32_t value : {1u, 2u, 0x100u, 0x80000000u, 0xFFFFFFFFu}) {
    QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
    record.certReq = value;
    EXPECT_EQ(raw(record), RequestWith(der::boolean(true))) << value;
  }
}

// Deliberate: no sign octet is added or taken away.
TEST(EncodeRequest, NonceIsEncodedAsGiven) {
  for (const Octets& nonce :
       {Octets{0x80}, Octets{0xFF, 0xFF}, Octets{0x00, 0x00, 0x01}, Octets{0x00}, Octets(40, 0xEE)}) {
    QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
    PutOctets(record.nonce, nonce);
    record.nonceLength = uint32_t(nonce.size());
    EXPECT_EQ(raw(record), RequestWith(der::big_integer(nonce)));
  }
}

TEST(EncodeRequest, ImprintMayHaveAnyLengthUpTo128) {
  for (const size_t n : {0u, 1u, 127u, 128u}) {
    EXPECT_EQ(raw(full_record(kSha256, Octets(n, 0x33))), request(der::algorithm(kSha256), Octets(n, 0x33)))
        << n;
  }
}

// Deliberate: a rejected text is an identifier of no octets.
TEST(EncodeRequest, InvalidIdentifierTextBecomesAnIdentifierOfNoOctets) {
  const Octets no_octets = der::element(0x06);
  for (const char* text : {"", "3.1", "1", "hello", "1..2"}) {
    EXPECT_EQ(raw(full_record(text, kImprint)), request(der::sequence(no_octets, der::null()), kImprint))
        << text;
  }
  QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
  PutText(record.reqPolicy, "no policy");
  EXPECT_EQ(raw(record), RequestWith(no_octets));
}

TEST(EncodeRequest, TextOf127CharactersIsTaken) {
  std::string policy = "1.2.345";
  while (policy.size() < 127) policy += ".6";
  ASSERT_EQ(policy.size(), 127u);
  QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
  PutText(record.reqPolicy, policy);
  EXPECT_EQ(raw(record), RequestWith(der::oid(policy)));
}

TEST(EncodeRequest, OpensslReadsIt) {
  if (!HaveProgram("openssl")) GTEST_SKIP() << "openssl is not installed";
  QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
  PutText(record.reqPolicy, "1.2.3.77");
  PutOctets(record.nonce, {0x12, 0x34});
  record.nonceLength = 2;
  record.certReq = 1;
  Folder folder;
  std::string said;
  ASSERT_EQ(RunShell("openssl ts -query -text -in " + folder.write("request", raw(record)), &said), 0)
      << said;
  for (const char* line :
       {"Hash Algorithm: sha256", "Policy OID: 1.2.3.77", "Nonce: 0x1234", "Certificate required: yes"}) {
    EXPECT_NE(said.find(line), std::string::npos) << line << " in\n" << said;
  }
}

// --- Arguments -----------------------------------------------------------------------

struct RefusedCase {
  const char* name;
  void (*spoil)(QEX_TSQ_DATA_EX*);
};

const RefusedCase kRefused[] = {
    {"size", [](QEX_TSQ_DATA_EX* r) { r->size = 439; }},
    {"imprint above 128", [](QEX_TSQ_DATA_EX* r) { r->hashedMessageLength = 129; }},
    {"negative imprint", [](QEX_TSQ_DATA_EX* r) { r->hashedMessageLength = 0xFFFFFFFF; }},
    {"most negative imprint", [](QEX_TSQ_DATA_EX* r) { r->hashedMessageLength = 0x80000000; }},
    {"nonce above 40", [](QEX_TSQ_DATA_EX* r) { r->nonceLength = 41; }},
    {"negative nonce", [](QEX_TSQ_DATA_EX* r) { r->nonceLength = 0xFFFFFFFF; }},
    {"algorithm without end", [](QEX_TSQ_DATA_EX* r) { std::memset(r->hashAlgorithm, '1', 128); }},
    {"policy without end", [](QEX_TSQ_DATA_EX* r) { std::memset(r->reqPolicy, '1', 128); }},
};

// The code is that of decoding: the encoder reports by way of the last ASN.1 error too.
TEST(EncodeRequest, AllocationThatFailsIsReported) {
  const QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
  ASSERT_FALSE(raw(record).empty());  // the tables are built
  Octets out(600);
  uint32_t length = uint32_t(out.size());
  {
    const FailingAlloc failing(0);
    EXPECT_EQ(QEX_EncodeTSQ_Ex(&record, out.data(), &length, QEX_TRANSPORT_RAW), QEX_E_DECODE);
  }
  EXPECT_EQ(QEX_GetLastAsnError(), -27);
  EXPECT_EQ(length, 600u);
}

TEST(EncodeRequest, BadArgumentsAreRefusedAndNothingIsWritten) {
  for (const RefusedCase& one : kRefused) {
    QEX_TSQ_DATA_EX record = full_record(kSha256, kImprint);
    one.spoil(&record);
    const Output output = Call(600, EncodedRequest(record, QEX_TRANSPORT_RAW));
    EXPECT_EQ(output, (Output{QEX_E_ARG, 600, Octets(600, Guarded::kFill)})) << one.name;
  }
}

TEST(EncodeRequest, TransportIsTestedBeforeAllElse) {
  const uint32_t beyond[] = {4, 5, 0x80000000, 0xFFFFFFFF};
  for (const uint32_t transport : beyond) {
    EXPECT_EQ(QEX_EncodeTSQ_Ex(nullptr, nullptr, nullptr, transport), QEX_E_ARG);
    const Output output = Call(600, EncodedRequest(full_record(kSha256, kImprint), transport));
    EXPECT_EQ(output, (Output{QEX_E_ARG, 600, Octets(600, Guarded::kFill)})) << transport;
  }
  EXPECT_EQ(QEX_EncodeTSQ_Ex(nullptr, nullptr, nullptr, QEX_TRANSPORT_RESERVED), QEX_E_UNSUPPORTED);
  EXPECT_EQ(Call(600, EncodedRequest(full_record(kSha256, kImprint), QEX_TRANSPORT_RESERVED)),
            (Output{QEX_E_UNSUPPORTED, 600, Octets(600, Guarded::kFill)}));
}

TEST(EncodeShortRequest, TransportIsTestedAsThatOfTheFullRecord) {
  const QEX_TSQ_DATA record = short_record(kSha256, kImprint);
  for (const int32_t transport : {-1, 4, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(Call(600, EncodedShortRequest(record, transport)).code, QEX_E_ARG) << transport;
  }
  EXPECT_EQ(Call(600, EncodedShortRequest(record, 3)).code, QEX_E_UNSUPPORTED);
  EXPECT_EQ(QEX_EncodeTSQ(nullptr, nullptr, nullptr, 3), QEX_E_ARG) << "its own arguments come first";
}

// --- The short record ------------------------------------------------------------------

TEST(EncodeShortRequest, IsTheFullRequestOfItsFields) {
  QEX_TSQ_DATA record = short_record(kSha1, Octets(20, 0x44));
  PutText(record.reqPolicy, "1.2.3");
  record.nonce = {0x01020304, 0x05060708};
  record.certReq = 5;
  EXPECT_EQ(raw(record), request(der::algorithm(kSha1), Octets(20, 0x44), der::oid("1.2.3"),
                                 der::big_integer({1, 2, 3, 4, 5, 6, 7, 8}), der::boolean(true)));
}

TEST(EncodeShortRequest, NonceIsEncodedInTheFewestOctets) {
  const struct {
    QEX_U64 nonce;
    Octets element;
  } rows[] = {
      {{0, 0}, {}},
      {{0, 255}, der::big_integer({0x00, 0xFF})},
      {{0, 127}, der::big_integer({0x7F})},
      {{1, 0}, der::big_integer({1, 0, 0, 0, 0})},
      {{0xFFFFFFFF, 0xFFFFFFFF}, der::big_integer(der::concat(Octets{0}, Octets(8, 0xFF)))},
  };
  for (const auto& row : rows) {
    QEX_TSQ_DATA record = short_record(kSha256, kImprint);
    record.nonce = row.nonce;
    EXPECT_EQ(raw(record), RequestWith(row.element)) << row.nonce.high << " " << row.nonce.low;
  }
}

TEST(EncodeShortRequest, ImprintMayHaveUpTo40Octets) {
  EXPECT_EQ(raw(short_record(kSha256, Octets(40, 0x55))), request(der::algorithm(kSha256), Octets(40, 0x55)));
  for (const uint32_t n : {41u, 128u, 0x80000000u, 0xFFFFFFFFu}) {
    QEX_TSQ_DATA record = short_record(kSha256, {});
    record.hashedMessageLength = n;
    EXPECT_EQ(Call(600, EncodedShortRequest(record, 0)),
              (Output{QEX_E_ARG, 600, Octets(600, Guarded::kFill)}))
        << n;
  }
}

TEST(EncodeShortRequest, TextsWithoutAnEndAreRefused) {
  QEX_TSQ_DATA record = short_record(kSha256, kImprint);
  std::memset(record.hashAlgorithm, '1', 128);
  EXPECT_EQ(Call(600, EncodedShortRequest(record, 0)).code, QEX_E_ARG);
  record = short_record(kSha256, kImprint);
  std::memset(record.reqPolicy, '1', 128);
  EXPECT_EQ(Call(600, EncodedShortRequest(record, 0)).code, QEX_E_ARG);
}

// --- Framing -----------------------------------------------------------------------------

// record_of makes a request of `size` octets, 59 to 187.
QEX_TSQ_DATA_EX record_of(size_t size) {
  for (size_t n = 0; n <= 128; ++n) {
    const QEX_TSQ_DATA_EX record = full_record(kSha256, Octets(n, 0x11));
    if (raw(record).size() == size) return record;
    QEX_TSQ_DATA_EX with_cert = record;
    with_cert.certReq = 1;
    if (raw(with_cert).size() == size) return with_cert;
  }
  ADD_FAILURE() << "no request of " << size << " octets";
  return full_record(kSha256, {});
}

TEST(FrameRequest, SocketHeadCountsTheFlagByteAndTheMessage) {
  const Octets message = raw(record_of(50));
  const Output output = Fetch(EncodedRequest(record_of(50), QEX_TRANSPORT_SOCKET));
  EXPECT_EQ(output.length, 55u);
  EXPECT_EQ(output.octets, der::concat(Octets{0x00, 0x00, 0x00, 0x33, 0x00}, message));
}

// Deliberate: a digit 0 before the last place is written as a blank, between other digits too.
TEST(FrameRequest, HttpHeadHoldsTheLengthInFourPlaces) {
  const struct {
    size_t size;
    const char* digits;
  } rows[] = {{59, "  59"}, {120, " 120"}, {100, " 1 0"}, {101, " 1 1"}, {111, " 111"}, {60, "  60"}};
  for (const auto& row : rows) {
    const Octets message = raw(record_of(row.size));
    std::string head(kHttpHead);
    head.replace(109, 4, row.digits);
    const Output output = Fetch(EncodedRequest(record_of(row.size), QEX_TRANSPORT_HTTP));
    EXPECT_EQ(output.length, row.size + 117);
    EXPECT_EQ(output.octets, der::concat(der::octets(head), message)) << row.size;
    EXPECT_EQ(output.octets[108], ' ');
  }
}

TEST(FrameRequest, ShortRecordIsFramedAlike) {
  for (const uint32_t transport : {0u, 1u, 2u}) {
    EXPECT_EQ(Fetch(EncodedShortRequest(short_record(kSha256, kImprint), int32_t(transport))),
              Fetch(EncodedRequest(full_record(kSha256, kImprint), transport)));
  }
}

// --- Decoding into the full record ---------------------------------------------------------

// decode_full starts from a record of which only the size is set.
int32_t decode_full(const Octets& data, GuardedRecord<QEX_TSQ_DATA_EX>* record) {
  const Guarded input(data);
  (*record)->size = sizeof(QEX_TSQ_DATA_EX);
  return QEX_DecodeTSQ_Ex(record->get(), input.data(), input.size());
}

TEST(DecodeRequest, ClearsTheRecordAndFillsItFromTheRequest) {
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full(RequestWith(), &record), QEX_OK);
  EXPECT_EQ(record.octets(), OctetsOfValue(full_record(kSha256, kImprint)));
}

TEST(DecodeRequest, EveryFieldComesBackFromEveryFraming) {
  QEX_TSQ_DATA_EX sent = full_record(kSha384, Octets(48, 0x66));
  PutText(sent.reqPolicy, "1.2.3");
  PutOctets(sent.nonce, {0x7F, 0x00, 0x80});
  sent.nonceLength = 3;
  sent.certReq = 1;
  for (const uint32_t transport : {0u, 1u, 2u}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(Fetch(EncodedRequest(sent, transport)).octets, &record), QEX_OK) << transport;
    EXPECT_EQ(record.octets(), OctetsOfValue(sent)) << transport;
  }
}

TEST(DecodeRequest, VersionParametersAndExtensionsAreNotReported) {
  const Octets extension = der::sequence(der::oid("1.2.3"), der::boolean(true), der::octet_string({1, 2}));
  const Octets input = der::sequence(
      der::integer(77), der::sequence(der::algorithm(kSha256, der::null()), der::octet_string(kImprint)),
      der::context(0, extension));
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full(input, &record), QEX_OK);
  EXPECT_EQ(record.octets(), OctetsOfValue(full_record(kSha256, kImprint)));
}

TEST(DecodeRequest, CertReqFalseIs0AndAnyTrueIs1) {
  for (const uint8_t value : std::initializer_list<uint8_t>{0x00, 0x01, 0x80, 0xFF}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(RequestWith(Octets{0x01, 0x01, value}), &record), QEX_OK);
    EXPECT_EQ(record->certReq, value == 0 ? 0u : 1u) << int{value};
  }
}

TEST(DecodeRequest, ImprintAbove128IsCutAndReported) {
  for (const size_t n : {128u, 129u, 500u}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    QEX_TSQ_DATA_EX expected = full_record(kSha256, Octets(128, 0x77));
    expected.hashedMessageLength = uint32_t(n);
    expected.certReq = 1;
    EXPECT_EQ(decode_full(request(der::algorithm(kSha256), Octets(n, 0x77), der::boolean(true)), &record),
              n > 128 ? QEX_E_SIZE : QEX_OK);
    EXPECT_EQ(record.octets(), OctetsOfValue(expected)) << n;
  }
}

TEST(DecodeRequest, NonceAbove40IsCutAndReported) {
  for (const size_t n : {40u, 41u, 300u}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    QEX_TSQ_DATA_EX expected = full_record(kSha256, kImprint);
    PutText(expected.reqPolicy, "1.2.3");
    PutOctets(expected.nonce, Octets(40, 0x77));
    expected.nonceLength = uint32_t(n);
    EXPECT_EQ(decode_full(RequestWith(der::oid("1.2.3"), der::big_integer(Octets(n, 0x77))), &record),
              n > 40 ? QEX_E_SIZE : QEX_OK);
    EXPECT_EQ(record.octets(), OctetsOfValue(expected)) << n;
  }
}

TEST(DecodeRequest, IdentifierTextThatIsCutIsReportedWithAFullRecord) {
  const std::string policy = "1.2" + [] {
    std::string arcs;
    for (int i = 0; i < 70; ++i) arcs += ".7";
    return arcs;
  }();
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full(RequestWith(der::oid(policy), der::integer(5), der::boolean(true)), &record),
            QEX_E_SIZE);
  EXPECT_EQ(record->reqPolicy[127], 0);
  EXPECT_EQ(policy.find(record->reqPolicy), 0u) << record->reqPolicy;
  EXPECT_EQ(record->nonceLength, 1u);
  EXPECT_EQ(record->certReq, 1u);

  const Octets long_algorithm = der::sequence(der::oid(policy));
  EXPECT_EQ(decode_full(request(long_algorithm, kImprint), &record), QEX_E_SIZE);
  EXPECT_EQ(policy.find(record->hashAlgorithm), 0u);
  EXPECT_EQ(record->hashedMessageLength, 32u);
}

TEST(DecodeRequest, ConstructedImprintAndNonceDecode) {
  const Octets imprint =
      der::element(0x24, der::octet_string(Octets(20, 0x11)), der::octet_string(Octets(12, 0x11)));
  const Octets nonce = der::indefinite(0x22, der::octet_string({0x01}), der::octet_string({0x02}));
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(
      decode_full(der::sequence(der::integer(1), der::sequence(der::algorithm(kSha256), imprint), nonce),
                  &record),
      QEX_OK);
  EXPECT_EQ(OctetsOfField(record->hashedMessage, 32), kImprint);
  EXPECT_EQ(record->nonceLength, 2u);
  EXPECT_EQ(OctetsOfField(record->nonce, 2), (Octets{1, 2}));
}

TEST(DecodeRequest, MalformedRequestLeavesTheRecordAsItWas) {
  const ErrorCapture quiet;
  const struct {
    const char* name;
    Octets data;
    int32_t error;
  } rows[] = {
      {"another tag", {0x31, 0x00}, -640},
      {"no version", der::sequence(der::octet_string({1})), -641},
      {"no imprint", der::sequence(der::integer(1), der::integer(1)), -642},
      {"too short inside", {0x30, 0x04, 0x02, 0x01, 0x01, 0x30}, -13},
      {"a field that does not belong", RequestWith(der::octet_string({1})), -644},
      {"parameters of an algorithm that is not known",
       request(der::algorithm("1.2.3", der::null()), kImprint), -44},
  };
  for (const auto& row : rows) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    record->size = sizeof(QEX_TSQ_DATA_EX);
    const Octets before = record.octets();
    EXPECT_EQ(decode_full(row.data, &record), QEX_E_DECODE) << row.name;
    EXPECT_EQ(record.octets(), before) << row.name;
    EXPECT_EQ(QEX_GetLastAsnError(), row.error) << row.name;
  }
}

// --- Recognising the framing -----------------------------------------------------------------

TEST(UnframeRequest, SocketHeadIsSkippedWhateverLengthItHas) {
  for (const Octets& length : {Octets{0, 0, 0, 0}, Octets{0, 1, 2, 3}, Octets{0, 0xFF, 0xFF, 0xFF}}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(der::concat(length, Octets{0}, RequestWith()), &record), QEX_OK);
    EXPECT_EQ(record->hashedMessageLength, 32u);
  }
}

TEST(UnframeRequest, OtherSocketHeadsAreNotRecognised) {
  const ErrorCapture quiet;
  for (const Octets& head : {Octets{1, 0, 0, 0, 0}, Octets{0, 0, 0, 0, 5}, Octets{0, 0, 0, 0, 1}}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(der::concat(head, RequestWith()), &record), QEX_E_DECODE);
  }
  // A SEQUENCE follows a socket head.
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full({0, 0, 0, 0, 0, 0x31, 0x00}, &record), QEX_E_DECODE);
}

TEST(UnframeRequest, NoFramingIsLookedForInFiveOctets) {
  const ErrorCapture quiet;
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full({0, 0, 0, 0, 0}, &record), QEX_E_DECODE);
  EXPECT_EQ(decode_full(der::octets("POST "), &record), QEX_E_DECODE);
}

TEST(UnframeRequest, HttpHeadEndsWithAnEmptyLineOfEitherKind) {
  const char* const heads[] = {
      "POST / HTTP/1.1\r\nHost: a\r\n\r\n",
      "POST / HTTP/1.1\nHost: a\n\n",
      "POST / HTTP/1.1\r\n\r\n",
      "POST / HTTP/1.1\n\n",
      "POST \n\n",
      "POST / HTTP/1.1\r\nHost: a\n\r\n",
      "POST \r\r\r\nx\r\n\r\n",
  };
  for (const char* head : heads) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(der::concat(der::octets(head), RequestWith()), &record), QEX_OK) << head;
    EXPECT_EQ(record->hashedMessageLength, 32u);
  }
}

TEST(UnframeRequest, HttpHeadWithoutAnEndIsDecodedFromItsBeginning) {
  const ErrorCapture quiet;
  for (const char* head :
       {"POST / HTTP/1.1\r\nHost: a\r\n", "POST / HTTP/1.1\r\n\rx\n", "POST ", "POST 0\r"}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(der::concat(der::octets(head), Octets{'x'}), &record), QEX_E_DECODE) << head;
  }
}

// Deliberate: a lone line feed that is the last octet ends the head, and nothing is left to decode.
TEST(UnframeRequest, LoneLineFeedAtTheEndOfTheDataEndsTheHead) {
  const ErrorCapture quiet;
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  EXPECT_EQ(decode_full(der::octets("POST / HTTP/1.1\n"), &record), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), -26) << "a tag is missed, as in data of no octets";
}

TEST(UnframeRequest, OnlyCapitalPostStartsAnHttpHead) {
  const ErrorCapture quiet;
  for (const char* head : {"post / HTTP/1.1\n\n", "GET / HTTP/1.1\n\n", "POST\t/ HTTP/1.1\n\n"}) {
    GuardedRecord<QEX_TSQ_DATA_EX> record;
    EXPECT_EQ(decode_full(der::concat(der::octets(head), RequestWith()), &record), QEX_E_DECODE) << head;
  }
}

// --- Decoding into the short record --------------------------------------------------------------

int32_t decode_short(const Octets& data, GuardedRecord<QEX_TSQ_DATA>* record) {
  const Guarded input(data);
  return QEX_DecodeTSQ(record->get(), input.data(), input.size());
}

TEST(DecodeShortRequest, EveryFieldComesBack) {
  QEX_TSQ_DATA sent = short_record(kSha256, kImprint);
  PutText(sent.reqPolicy, "1.2.3");
  sent.nonce = {0x80000000, 5};
  sent.certReq = 1;
  for (const int32_t transport : {0, 1, 2}) {
    GuardedRecord<QEX_TSQ_DATA> record{QEX_TSQ_DATA{}};
    EXPECT_EQ(decode_short(Fetch(EncodedShortRequest(sent, transport)).octets, &record), QEX_OK);
    EXPECT_EQ(record.octets(), OctetsOfValue(sent));
  }
}

TEST(DecodeShortRequest, EveryByteOfTheRecordIsWritten) {
  GuardedRecord<QEX_TSQ_DATA> record;
  record->hashAlgorithm[127] = 0;
  record->reqPolicy[0] = 0;
  EXPECT_EQ(decode_short(RequestWith(), &record), QEX_OK);
  EXPECT_EQ(record.octets(), OctetsOfValue(short_record(kSha256, kImprint)));
}

TEST(DecodeShortRequest, LongImprintIsCutTo40WithoutAReport) {
  for (const size_t n : {41u, 64u, 128u}) {
    GuardedRecord<QEX_TSQ_DATA> record{QEX_TSQ_DATA{}};
    EXPECT_EQ(decode_short(request(der::algorithm(kSha512), Octets(n, 0x77)), &record), QEX_OK);
    QEX_TSQ_DATA expected = short_record(kSha512, Octets(40, 0x77));
    expected.hashedMessageLength = uint32_t(n);
    EXPECT_EQ(record.octets(), OctetsOfValue(expected)) << n;
  }
}

TEST(DecodeShortRequest, CodeOfTheFullRecordIsReturnedAndTheRecordStays) {
  const ErrorCapture quiet;
  const struct {
    Octets data;
    int32_t code;
  } rows[] = {{{0x30, 0x00, 0x00}, QEX_E_DECODE},
              {request(der::algorithm(kSha256), Octets(129, 1)), QEX_E_SIZE},
              {RequestWith(der::big_integer(Octets(41, 1))), QEX_E_SIZE}};
  for (const auto& row : rows) {
    GuardedRecord<QEX_TSQ_DATA> record{QEX_TSQ_DATA{}};
    record->certReq = 99;
    const Octets before = record.octets();
    EXPECT_EQ(decode_short(row.data, &record), row.code);
    EXPECT_EQ(record.octets(), before);
  }
}

// Deliberate: the texts of the record are tested as the caller left them.
TEST(DecodeShortRequest, TextOfTheCallerWithoutAnEndIsReportedThoughTheRecordIsFilled) {
  for (const bool policy : {false, true}) {
    QEX_TSQ_DATA used{};
    std::memset(policy ? used.reqPolicy : used.hashAlgorithm, 'x', 128);
    GuardedRecord<QEX_TSQ_DATA> record{used};
    EXPECT_EQ(decode_short(RequestWith(), &record), QEX_E_SIZE);
    EXPECT_EQ(record.octets(), OctetsOfValue(short_record(kSha256, kImprint)));
    EXPECT_EQ(decode_short(RequestWith(), &record), QEX_OK) << "the record now holds texts with ends";
  }
}

TEST(DecodeShortRequest, NonceOfMoreThan64BitsIsReportedWithAFullRecord) {
  const struct {
    Octets nonce;
    int32_t code;
    QEX_U64 value;
  } rows[] = {
      {Octets(8, 0xFF), QEX_OK, {0xFFFFFFFF, 0xFFFFFFFF}},
      {der::concat(Octets{0}, Octets(8, 0xFF)), QEX_OK, {0xFFFFFFFF, 0xFFFFFFFF}},
      {der::concat(Octets{1}, Octets(8, 0xFF)), QEX_E_SIZE, {0, 0}},
      {Octets(10, 0), QEX_E_SIZE, {0, 0}},
      {Octets(40, 1), QEX_E_SIZE, {0, 0}},
  };
  for (const auto& row : rows) {
    GuardedRecord<QEX_TSQ_DATA> record{QEX_TSQ_DATA{}};
    EXPECT_EQ(decode_short(RequestWith(der::big_integer(row.nonce), der::boolean(true)), &record), row.code);
    QEX_TSQ_DATA expected = short_record(kSha256, kImprint);
    expected.nonce = row.value;
    expected.certReq = 1;
    EXPECT_EQ(record.octets(), OctetsOfValue(expected)) << row.nonce.size();
  }
}

}  // namespace
}  // namespace qex::test
