// The signature of the first signer.
#pragma once

#include "tool/worker/strict/token.h"

namespace qex::tool::strict {

// VerifySignature checks the digest of the content and the signature over the attributes. `certificate` is
// null when none is available; `key` describes its key.
StrictSignature VerifySignature(const Token& token, X509* certificate, const SignerKey& key);

}  // namespace qex::tool::strict
