// RSA keys for tests and signatures made with them (PKCS #1 v1.5).
#pragma once

#include <string>
#include <string_view>

#include "tests/support/der.h"
#include "tests/support/rsa_arithmetic.h"

namespace qex::test {

// Identifiers of digests and algorithms, as text.
inline constexpr const char* kSha1 = "1.3.14.3.2.26";
inline constexpr const char* kMd5 = "1.2.840.113549.2.5";
inline constexpr const char* kSha256 = "2.16.840.1.101.3.4.2.1";
inline constexpr const char* kSha384 = "2.16.840.1.101.3.4.2.2";
inline constexpr const char* kSha512 = "2.16.840.1.101.3.4.2.3";
inline constexpr const char* kRsaEncryption = "1.2.840.113549.1.1.1";
inline constexpr const char* kMd5WithRsa = "1.2.840.113549.1.1.4";
inline constexpr const char* kSha1WithRsa = "1.2.840.113549.1.1.5";
inline constexpr const char* kSha256WithRsa = "1.2.840.113549.1.1.11";
inline constexpr const char* kSha384WithRsa = "1.2.840.113549.1.1.12";
inline constexpr const char* kSha512WithRsa = "1.2.840.113549.1.1.13";

// TestKey returns a key of tests/data/signing_keys.txt: "authority", "other" or "long". TestValue
// returns any value of that file; a name that is not there ends the test program.
const RsaKey& TestKey(const std::string& name);
Octets TestValue(const std::string& name);

// Digest returns the digest of `data`, no octets for an identifier other than these five.
Octets Digest(std::string_view algorithm, const Octets& data);

// DigestInfo returns the structure of that name (RFC 8017, 9.2), with `parameters` as given.
Octets DigestInfo(std::string_view algorithm, const Octets& parameters, const Octets& digest);

// Padded returns the block 00 01 FF ... FF 00 `tail` of `size` octets (RFC 8017, 9.2).
Octets Padded(const Octets& tail, size_t size);

// RsaSignature returns the signature over a digest (RFC 8017, 8.2.1).
Octets RsaSignature(const RsaKey& key, std::string_view algorithm, const Octets& digest);

// RsaPublicKeyInfo returns the SubjectPublicKeyInfo of `key`.
Octets RsaPublicKeyInfo(const RsaKey& key);

}  // namespace qex::test
