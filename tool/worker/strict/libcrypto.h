// Shared helpers for libcrypto: start, allocation failure, digests, and plain octets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/worker/strict/handle.h"

namespace qex::tool::strict {

// Start prepares libcrypto, without a configuration file, and forgets earlier failures. Every public function
// of the strict reader begins with it.
void Start();

// ThrowIfMemoryFailed throws std::bad_alloc when an allocation of libcrypto has failed since the last call,
// and clears its error queue. Call it wherever a "no" of libcrypto would be believed.
void ThrowIfMemoryFailed();

// Needed returns a pointer that can be null only if an allocation failed.
template <class T>
T* Needed(T* object) {
  if (object == nullptr) {
    ThrowIfMemoryFailed();
    throw std::bad_alloc();
  }
  return object;
}

// LastReason returns libcrypto's text for its last failure; empty when there is none.
std::string LastReason();

// DecodeWhole reads one value that fills `octets`; null for anything else.
template <class Owner, auto Decode>
Owner DecodeWhole(ByteView octets) {
  const unsigned char* at = octets.data();
  Owner value(Decode(nullptr, &at, long(octets.size())));
  if (value && at != octets.data() + octets.size()) value.reset();
  return value;
}

// Encoded returns the DER of a value.
template <auto Encode, class T>
Bytes Encoded(const T* value) {
  const int length = Encode(value, nullptr);
  Bytes octets(length > 0 ? size_t(length) : 0);
  unsigned char* at = octets.data();
  if (length < 0 || (length > 0 && Encode(value, &at) != length)) {
    ThrowIfMemoryFailed();
    octets.clear();
  }
  return octets;
}

ByteView OctetsOf(const ASN1_STRING* string);
// Contents octets of an identifier.
ByteView OctetsOf(const ASN1_OBJECT* identifier);
// Minimal contents octets of an INTEGER.
Bytes IntegerOctets(const ASN1_INTEGER* number);
const ASN1_OBJECT* IdentifierOf(const X509_ALGOR* algorithm);
// OidText returns "name (dotted)", or the dotted text of an identifier without a well-known name.
std::string OidText(const ASN1_OBJECT* identifier);

// SecondsOf returns seconds since 1970; nothing for a time that is not well formed.
[[nodiscard]] std::optional<int64_t> SecondsOf(const ASN1_TIME* time);
// MomentOf renders a time in ISO 8601, or says in words that it is not well formed.
std::string MomentOf(const ASN1_TIME* time);

// A digest algorithm with the length that it has in CMS (RFC 8702 for SHAKE).
struct Digest {
  OwnedDigest routine;
  std::string name;  // sha256
  size_t length = 0;
};

// FindDigest returns the digest of an identifier; null when libcrypto does not have it. Each is fetched once.
const Digest* FindDigest(const ASN1_OBJECT* identifier);
const Digest* FindDigest(int nid);

Bytes DigestOf(const Digest& digest, ByteView data);

}  // namespace qex::tool::strict
