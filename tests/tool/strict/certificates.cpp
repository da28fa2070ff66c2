// Certificates by libcrypto's own encoders and signers.
#include "tests/tool/strict/certificates.h"

#include <map>
#include <stdexcept>

#include <openssl/dsa.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

void demand(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts(1);
  for (const char c : text.substr(0, text.find('/'))) {
    if (c == ':') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

EVP_PKEY* make_dsa(int p, int q) {
  EVP_PKEY_CTX* parameters = EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr);
  EVP_PKEY* domain = nullptr;
  demand(EVP_PKEY_paramgen_init(parameters) > 0 && EVP_PKEY_CTX_set_dsa_paramgen_bits(parameters, p) > 0 &&
             EVP_PKEY_CTX_set_dsa_paramgen_q_bits(parameters, q) > 0 &&
             EVP_PKEY_paramgen(parameters, &domain) > 0,
         "no parameters for DSA");
  EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_from_pkey(nullptr, domain, nullptr);
  EVP_PKEY* key = nullptr;
  demand(EVP_PKEY_keygen_init(context) > 0 && EVP_PKEY_keygen(context, &key) > 0, "no DSA key");
  EVP_PKEY_CTX_free(context);
  EVP_PKEY_CTX_free(parameters);
  EVP_PKEY_free(domain);
  return key;
}

EVP_PKEY* make_rsa(const char* type, size_t bits, unsigned long exponent) {
  EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr);
  EVP_PKEY* key = nullptr;
  const std::shared_ptr<BIGNUM> e(BN_new(), BN_free);
  demand(BN_set_word(e.get(), exponent) == 1 && EVP_PKEY_keygen_init(context) > 0 &&
             EVP_PKEY_CTX_set_rsa_keygen_bits(context, int(bits)) > 0 &&
             EVP_PKEY_CTX_set1_rsa_keygen_pubexp(context, e.get()) > 0 && EVP_PKEY_keygen(context, &key) > 0,
         "no RSA key");
  EVP_PKEY_CTX_free(context);
  return key;
}

EVP_PKEY* make_key(const std::string& kind) {
  const auto parts = split(kind);
  const unsigned long exponent = parts.size() > 2 ? std::stoul(parts[2]) : 65537;
  if (parts[0] == "rsa") return make_rsa("RSA", std::stoul(parts[1]), exponent);
  if (parts[0] == "rsa-pss") return make_rsa("RSA-PSS", std::stoul(parts[1]), exponent);
  if (parts[0] == "dsa") return make_dsa(std::stoi(parts[1]), std::stoi(parts[2]));
  if (parts[0] == "ec") return EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", parts[1].c_str());
  return EVP_PKEY_Q_keygen(nullptr, nullptr, parts[0] == "ed25519" ? "ED25519" : "ED448");
}

void add_name(X509_NAME* name, const char* type, const std::string& text) {
  demand(X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8,
                                    reinterpret_cast<const unsigned char*>(text.data()), int(text.size()), -1,
                                    0) == 1,
         "no name");
}

void add_extensions(X509* certificate, X509* issuer, const Extensions& extensions) {
  X509V3_CTX context{};
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  for (const auto& [name, value] : extensions) {
    X509_EXTENSION* extension = X509V3_EXT_conf(nullptr, &context, name.c_str(), value.c_str());
    demand(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1, value.c_str());
    X509_EXTENSION_free(extension);
  }
}

std::shared_ptr<ASN1_GENERALIZEDTIME> generalized(int64_t time) {
  return {ASN1_GENERALIZEDTIME_set(nullptr, time), ASN1_GENERALIZEDTIME_free};
}

void add_entry_extensions(X509_REVOKED* revoked, const RevokedEntry& entry) {
  if (entry.reason) {
    const std::shared_ptr<ASN1_ENUMERATED> reason(ASN1_ENUMERATED_new(), ASN1_ENUMERATED_free);
    ASN1_ENUMERATED_set(reason.get(), *entry.reason);
    X509_REVOKED_add1_ext_i2d(revoked, NID_crl_reason, reason.get(), 0, 0);
  }
  if (entry.invalidSince) {
    const auto time = generalized(*entry.invalidSince);
    X509_REVOKED_add1_ext_i2d(revoked, NID_invalidity_date, time.get(), 0, 0);
  }
  if (entry.issuer != nullptr) {
    const std::shared_ptr<GENERAL_NAMES> names(GENERAL_NAMES_new(), GENERAL_NAMES_free);
    GENERAL_NAME* name = GENERAL_NAME_new();
    GENERAL_NAME_set0_value(name, GEN_DIRNAME,
                            X509_NAME_dup(X509_get_subject_name(entry.issuer->x509.get())));
    sk_GENERAL_NAME_push(names.get(), name);
    X509_REVOKED_add1_ext_i2d(revoked, NID_certificate_issuer, names.get(), 1, 0);
  }
}

void add_expired_on_list(X509_CRL* list, int64_t since) {
  const auto time = generalized(since);
  const Octets value = der::element(0x18, Octets(time->data, time->data + time->length));
  const std::shared_ptr<ASN1_OCTET_STRING> octets(ASN1_OCTET_STRING_new(), ASN1_OCTET_STRING_free);
  ASN1_OCTET_STRING_set(octets.get(), value.data(), int(value.size()));
  const std::shared_ptr<ASN1_OBJECT> identifier(OBJ_txt2obj("2.5.29.60", 1), ASN1_OBJECT_free);
  X509_EXTENSION* extension = X509_EXTENSION_create_by_OBJ(nullptr, identifier.get(), 0, octets.get());
  demand(X509_CRL_add_ext(list, extension, -1) == 1, "no extension");
  X509_EXTENSION_free(extension);
}

