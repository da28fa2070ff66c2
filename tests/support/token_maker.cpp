// Parts are put together in the order of their standards; certificates sign themselves.
#include "tests/support/token_maker.h"

#include <algorithm>

namespace qex::test {
namespace {

Octets joined(const std::vector<Octets>& parts) {
  Octets all;
  for (const Octets& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// by_encoding is the order of a SET OF in DER (X.690 11.6).
[[nodiscard]] bool by_encoding(const Octets& a, const Octets& b) {
  const auto [in_a, in_b] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  return in_b != b.end() && (in_a == a.end() || *in_a < *in_b);
}

std::vector<Octets> usual_attributes(const SignerMaker& signer, const Octets& content) {
  const Octets digest = signer.message_digest.value_or(Digest(signer.digest, content));
  const std::pair<const char*, Octets> usual[] = {
      {kContentTypeAttribute, der::oid(kTstInfo)},
      {kSigningTimeAttribute, der::utc_time("241115080000Z")},
      {kMessageDigestAttribute, der::octet_string(digest)},
      {kSigningCertificateAttribute, SigningCertificate({EssCertId(Digest(kSha1, signer.certificate))})},
  };
  std::vector<Octets> attributes;
  for (const auto& [type, value] : usual) {
    if (std::find(signer.without.begin(), signer.without.end(), type) == signer.without.end()) {
      attributes.push_back(Attribute(type, {value}));
    }
  }
  attributes.insert(attributes.end(), signer.extra.begin(), signer.extra.end());
  if (signer.sorted) std::sort(attributes.begin(), attributes.end(), by_encoding);
  return attributes;
}

}  // namespace

Octets DirectoryName(const std::vector<std::pair<std::string, Octets>>& attributes) {
  Octets names;
  for (const auto& [type, value] : attributes) {
    names = der::concat(names, der::set(der::sequence(der::oid(type), value)));
  }
  return der::sequence(names);
}

Octets TstInfoMaker::encode() const {
  return der::sequence(version, policy, imprint, serial, gen_time, accuracy, ordering, nonce, tsa,
                       extensions);
}

Octets CertificateMaker::encode() const {
  const Octets algorithm = der::algorithm(kSha256WithRsa, der::null());
  const Octets validity =
      der::sequence(der::utc_time("200101000000Z"), der::generalized_time("20991231235959Z"));
  const Octets key_info = subject_public_key_info.empty() ? RsaPublicKeyInfo(key) : subject_public_key_info;
  const Octets time_stamping_only =
      der::sequence(der::oid("2.5.29.37"), der::boolean(true),
                    der::octet_string(der::sequence(der::oid("1.3.6.1.5.5.7.3.8"))));
  const Octets body = der::sequence(der::context(0, der::integer(2)), serial, algorithm, subject, validity,
                                    subject, key_info, der::context(3, der::sequence(time_stamping_only)));
  return der::sequence(body, algorithm, der::bit_string(RsaSignature(key, kSha256, Digest(kSha256, body))));
}

const Octets& AuthorityCertificate() {
  static const Octets certificate = CertificateMaker().encode();
  return certificate;
}

const Octets& OtherCertificate() {
  static const Octets certificate = [] {
    CertificateMaker maker;
    maker.key = TestKey("other");
    maker.serial = der::integer(8);
    maker.subject = DirectoryName({{"2.5.4.10", der::utf8_string("An authority of another name")}});
    return maker.encode();
  }();
  return certificate;
}

Octets Attribute(const std::string& type, const std::vector<Octets>& values) {
  return der::sequence(der::oid(type), der::set(joined(values)));
}

Octets EssCertId(const Octets& hash) {
  return der::sequence(der::octet_string(hash));
}

Octets EssCertIdV2(const Octets& algorithm, const Octets& hash) {
  return der::sequence(algorithm, der::octet_string(hash));
}

Octets SigningCertificate(const std::vector<Octets>& identifiers) {
  return der::sequence(der::sequence(joined(identifiers)));
}

Octets AttributeCertificateContent() {
  const Octets names =
      der::sequence(der::context(4, DirectoryName({{"2.5.4.3", der::printable_string("Issuer")}})));
  const Octets validity =
      der::sequence(der::generalized_time("20240101000000Z"), der::generalized_time("20250101000000Z"));
  const Octets info =
      der::sequence(der::integer(1), der::sequence(), der::context(0, names),
                    der::algorithm(kSha256WithRsa, der::null()), der::integer(99), validity, der::sequence());
  return der::concat(info, der::algorithm(kSha256WithRsa, der::null()), der::bit_string(Octets(128, 0x5A)));
}

Octets SignerMaker::encode(const Octets& content) const {
  const Octets all = joined(attributes.value_or(usual_attributes(*this, content)));
  const Octets hash = Digest(digest, hashed_attributes.value_or(der::set(all)));
  const auto with_rsa = [this](const Octets& octets) {
    const Octets info = DigestInfo(digest, signed_digest_parameters, octets);
    return RsaPrivate(key, block(info, key.n.size()));
  };
  const Octets name = CertificateMaker().subject;
  return der::sequence(
      der::integer(version), der::sequence(name, der::integer(7)),
      digest_algorithm.value_or(der::algorithm(digest, digest_parameters)),
      signed_attributes.value_or(der::context(0, all)),
      signature_algorithm_element.value_or(der::algorithm(signature_algorithm, signature_parameters)),
      der::octet_string(signature.has_value() ? *signature
                        : sign                ? sign(hash)
                                              : with_rsa(hash)));
}

Octets TokenMaker::encode() const {
  Octets algorithms, infos;
  for (const SignerMaker& signer : signers) {
    const Octets algorithm =
        signer.digest_algorithm.value_or(der::algorithm(signer.digest, signer.digest_parameters));
    algorithms = der::concat(algorithms, algorithm);
    infos = der::concat(infos, signer.encode(tst_info));
  }
  const Octets content = with_content ? der::context(0, der::octet_string(tst_info)) : Octets{};
  const Octets set = certificates.empty() ? Octets{} : der::context(0, joined(certificates));
  return der::sequence(der::oid(content_type),
                       der::context(0, der::sequence(der::integer(version), der::set(algorithms),
                                                     der::sequence(der::oid(encapsulated_type), content), set,
                                                     der::set(infos))));
}

Octets TokenWithoutContent() {
  return der::sequence(der::oid(kSignedData));
}

Octets TokenOfData() {
  return der::sequence(der::oid(kData), der::context(0, der::octet_string(der::octets("plain"))));
}

}  // namespace qex::test
