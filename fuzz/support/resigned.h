// Tokens changed on purpose, with another content or a new signature, without a private key: under a public
// exponent of 1 the signature is the block that the check expects, so anyone can write it. Mutated tokens
// thus reach the parts of the check that follow a good signature.
#pragma once

#include <optional>

#include "fuzz/support/harness.h"
#include "fuzz/support/tlv.h"

namespace qex::fuzz {

// ResigningCertificate returns the certificate whose key has the exponent 1.
const Octets& ResigningCertificate();

// Resign sets the message digest of a token to that of its content, the first identifier of its
// signing-certificate attribute (of the version chosen) to that of ResigningCertificate, and its signature to
// that of the resulting signed attributes. Nothing when the token is not well-formed, or lacks a part for
// that, or has digests other than SHA-1, SHA-2 and MD5.
[[nodiscard]] std::optional<Octets> Resign(View token, SigningCertificate which);

// WithOtherContent changes a bit of the content of a token that is well-formed; nothing when it has none.
[[nodiscard]] std::optional<Octets> WithOtherContent(View token);

}  // namespace qex::fuzz
