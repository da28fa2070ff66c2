// The frame of the exports: result codes, the last ASN.1 error, output buffers, numbers of 64 bits.
#include "api/frame.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/error_capture.h"
#include "tests/support/export_calls.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/messages.h"
#include "tests/support/octets.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// --- Codes ---------------------------------------------------------------------

TEST(Header, ResultCodesHaveTheirValues) {
  const struct {
    int code;
    int value;
  } rows[] = {
      {QEX_OK, 0},           {QEX_E_ARG, -1},          {QEX_E_NOMEM, -2},    {QEX_E_SIZE, -3},
      {QEX_E_MISSING, -5},   {QEX_E_DECODE, -6},       {QEX_E_BADTOKEN, -7}, {QEX_E_SIGNATURE, -8},
      {QEX_E_REJECTED, -9},  {QEX_E_NOTOKEN, -10},     {QEX_E_LENGTH, -11},  {QEX_E_FRAMING, -12},
      {QEX_E_NOCERT, -14},   {QEX_E_UNSUPPORTED, -13}, {QEX_E_NOTAC, -15},   {QEX_E_MISMATCH, -16},
      {QEX_E_NOPOLICY, -17},
  };
  for (const auto& row : rows) EXPECT_EQ(row.code, row.value);
}

TEST(Header, TransportModesHaveTheirValues) {
  EXPECT_EQ(QEX_TRANSPORT_RAW, 0);
  EXPECT_EQ(QEX_TRANSPORT_SOCKET, 1);
  EXPECT_EQ(QEX_TRANSPORT_HTTP, 2);
  EXPECT_EQ(QEX_TRANSPORT_RESERVED, 3);
}

// --- Every decoding export, called alike ---------------------------------------

const Octets& token() {
  static const Octets made = TokenMaker().encode();
  return made;
}
const Octets& response() {
  static const Octets made = Response(StatusInfo(0), token());
  return made;
}

struct DecodingExport {
  const char* name;
  const Octets& sample;
  int32_t refusal;  // the code for input that does not decode
  std::function<int32_t(const uint8_t*, uint32_t)> call;
};

std::ostream& operator<<(std::ostream& out, const DecodingExport& one) {
  return out << one.name;
}

// The records and outputs of these calls are in guarded memory and are not checked.
const std::vector<DecodingExport>& decoding_exports() {
  static const Octets request = RequestWith();
  static const std::vector<DecodingExport> all = {
      {"QEX_DecodeTSQ_Ex", request, QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         GuardedRecord<QEX_TSQ_DATA_EX> record;
         record->size = sizeof(QEX_TSQ_DATA_EX);
         return QEX_DecodeTSQ_Ex(record.get(), data, length);
       }},
      {"QEX_DecodeTSQ", request, QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         GuardedRecord<QEX_TSQ_DATA> record{QEX_TSQ_DATA{}};
         return QEX_DecodeTSQ(record.get(), data, length);
       }},
      {"QEX_GetTSR_Status", response(), QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         GuardedRecord<QEX_TSR_STATUS> record;
         return QEX_GetTSR_Status(record.get(), data, length);
       }},
      {"QEX_GetTSR_EncodedToken", response(), QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         return Call(4096,
                     [&](uint8_t* out, uint32_t* n) { return QEX_GetTSR_EncodedToken(out, n, data, length); })
             .code;
       }},
      {"QEX_GetTST_TSTInfoEx", token(), QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         GuardedRecord<QEX_TSTINFO_EX> record;
         record->size = sizeof(QEX_TSTINFO_EX);
         return QEX_GetTST_TSTInfoEx(record.get(), data, length);
       }},
      {"QEX_GetTST_TSTInfo", token(), QEX_E_DECODE,
       [](const uint8_t* data, uint32_t length) {
         GuardedRecord<QEX_TSTINFO> record;
         return QEX_GetTST_TSTInfo(record.get(), data, length);
       }},
      {"QEX_GetTST_TSACert", token(), QEX_E_BADTOKEN,
       [](const uint8_t* data, uint32_t length) {
         return Call(4096,
                     [&](uint8_t* out, uint32_t* n) { return QEX_GetTST_TSACert(out, n, data, length); })
             .code;
       }},
      {"QEX_VerifyTST_Signature", token(), QEX_E_BADTOKEN,
       [](const uint8_t* data, uint32_t length) {
         return QEX_VerifyTST_Signature(data, length, nullptr, 0);
       }},
  };
  return all;
}