void add_critical(X509_CRL* list, int nid, const Octets& value) {
  const std::shared_ptr<ASN1_OCTET_STRING> octets(ASN1_OCTET_STRING_new(), ASN1_OCTET_STRING_free);
  ASN1_OCTET_STRING_set(octets.get(), value.data(), int(value.size()));
  X509_EXTENSION* extension = X509_EXTENSION_create_by_NID(nullptr, nid, 1, octets.get());
  demand(X509_CRL_add_ext(list, extension, -1) == 1, "no extension");
  X509_EXTENSION_free(extension);
}

const EVP_MD* digest_of(const std::string& name) {
  return name.empty() ? nullptr : EVP_get_digestbyname(name.c_str());
}

}  // namespace

Octets Certificate::der() const {
  return DerOf<X509>(x509.get(), i2d_X509);
}

Key MakeKey(const std::string& kind) {
  tool::KeyOf({});  // libcrypto starts as the strict reader wants it
  static std::map<std::string, Key> made;
  Key& key = made[kind];
  if (!key) key = Key(make_key(kind), EVP_PKEY_free);
  demand(key != nullptr, "no key");
  return key;
}

Extensions AuthorityExtensions(const std::string& constraints) {
  return {{"basicConstraints", constraints}, {"keyUsage", "critical,keyCertSign,cRLSign"}};
}

Extensions SignerExtensions() {
  return {{"keyUsage", "critical,digitalSignature"}, {"extendedKeyUsage", "critical,timeStamping"}};
}

Certificate Make(const CertificatePlan& plan) {
  Certificate made{nullptr, MakeKey(plan.key)};
  X509* certificate = X509_new();
  made.x509 = std::shared_ptr<X509>(certificate, X509_free);
  X509* issuer = plan.issuer == nullptr ? certificate : plan.issuer->x509.get();
  EVP_PKEY* signingKey = plan.issuer == nullptr ? made.key.get() : plan.issuer->key.get();
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate), plan.serial);
  X509_NAME* subject = X509_get_subject_name(certificate);
  if (!plan.organization.empty()) add_name(subject, "O", plan.organization);
  add_name(subject, "CN", plan.subject);
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
  ASN1_TIME_adj(X509_getm_notBefore(certificate), plan.from, 0, 0);
  ASN1_TIME_adj(X509_getm_notAfter(certificate), plan.until, 0, 0);
  demand(X509_set_pubkey(certificate, made.key.get()) == 1, "no public key");
  add_extensions(certificate, issuer, plan.extensions);
  demand(X509_sign(certificate, signingKey, digest_of(plan.digest)) > 0, "not signed");
  return made;
}

Certificate MakeRoot(const std::string& subject, const std::string& key) {
  CertificatePlan plan;
  plan.subject = subject;
  plan.key = key;
  plan.serial = 1;
  plan.extensions = AuthorityExtensions();
  return Make(plan);
}

Certificate MakeSigner(const Certificate& issuer, const std::string& key) {
  CertificatePlan plan;
  plan.key = key;
  plan.issuer = &issuer;
  plan.extensions = SignerExtensions();
  return Make(plan);
}

Octets MakeList(const ListPlan& plan) {
  const std::shared_ptr<X509_CRL> list(X509_CRL_new(), X509_CRL_free);
  X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
  X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(plan.issuer->x509.get()));
  const std::shared_ptr<ASN1_TIME> time(ASN1_TIME_new(), ASN1_TIME_free);
  X509_CRL_set1_lastUpdate(list.get(), ASN1_TIME_adj(time.get(), plan.from, 0, 0));
  if (plan.until) X509_CRL_set1_nextUpdate(list.get(), ASN1_TIME_adj(time.get(), *plan.until, 0, 0));
  for (const RevokedEntry& entry : plan.entries) {
    X509_REVOKED* revoked = X509_REVOKED_new();
    const std::shared_ptr<ASN1_INTEGER> serial(ASN1_INTEGER_new(), ASN1_INTEGER_free);
    ASN1_INTEGER_set_int64(serial.get(), entry.serial);
    X509_REVOKED_set_serialNumber(revoked, serial.get());
    X509_REVOKED_set_revocationDate(revoked, ASN1_TIME_adj(time.get(), entry.date, 0, 0));
    add_entry_extensions(revoked, entry);
    demand(X509_CRL_add0_revoked(list.get(), revoked) == 1, "no entry");
  }
  if (!plan.scope.empty()) add_critical(list.get(), NID_issuing_distribution_point, plan.scope);
  if (plan.delta) add_critical(list.get(), NID_delta_crl, der::integer(1));
  if (plan.keepsExpiredSince) add_expired_on_list(list.get(), *plan.keepsExpiredSince);
  const Certificate& signer = plan.signedBy == nullptr ? *plan.issuer : *plan.signedBy;
  demand(X509_CRL_sign(list.get(), signer.key.get(), digest_of(plan.digest)) > 0, "list not signed");
  return DerOf<X509_CRL>(list.get(), i2d_X509_CRL);
}

tool::TrustItem Item(const Octets& der) {
  return {"item.pem", der};
}

tool::Trust Trusting(const std::vector<const Certificate*>& roots) {
  tool::Trust trust;
  trust.chainWanted = true;
  for (const Certificate* root : roots) trust.roots.push_back(Item(root->der()));
  return trust;
}

}  // namespace qex::test
