// The version number of SignedData, which follows from its contents (RFC 5652 section 5.1).
#pragma once

#include "asn1/cms.h"

namespace qex {

// RecomputeSignedDataVersion sets the version of the token's SignedData; nothing when it has none.
// Deliberate: of several attribute or other certificates the last one decides, and CRLs take no
// part.
void RecomputeSignedDataVersion(const ContentInfo& token);

}  // namespace qex
