// Every allocation of every export fails once: the export answers with its code, and nothing is lost.
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "api/qex.h"
#include "ber/memory.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/messages.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

struct Case {
  const char* name;
  std::function<int32_t()> call;
  int32_t success;
  // Codes of a failed allocation, and those of them that leave the number of the failure, -27.
  std::set<int32_t> codes;
  std::set<int32_t> with_error;
};

// expect_all_failures lets the first, the second, ... allocation fail with all that follow, until the call
// succeeds.
void expect_all_failures(const Case& one) {
  SCOPED_TRACE(one.name);
  ASSERT_EQ(one.call(), one.success) << "and the tables are built";
  for (size_t allowed = 0; allowed < 10000; ++allowed) {
    const long before = LiveBlocks();
    size_t refused = 0;
    int32_t code = 0;
    {
      const FailingAlloc failing(allowed);
      code = one.call();
      refused = failing.refused();
    }
    ASSERT_EQ(LiveBlocks(), before) << "after " << allowed << " allocations";
    if (refused == 0) {
      EXPECT_EQ(code, one.success);
      EXPECT_GT(allowed, 0u) << "the call allocates something";
      return;
    }
    ASSERT_TRUE(one.codes.contains(code)) << code << " after " << allowed << " allocations";
    if (one.with_error.contains(code)) {
      ASSERT_EQ(QEX_GetLastAsnError(), -27) << code << " after " << allowed << " allocations";
    }
  }
  ADD_FAILURE() << "does not end";
}

TEST(Allocation, FailureOfAnyIsAnswered) {
  static uint8_t out[4096];
  static QEX_TSQ_DATA_EX query{};
  query.size = sizeof query;
  PutText(query.hashAlgorithm, kMd5);
  PutText(query.reqPolicy, "1.2.3");
  static QEX_TSQ_DATA brief{};
  brief.nonce = {1, 2};
  const Octets request =
      RequestWith(der::oid("1.2.3"), der::integer(5), der::boolean(true),
                  der::context(0, der::sequence(der::oid("1.2.3"), der::octet_string({1}))));
  TokenMaker maker;
  TstInfoMaker info;
  info.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{2}));
  info.tsa = der::context(0, der::context(4, CertificateMaker().subject));
  maker.tst_info = info.encode();
  maker.certificates.insert(maker.certificates.begin(), OtherCertificate());
  const Octets token = maker.encode();
  const Octets response = Response(StatusInfo(0, der::sequence(der::utf8_string("text"))), token);
  const Octets& certificate = AuthorityCertificate();
  const auto size_of = [](const Octets& octets) { return uint32_t(octets.size()); };

  const Case cases[] = {
      {"QEX_EncodeTSQ_Ex",
       [&] {
         uint32_t n = sizeof out;
         return QEX_EncodeTSQ_Ex(&query, out, &n, 0);
       },
       QEX_OK,
       {QEX_E_DECODE},
       {QEX_E_DECODE}},
      {"QEX_EncodeTSQ",
       [&] {
         uint32_t n = sizeof out;
         return QEX_EncodeTSQ(&brief, out, &n, 0);
       },
       QEX_OK,
       {QEX_E_DECODE, QEX_E_NOMEM},
       {QEX_E_DECODE}},
      {"QEX_DecodeTSQ_Ex",
       [&] {
         QEX_TSQ_DATA_EX record{};
         record.size = sizeof record;
         return QEX_DecodeTSQ_Ex(&record, request.data(), size_of(request));
       },
       QEX_OK,
       {QEX_E_DECODE},
       {QEX_E_DECODE}},
      {"QEX_GetTSR_Status",
       [&] {
         QEX_TSR_STATUS record;
         return QEX_GetTSR_Status(&record, response.data(), size_of(response));
       },
       QEX_OK,
       {QEX_E_DECODE},
       {QEX_E_DECODE}},
      {"QEX_GetTSR_EncodedToken",
       [&] {
         uint32_t n = sizeof out;
         return QEX_GetTSR_EncodedToken(out, &n, response.data(), size_of(response));
       },
       QEX_OK,
       {QEX_E_DECODE, QEX_E_NOMEM},
       {QEX_E_DECODE}},
      {"QEX_GetTST_TSTInfoEx",
       [&] {
         QEX_TSTINFO_EX record{};
         record.size = sizeof record;
         return QEX_GetTST_TSTInfoEx(&record, token.data(), size_of(token));
       },
       QEX_OK,
       {QEX_E_DECODE},
       {QEX_E_DECODE}},
      {"QEX_GetTST_TSACert",
       [&] {
         uint32_t n = sizeof out;
         return QEX_GetTST_TSACert(out, &n, token.data(), size_of(token));
       },
       QEX_OK,
       {QEX_E_BADTOKEN, QEX_E_NOMEM},
       {QEX_E_BADTOKEN}},
      // The certificate search within the verification has a code of its own, and a key that cannot be
      // decoded for want of memory is missing.
      {"QEX_VerifyTST_Signature",
       [&] { return QEX_VerifyTST_Signature(token.data(), size_of(token), nullptr, 0); },
       QEX_OK,
       {QEX_E_BADTOKEN, QEX_E_NOCERT, QEX_E_MISSING, QEX_E_NOMEM, QEX_E_SIGNATURE},
       {QEX_E_BADTOKEN}},
      {"QEX_VerifyTST_Signature with a certificate",
       [&] {
         return QEX_VerifyTST_Signature(token.data(), size_of(token), certificate.data(),
                                        size_of(certificate));
       },
       QEX_OK,
       {QEX_E_BADTOKEN, QEX_E_ARG, QEX_E_MISSING, QEX_E_NOMEM, QEX_E_SIGNATURE},
       {QEX_E_BADTOKEN, QEX_E_ARG}},
  };
  for (const Case& one : cases) expect_all_failures(one);
}

