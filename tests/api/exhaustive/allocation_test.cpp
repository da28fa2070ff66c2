// Every allocation of every export fails once: the export answers with its code, leaves the caller's memory
// as it promises, loses nothing, and works when it is called again.
//
// The five digest Init functions are left out: they do not check their allocation, and say so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "api/qex.h"
#include "asn1/oids.h"
#include "ber/error_hook.h"
#include "tests/support/export_calls.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/guarded.h"
#include "tests/support/instrumentation.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

constexpr int32_t kUntouched = 4711;  // the last ASN.1 error, where a call never came to decode or encode

// Failure is an export's answer to a failed allocation.
struct Failure {
  int32_t code;
  int32_t error;
  bool operator==(const Failure&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
  return out << "(" << failure.code << ", " << failure.error << ")";
}

constexpr Failure kDecoding{QEX_E_DECODE, kOutOfMemoryCode};
constexpr Failure kEncoding{QEX_E_NOMEM, 0};

// An export's failures in the order in which its steps allocate. A call goes through them from the first on,
// as far as its input leads it.
using Steps = std::vector<Failure>;

// clang-format off
const std::map<std::string, Steps> kSteps = {
    {"QEX_EncodeTSQ_Ex",             {kDecoding}},  // of an encoding too
    {"QEX_EncodeTSQ",                {{QEX_E_NOMEM, kUntouched},  // the nonce
                                      kDecoding}},
    {"QEX_DecodeTSQ_Ex",             {kDecoding}},
    {"QEX_DecodeTSQ",                {kDecoding}},
    {"QEX_UnpackTSR",                {{QEX_E_NOMEM, kUntouched}}},  // the copy of an HTTP head
    {"QEX_GetTSR_Status",            {kDecoding}},
    {"QEX_GetTSR_EncodedToken",      {kDecoding, kEncoding}},
    {"QEX_GetTST_TSTInfoEx",         {kDecoding}},
    {"QEX_GetTST_TSTInfo",           {kDecoding}},
    {"QEX_GetTST_TSACert",           {{QEX_E_BADTOKEN, kOutOfMemoryCode}, kEncoding}},
    {"QEX_TSTInfoToIDData",          {kDecoding, kEncoding}},
    {"QEX_RemoveAttrCerts",          {kDecoding, kEncoding}},
    {"QEX_GetTST_TimeAttributeCert", {kDecoding, kEncoding}},
    {"QEX_CheckTAC_MatchesTST",      {kDecoding,
                                      {QEX_E_MISMATCH, 0}}},  // encoding for the comparison
    {"QEX_GetTAC_CertInfoEx",        {kDecoding}},
    {"QEX_GetTAC_CertInfo",          {kDecoding}},
    {"QEX_GetTAC_TimingMetricsEx",   {kDecoding}},
    {"QEX_GetTAC_TimingMetrics",     {kDecoding}},
    {"QEX_GetTAC_TimingPolicy",      {kDecoding}},
};

// The verification: the token, the certificate, the signed attributes; of an RSA key the signature's number,
// the key, its numbers, the operation, the DigestInfo; of a DSA key y, the numbers, the signature, its
// numbers, the operation.
constexpr Failure kToken{QEX_E_BADTOKEN, kOutOfMemoryCode};
constexpr Failure kSearch{QEX_E_NOCERT, 100};
constexpr Failure kGiven{QEX_E_ARG, kOutOfMemoryCode};
constexpr Failure kNumbers{QEX_E_NOMEM, 0};
constexpr Failure kKey{QEX_E_MISSING, 0};
constexpr Failure kOperation{QEX_E_SIGNATURE, 0};
const Steps kRsaFound = {kToken, kSearch, kNumbers, kKey, kNumbers, kOperation, kNumbers};
const Steps kRsaGiven = {kToken, kGiven,  kNumbers, kKey, kNumbers, kOperation, kNumbers};
const Steps kDsaFound = {kToken, kSearch, kNumbers, kKey, kNumbers, kOperation, kNumbers, kOperation};
const Steps kDsaGiven = {kToken, kGiven,  kNumbers, kKey, kNumbers, kOperation, kNumbers, kOperation};
// clang-format on

constexpr const char* kVerify = "QEX_VerifyTST_Signature";

const Steps& steps_of(const ExportCall& call) {
  if (call.name() != kVerify) return kSteps.at(call.name());
  const bool dsa = call.sample.find("DSA") != std::string::npos;
  const bool given = call.sample.find("given") != std::string::npos;
  if (dsa) return given ? kDsaGiven : kDsaFound;
  return given ? kRsaGiven : kRsaFound;
}

// expect_promised checks the caller's memory after a call in which an allocation failed: it is unchanged,
// except where the header says otherwise.
void expect_promised(const ExportCall& call, const Failure& failure, const Octets& memory) {
  Octets expected = call.memory;
  if (call.name() == "QEX_GetTAC_CertInfoEx") {
    std::fill(expected.begin() + sizeof(uint32_t), expected.end(), uint8_t{0});
  } else if (call.name() == "QEX_UnpackTSR") {
    std::fill_n(expected.begin() + sizeof(uint32_t), sizeof(uint32_t), uint8_t{0});  // the status
  } else if (failure.code == QEX_E_NOMEM &&
             (call.name() == "QEX_GetTST_TSACert" || call.name() == "QEX_GetTST_TimeAttributeCert")) {
    uint32_t capacity = 0, length = 0;  // the length is that of the last certificate that was examined
    std::memcpy(&capacity, expected.data(), sizeof capacity);
    std::memcpy(&length, memory.data(), sizeof length);
    EXPECT_LE(length, capacity);
    EXPECT_GT(length, 0u);
    std::copy_n(memory.begin(), sizeof length, expected.begin());
  }
  EXPECT_TRUE(memory == expected);
}

using Sorted = std::map<std::string, std::vector<ExportCall>>;

// calls_by_export leaves out exports that by contract allocate nothing.
const Sorted& calls_by_export() {
  static const Sorted sorted = [] {
    Sorted all;
    for (const ExportCall& call : ExportCalls()) {
      if (call.name() == kVerify || kSteps.contains(call.name())) all[call.name()].push_back(call);
    }
    return all;
  }();
  return sorted;
}

std::vector<std::string> names_of_exports() {
  std::vector<std::string> names = {kVerify};
  for (const auto& [name, steps] : kSteps) names.push_back(name);
  return names;
}

// Faulty is the outcome of a call in which some allocations failed.
struct Faulty {
  Failure failure;
  Octets memory;
  size_t refused;  // allocations that failed
  long left;       // blocks that the call leaked
};

// run_with_faults lets `succeed` allocations of the call succeed and the next `fail` fail.
Faulty run_with_faults(const ExportCall& call, size_t succeed, size_t fail) {
  Faulty ran{{0, 0}, call.memory, 0, 0};
  lastAsnError = kUntouched;
  const long before = LiveBlocks();
  {
    const FailingAlloc failing(succeed, fail);
    ran.failure.code = call.call(ran.memory.data());
    ran.refused = failing.refused();
  }
  ran.failure.error = lastAsnError;
  ran.left = LiveBlocks() - before;
  return ran;
}

class EachAllocation : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    before_ = std::exchange(AsnErrorHandler, [](const char*, int) {});
  }
  void TearDown() override { AsnErrorHandler = before_; }
  static void TearDownTestSuite() { std::printf("%ld faults injected\n", faults_); }

  // fail_each lets the first, the second, ... allocation of the call fail, together with the next `fail` - 1,
  // and returns the resulting steps, runs of equal ones as one.
  static Steps fail_each(const ExportCall& call, const Ran& expected, size_t fail) {
    Steps steps;
    for (size_t succeed = 0;; ++succeed) {
      SCOPED_TRACE(std::to_string(succeed) + " allocations succeed");
      const auto [failure, memory, refused, left] = run_with_faults(call, succeed, fail);
      EXPECT_EQ(left, 0) << "nothing is lost";
      if (refused == 0) {
        EXPECT_TRUE((Ran{failure.code, memory} == expected));
        return steps;
      }
      ++faults_;
      if (steps.empty() || steps.back() != failure) steps.push_back(failure);
      expect_promised(call, failure, memory);
      if (!UnderValgrind() || succeed % 16 == 0) {
        EXPECT_TRUE(RunCall(call) == expected) << "the next call works";
      }
      if (HasFailure()) return steps;
    }
  }

  static long faults_;

 private:
  void (*before_)(const char*, int) = nullptr;
};