int32_t call_on(const DecodingExport& one, const Octets& input) {
  const Guarded data(input);
  return one.call(data.data(), data.size());
}

// fail_a_decoding leaves a last ASN.1 error that is not 0, and returns it.
int32_t fail_a_decoding() {
  const ErrorCapture quiet;
  GuardedRecord<QEX_TSR_STATUS> record;
  const Guarded cut(Octets{0x30, 0x03, 0x02});
  EXPECT_EQ(QEX_GetTSR_Status(record.get(), cut.data(), cut.size()), QEX_E_DECODE);
  EXPECT_LT(QEX_GetLastAsnError(), 0);
  return QEX_GetLastAsnError();
}

TEST(Frame, WellFormedInputIsAcceptedAndClearsTheLastError) {
  for (const DecodingExport& one : decoding_exports()) {
    fail_a_decoding();
    EXPECT_EQ(call_on(one, one.sample), QEX_OK) << one;
    EXPECT_EQ(QEX_GetLastAsnError(), 0) << one;
  }
}

TEST(Frame, BytesAfterTheValueAreIgnored) {
  for (const DecodingExport& one : decoding_exports()) {
    EXPECT_EQ(call_on(one, der::concat(one.sample, Octets{0x00, 0xFF, 0x30})), QEX_OK) << one;
  }
}

TEST(Frame, TruncatedInputIsRefusedWithTheCodecsNumber) {
  const ErrorCapture quiet;
  for (const DecodingExport& one : decoding_exports()) {
    const Octets cut(one.sample.begin(), one.sample.end() - 1);
    EXPECT_EQ(call_on(one, cut), one.refusal) << one;
    EXPECT_LT(QEX_GetLastAsnError(), 0) << one;
  }
}

TEST(Frame, NoInputAtAllIsRefusedForWantOfATag) {
  const ErrorCapture quiet;
  for (const DecodingExport& one : decoding_exports()) {
    EXPECT_EQ(call_on(one, {}), one.refusal) << one;
    EXPECT_EQ(QEX_GetLastAsnError(), -26) << one;  // BDecTag past the end
  }
}

TEST(Frame, AnotherOuterTagIsRefused) {
  const ErrorCapture quiet;
  for (const DecodingExport& one : decoding_exports()) {
    Octets input = one.sample;
    input[0] = 0x31;
    EXPECT_EQ(call_on(one, input), one.refusal) << one;
    EXPECT_LE(QEX_GetLastAsnError(), -100) << one;
    EXPECT_GE(QEX_GetLastAsnError(), -677) << one;
  }
}

TEST(Frame, InputOfIndefiniteLengthDecodes) {
  for (const DecodingExport& one : decoding_exports()) {
    const size_t head = 2 + (one.sample[1] > 0x80 ? one.sample[1] & 0x7Fu : 0u);
    const Octets content(one.sample.begin() + ptrdiff_t(head), one.sample.end());
    EXPECT_EQ(call_on(one, der::indefinite(0x30, content)), QEX_OK) << one;
  }
}

TEST(Frame, NullInputIsAnArgumentErrorAndKeepsTheLastError) {
  for (const DecodingExport& one : decoding_exports()) {
    const int32_t before = fail_a_decoding();
    EXPECT_EQ(one.call(nullptr, 10), QEX_E_ARG) << one;
    EXPECT_EQ(QEX_GetLastAsnError(), before) << one;
  }
}

