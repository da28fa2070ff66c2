// The layout of the public records, member by member.
#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "api/qex.h"

namespace qex::test {
namespace {

struct FieldRow {
  const char* name;
  size_t offset, size;
  size_t expected_offset, expected_size;
};

#define FIELD_ROW(record, field, offset, size)                                       \
  FieldRow {                                                                         \
#record "." #field, offsetof(record, field), sizeof(record::field), offset, size \
  }

// expect_layout also checks that the fields fill the record without a gap.
void expect_layout(const std::vector<FieldRow>& rows, size_t size, size_t expected_size) {
  EXPECT_EQ(size, expected_size);
  size_t end = 0;
  for (const FieldRow& row : rows) {
    EXPECT_EQ(row.offset, row.expected_offset) << row.name;
    EXPECT_EQ(row.size, row.expected_size) << row.name;
    EXPECT_EQ(row.offset, end) << row.name;
    end = row.offset + row.size;
  }
  EXPECT_EQ(end, size);
}

TEST(Layout, OfNumbersOf64BitsHasTheHighWordFirst) {
  expect_layout({FIELD_ROW(QEX_U64, high, 0, 4), FIELD_ROW(QEX_U64, low, 4, 4)}, sizeof(QEX_U64), 8);
}

TEST(Layout, OfTheRequestRecords) {
  using Ex = QEX_TSQ_DATA_EX;
  expect_layout({FIELD_ROW(Ex, size, 0, 4), FIELD_ROW(Ex, hashAlgorithm, 4, 128),
                 FIELD_ROW(Ex, hashedMessage, 132, 128), FIELD_ROW(Ex, hashedMessageLength, 260, 4),
                 FIELD_ROW(Ex, reqPolicy, 264, 128), FIELD_ROW(Ex, nonce, 392, 40),
                 FIELD_ROW(Ex, nonceLength, 432, 4), FIELD_ROW(Ex, certReq, 436, 4)},
                sizeof(Ex), 440);
  using Short = QEX_TSQ_DATA;
  expect_layout({FIELD_ROW(Short, hashAlgorithm, 0, 128), FIELD_ROW(Short, hashedMessage, 128, 40),
                 FIELD_ROW(Short, hashedMessageLength, 168, 4), FIELD_ROW(Short, reqPolicy, 172, 128),
                 FIELD_ROW(Short, nonce, 300, 8), FIELD_ROW(Short, certReq, 308, 4)},
                sizeof(Short), 312);
}

TEST(Layout, OfTheStatusRecord) {
  using Record = QEX_TSR_STATUS;
  expect_layout({FIELD_ROW(Record, status, 0, 4), FIELD_ROW(Record, statusText, 4, 80),
                 FIELD_ROW(Record, failInfo, 84, 4)},
                sizeof(Record), 88);
}

TEST(Layout, OfTheTokenRecords) {
  using Ex = QEX_TSTINFO_EX;
  expect_layout(
      {FIELD_ROW(Ex, size, 0, 4), FIELD_ROW(Ex, version, 4, 4), FIELD_ROW(Ex, policy, 8, 128),
       FIELD_ROW(Ex, hashAlgorithm, 136, 128), FIELD_ROW(Ex, hashedMessage, 264, 128),
       FIELD_ROW(Ex, hashedMessageLength, 392, 4), FIELD_ROW(Ex, serialNumber, 396, 40),
       FIELD_ROW(Ex, serialNumberLength, 436, 4), FIELD_ROW(Ex, genTime, 440, 32),
       FIELD_ROW(Ex, accuracySeconds, 472, 4), FIELD_ROW(Ex, accuracyMillis, 476, 4),
       FIELD_ROW(Ex, accuracyMicros, 480, 4), FIELD_ROW(Ex, ordering, 484, 4), FIELD_ROW(Ex, nonce, 488, 40),
       FIELD_ROW(Ex, nonceLength, 528, 4), FIELD_ROW(Ex, tsaName, 532, 512)},
      sizeof(Ex), 1044);
  using Short = QEX_TSTINFO;
  expect_layout({FIELD_ROW(Short, version, 0, 4), FIELD_ROW(Short, policy, 4, 128),
                 FIELD_ROW(Short, hashAlgorithm, 132, 128), FIELD_ROW(Short, hashedMessage, 260, 40),
                 FIELD_ROW(Short, hashedMessageLength, 300, 4), FIELD_ROW(Short, serialNumber, 304, 8),
                 FIELD_ROW(Short, genTime, 312, 32), FIELD_ROW(Short, accuracySeconds, 344, 4),
                 FIELD_ROW(Short, accuracyMillis, 348, 4), FIELD_ROW(Short, accuracyMicros, 352, 4),
                 FIELD_ROW(Short, ordering, 356, 4), FIELD_ROW(Short, nonce, 360, 8),
                 FIELD_ROW(Short, tsaName, 368, 512)},
                sizeof(Short), 880);
}

TEST(Layout, OfTheAttributeCertificateRecords) {
  using Ex = QEX_TACINFO_EX;
  expect_layout({FIELD_ROW(Ex, size, 0, 4), FIELD_ROW(Ex, version, 4, 4), FIELD_ROW(Ex, holderName, 8, 512),
                 FIELD_ROW(Ex, digestAlgorithm, 520, 128), FIELD_ROW(Ex, objectDigest, 648, 128),
                 FIELD_ROW(Ex, objectDigestLen, 776, 4), FIELD_ROW(Ex, issuerName, 780, 512),
                 FIELD_ROW(Ex, serialNumber, 1292, 40), FIELD_ROW(Ex, serialNumberLen, 1332, 4),
                 FIELD_ROW(Ex, notBefore, 1336, 32), FIELD_ROW(Ex, notAfter, 1368, 32),
                 FIELD_ROW(Ex, signatureAlgorithm, 1400, 128), FIELD_ROW(Ex, signatureValue, 1528, 1024),
                 FIELD_ROW(Ex, signatureValueLen, 2552, 4)},
                sizeof(Ex), 2556);
  using Short = QEX_TACINFO;
  expect_layout({FIELD_ROW(Short, version, 0, 4), FIELD_ROW(Short, holderName, 4, 512),
                 FIELD_ROW(Short, digestAlgorithm, 516, 128), FIELD_ROW(Short, objectDigest, 644, 40),
                 FIELD_ROW(Short, objectDigestLen, 684, 4), FIELD_ROW(Short, issuerName, 688, 512),
                 FIELD_ROW(Short, serialNumber, 1200, 8), FIELD_ROW(Short, notBefore, 1208, 32),
                 FIELD_ROW(Short, notAfter, 1240, 32), FIELD_ROW(Short, signatureAlgorithm, 1272, 128),
                 FIELD_ROW(Short, signatureValue, 1400, 1024), FIELD_ROW(Short, signatureValueLen, 2424, 4)},
                sizeof(Short), 2428);
}

TEST(Layout, OfTheTimingRecords) {
  using Ex = QEX_TIMING_METRICS_EX;
  expect_layout(
      {FIELD_ROW(Ex, ntpTime, 0, 32), FIELD_ROW(Ex, offset, 32, 4), FIELD_ROW(Ex, delay, 36, 4),
       FIELD_ROW(Ex, expiration, 40, 32), FIELD_ROW(Ex, leapAction, 72, 4), FIELD_ROW(Ex, leapTime, 76, 32)},
      sizeof(Ex), 108);
  using Short = QEX_TIMING_METRICS;
  expect_layout({FIELD_ROW(Short, ntpTime, 0, 32), FIELD_ROW(Short, offset, 32, 4),
                 FIELD_ROW(Short, delay, 36, 4), FIELD_ROW(Short, expiration, 40, 32)},
                sizeof(Short), 72);
  using Policy = QEX_TIMING_POLICY;
  expect_layout({FIELD_ROW(Policy, policyID, 0, 128), FIELD_ROW(Policy, maxOffset, 128, 4),
                 FIELD_ROW(Policy, maxDelay, 132, 4)},
                sizeof(Policy), 136);
}

}  // namespace
}  // namespace qex::test
