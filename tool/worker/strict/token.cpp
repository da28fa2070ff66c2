// The token: a ContentInfo with SignedData around a TSTInfo. All fields are read from the octets that were
// signed.
#include "tool/worker/strict/token.h"

#include <openssl/err.h>

#include "tool/worker/strict/known_certificates.h"

namespace qex::tool::strict {
namespace {

[[nodiscard]] std::optional<int64_t> small_number(const ASN1_INTEGER* number) {
  if (number == nullptr) return std::nullopt;
  int64_t value = 0;
  if (ASN1_INTEGER_get_int64(&value, number) != 1) StopReading("the accuracy is not a number of 64 bits");
  return value;
}

[[nodiscard]] std::optional<Accuracy> accuracy_of(TS_TST_INFO* info) {
  const TS_ACCURACY* accuracy = TS_TST_INFO_get_accuracy(info);
  if (accuracy == nullptr) return std::nullopt;
  return Accuracy{small_number(TS_ACCURACY_get_seconds(accuracy)),
                  small_number(TS_ACCURACY_get_millis(accuracy)),
                  small_number(TS_ACCURACY_get_micros(accuracy))};
}

// The message, and the certificates where they could be had apart.
Token decode_token(ByteView octets) {
  Token token;
  const std::optional<TokenParts> parts = TakeApart(octets);
  if (parts) token.certificates = KnownCertificates(parts->certificates);
  if (token.certificates) {
    token.message = DecodeWhole<OwnedCms, d2i_CMS_ContentInfo>(parts->rest);
    if (token.message) return token;
    token.certificates.reset();
    ThrowIfMemoryFailed();  // only the result for the whole counts
  }
  token.message = DecodeWhole<OwnedCms, d2i_CMS_ContentInfo>(octets);
  return token;
}

}  // namespace

void StopReading(const std::string& text) {
  const std::string reason = LastReason();
  ThrowIfMemoryFailed();
  throw Stop{reason.empty() ? text : text + " (" + reason + ")"};
}

Token OpenToken(ByteView octets) {
  Token token = decode_token(octets);
  if (!token.message) StopReading("the token does not decode as a CMS message");
  if (OBJ_obj2nid(CMS_get0_type(token.message.get())) != NID_pkcs7_signed) {
    StopReading("the token is not SignedData");
  }
  ASN1_OCTET_STRING** content = CMS_get0_content(token.message.get());
  if (content == nullptr || *content == nullptr) StopReading("the token has no signed content");
  token.content = OctetsOf(*content);
  token.info = DecodeWhole<OwnedTstInfo, d2i_TS_TST_INFO>(token.content);
  if (!token.info) StopReading("the signed content does not decode as a TSTInfo");
  if (!token.certificates) token.certificates.reset(CMS_get1_certs(token.message.get()));
  STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(token.message.get());
  if (sk_CMS_SignerInfo_num(signers) > 0) {
    token.signer = sk_CMS_SignerInfo_value(signers, 0);
    X509_ALGOR* digest = nullptr;
    X509_ALGOR* signature = nullptr;
    CMS_SignerInfo_get0_algs(token.signer, nullptr, nullptr, &digest, &signature);
    token.digestAlgorithm = digest;
    token.signatureAlgorithm = signature;
  }
  ThrowIfMemoryFailed();
  return token;
}

TstInfo TstInfoOf(const Token& token) {
  TS_TST_INFO* info = token.info.get();
  TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info);
  const ASN1_OBJECT* hash = IdentifierOf(TS_MSG_IMPRINT_get_algo(imprint));
  const ByteView time = OctetsOf(TS_TST_INFO_get_time(info));

  TstInfo facts;
  facts.version = TS_TST_INFO_get_version(info);
  facts.policy = CopyOf(OctetsOf(TS_TST_INFO_get_policy_id(info)));
  facts.imprint = {CopyOf(OctetsOf(hash)), CopyOf(OctetsOf(TS_MSG_IMPRINT_get_msg(imprint)))};
  facts.serial = IntegerOctets(TS_TST_INFO_get_serial(info));
  facts.genTime.assign(time.begin(), time.end());
  facts.accuracy = accuracy_of(info);
  facts.ordering = TS_TST_INFO_get_ordering(info) != 0;
  if (const ASN1_INTEGER* nonce = TS_TST_INFO_get_nonce(info)) facts.nonce = IntegerOctets(nonce);
  return facts;
}

}  // namespace qex::tool::strict
