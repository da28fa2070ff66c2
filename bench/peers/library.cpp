// libqex, through its exports.
#include <cstring>

#include "api/qex.h"
#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

uint32_t length_of(const Octets& octets) {
  return uint32_t(octets.size());
}

template <size_t kLength, auto kInit, auto kUpdate, auto kFinal>
[[nodiscard]] bool digest(const Subject& subject, Octets* result) {
  uint8_t digest[kLength];
  auto* context = kInit();
  kUpdate(context, subject.octets.data(), length_of(subject.octets));
  kFinal(context, digest);
  if (result != nullptr) result->assign(digest, digest + kLength);
  return true;
}

[[nodiscard]] bool verify_token(const Subject& subject, Octets*) {
  return QEX_VerifyTST_Signature(subject.octets.data(), length_of(subject.octets), nullptr, 0) == QEX_OK;
}

[[nodiscard]] bool encode_token(const Subject& subject, Octets* result) {
  uint8_t token[65536];
  uint32_t length = sizeof token;
  if (QEX_GetTSR_EncodedToken(token, &length, subject.octets.data(), length_of(subject.octets)) != QEX_OK) {
    return false;
  }
  if (result != nullptr) result->assign(token, token + length);
  return true;
}

[[nodiscard]] bool decode_reply(const Subject& subject, Octets* result) {
  QEX_TSR_STATUS status;
  const int32_t code = QEX_GetTSR_Status(&status, subject.octets.data(), length_of(subject.octets));
  if (code != QEX_OK || status.status != 0) return false;
  return result == nullptr || encode_token(subject, result);
}

// Without the octet of the sign, which the peers leave out.
void put_number(const uint8_t* octets, size_t length, Octets* result) {
  const size_t sign = length > 1 && octets[0] == 0 ? 1 : 0;
  result->insert(result->end(), octets + sign, octets + length);
}

[[nodiscard]] bool read_info(const Subject& subject, QEX_TSTINFO_EX& info) {
  info.size = sizeof info;
  info.tsaName[0] = '\0';
  return QEX_GetTST_TSTInfoEx(&info, subject.octets.data(), length_of(subject.octets)) == QEX_OK;
}

[[nodiscard]] bool decode_token(const Subject& subject, Octets* result) {
  QEX_TSTINFO_EX info;
  if (!read_info(subject, info)) return false;
  if (result != nullptr) result->assign(info.hashedMessage, info.hashedMessage + info.hashedMessageLength);
  return true;
}

[[nodiscard]] bool read_fields(const Subject& subject, Octets* result) {
  QEX_TSTINFO_EX info;
  if (!read_info(subject, info)) return false;
  if (result != nullptr) {
    result->assign(info.policy, info.policy + std::strlen(info.policy));
    put_number(info.serialNumber, info.serialNumberLength, result);
    result->insert(result->end(), info.genTime, info.genTime + std::strlen(info.genTime));
    result->insert(result->end(), info.hashedMessage, info.hashedMessage + info.hashedMessageLength);
  }
  return true;
}

[[nodiscard]] bool read_certificate(const Subject& subject, Octets* result) {
  uint8_t certificate[16384];
  uint32_t length = sizeof certificate;
  if (QEX_GetTST_TSACert(certificate, &length, subject.octets.data(), length_of(subject.octets)) != QEX_OK) {
    return false;
  }
  if (result != nullptr) result->assign(certificate, certificate + length);
  return true;
}

[[nodiscard]] bool build_request(const Subject& subject, Octets* result) {
  const Octets& imprint = subject.parts.at("imprint");
  const Octets& nonce = subject.parts.at("nonce");
  QEX_TSQ_DATA_EX request;
  std::memset(&request, 0, sizeof request);
  request.size = sizeof request;
  std::strcpy(request.hashAlgorithm, "2.16.840.1.101.3.4.2.1");
  std::memcpy(request.hashedMessage, imprint.data(), imprint.size());
  request.hashedMessageLength = length_of(imprint);
  std::memcpy(request.nonce, nonce.data(), nonce.size());
  request.nonceLength = length_of(nonce);
  request.certReq = 1;
  uint8_t der[512];
  uint32_t length = sizeof der;
  if (QEX_EncodeTSQ_Ex(&request, der, &length, QEX_TRANSPORT_RAW) != QEX_OK) return false;
  if (result != nullptr) result->assign(der, der + length);
  return true;
}

[[nodiscard]] bool decode_request(const Subject& subject, Octets* result) {
  QEX_TSQ_DATA_EX request;
  request.size = sizeof request;
  if (QEX_DecodeTSQ_Ex(&request, subject.octets.data(), length_of(subject.octets)) != QEX_OK) return false;
  if (result != nullptr) {
    result->assign(request.hashedMessage, request.hashedMessage + request.hashedMessageLength);
    put_number(request.nonce, request.nonceLength, result);
  }
  return true;
}

constexpr const char* kDigest = "QEX_x_Init, QEX_x_Update, QEX_x_Final";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, digest<16, QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final>},
    {Job::Sha1, kDigest, digest<20, QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final>},
    {Job::Sha256, kDigest, digest<32, QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final>},
    {Job::Sha384, kDigest, digest<48, QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final>},
    {Job::Sha512, kDigest, digest<64, QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final>},
    {Job::VerifyToken, "QEX_VerifyTST_Signature", verify_token},
    {Job::DecodeReply, "QEX_GetTSR_Status", decode_reply},
    {Job::DecodeToken, "QEX_GetTST_TSTInfoEx", decode_token},
    {Job::ReadInfo, "QEX_GetTST_TSTInfoEx", read_fields},
    {Job::ReadCertificate, "QEX_GetTST_TSACert", read_certificate},
    {Job::EncodeToken, "QEX_GetTSR_EncodedToken", encode_token},
    {Job::BuildRequest, "QEX_EncodeTSQ_Ex", build_request},
    {Job::DecodeRequest, "QEX_DecodeTSQ_Ex", decode_request},
};

}  // namespace

Maker Library() {
  return {"libqex", QEX_BENCH_VERSION, kWays};
}

}  // namespace qex::bench
