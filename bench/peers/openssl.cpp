// OpenSSL's libcrypto, version 3.
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

// Owns a value of libcrypto.
template <auto kFree>
struct Freer {
  template <class Value>
  void operator()(Value* value) const {
    kFree(value);
  }
};
template <class Value, auto kFree>
using Owned = std::unique_ptr<Value, Freer<kFree>>;

// Values are decoded from octets by their d2i_ functions.
template <class Value, auto kDecode, auto kFree>
[[nodiscard]] Owned<Value, kFree> decoded(const Octets& octets) {
  const uint8_t* at = octets.data();
  return Owned<Value, kFree>(kDecode(nullptr, &at, long(octets.size())));
}

auto reply_of(const Subject& subject) {
  return decoded<TS_RESP, d2i_TS_RESP, TS_RESP_free>(subject.octets);
}

auto token_of(const Subject& subject) {
  return decoded<PKCS7, d2i_PKCS7, PKCS7_free>(subject.octets);
}

// Fetched once, as the manual recommends; so is the context.
template <int kLength>
[[nodiscard]] bool digest(const char* name, const Subject& subject, Octets* result, EVP_MD*& method,
                          EVP_MD_CTX*& context) {
  if (method == nullptr) {
    method = EVP_MD_fetch(nullptr, name, nullptr);
    context = EVP_MD_CTX_new();
  }
  uint8_t digest[kLength];
  const bool good = EVP_DigestInit_ex2(context, method, nullptr) == 1 &&
                    EVP_DigestUpdate(context, subject.octets.data(), subject.octets.size()) == 1 &&
                    EVP_DigestFinal_ex(context, digest, nullptr) == 1;
  if (result != nullptr) result->assign(digest, digest + kLength);
  return good;
}

#define DIGEST(function, name, length)                             \
  bool function(const Subject& subject, Octets* result) {          \
    static EVP_MD* method;                                         \
    static EVP_MD_CTX* context;                                    \
    return digest<length>(name, subject, result, method, context); \
  }
DIGEST(md5, "MD5", 16)
DIGEST(sha1, "SHA1", 20)
DIGEST(sha256, "SHA256", 32)
DIGEST(sha384, "SHA384", 48)
DIGEST(sha512, "SHA512", 64)
#undef DIGEST

[[nodiscard]] bool verify_cms(const Subject& subject, Octets*) {
  const auto message = decoded<CMS_ContentInfo, d2i_CMS_ContentInfo, CMS_ContentInfo_free>(subject.octets);
  const bool good = message != nullptr && CMS_verify(message.get(), nullptr, nullptr, nullptr, nullptr,
                                                     CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) == 1;
  if (!good) ERR_clear_error();
  return good;
}

[[nodiscard]] bool verify_pkcs7(const Subject& subject, Octets*) {
  const auto message = token_of(subject);
  const bool good = message != nullptr && PKCS7_verify(message.get(), nullptr, nullptr, nullptr, nullptr,
                                                       PKCS7_BINARY | PKCS7_NOVERIFY) == 1;
  if (!good) ERR_clear_error();
  return good;
}

[[nodiscard]] bool put_token(PKCS7* token, Octets* result) {
  uint8_t* der = nullptr;
  const int length = i2d_PKCS7(token, &der);
  if (length <= 0) return false;
  if (result != nullptr) result->assign(der, der + length);
  OPENSSL_free(der);
  return true;
}

[[nodiscard]] bool decode_reply(const Subject& subject, Octets* result) {
  const auto reply = reply_of(subject);
  if (reply == nullptr) return false;
  const bool granted =
      ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(TS_RESP_get_status_info(reply.get()))) == 0;
  return granted && (result == nullptr || put_token(TS_RESP_get_token(reply.get()), result));
}

[[nodiscard]] bool encode_token(const Subject& subject, Octets* result) {
  const auto reply = reply_of(subject);
  return reply != nullptr && put_token(TS_RESP_get_token(reply.get()), result);
}

void put(const ASN1_STRING* text, Octets* result) {
  const uint8_t* data = ASN1_STRING_get0_data(text);
  result->insert(result->end(), data, data + ASN1_STRING_length(text));
}

using Info = Owned<TS_TST_INFO, TS_TST_INFO_free>;

Info info_of(const Subject& subject) {
  const auto token = token_of(subject);
  return Info(token == nullptr ? nullptr : PKCS7_to_TS_TST_INFO(token.get()));
}

[[nodiscard]] bool decode_token(const Subject& subject, Octets* result) {
  const Info info = info_of(subject);
  if (info == nullptr) return false;
  if (result != nullptr) put(TS_MSG_IMPRINT_get_msg(TS_TST_INFO_get_msg_imprint(info.get())), result);
  return true;
}

