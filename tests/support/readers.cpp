// Two shapes of exports: into a record, and into an output.
#include "tests/support/readers.h"

#include <cstring>

#include "api/qex.h"
#include "tests/support/guarded.h"

namespace qex::test {
namespace {

// filled is a record of Guarded::kFill, whose size field, if it has one, holds its size.
template <class Record>
Record filled() {
  Record record;
  std::memset(&record, Guarded::kFill, sizeof record);
  if constexpr (requires { record.size; }) record.size = sizeof record;
  return record;
}

template <class Record>
Reader into(const char* name, int32_t (*reads)(Record*, const uint8_t*, uint32_t),
            const Record& before = filled<Record>()) {
  Octets memory(sizeof before);
  std::memcpy(memory.data(), &before, sizeof before);
  return {name, "", QEX_E_DECODE, memory, [reads](const uint8_t* data, uint32_t length, uint8_t* at) {
            return reads(reinterpret_cast<Record*>(at), data, length);
          }};
}

// out takes `writes(out, &length, data, dataLength)`.
template <class F>
Reader out(const char* name, int32_t refusal, F writes) {
  return {name, "", refusal, OutputMemory(), [writes](const uint8_t* data, uint32_t length, uint8_t* at) {
            return writes(at + sizeof(uint32_t), reinterpret_cast<uint32_t*>(at), data, length);
          }};
}

Reader rewrite(const char* name, int32_t (*writes)(const uint8_t*, uint32_t, uint8_t*, uint32_t*)) {
  return out(name, QEX_E_DECODE, [writes](uint8_t* at, uint32_t* n, const uint8_t* data, uint32_t length) {
    return writes(data, length, at, n);
  });
}

}  // namespace

Octets OutputMemory(uint32_t capacity) {
  Octets memory(sizeof capacity + capacity, Guarded::kFill);
  std::memcpy(memory.data(), &capacity, sizeof capacity);
  return memory;
}

Readers RequestReaders() {
  return {into("QEX_DecodeTSQ_Ex", QEX_DecodeTSQ_Ex), into("QEX_DecodeTSQ", QEX_DecodeTSQ, QEX_TSQ_DATA{})};
}

Readers ReplyReaders() {
  return {into("QEX_GetTSR_Status", QEX_GetTSR_Status),
          out("QEX_GetTSR_EncodedToken", QEX_E_DECODE, QEX_GetTSR_EncodedToken)};
}

Readers TokenReaders(const Octets& certificate, const Octets& tac) {
  const auto verify = [](const uint8_t* data, uint32_t length, uint8_t*) {
    return QEX_VerifyTST_Signature(data, length, nullptr, 0);
  };
  const auto verify_given = [certificate](const uint8_t* data, uint32_t length, uint8_t*) {
    return QEX_VerifyTST_Signature(data, length, certificate.data(), uint32_t(certificate.size()));
  };
  const auto check = [tac](const uint8_t* data, uint32_t length, uint8_t*) {
    return QEX_CheckTAC_MatchesTST(tac.data(), uint32_t(tac.size()), data, length);
  };
  return {into("QEX_GetTST_TSTInfoEx", QEX_GetTST_TSTInfoEx),
          into("QEX_GetTST_TSTInfo", QEX_GetTST_TSTInfo),
          out("QEX_GetTST_TSACert", QEX_E_BADTOKEN, QEX_GetTST_TSACert),
          out("QEX_GetTST_TimeAttributeCert", QEX_E_DECODE, QEX_GetTST_TimeAttributeCert),
          rewrite("QEX_TSTInfoToIDData", QEX_TSTInfoToIDData),
          rewrite("QEX_RemoveAttrCerts", QEX_RemoveAttrCerts),
          {"QEX_VerifyTST_Signature", "", QEX_E_BADTOKEN, {}, verify},
          {"QEX_VerifyTST_Signature", "given certificate", QEX_E_BADTOKEN, {}, verify_given},
          {"QEX_CheckTAC_MatchesTST", "", QEX_E_DECODE, {}, check}};
}

Readers CertificateReaders(const Octets& token) {
  const auto verify = [token](const uint8_t* data, uint32_t length, uint8_t*) {
    return QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), data, length);
  };
  return {{"QEX_VerifyTST_Signature", "the certificate", QEX_E_ARG, {}, verify}};
}

Readers AttributeCertificateReaders() {
  return {into("QEX_GetTAC_CertInfoEx", QEX_GetTAC_CertInfoEx),
          into("QEX_GetTAC_CertInfo", QEX_GetTAC_CertInfo),
          into("QEX_GetTAC_TimingMetricsEx", QEX_GetTAC_TimingMetricsEx),
          into("QEX_GetTAC_TimingMetrics", QEX_GetTAC_TimingMetrics),
          into("QEX_GetTAC_TimingPolicy", QEX_GetTAC_TimingPolicy)};
}

}  // namespace qex::test
