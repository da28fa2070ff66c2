// GnuTLS: digests, and tokens as PKCS #7. It reads neither replies nor TSTInfo.
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/pkcs7.h>
#include <gnutls/x509.h>

#include <cstring>

#include "bench/peers/makers.h"
#include "bench/peers/subject.h"

namespace qex::bench {
namespace {

template <gnutls_digest_algorithm_t kAlgorithm, size_t kLength>
[[nodiscard]] bool digest(const Subject& subject, Octets* result) {
  uint8_t digest[kLength];
  if (gnutls_hash_fast(kAlgorithm, subject.octets.data(), subject.octets.size(), digest) != 0) return false;
  if (result != nullptr) result->assign(digest, digest + kLength);
  return true;
}

gnutls_datum_t datum_of(const Octets& octets) {
  return {const_cast<uint8_t*>(octets.data()), unsigned(octets.size())};
}

// A token, decoded.
class Token {
 public:
  explicit Token(const Octets& octets) {
    gnutls_pkcs7_init(&token_);
    const gnutls_datum_t data = datum_of(octets);
    good_ = gnutls_pkcs7_import(token_, &data, GNUTLS_X509_FMT_DER) == 0;
  }
  ~Token() { gnutls_pkcs7_deinit(token_); }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  [[nodiscard]] bool good() const { return good_; }
  operator gnutls_pkcs7_t() const { return token_; }

 private:
  gnutls_pkcs7_t token_ = nullptr;
  bool good_ = false;
};

// A certificate of a token, by its number.
class Certificate {
 public:
  Certificate(const Token& token, unsigned index) {
    gnutls_datum_t raw{};
    gnutls_x509_crt_init(&certificate_);
    good_ = gnutls_pkcs7_get_crt_raw2(token, index, &raw) == 0 &&
            gnutls_x509_crt_import(certificate_, &raw, GNUTLS_X509_FMT_DER) == 0;
    gnutls_free(raw.data);
  }
  ~Certificate() { gnutls_x509_crt_deinit(certificate_); }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;
  [[nodiscard]] bool good() const { return good_; }
  operator gnutls_x509_crt_t() const { return certificate_; }

 private:
  gnutls_x509_crt_t certificate_ = nullptr;
  bool good_ = false;
};

[[nodiscard]] bool same(const gnutls_datum_t& a, const uint8_t* data, size_t size) {
  return a.size == size && std::memcmp(a.data, data, size) == 0;
}

// Whether a certificate has the issuer and the serial number that the signature names.
[[nodiscard]] bool is_signer(const Certificate& certificate,
                             const gnutls_pkcs7_signature_info_st& signature) {
  uint8_t serial[128];
  size_t length = sizeof serial;
  gnutls_datum_t issuer{};
  const bool found = certificate.good() && gnutls_x509_crt_get_serial(certificate, serial, &length) == 0 &&
                     same(signature.signer_serial, serial, length) &&
                     gnutls_x509_crt_get_raw_issuer_dn(certificate, &issuer) == 0 &&
                     same(signature.issuer_dn, issuer.data, issuer.size);
  gnutls_free(issuer.data);
  return found;
}

// Gives the signer's certificate to `use`, and returns what that returns; false when the token has none.
template <class Use>
[[nodiscard]] bool with_signer(const Token& token, Use use) {
  gnutls_pkcs7_signature_info_st signature{};
  if (!token.good() || gnutls_pkcs7_get_signature_info(token, 0, &signature) != 0) return false;
  bool done = false;
  bool good = false;
  const int count = gnutls_pkcs7_get_crt_count(token);
  for (int i = 0; i < count && !done; ++i) {
    const Certificate certificate(token, unsigned(i));
    done = is_signer(certificate, signature);
    good = done && use(certificate);
  }
  gnutls_pkcs7_signature_info_deinit(&signature);
  return good;
}

[[nodiscard]] bool verify_token(const Subject& subject, Octets*) {
  const Token token(subject.octets);
  return with_signer(token, [&](const Certificate& signer) {
    return gnutls_pkcs7_verify_direct(token, signer, 0, nullptr,
                                      GNUTLS_VERIFY_ALLOW_BROKEN | GNUTLS_VERIFY_DISABLE_TIME_CHECKS) == 0;
  });
}

[[nodiscard]] bool put_token(const Token& token, Octets* result) {
  gnutls_datum_t der{};
  if (gnutls_pkcs7_export2(token, GNUTLS_X509_FMT_DER, &der) != 0) return false;
  if (result != nullptr) result->assign(der.data, der.data + der.size);
  gnutls_free(der.data);
  return true;
}

[[nodiscard]] bool decode_reply(const Subject& subject, Octets* result) {
  const Token token(subject.parts.at("token"));
  const int count = token.good() ? gnutls_pkcs7_get_crt_count(token) : 0;
  for (int i = 0; i < count; ++i) {
    if (!Certificate(token, unsigned(i)).good()) return false;
  }
  return count > 0 && (result == nullptr || put_token(token, result));
}

[[nodiscard]] bool decode_token(const Subject& subject, Octets* result) {
  const Token token(subject.octets);
  gnutls_datum_t content{};
  if (!token.good() || gnutls_pkcs7_get_embedded_data(token, 0, &content) != 0) return false;
  const auto imprint = result == nullptr ? std::nullopt : ImprintOf({content.data, content.size});
  if (imprint) *result = *imprint;
  gnutls_free(content.data);
  return true;
}

[[nodiscard]] bool read_certificate(const Subject& subject, Octets* result) {
  const Token token(subject.octets);
  return with_signer(token, [&](const Certificate& signer) {
    gnutls_datum_t der{};
    if (gnutls_x509_crt_export2(signer, GNUTLS_X509_FMT_DER, &der) != 0) return false;
    if (result != nullptr) result->assign(der.data, der.data + der.size);
    gnutls_free(der.data);
    return true;
  });
}

[[nodiscard]] bool encode_token(const Subject& subject, Octets* result) {
  const Token token(subject.parts.at("token"));
  return token.good() && put_token(token, result);
}

constexpr const char* kDigest = "gnutls_hash_fast";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, digest<GNUTLS_DIG_MD5, 16>},
    {Job::Sha1, kDigest, digest<GNUTLS_DIG_SHA1, 20>},
    {Job::Sha256, kDigest, digest<GNUTLS_DIG_SHA256, 32>},
    {Job::Sha384, kDigest, digest<GNUTLS_DIG_SHA384, 48>},
    {Job::Sha512, kDigest, digest<GNUTLS_DIG_SHA512, 64>},
    {Job::VerifyToken,
     "gnutls_pkcs7_import, the signer by issuer and serial number, gnutls_pkcs7_verify_direct", verify_token},
    {Job::DecodeReply, "of the token alone, gnutls_pkcs7_import, gnutls_x509_crt_import of each certificate",
     decode_reply},
    {Job::DecodeToken, "gnutls_pkcs7_import, gnutls_pkcs7_get_embedded_data; the TSTInfo remains octets",
     decode_token},
    {Job::ReadCertificate,
     "gnutls_pkcs7_import, the signer by issuer and serial number, gnutls_x509_crt_export2",
     read_certificate},
    {Job::EncodeToken, "of the token alone, gnutls_pkcs7_import, gnutls_pkcs7_export2", encode_token},
};

}  // namespace

Maker Gnutls() {
  return {"GnuTLS", gnutls_check_version(nullptr), kWays};
}

}  // namespace qex::bench
