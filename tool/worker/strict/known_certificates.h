// The certificates of a token apart from the rest of it. Tokens of one authority carry the same certificates,
// often with the root that the caller names too, and decoding their keys takes libcrypto longer than all else
// about a token; so each is decoded once.
#pragma once

#include <optional>
#include <vector>

#include "tool/base/bytes.h"
#include "tool/worker/strict/handle.h"

namespace qex::tool::strict {

struct TokenParts {
  Bytes rest;  // the token as it would be without the field `certificates`
  std::vector<ByteView> certificates;
};

// TakeApart returns the parts of a token; nothing when it is not plainly encoded (definite lengths, X.509
// certificates and no other kind), or carries none.
[[nodiscard]] std::optional<TokenParts> TakeApart(ByteView token);

// KnownCertificate returns the certificate of an encoding; nothing when it does not decode.
[[nodiscard]] OwnedCertificate KnownCertificate(ByteView encoding);

// KnownCertificates returns the certificates of these encodings; nothing when one of them does not decode.
[[nodiscard]] OwnedCertificates KnownCertificates(const std::vector<ByteView>& encodings);

// ForgetCertificates drops them all.
void ForgetCertificates();

}  // namespace qex::tool::strict