TEST(Frame, NullRecordsAndLengthsAreArgumentErrorsAndKeepTheLastError) {
  const Guarded request(RequestWith());
  const Guarded reply(response());
  const Guarded stamp(token());
  uint8_t out[1];
  const uint32_t n = stamp.size();
  QEX_TSQ_DATA_EX query{};
  query.size = sizeof query;
  QEX_TSQ_DATA short_query{};
  uint32_t word = 0;
  const struct {
    const char* name;
    std::function<int32_t()> call;
  } calls[] = {
      {"QEX_DecodeTSQ_Ex", [&] { return QEX_DecodeTSQ_Ex(nullptr, request.data(), request.size()); }},
      {"QEX_DecodeTSQ", [&] { return QEX_DecodeTSQ(nullptr, request.data(), request.size()); }},
      {"QEX_EncodeTSQ_Ex record", [&] { return QEX_EncodeTSQ_Ex(nullptr, out, &word, 0); }},
      {"QEX_EncodeTSQ_Ex length", [&] { return QEX_EncodeTSQ_Ex(&query, out, nullptr, 0); }},
      {"QEX_EncodeTSQ record", [&] { return QEX_EncodeTSQ(nullptr, out, &word, 0); }},
      {"QEX_EncodeTSQ length", [&] { return QEX_EncodeTSQ(&short_query, out, nullptr, 0); }},
      {"QEX_UnpackTSR buffer", [&] { return QEX_UnpackTSR(nullptr, &word, &word, 0); }},
      {"QEX_UnpackTSR length", [&] { return QEX_UnpackTSR(out, nullptr, &word, 0); }},
      {"QEX_UnpackTSR status", [&] { return QEX_UnpackTSR(out, &word, nullptr, 0); }},
      {"QEX_GetTSR_Status", [&] { return QEX_GetTSR_Status(nullptr, reply.data(), reply.size()); }},
      {"QEX_GetTSR_EncodedToken",
       [&] { return QEX_GetTSR_EncodedToken(out, nullptr, reply.data(), reply.size()); }},
      {"QEX_GetTST_TSTInfoEx", [&] { return QEX_GetTST_TSTInfoEx(nullptr, stamp.data(), n); }},
      {"QEX_GetTST_TSTInfo", [&] { return QEX_GetTST_TSTInfo(nullptr, stamp.data(), n); }},
      {"QEX_GetTST_TSACert", [&] { return QEX_GetTST_TSACert(out, nullptr, stamp.data(), n); }},
  };
  const int32_t before = fail_a_decoding();
  for (const auto& one : calls) {
    EXPECT_EQ(one.call(), QEX_E_ARG) << one.name;
    EXPECT_EQ(QEX_GetLastAsnError(), before) << one.name;
  }
}

TEST(Frame, RecordWithAnotherSizeIsAnArgumentErrorAndUnchanged) {
  const Guarded request(RequestWith());
  const Guarded stamp(token());
  const int32_t before = fail_a_decoding();
  for (const uint32_t size : {0u, 439u, 441u, 880u, 1043u, 1045u, 0xFFFFFFFFu}) {
    GuardedRecord<QEX_TSQ_DATA_EX> query;
    query->size = size;
    const Octets query_before = query.octets();
    EXPECT_EQ(QEX_DecodeTSQ_Ex(query.get(), request.data(), request.size()), QEX_E_ARG) << size;
    EXPECT_EQ(query.octets(), query_before);

    GuardedRecord<QEX_TSTINFO_EX> info;
    info->size = size;
    const Octets info_before = info.octets();
    EXPECT_EQ(QEX_GetTST_TSTInfoEx(info.get(), stamp.data(), stamp.size()), QEX_E_ARG) << size;
    EXPECT_EQ(info.octets(), info_before);

    QEX_TSQ_DATA_EX to_encode{};
    to_encode.size = size;
    EXPECT_EQ(Call(500, EncodedRequest(to_encode, QEX_TRANSPORT_RAW)).code, QEX_E_ARG) << size;
  }
  EXPECT_EQ(QEX_GetLastAsnError(), before);
}

