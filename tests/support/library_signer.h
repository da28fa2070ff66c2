// Signatures of tokens made by the library's own private operations, which no export reaches.
#pragma once

#include "tests/support/dsa_signer.h"
#include "tests/support/token_parts.h"

namespace qex::test {

// SignedWithLibraryRsa is SignedWithRsa by way of rsa_private.
Signature SignedWithLibraryRsa(const RsaKey& key);

// SignedWithLibraryDsa gives a Dss-Sig-Value by way of dsa_sign, over the leftmost 20 octets of the
// digest, which is how many take part in the check.
Signature SignedWithLibraryDsa(const DsaKey& key);

}  // namespace qex::test
