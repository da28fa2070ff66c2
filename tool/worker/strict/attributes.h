// The signed attributes of the first signer.
#pragma once

#include <vector>

#include "tool/worker/strict/token.h"

namespace qex::tool::strict {

// Contents octets of 1.2.840.113549.1.9.52 (RFC 6211), which libcrypto has no number for.
inline constexpr uint8_t kAlgorithmProtection[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x34};

// FirstValue returns the first value of the first attribute of a type; null when there is none.
const ASN1_TYPE* FirstValue(const Token& token, ByteView type);
const ASN1_TYPE* FirstValue(const Token& token, int nid);

// SequenceOctets returns the encoding of a value that is a SEQUENCE; empty for any other.
ByteView SequenceOctets(const ASN1_TYPE* value);

// HasAttributes returns whether there are signed attributes, HasAttribute whether there is one of a type.
[[nodiscard]] bool HasAttributes(const Token& token);
[[nodiscard]] bool HasAttribute(const Token& token, int nid);

// RepeatedAttributes returns the types that occur more than once, or do not have exactly one value.
std::vector<Bytes> RepeatedAttributes(const Token& token);

// SignedOctets returns the signed octets: the attributes as a SET OF, or the content when there are none.
Bytes SignedOctets(const Token& token);

}  // namespace qex::tool::strict