// What could not be built is released, and the next call builds it.
TEST(Allocation, TablesThatCannotBeBuiltAreBuiltByTheNextCall) {
  InFreshProcess(nullptr, [] {
    const Octets response = Response(StatusInfo(0));
    QEX_TSR_STATUS record;
    size_t failures = 0;
    for (size_t allowed = 0;; ++allowed) {
      const long before = LiveBlocks();
      int32_t code = 0;
      {
        const FailingAlloc failing(allowed);
        code = QEX_GetTSR_Status(&record, response.data(), uint32_t(response.size()));
      }
      if (code != QEX_E_NOMEM) break;
      ++failures;
      ASSERT_EQ(LiveBlocks(), before) << "what was built is released";
      ASSERT_EQ(QEX_GetLastAsnError(), 0) << "no decoding was begun";
      ASSERT_LT(failures, 10000u);
    }
    EXPECT_GT(failures, 76u) << "one allocation a row at the least";
    EXPECT_EQ(QEX_GetTSR_Status(&record, response.data(), uint32_t(response.size())), QEX_OK);
    EXPECT_EQ(Verify(TokenMaker().encode()), QEX_OK);
  });
}

TEST(Allocation, AnnouncedLengthsDecideNothing) {
  EXPECT_EQ(Verify(TokenMaker().encode()), QEX_OK);
  // A request whose imprint announces 4 GiB.
  const Octets input = der::concat(Octets{0x30, 0x80, 0x02, 0x01, 0x01, 0x30, 0x80}, der::algorithm(kSha256),
                                   Octets{0x04, 0x84, 0xFF, 0xFF, 0xFF, 0xF0}, Octets(100, 1));
  const Guarded request(input);
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  ForgetRequests();
  EXPECT_EQ(QEX_DecodeTSQ_Ex(&record, request.data(), request.size()), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), -20);
  EXPECT_LT(LargestRequest(), 10000u);
}

}  // namespace
}  // namespace qex::test
