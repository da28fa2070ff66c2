// Digests named by an AlgorithmIdentifier.
#include "api/digest_by_oid.h"

#include <algorithm>
#include <cstring>

#include "asn1/oids.h"
#include "crypto/digest/hashinfo.h"
#include "crypto/digest/sha512.h"

namespace qex {
namespace {

struct DigestRow {
  AsnOid algorithm;
  const HashInfo* hash;
};

// clang-format off
constexpr DigestRow kDigests[] = {
    {kIdSha1,   &kSHA1Info},
    {kIdMd5,    &kMD5Info},
    {kIdSha256, &kSHA256Info},
    {kIdSha384, &kSHA384Info},
    {kIdSha512, &kSHA512Info},
};
// clang-format on

constexpr size_t kLargestContext = sizeof(QEX_SHA512_CTX);

}  // namespace

void DigestByOid(ExpBuf* buffer, const AsnOid& digestAlgorithm, DigestValue* digest) {
  for (const DigestRow& row : kDigests) {
    if (!AsnOidEqual(row.algorithm, digestAlgorithm)) continue;
    alignas(uint64_t) uint8_t context[kLargestContext];
    row.hash->init(context);
    for (const ExpBuf* block = ExpBufFirst(buffer); block != nullptr; block = block->nextBlock) {
      // No block is longer than 32 bits say: blocks are small, and wrapped data has such a length.
      row.hash->update(context, block->first, uint32_t(block->end - block->first));
    }
    row.hash->final(context, digest->octets);
    digest->length = row.hash->hashsz;
    return;
  }
}

void DigestByOid(ExpBuf* buffer, const AlgorithmIdentifier& digestAlgorithm, DigestValue* digest) {
  DigestByOid(buffer, digestAlgorithm.algorithm, digest);
}

bool DigestEquals(const DigestValue& digest, const AsnOcts& octets) {
  return digest.length == octets.count &&
         std::equal(digest.octets, digest.octets + digest.length, octets.octs);
}

}  // namespace qex