TEST(Frame, EncodingClearsTheLastError) {
  fail_a_decoding();
  QEX_TSQ_DATA_EX request{};
  request.size = sizeof request;
  EXPECT_EQ(Call(500, EncodedRequest(request, QEX_TRANSPORT_RAW)).code, QEX_OK);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}

TEST(Frame, LastErrorIs0BeforeAnyOtherCall) {
  InFreshProcess(nullptr, [] { EXPECT_EQ(QEX_GetLastAsnError(), 0); });
}

TEST(Frame, AskingForTheLastErrorChangesNothing) {
  const int32_t before = fail_a_decoding();
  EXPECT_EQ(QEX_GetLastAsnError(), before);
  EXPECT_EQ(QEX_GetLastAsnError(), before);
}

TEST(Frame, FirstCallSetsTheBlockSizeOfEncodings) {
  InFreshProcess(nullptr, [] {
    EXPECT_EQ(ExpBufBlockSize(), kInitialBlockSize);
    GuardedRecord<QEX_TSR_STATUS> record;
    EXPECT_EQ(QEX_GetTSR_Status(record.get(), nullptr, 0), QEX_E_ARG);
    EXPECT_EQ(ExpBufBlockSize(), kInitialBlockSize) << "an argument error comes before the initialisation";
    const Guarded reply(response());
    EXPECT_EQ(QEX_GetTSR_Status(record.get(), reply.data(), reply.size()), QEX_OK);
    EXPECT_EQ(ExpBufBlockSize(), 2048u);
  });
}

TEST(Frame, FirstCallThatEncodesInitialisesToo) {
  InFreshProcess(nullptr, [] {
    QEX_TSQ_DATA_EX request{};
    request.size = sizeof request;
    PutText(request.hashAlgorithm, kMd5);
    // The NULL parameters of MD5 are written by way of the registered types.
    const Output encoded = Fetch(EncodedRequest(request, QEX_TRANSPORT_RAW));
    EXPECT_EQ(encoded.octets, der::sequence(der::integer(1), der::sequence(der::algorithm(kMd5, der::null()),
                                                                           der::octet_string({}))));
    EXPECT_EQ(ExpBufBlockSize(), 2048u);
  });
}

// Every export that decodes or encodes needs the tables. Where they cannot be built it says so before
// anything else.
TEST(Frame, FirstCallThatFindsNoMemoryReportsItAndDecodesNothing) {
  InFreshProcess(nullptr, [] {
    constexpr int32_t kUntouched = 4711;
    const std::set<std::string> without_tables = {"QEX_GetLastAsnError", "QEX_UnpackTSR"};
    std::set<std::string> tried;
    for (const ExportCall& call : ExportCalls()) {
      const bool isDigest = call.exports.size() > 1;
      if (isDigest || without_tables.contains(call.name()) || !tried.insert(call.name()).second) continue;
      lastAsnError = kUntouched;
      Octets memory = call.memory;
      int32_t code = QEX_OK;
      {
        const FailingAlloc failing(0);
        code = call.call(memory.data());
      }
      EXPECT_EQ(code, QEX_E_NOMEM) << call.name();
      EXPECT_EQ(QEX_GetLastAsnError(), kUntouched) << call.name();
    }
    EXPECT_EQ(tried.size(), 19u);
  });
}

TEST(Frame, NothingIsReportedOnSuccess) {
  const ErrorCapture reports;
  for (const DecodingExport& one : decoding_exports()) EXPECT_EQ(call_on(one, one.sample), QEX_OK) << one;
  EXPECT_EQ(reports.text(), "");
}

TEST(Frame, AttachingDoesNothingAndSucceeds) {
  for (const uint32_t reason : {0u, 1u, 2u, 3u, 77u}) {
    EXPECT_TRUE(ProcessAttach(nullptr, reason, nullptr)) << reason;
  }
}

