// Tokens signed again under a public exponent of 1.
#include "fuzz/support/resigned.h"

#include "api/digest_by_oid.h"
#include "asn1/oids.h"
#include "fuzz/support/expected.h"

namespace qex::fuzz {
namespace {

constexpr size_t kModulusOctets = 128;

Octets contents(const AsnOid& oid) {
  return {oid.octs, oid.octs + oid.count};
}

// The digest of `in`; no octets when the identifier names none.
Octets digest(const Octets& oid, const Octets& in) {
  ExpBuf block;
  ExpBufWrapData(&block, in.data(), in.size());
  DigestValue value;
  DigestByOid(&block, AsnOid{uint32_t(oid.size()), oid.data()}, &value);
  return {value.octets, value.octets + value.length};
}

Tlv rsa_encryption() {
  return Constructed(0x30, {Primitive(0x06, contents(kIdRsaEncryption)), Primitive(0x05, {})});
}

Octets make_certificate() {
  Octets modulus(kModulusOctets + 1, 0xFF);
  modulus[0] = 0;
  Octets key = {0};  // no unused bits
  Write(Constructed(0x30, {Primitive(0x02, modulus), Primitive(0x02, {1})}), &key);
  const Octets time = {'2', '4', '0', '1', '0', '1', '0', '0', '0', '0', '0', '0', 'Z'};
  const Tlv info =
      Constructed(0x30, {Primitive(0x02, {1}), rsa_encryption(), Constructed(0x30, {}),
                         Constructed(0x30, {Primitive(0x17, time), Primitive(0x17, time)}),
                         Constructed(0x30, {}), Constructed(0x30, {rsa_encryption(), Primitive(0x03, key)})});
  return Written(Constructed(0x30, {info, rsa_encryption(), Primitive(0x03, {0, 1})}));
}

Tlv* child(Tlv* parent, size_t i) {
  return parent == nullptr || i >= parent->children.size() ? nullptr : &parent->children[i];
}

Tlv* child_with(Tlv* parent, uint8_t tag) {
  if (parent == nullptr) return nullptr;
  for (Tlv& c : parent->children) {
    if (c.tag == Octets{tag}) return &c;
  }
  return nullptr;
}

// The first octet of a string, in any component.
uint8_t* first_octet(Tlv& string) {
  if (!string.content.empty()) return string.content.data();
  for (Tlv& component : string.children) {
    if (uint8_t* octet = first_octet(component)) return octet;
  }
  return nullptr;
}

// The first value of the first attribute of a type.
Tlv* attribute_value(Tlv* attributes, const AsnOid& type) {
  for (Tlv& attribute : attributes->children) {
    if (attribute.children.size() == 2 && attribute.children[0].content == contents(type)) {
      return child(&attribute.children[1], 0);
    }
  }
  return nullptr;
}

[[nodiscard]] bool name_certificate(Tlv* attributes, SigningCertificate which) {
  const bool isV2 = which == SigningCertificate::V2;
  Tlv* value = attribute_value(attributes, isV2 ? kIdSigningCertificateV2 : kIdSigningCertificate);
  Tlv* identifier = child(child(value, 0), 0);
  Octets algorithm = contents(isV2 ? kIdSha256 : kIdSha1);
  Tlv* hash = child(identifier, 0);
  if (isV2 && hash != nullptr && hash->tag == Octets{0x30}) {
    if (hash->children.empty()) return false;
    algorithm = hash->children[0].content;
    if (algorithm == contents(kIdSha1) || algorithm == contents(kIdMd5)) return false;
    hash = child(identifier, 1);
  }
  const Octets octets = digest(algorithm, ResigningCertificate());
  if (hash == nullptr || hash->tag != Octets{0x04} || octets.empty()) return false;
  *hash = Primitive(0x04, octets);
  return true;
}

}  // namespace

const Octets& ResigningCertificate() {
  static const Octets certificate = make_certificate();
  return certificate;
}

std::optional<Octets> Resign(View token, SigningCertificate which) {
  auto tlv = SequenceIn(token);
  if (!tlv) return std::nullopt;
  const auto content = EContentIn(*tlv);
  Tlv* signedData = child(child(&*tlv, 1), 0);
  if (!content || signedData == nullptr || signedData->children.size() < 4) return std::nullopt;
  Tlv* signer = child(&signedData->children.back(), 0);
  Tlv* attributes = child_with(signer, 0xA0);
  // version, sid, digestAlgorithm, signedAttrs, signatureAlgorithm, signature
  if (attributes == nullptr || signer->children.size() < 6 || attributes != &signer->children[3]) {
    return std::nullopt;
  }
  const Tlv& algorithm = signer->children[2];
  if (algorithm.children.empty() || signer->children[5].tag != Octets{0x04}) return std::nullopt;

  Tlv* messageDigest = attribute_value(attributes, kIdMessageDigest);
  const Octets contentDigest = digest(algorithm.children[0].content, *content);
  if (messageDigest == nullptr || contentDigest.empty() || !name_certificate(attributes, which)) {
    return std::nullopt;
  }
  *messageDigest = Primitive(0x04, contentDigest);

  Tlv asSet = *attributes;
  asSet.tag = {0x31};
  const Octets info = Written(
      Constructed(0x30, {algorithm, Primitive(0x04, digest(algorithm.children[0].content, Written(asSet)))}));
  if (info.size() + 3 > kModulusOctets) return std::nullopt;
  Octets block(kModulusOctets - info.size(), 0xFF);
  block[0] = 0;
  block[1] = 1;
  block.insert(block.end(), info.begin(), info.end());
  signer->children[4] = rsa_encryption();
  signer->children[5] = Primitive(0x04, block);
  return Written(*tlv);
}

std::optional<Octets> WithOtherContent(View token) {
  auto tlv = SequenceIn(token);
  if (!tlv || !EContentIn(*tlv)) return std::nullopt;
  Tlv* signedData = child(child(&*tlv, 1), 0);
  Tlv* content = child(child(child(signedData, 2), 1), 0);
  uint8_t* octet = content == nullptr ? nullptr : first_octet(*content);
  if (octet == nullptr) return std::nullopt;
  *octet ^= 1;
  return Written(*tlv);
}

}  // namespace qex::fuzz
