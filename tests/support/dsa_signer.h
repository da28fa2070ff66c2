// DSA keys for tests, and signatures and tokens made with them by the library's own signing. Separate tests
// check that against the example of FIPS 186 and other implementations' verification.
#pragma once

#include <cstdint>
#include <string>

#include "tests/support/der.h"
#include "tests/support/token_maker.h"

namespace qex::test {

inline constexpr const char* kDsa = "1.2.840.10040.4.1";
inline constexpr const char* kDsaWithSha1 = "1.2.840.10040.4.3";
inline constexpr const char* kDsaWithSha256 = "2.16.840.1.101.3.4.3.2";

// Numbers are magnitudes, the most significant octet first.
struct DsaKey {
  Octets p, q, g, x, y;
};

struct DsaPair {
  Octets r, s;
};

// TestDsaKey returns the key of the record `name` of tests/data/dsa_verify.txt: "1024/160 sha1". A name that
// is not there ends the test program.
DsaKey TestDsaKey(const std::string& name);

// DsaSign signs the leftmost octets of `digest`, as many as q has whole octets. The secret number follows
// from `seed`; r and s are as long as q, with zeros in front.
DsaPair DsaSign(const DsaKey& key, const Octets& digest, uint32_t seed = 1);

// Raw returns r and s in 20 octets each; a pair of more is an error of the test. SigValue returns
// the Dss-Sig-Value (RFC 3279, 2.2.2).
Octets Raw(const DsaPair& pair);
Octets SigValue(const DsaPair& pair);

// DssParms returns the parameters of the key's algorithm (RFC 3279, 2.3.2), DsaPublicKeyInfo its
// SubjectPublicKeyInfo.
Octets DssParms(const DsaKey& key);
Octets DsaPublicKeyInfo(const DsaKey& key);

// DsaTokenMaker returns the maker of a token that DsaSign signs under `key`, its digest SHA-1 or SHA-256. The
// certificate in the token, which its signer names, has `public_key_info`; by default that of `key`.
TokenMaker DsaTokenMaker(const DsaKey& key, const std::string& digest = kSha1,
                         const Octets& public_key_info = {});

}  // namespace qex::test
