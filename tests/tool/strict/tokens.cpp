// The token is put together from its inside out (RFC 5652, 5.1; RFC 3161, 2.4.2).
#include "tests/tool/strict/tokens.h"

#include <algorithm>
#include <stdexcept>

#include <openssl/objects.h>
#include <openssl/rsa.h>

#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

std::string algorithm_of(const Certificate& signer, const std::string& digest) {
  EVP_PKEY* key = signer.key.get();
  if (EVP_PKEY_is_a(key, "RSA")) return kRsaEncryption;
  if (EVP_PKEY_is_a(key, "DSA")) return digest == "SHA1" ? "1.2.840.10040.4.3" : "2.16.840.1.101.3.4.3.2";
  if (EVP_PKEY_is_a(key, "EC")) return "1.2.840.10045.4.3.2";
  if (EVP_PKEY_is_a(key, "RSA-PSS")) return "1.2.840.113549.1.1.10";
  return EVP_PKEY_is_a(key, "ED25519") ? "1.3.101.112" : "1.3.101.113";
}

Octets sign(const TokenPlan& plan, const Octets& data) {
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  EVP_PKEY_CTX* keyContext = nullptr;
  const std::string digest = plan.signature_digest.value_or(plan.digest);
  const EVP_MD* md = digest.empty() ? nullptr : EVP_get_digestbyname(digest.c_str());
  bool done = EVP_DigestSignInit(context, &keyContext, md, nullptr, plan.signer.key.get()) > 0;
  if (plan.salt >= 0) {
    done = done && EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0 &&
           EVP_PKEY_CTX_set_rsa_mgf1_md(keyContext, EVP_get_digestbyname(plan.mask.c_str())) > 0 &&
           EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, plan.salt) > 0;
  }
  size_t length = 0;
  done = done && EVP_DigestSign(context, nullptr, &length, data.data(), data.size()) > 0;
  Octets signature(length);
  done = done && EVP_DigestSign(context, signature.data(), &length, data.data(), data.size()) > 0;
  EVP_MD_CTX_free(context);
  if (!done) throw std::runtime_error("the token cannot be signed");
  signature.resize(length);
  return signature;
}

Octets joined(const std::vector<Octets>& parts) {
  Octets all;
  for (const Octets& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

std::vector<Octets> attributes_of(const TokenPlan& plan, const Octets& content) {
  if (plan.attributes) return *plan.attributes;
  const Octets hash = Hash("SHA256", plan.signer.der());
  std::vector<Octets> attributes{
      Attribute(kContentTypeAttribute, {der::oid(plan.content_type)}),
      Attribute(kMessageDigestAttribute,
                {plan.message_digest.value_or(der::octet_string(Hash(plan.digest, content)))}),
      plan.signing_certificate.value_or(
          Attribute(kSigningCertificateV2Attribute, {SigningCertificate({EssCertIdV2({}, hash)})})),
  };
  attributes.insert(attributes.end(), plan.extra_attributes.begin(), plan.extra_attributes.end());
  std::erase_if(attributes, [](const Octets& one) { return one.empty(); });
  std::sort(attributes.begin(), attributes.end());
  return attributes;
}

Octets signer_info(const TokenPlan& plan, const Octets& content) {
  X509* certificate = plan.signer.x509.get();
  const Octets attributes = joined(attributes_of(plan, content));
  const Octets issuerSerial =
      der::sequence(DerOf<X509_NAME>(X509_get_issuer_name(certificate), i2d_X509_NAME),
                    DerOf<ASN1_INTEGER>(X509_get0_serialNumber(certificate), i2d_ASN1_INTEGER));
  const std::string algorithm = plan.signature_algorithm.empty()
                                    ? algorithm_of(plan.signer, plan.signature_digest.value_or(plan.digest))
                                    : plan.signature_algorithm;
  const Octets data = plan.with_attributes ? der::set(attributes) : content;
  return der::sequence(der::integer(1), plan.identifier.value_or(issuerSerial),
                       plan.digest_algorithm.value_or(DigestIdentifier(plan.digest)),
                       plan.with_attributes ? der::context(0, attributes) : Octets{},
                       der::algorithm(algorithm, plan.signature_parameters),
                       der::octet_string(plan.signature ? *plan.signature : sign(plan, data)));
}

}  // namespace

Octets Hash(const std::string& digest, const Octets& data) {
  Octets value(EVP_MAX_MD_SIZE);
  unsigned length = 0;
  if (EVP_Digest(data.data(), data.size(), value.data(), &length, EVP_get_digestbyname(digest.c_str()),
                 nullptr) != 1) {
    throw std::runtime_error("no digest " + digest);
  }
  value.resize(length);
  return value;
}

Octets DigestIdentifier(const std::string& digest) {
  const ASN1_OBJECT* identifier = OBJ_nid2obj(EVP_MD_get_type(EVP_get_digestbyname(digest.c_str())));
  return der::sequence(DerOf<ASN1_OBJECT>(identifier, i2d_ASN1_OBJECT));
}

Octets TokenPlan::encode() const {
  const Octets content = info.encode();
  const Octets set = joined(certificates.value_or(std::vector<Octets>{signer.der()}));
  const Octets one = signer_info(*this, content);
  const Octets all = joined(std::vector<Octets>(signers, one));
  return der::sequence(
      der::oid(kSignedData),
      der::context(
          0, der::sequence(der::integer(3), der::set(digest_algorithm.value_or(DigestIdentifier(digest))),
                           der::sequence(der::oid(content_type), der::context(0, der::octet_string(content))),
                           set.empty() ? Octets{} : der::context(0, set),
                           lists.empty() ? Octets{} : der::context(1, joined(lists)), der::set(all))));
}

tool::StrictReading Read(const Octets& token, const tool::Trust& trust, bool allowWeak) {
  tool::CheckTrust(trust);
  return tool::ReadStrictly(token, trust, allowWeak);
}

tool::StrictReading Read(const Octets& token) {
  return Read(token, tool::Trust{});
}

}  // namespace qex::test
