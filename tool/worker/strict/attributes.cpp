// Signed attributes are looked up by type, and encoded again for the signature (RFC 5652, 5.4).
#include "tool/worker/strict/attributes.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <openssl/asn1.h>
#include <openssl/objects.h>

namespace qex::tool::strict {
namespace {

constexpr int kSingleValued[] = {
    NID_pkcs9_contentType,
    NID_pkcs9_messageDigest,
    NID_pkcs9_signingTime,
    NID_id_smime_aa_signingCertificate,
    NID_id_smime_aa_signingCertificateV2,
};

const ASN1_TYPE* value_at(const Token& token, int index) {
  if (index < 0) return nullptr;
  return X509_ATTRIBUTE_get0_type(CMS_signed_get_attr(token.signer, index), 0);
}

[[nodiscard]] bool has_one_value_by_standard(const ASN1_OBJECT* type) {
  return std::ranges::find(kSingleValued, OBJ_obj2nid(type)) != std::end(kSingleValued) ||
         std::ranges::equal(OctetsOf(type), kAlgorithmProtection);
}

}  // namespace

const ASN1_TYPE* FirstValue(const Token& token, ByteView type) {
  const int count = CMS_signed_get_attr_count(token.signer);
  for (int i = 0; i < count; ++i) {
    const ASN1_OBJECT* each = X509_ATTRIBUTE_get0_object(CMS_signed_get_attr(token.signer, i));
    if (std::ranges::equal(OctetsOf(each), type)) return value_at(token, i);
  }
  return nullptr;
}

const ASN1_TYPE* FirstValue(const Token& token, int nid) {
  return value_at(token, CMS_signed_get_attr_by_NID(token.signer, nid, -1));
}

ByteView SequenceOctets(const ASN1_TYPE* value) {
  if (value == nullptr || value->type != V_ASN1_SEQUENCE) return {};
  return OctetsOf(value->value.sequence);
}

bool HasAttributes(const Token& token) {
  return CMS_signed_get_attr_count(token.signer) > 0;
}

bool HasAttribute(const Token& token, int nid) {
  return CMS_signed_get_attr_by_NID(token.signer, nid, -1) >= 0;
}

std::vector<Bytes> RepeatedAttributes(const Token& token) {
  std::set<Bytes> seen;
  std::vector<Bytes> repeated;
  const int count = CMS_signed_get_attr_count(token.signer);
  for (int i = 0; i < count; ++i) {
    X509_ATTRIBUTE* attribute = CMS_signed_get_attr(token.signer, i);
    const ASN1_OBJECT* identifier = X509_ATTRIBUTE_get0_object(attribute);
    Bytes type = CopyOf(OctetsOf(identifier));
    const bool second = !seen.insert(type).second;
    const bool otherCount = X509_ATTRIBUTE_count(attribute) != 1 && has_one_value_by_standard(identifier);
    if ((second || otherCount) && std::ranges::find(repeated, type) == repeated.end()) {
      repeated.push_back(std::move(type));
    }
  }
  return repeated;
}

// The attributes keep their order in the token. A DER encoding would sort them, which makes no difference for
// a token in DER; authorities that do not sort sign the order that they write, and that signature verifies.
Bytes SignedOctets(const Token& token) {
  if (!HasAttributes(token)) return CopyOf(token.content);
  Bytes attributes;
  const int count = CMS_signed_get_attr_count(token.signer);
  for (int i = 0; i < count; ++i) {
    const Bytes one = Encoded<i2d_X509_ATTRIBUTE>(CMS_signed_get_attr(token.signer, i));
    attributes.insert(attributes.end(), one.begin(), one.end());
  }
  const int length = int(attributes.size());  // libcrypto's own lengths fit an int
  Bytes set(size_t(ASN1_object_size(1, length, V_ASN1_SET)) - attributes.size());
  unsigned char* at = set.data();
  ASN1_put_object(&at, 1, length, V_ASN1_SET, V_ASN1_UNIVERSAL);
  set.insert(set.end(), attributes.begin(), attributes.end());
  return set;
}

}  // namespace qex::tool::strict
