// Tokens that are changed on purpose: another content, or signed anew, without a private key: under a public
// exponent of 1 the signature is the block that the check expects, so that anyone can write it. What the
// check does behind a good signature is then in reach for tokens that a mutation has changed.
#pragma once

#include <optional>

#include "fuzz/support/tlv.h"

namespace qex::fuzz {

// ResigningCertificate returns the certificate whose key has the exponent 1.
const Octets& ResigningCertificate();

// Resign makes the message digest of a token that of its content, the first identifier of its
// signing-certificate attribute (of the version chosen) that of ResigningCertificate, and its signature
// that of its signed attributes as they then stand. Nothing when the token is not well-formed, or lacks
// a part for that, or has digests other than SHA-1, SHA-2 and MD5.
std::optional<Octets> Resign(View token, bool useV2);

// WithOtherContent changes a bit of the content of a token that is well-formed; nothing when it has none.
std::optional<Octets> WithOtherContent(View token);

}  // namespace qex::fuzz