// --- Output buffers --------------------------------------------------------------

// expect_output_buffer_rule calls with no buffer, with buffers around the length, and with one that is
// larger.
template <class F>
void expect_output_buffer_rule(const char* name, const F& call) {
  SCOPED_TRACE(name);
  const Output asked = AskLength(call, 0xFFFFFFFF);
  ASSERT_EQ(asked.code, QEX_E_SIZE);
  const uint32_t n = asked.length;
  ASSERT_GT(n, 0u);
  ASSERT_LT(n, 100000u);
  for (const uint32_t capacity : {0u, 1u, n - 1}) {
    const Output refused = Call(capacity, call);
    EXPECT_EQ(refused.code, QEX_E_SIZE) << capacity;
    EXPECT_EQ(refused.length, n) << capacity;
    EXPECT_EQ(refused.octets, Octets(capacity, Guarded::kFill)) << "nothing is written";
  }
  const Output exact = Call(n, call);
  EXPECT_EQ(exact.code, QEX_OK);
  EXPECT_EQ(exact.length, n);
  const Output roomy = Call(n + 9, call);
  EXPECT_EQ(roomy.code, QEX_OK);
  EXPECT_EQ(roomy.length, n);
  EXPECT_EQ(roomy.octets, der::concat(exact.octets, Octets(9, Guarded::kFill)))
      << "nothing after the output is written";
}

TEST(OutputBuffer, FollowsOneRuleInEveryExport) {
  QEX_TSQ_DATA_EX request{};
  request.size = sizeof request;
  PutText(request.hashAlgorithm, kSha256);
  request.hashedMessageLength = 32;
  for (const uint32_t transport : {0u, 1u, 2u}) {
    expect_output_buffer_rule("QEX_EncodeTSQ_Ex", EncodedRequest(request, transport));
  }
  QEX_TSQ_DATA short_request{};
  PutText(short_request.hashAlgorithm, kSha256);
  for (const int32_t transport : {0, 1, 2}) {
    expect_output_buffer_rule("QEX_EncodeTSQ", EncodedShortRequest(short_request, transport));
  }
  expect_output_buffer_rule("QEX_GetTSR_EncodedToken", EncodedToken(response()));
  expect_output_buffer_rule("QEX_GetTST_TSACert", TsaCert(token()));
}

TEST(OutputBuffer, LongerThanOneBlockIsHandedOutWhole) {
  TokenMaker large;
  for (int i = 0; i < 12; ++i) large.certificates.push_back(OtherCertificate());
  const Octets made = large.encode();
  ASSERT_GT(made.size(), 2 * kLibraryBlockSize);
  const EncodedToken call(Response(StatusInfo(0), made));
  EXPECT_EQ(Fetch(call).octets, made);
  expect_output_buffer_rule("QEX_GetTSR_EncodedToken", call);
}

TEST(EncodingEquals, ComparesAllOctetsAcrossBlocks) {
  const Octets octets = {1, 2, 3, 4, 5, 6, 7};
  for (const size_t block : {1u, 3u, 7u, 8u}) {
    const BlockSize size(block);
    ExpBufHolder buf;
    ASSERT_TRUE(EncodeInto(buf, [&](ExpBuf** b) { ExpBufPutSegRvs(b, octets.data(), octets.size()); }));
    const auto equals = [&](const Octets& other) {
      const Guarded data(other);
      return EncodingEquals(buf, data.data(), data.size());
    };
    EXPECT_TRUE(equals(octets)) << block;
    for (size_t i = 0; i < octets.size(); ++i) {
      Octets other = octets;
      other[i] ^= 1;
      EXPECT_FALSE(equals(other)) << block << ", octet " << i;
    }
    EXPECT_FALSE(equals({1, 2, 3, 4, 5, 6})) << block;
    EXPECT_FALSE(equals({1, 2, 3, 4, 5, 6, 7, 8})) << block;
    EXPECT_FALSE(equals({})) << block;
  }
}