long EachAllocation::faults_ = 0;

// One run fails every allocation from a certain one on, the other a single allocation. Under valgrind, where
// that would take half an hour, there is only the first run.
TEST_P(EachAllocation, FailureIsAnswered) {
  const long before = faults_;
  std::map<const Steps*, size_t> furthest;
  for (const ExportCall& call : calls_by_export().at(GetParam())) {
    SCOPED_TRACE(call.sample);
    const Ran expected = RunCall(call);
    ASSERT_TRUE(RunCall(call) == expected) << "and the tables are built";
    const Steps& steps = steps_of(call);
    for (const size_t fail : {SIZE_MAX, size_t{1}}) {
      if (UnderValgrind() && fail == 1) continue;
      const Steps met = fail_each(call, expected, fail);
      ASSERT_FALSE(HasFailure());
      ASSERT_LE(met.size(), steps.size());
      EXPECT_EQ(met, Steps(steps.begin(), steps.begin() + ptrdiff_t(met.size())));
      furthest[&steps] = std::max(furthest[&steps], met.size());
    }
  }
  for (const auto& [steps, met] : furthest) EXPECT_EQ(met, steps->size()) << "a sample leads to every step";
  RecordProperty("faults", int(faults_ - before));
}

INSTANTIATE_TEST_SUITE_P(Exports, EachAllocation, ::testing::ValuesIn(names_of_exports()),
                         [](const auto& one) { return one.param; });

