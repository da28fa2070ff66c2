// Parts of hostile inputs: runs of small elements, and the messages around them, as short as they decode.
#pragma once

#include <string_view>

#include "bench/hostile.h"

namespace qex::bench {

namespace der = test::der;

// many returns `unit` as often as it fits into `size` octets.
inline Octets many(const Octets& unit, size_t size) {
  Octets all;
  all.reserve(size);
  for (size_t n = size / unit.size(); n > 0; --n) all.insert(all.end(), unit.begin(), unit.end());
  return all;
}

// many_of is many for units of one length that differ: unit(0), unit(1), ...
template <class Unit>
Octets many_of(Unit unit, size_t size) {
  Octets all;
  all.reserve(size);
  for (uint32_t i = 0;; ++i) {
    const Octets one = unit(i);
    if (all.size() + one.size() > size) return all;
    all.insert(all.end(), one.begin(), one.end());
  }
}

// pieces is a constructed string of components of one octet each; `tag` is that of the constructed form.
inline Octets pieces(uint8_t tag, const Octets& component, size_t size) {
  return der::element(tag, many(component, size));
}

// nested is a constructed string of indefinite length inside another, as deep as `size` allows.
inline Octets nested(uint8_t tag, size_t size) {
  Octets all = many({tag, 0x80}, size / 2);
  all.resize(2 * all.size());
  return all;
}

inline HostileInput input_of(Octets octets, Octets other = {}) {
  HostileInput input{std::move(octets), std::move(other), {}};
  input.out.resize(input.main.size() + 4096);
  return input;
}

inline uint32_t length_of(const Octets& octets) {
  return uint32_t(octets.size());
}

// serial_number is an INTEGER of four octets.
inline Octets serial_number(uint32_t i) {
  return {0x02, 0x04, uint8_t(0x40 | (i >> 24 & 0x3F)), uint8_t(i >> 16), uint8_t(i >> 8), uint8_t(i)};
}

// --- The shortest of their types ---------------------------------------------------

inline const Octets kEmptySequence = {0x30, 0x00};
inline const Octets kEmptySet = {0x31, 0x00};
inline const Octets kNoInteger = {0x02, 0x00};
inline const Octets kShortAlgorithm = {0x30, 0x02, 0x06, 0x00};
inline const Octets kShortBits = {0x03, 0x01, 0x00};
inline const Octets kShortTimes = {0x30, 0x04, 0x18, 0x00, 0x18, 0x00};
inline const Octets kShortExtension = {0x30, 0x04, 0x06, 0x00, 0x04, 0x00};
inline const Octets kShortAttribute = {0x30, 0x04, 0x06, 0x00, 0x31, 0x00};
inline const Octets kShortTimeValue = {0x30, 0x04, 0x02, 0x00, 0x02, 0x00};
// An X.400 address of nothing: of all elements of lists the one that takes most memory for its length.
inline const Octets kShortX400Name = {0xA3, 0x02, 0x30, 0x00};
// A relative distinguished name of one common name.
inline const Octets kCommonName = {0x31, 0x0B, 0x30, 0x09, 0x06, 0x03, 0x55,
                                   0x04, 0x03, 0x13, 0x02, 'a',  'b'};

// certificate has no content but a serial number.
inline Octets certificate(const Octets& serial,
                          const Octets& key_info = der::sequence(kShortAlgorithm, kShortBits)) {
  const Octets validity = {0x30, 0x04, 0x17, 0x00, 0x17, 0x00};
  const Octets body =
      der::sequence(serial, kShortAlgorithm, kEmptySequence, validity, kEmptySequence, key_info);
  return der::sequence(body, kShortAlgorithm, kShortBits);
}

// TacPieces are the variable parts of an attribute certificate; each is the content of its element.
struct TacPieces {
  Octets holder_names, issuer_names, serial = {0x01}, attributes;
  Octets signature = kShortBits;  // the element

  // Whether the content is inside the SEQUENCE, or inside the tag that replaces it.
  Octets content() const {
    const Octets holder = der::sequence(holder_names.empty() ? Octets{} : der::context(1, holder_names));
    const Octets info = der::sequence(der::integer(1), holder, der::sequence(issuer_names), kShortAlgorithm,
                                      der::big_integer(serial), kShortTimes, der::sequence(attributes));
    return der::concat(info, kShortAlgorithm, signature);
  }
  Octets encode() const { return der::sequence(content()); }
};

// --- Tokens ------------------------------------------------------------------------

inline constexpr const char* kSha1Digest = "1.3.14.3.2.26";
inline constexpr const char* kSha256Digest = "2.16.840.1.101.3.4.2.1";

struct TstInfoPieces {
  Octets policy = {0x06, 0x02, 0x2A, 0x03};
  Octets serial = der::integer(1);
  Octets tsa, extensions;  // content of their elements; none: absent

  Octets encode() const;
};

// TokenPieces are the variable parts of a token; each is the content of its element. Optional parts are all
// present.
struct TokenPieces {
  Octets digest_algorithms;
  Octets content = der::octet_string(TstInfoPieces().encode());  // the element
  Octets certificates, lists;
  Octets signer_name;
  Octets signed_attributes;
  std::string digest = kSha256Digest;
  std::string signature_algorithm = "1.2.840.113549.1.1.1";
  Octets signature = Octets(64, 1);

  Octets encode() const;
};

Octets attribute(std::string_view type, const Octets& values);
// signing_certificate is the attribute with these identifiers, signing_certificate_v2 that of the second
// version.
Octets signing_certificate(const Octets& identifiers);
Octets signing_certificate_v2(const Octets& identifiers);
Octets sha1_of(const Octets& octets);
Octets sha256_of(const Octets& octets);

}  // namespace qex::bench
