// Digests named by an AlgorithmIdentifier.
#include "api/digest_by_oid.h"

#include <algorithm>
#include <iterator>

#include "crypto/digest/sha512.h"

namespace qex {
namespace {

constexpr size_t kLargestContext = sizeof(QEX_SHA512_CTX);

}  // namespace

const DigestAlgorithm* FindDigestAlgorithm(const AsnOid& identifier) {
  const auto* row =
      std::find_if(std::begin(kDigestAlgorithms), std::end(kDigestAlgorithms),
                   [&](const DigestAlgorithm& r) { return AsnOidEqual(r.identifier, identifier); });
  return row == std::end(kDigestAlgorithms) ? nullptr : row;
}

void DigestByOid(ExpBuf* buffer, const AsnOid& digestAlgorithm, DigestValue* digest) {
  const DigestAlgorithm* algorithm = FindDigestAlgorithm(digestAlgorithm);
  if (algorithm == nullptr) return;
  const HashInfo& hash = *algorithm->hash;
  alignas(uint64_t) uint8_t context[kLargestContext];
  hash.init(context);
  for (const ExpBuf* block = ExpBufFirst(buffer); block != nullptr; block = block->nextBlock) {
    // A block holds less than 4 GiB: the library's own are small, and wrapped data has a 32-bit length.
    hash.update(context, block->first, uint32_t(block->end - block->first));
  }
  hash.final(context, digest->octets);
  digest->length = hash.hashsz;
}

void DigestByOid(ExpBuf* buffer, const AlgorithmIdentifier& digestAlgorithm, DigestValue* digest) {
  DigestByOid(buffer, digestAlgorithm.algorithm, digest);
}

bool DigestEquals(const DigestValue& digest, const AsnOcts& octets) {
  return digest.length == octets.count &&
         std::equal(digest.octets, digest.octets + digest.length, octets.octs);
}

}  // namespace qex
