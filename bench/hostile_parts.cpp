// The messages around the parts that hurt.
#include "bench/hostile_parts.h"

#include "crypto/digest/sha1.h"
#include "crypto/digest/sha256.h"

namespace qex::bench {

Octets TstInfoPieces::encode() const {
  const Octets imprint = der::sequence(der::algorithm(kSha256Digest), der::octet_string(Octets(32, 1)));
  return der::sequence(der::integer(1), policy, imprint, serial, der::generalized_time("20240101000000Z"),
                       tsa.empty() ? Octets{} : der::context(0, tsa),
                       extensions.empty() ? Octets{} : der::context(1, extensions));
}

Octets TokenPieces::encode() const {
  const auto optional = [](unsigned number, const Octets& octets) {
    return octets.empty() ? Octets{} : der::context(number, octets);
  };
  const Octets signer = der::sequence(
      der::integer(1), der::sequence(der::sequence(signer_name), der::integer(1)), der::algorithm(digest),
      optional(0, signed_attributes), der::algorithm(signature_algorithm), der::octet_string(signature));
  const Octets encapsulated = der::sequence(der::oid("1.2.840.113549.1.9.16.1.4"), der::context(0, content));
  return der::sequence(
      der::oid("1.2.840.113549.1.7.2"),
      der::context(0, der::sequence(der::integer(3), der::set(digest_algorithms), encapsulated,
                                    optional(0, certificates), optional(1, lists), der::set(signer))));
}

Octets attribute(std::string_view type, const Octets& values) {
  return der::sequence(der::oid(type), der::set(values));
}

Octets signing_certificate(const Octets& identifiers) {
  return attribute("1.2.840.113549.1.9.16.2.12", der::sequence(der::sequence(identifiers)));
}

Octets signing_certificate_v2(const Octets& identifiers) {
  return attribute("1.2.840.113549.1.9.16.2.47", der::sequence(der::sequence(identifiers)));
}

Octets sha1_of(const Octets& octets) {
  Octets hash(20);
  SHA1Digest(octets.data(), length_of(octets), hash.data());
  return hash;
}

Octets sha256_of(const Octets& octets) {
  Octets hash(32);
  SHA256Digest(octets.data(), length_of(octets), hash.data());
  return hash;
}

}  // namespace qex::bench
