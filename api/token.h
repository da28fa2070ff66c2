// How the exports reach into a time-stamp token: a ContentInfo that holds SignedData (RFC 5652).
#pragma once

#include <cstdint>

#include "api/frame.h"
#include "asn1/cms.h"

namespace qex {

using DecodedToken = Decoded<ContentInfo>;

// DecodeToken decodes a ContentInfo of `length` bytes under a recovery point; false with the last ASN.1 error
// set. Then `token` owns the parts decoded so far.
[[nodiscard]] bool DecodeToken(const uint8_t* data, uint32_t length, DecodedToken* token);

// SignedDataOf returns the content of the token, null when there is none or of another type.
SignedData* SignedDataOf(const ContentInfo& token);

// EContentOf returns the octets that were signed, the encoding of the TSTInfo; null when there are none.
const AsnOcts* EContentOf(const ContentInfo& token);

// IsAttributeCertificate returns whether an element of the certificate set is one, of either version.
[[nodiscard]] bool IsAttributeCertificate(const CertificateChoices& element);

// FirstSignerInfo returns the first element of signerInfos, or null.
SignerInfo* FirstSignerInfo(const ContentInfo& token);

// SignedAttributesOf returns the signed attributes of the first signer, or null.
const AsnList* SignedAttributesOf(const ContentInfo& token);

}  // namespace qex
