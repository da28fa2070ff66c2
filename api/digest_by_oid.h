// Digests named by an AlgorithmIdentifier, over the data of a buffer chain.
#pragma once

#include <cstdint>

#include "asn1/x509.h"
#include "ber/buffer.h"

namespace qex {

struct DigestValue {
  uint32_t length = 0;  // 0 before computation
  uint8_t octets[64];
};

// DigestByOid digests all data of the chain, from its first block to its last, with the digest
// that `digestAlgorithm` names: SHA-1, MD5, SHA-256, SHA-384 or SHA-512. For any other
// identifier `*digest` is left as it is.
void DigestByOid(ExpBuf* buffer, const AlgorithmIdentifier& digestAlgorithm, DigestValue* digest);
void DigestByOid(ExpBuf* buffer, const AsnOid& digestAlgorithm, DigestValue* digest);

// DigestEquals returns whether `octets` are the digest, in length and in content.
bool DigestEquals(const DigestValue& digest, const AsnOcts& octets);

}  // namespace qex