// --- Numbers of 64 bits ------------------------------------------------------------

TEST(AsnIntToU64, TakesUpToEightOctetsAndASignOctet) {
  const Octets ff(8, 0xFF);
  const struct {
    Octets octets;
    int32_t code;
    uint32_t high, low;
  } rows[] = {
      {{}, 0, 0, 0},
      {{0x00}, 0, 0, 0},
      {{0x7F}, 0, 0, 0x7F},
      {{0xFF}, 0, 0, 0xFF},
      {{0x00, 0x80}, 0, 0, 0x80},
      {{0x01, 0x02, 0x03, 0x04}, 0, 0, 0x01020304},
      {{0x01, 0x02, 0x03, 0x04, 0x05}, 0, 0x01, 0x02030405},
      {{0x00, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 0, 0xFFFFFFFF},
      {{1, 2, 3, 4, 5, 6, 7}, 0, 0x010203, 0x04050607},
      {{1, 2, 3, 4, 5, 6, 7, 8}, 0, 0x01020304, 0x05060708},
      {ff, 0, 0xFFFFFFFF, 0xFFFFFFFF},
      {der::concat(Octets{0}, ff), 0, 0xFFFFFFFF, 0xFFFFFFFF},
      {der::concat(Octets{1}, ff), -1, 0, 0},
      {der::concat(Octets{0xFF}, ff), -1, 0, 0},
      {Octets(9, 0), 0, 0, 0},
      {Octets(10, 0), -1, 0, 0},
      {der::concat(Octets{0, 0}, ff), -1, 0, 0},
      {Octets(40, 1), -1, 0, 0},
  };
  for (const auto& row : rows) {
    const Guarded input(row.octets);
    const AsnOcts value{input.size(), const_cast<uint8_t*>(input.data())};
    QEX_U64 number{0xA5A5A5A5, 0xA5A5A5A5};
    EXPECT_EQ(AsnIntToU64(value, &number), row.code) << row.octets.size();
    EXPECT_EQ(number.high, row.high) << row.octets.size();
    EXPECT_EQ(number.low, row.low) << row.octets.size();
  }
}

TEST(U64ToAsnInt, GivesTheFewestOctetsOfANumberThatIsNotNegative) {
  const struct {
    QEX_U64 number;
    Octets octets;
  } rows[] = {
      {{0, 0}, {}},
      {{0, 1}, {0x01}},
      {{0, 127}, {0x7F}},
      {{0, 128}, {0x00, 0x80}},
      {{0, 255}, {0x00, 0xFF}},
      {{0, 256}, {0x01, 0x00}},
      {{0, 0x7FFFFFFF}, {0x7F, 0xFF, 0xFF, 0xFF}},
      {{0, 0x80000000}, {0x00, 0x80, 0x00, 0x00, 0x00}},
      {{1, 0}, {0x01, 0x00, 0x00, 0x00, 0x00}},
      {{0x80, 0}, {0x00, 0x80, 0x00, 0x00, 0x00, 0x00}},
      {{0x7FFFFFFF, 0xFFFFFFFF}, {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {{0x80000000, 0}, {0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
      {{0xFFFFFFFF, 0xFFFFFFFF}, {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
  };
  for (const auto& row : rows) {
    AsnOcts value{99, nullptr};
    EXPECT_EQ(U64ToAsnInt(row.number, &value), 0);
    EXPECT_EQ(Octets(value.octs, value.octs + value.count), row.octets);
    if (row.octets.empty()) {
      EXPECT_EQ(value.octs, nullptr) << "nothing is allocated for 0";
    }
    QEX_U64 back{};
    EXPECT_EQ(AsnIntToU64(value, &back), 0);
    EXPECT_EQ(back.high, row.number.high);
    EXPECT_EQ(back.low, row.number.low);
    AsnFree(value.octs);
  }
}

}  // namespace
}  // namespace qex::test
