// The check of a token's signature (RFC 5652, 5.4 to 5.6), first SignerInfo only.
//
// Deliberately narrow: digest of the content, signature over the signed attributes, and the
// signing-certificate attribute. Content types, times, the signer identifier, chains and
// revocation are the caller's business.
#pragma once

#include <cstdint>

#include "api/digest_by_oid.h"
#include "api/signing_certificate.h"
#include "api/token.h"
#include "asn1/cms.h"
#include "asn1/x509.h"

namespace qex {

// FindMessageDigest returns the first value of the first message-digest attribute of `signedAttrs`,
// or null.
const AsnOcts* FindMessageDigest(const AsnList* signedAttrs);

// VerifySignerInfoSignature checks the signature of `signer` over its signed attributes with the public key
// of `certificate`. Both must have the parts for that: algorithms, signed attributes, signature and public
// key. The digest is that of the codec's own encoding of the decoded attributes, in their order, as a SET.
// QEX_OK: it verifies. QEX_E_NOMEM: allocation fails, or a number is too large. QEX_E_MISSING: the key does
// not decode or lacks a component. QEX_E_SIGNATURE. QEX_E_UNSUPPORTED: the key, or its pairing with digest
// and signature algorithm.
[[nodiscard]] int32_t VerifySignerInfoSignature(const SignerInfo& signer, const Certificate& certificate);

}  // namespace qex