// --- Exempt exports ----------------------------------------------------------------------------

// Of the digests, Init is exempt, and the others allocate nothing; nor does QEX_GetLastAsnError.
TEST(Allocation, EveryExportIsTriedOrAllocatesNothingToBeChecked) {
  std::set<std::string> names = {"QEX_GetLastAsnError"};
  for (const char* digest : {"MD5", "SHA1", "SHA256", "SHA384", "SHA512"}) {
    for (const char* step : {"_Init", "_Update", "_Final"}) names.insert(std::string("QEX_") + digest + step);
  }
  EXPECT_EQ(names.size(), 16u);
  for (const std::string& name : names_of_exports()) EXPECT_TRUE(names.insert(name).second) << name;
  EXPECT_EQ(names, PublishedExports());
  for (const std::string& name : names_of_exports()) EXPECT_TRUE(calls_by_export().contains(name)) << name;
}

template <class Context>
void expect_no_allocation(Context* (*init)(), void (*update)(Context*, const uint8_t*, uint32_t),
                          void (*final)(Context*, uint8_t*)) {
  const Octets data(300, 7);
  uint8_t digest[64];
  const long before = LiveBlocks();
  Context* const context = init();
  const FailingAlloc failing(0);
  update(context, data.data(), uint32_t(data.size()));
  final(context, digest);
  lastAsnError = -13;
  EXPECT_EQ(QEX_GetLastAsnError(), -13);
  EXPECT_EQ(failing.refused(), 0u);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(Allocation, DigestsAllocateInTheirInitAlone) {
  expect_no_allocation(QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final);
  expect_no_allocation(QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final);
  expect_no_allocation(QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final);
  expect_no_allocation(QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final);
  expect_no_allocation(QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final);
}

// --- The one-time initialisation ---------------------------------------------------------------

// fail_initialisation calls each export that needs the tables with memory for `succeed` allocations, and
// returns whether any built them. If none did, each reports it, and everything built so far is released.
bool fail_initialisation(const std::vector<ExportCall>& calls, size_t succeed, size_t fail) {
  for (const ExportCall& call : calls) {
    SCOPED_TRACE(call.name() + " after " + std::to_string(succeed) + " allocations");
    const auto [failure, memory, refused, left] = run_with_faults(call, succeed, fail);
    AsnAny any{};
    SetAnyTypeByOid(&any, kIdSignedData);
    if (any.ai != nullptr) return true;
    EXPECT_GT(refused, 0u);
    EXPECT_EQ(left, 0) << "everything built is released";
    EXPECT_EQ(failure, (Failure{QEX_E_NOMEM, kUntouched})) << "no decoding was begun";
    if (call.name() != "QEX_GetTST_TSACert" && call.name() != "QEX_GetTST_TimeAttributeCert") {
      expect_promised(call, failure, memory);
    } else {
      EXPECT_TRUE(memory == call.memory);
    }
  }
  return false;
}

TEST(Allocation, TablesThatCannotBeBuiltAreBuiltByTheNextCall) {
  for (const size_t fail : {SIZE_MAX, size_t{1}}) {
    InFreshProcess(nullptr, [fail] {
      std::vector<ExportCall> calls;
      for (const auto& [name, all] : calls_by_export()) {
        if (name != "QEX_UnpackTSR") calls.push_back(all.front());  // that one needs no tables
      }
      size_t tried = 0;
      while (!fail_initialisation(calls, tried, fail) && !::testing::Test::HasFailure()) {
        ASSERT_LT(++tried, 10000u);
      }
      EXPECT_GT(tried, 2u * 76) << "two allocations a row at the least";
      std::printf("%zu faults injected\n", tried * calls.size());
      for (const ExportCall& call : calls) {
        // The first reply among the samples is one of a rejection.
        const int32_t code = call.name() == "QEX_GetTSR_EncodedToken" ? QEX_E_REJECTED : QEX_OK;
        EXPECT_EQ(RunCall(call).code, code) << call.name();
      }
    });
  }
}

// --- How many there are -------------------------------------------------------------------------

// A value is in an arena, an encoding in few blocks, whatever the form of the message. The seven numbers of a
// DSA signature and its key are blocks of their own.
TEST(Allocation, AtMostTwelveInACallAndSeventeenForADsaKey) {
  if (kSanitized) GTEST_SKIP() << "each part of a value is an allocation";
  size_t most = 0;
  for (const ExportCall& call : ExportCalls()) {
    static_cast<void>(RunCall(call));  // and the tables are built
    ForgetRequests();
    if (RunCall(call).code != QEX_OK) continue;
    const bool dsa = call.name() == kVerify && call.sample.find("DSA") != std::string::npos;
    EXPECT_LE(Requests(), dsa ? 17u : 12u) << call.name() << ": " << call.sample;
    most = std::max(most, Requests());
  }
  EXPECT_GT(most, 0u);
}

// --- Announced lengths -------------------------------------------------------------------------

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