// The fields in the forms that libqex has them in.
[[nodiscard]] bool read_fields(const Subject& subject, Octets* result) {
  const Info info = info_of(subject);
  if (info == nullptr) return false;
  char policy[128];
  const int length = OBJ_obj2txt(policy, sizeof policy, TS_TST_INFO_get_policy_id(info.get()), 1);
  const ASN1_INTEGER* serial = TS_TST_INFO_get_serial(info.get());
  const ASN1_GENERALIZEDTIME* time = TS_TST_INFO_get_time(info.get());
  const ASN1_OCTET_STRING* imprint = TS_MSG_IMPRINT_get_msg(TS_TST_INFO_get_msg_imprint(info.get()));
  if (result != nullptr) {
    result->assign(policy, policy + length);
    put(serial, result);
    put(time, result);
    put(imprint, result);
  }
  return true;
}

[[nodiscard]] bool read_certificate(const Subject& subject, Octets* result) {
  const auto token = token_of(subject);
  if (token == nullptr) return false;
  STACK_OF(X509)* signers = PKCS7_get0_signers(token.get(), nullptr, 0);
  uint8_t* der = nullptr;
  const int length = sk_X509_num(signers) == 1 ? i2d_X509(sk_X509_value(signers, 0), &der) : 0;
  if (result != nullptr && length > 0) result->assign(der, der + length);
  OPENSSL_free(der);
  sk_X509_free(signers);
  return length > 0;
}

[[nodiscard]] bool build_request(const Subject& subject, Octets* result) {
  const Octets& digest = subject.parts.at("imprint");
  const Octets& number = subject.parts.at("nonce");
  const Owned<TS_REQ, TS_REQ_free> request(TS_REQ_new());
  const Owned<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free> imprint(TS_MSG_IMPRINT_new());
  const Owned<X509_ALGOR, X509_ALGOR_free> algorithm(X509_ALGOR_new());
  const Owned<ASN1_INTEGER, ASN1_INTEGER_free> nonce(ASN1_INTEGER_new());
  uint8_t* der = nullptr;
  int length = 0;
  if (TS_REQ_set_version(request.get(), 1) == 1 &&
      X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_sha256), V_ASN1_UNDEF, nullptr) == 1 &&
      TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
      TS_MSG_IMPRINT_set_msg(imprint.get(), const_cast<uint8_t*>(digest.data()), int(digest.size())) == 1 &&
      TS_REQ_set_msg_imprint(request.get(), imprint.get()) == 1 &&
      ASN1_STRING_set(nonce.get(), number.data(), int(number.size())) == 1 &&
      TS_REQ_set_nonce(request.get(), nonce.get()) == 1 && TS_REQ_set_cert_req(request.get(), 1) == 1) {
    length = i2d_TS_REQ(request.get(), &der);
  }
  if (result != nullptr && length > 0) result->assign(der, der + length);
  OPENSSL_free(der);
  return length > 0;
}

[[nodiscard]] bool decode_request(const Subject& subject, Octets* result) {
  const auto request = decoded<TS_REQ, d2i_TS_REQ, TS_REQ_free>(subject.octets);
  if (request == nullptr) return false;
  char algorithm[128];
  TS_MSG_IMPRINT* imprint = TS_REQ_get_msg_imprint(request.get());
  OBJ_obj2txt(algorithm, sizeof algorithm, TS_MSG_IMPRINT_get_algo(imprint)->algorithm, 1);
  if (result != nullptr) {
    result->clear();
    put(TS_MSG_IMPRINT_get_msg(imprint), result);
    put(TS_REQ_get_nonce(request.get()), result);
  }
  return true;
}

constexpr const char* kDigest =
    "EVP_DigestInit_ex2, EVP_DigestUpdate, EVP_DigestFinal_ex, context and method kept";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, md5},
    {Job::Sha1, kDigest, sha1},
    {Job::Sha256, kDigest, sha256},
    {Job::Sha384, kDigest, sha384},
    {Job::Sha512, kDigest, sha512},
    {Job::VerifyToken, "d2i_CMS_ContentInfo, CMS_verify without the chain", verify_cms},
    {Job::VerifyToken, "d2i_PKCS7, PKCS7_verify without the chain", verify_pkcs7},
    {Job::DecodeReply, "d2i_TS_RESP, TS_STATUS_INFO_get0_status", decode_reply},
    {Job::DecodeToken, "d2i_PKCS7, PKCS7_to_TS_TST_INFO", decode_token},
    {Job::ReadInfo, "d2i_PKCS7, PKCS7_to_TS_TST_INFO, OBJ_obj2txt", read_fields},
    {Job::ReadCertificate, "d2i_PKCS7, PKCS7_get0_signers, i2d_X509", read_certificate},
    {Job::EncodeToken, "d2i_TS_RESP, i2d_PKCS7", encode_token},
    {Job::BuildRequest, "TS_REQ_new and its setters, i2d_TS_REQ", build_request},
    {Job::DecodeRequest, "d2i_TS_REQ, OBJ_obj2txt", decode_request},
};

}  // namespace

Maker Openssl() {
  return {"OpenSSL", OpenSSL_version(OPENSSL_VERSION_STRING), kWays};
}

}  // namespace qex::bench
