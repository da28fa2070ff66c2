// The signing-certificate attribute, and the search for the certificate that it names.
#include "api/signing_certificate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "api/attributes.h"
#include "api/frame.h"
#include "api/token.h"
#include "asn1/ess.h"
#include "asn1/oids.h"
#include "ber/memory.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif

namespace qex {
namespace {

// environment_says_1 returns whether the variable `name` is "1".
#ifdef _WIN32
// getenv sees the variables of the library's C runtime. The program may have another one; both tell the
// system.
[[nodiscard]] bool environment_says_1(const char* name) {
  char value[2] = {};
  return GetEnvironmentVariableA(name, value, sizeof value) == 1 && value[0] == '1';
}
#else
[[nodiscard]] bool environment_says_1(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && std::strcmp(value, "1") == 0;
}
#endif

}  // namespace

std::atomic<uint32_t> essCertIdV2Switch{kEssCertIdV2Unread};

uint32_t UseEssCertIdV2() {
  uint32_t use = essCertIdV2Switch;
  if (use == kEssCertIdV2Unread) {
    use = environment_says_1("QEX_VERIFY_ESSCERTIDV2") ? 1 : 0;
    essCertIdV2Switch = use;
  }
  return use;
}

namespace {

// The hash of one identifier; without an algorithm it is that of no certificate.
struct CertHash {
  const DigestAlgorithm* algorithm;
  const AsnOcts* octets;
};

// hash_in returns a hash with the algorithm of this identifier, if identifiers of `version` take that one.
CertHash hash_in(EssVersion version, const AsnOid& algorithm, const AsnOcts& octets) {
  const DigestAlgorithm* row = FindDigestAlgorithm(algorithm);
  return {row != nullptr && row->essVersion == version ? row : nullptr, &octets};
}

CertHash hash_v1(const AsnOcts& certHash) {
  return hash_in(EssVersion::V1, kIdSha1, certHash);
}

CertHash hash_v2(const AsnOcts& certHash, const AlgorithmIdentifier* hashAlgorithm) {
  return hash_in(EssVersion::V2, hashAlgorithm == nullptr ? kIdSha256 : hashAlgorithm->algorithm, certHash);
}

// hash_of returns the hash of the ESSCertID or ESSCertIDv2 that `node` holds.
CertHash hash_of(const AsnListNode* node, EssVersion version) {
  if (version == EssVersion::V1) return hash_v1(static_cast<const ESSCertID*>(node->data[0])->certHash);
  const auto& id = *static_cast<const ESSCertIDv2*>(node->data[0]);
  return hash_v2(id.certHash, id.hashAlgorithm);
}

[[nodiscard]] bool can_match(const CertHash& hash) {
  return hash.algorithm != nullptr && hash.octets->count == hash.algorithm->hash->hashsz;
}

size_t index_of(const DigestAlgorithm& algorithm) {
  return size_t(&algorithm - kDigestAlgorithms);
}

// The digests of one certificate, each computed when it is first asked for.
class CertificateDigests {
 public:
  explicit CertificateDigests(ExpBuf* bytes) : bytes_(bytes) {}

  const DigestValue& of(const DigestAlgorithm& algorithm) {
    DigestValue& digest = digests_[index_of(algorithm)];
    if (digest.length == 0) DigestByOid(bytes_, algorithm.identifier, &digest);
    return digest;
  }

  [[nodiscard]] bool match(const CertHash& hash) {
    return can_match(hash) && DigestEquals(of(*hash.algorithm), *hash.octets);
  }

 private:
  ExpBuf* bytes_;
  DigestValue digests_[std::size(kDigestAlgorithms)];
};

// The order of hashes of one length.
struct Before {
  bool operator()(const uint8_t* a, const uint8_t* b) const { return std::memcmp(a, b, length) < 0; }
  uint32_t length;
};

}  // namespace

// Deliberate: the version in use is the only one looked up, even when the token has the other.
void SigningCertificateIds::find() {
  version_ = UseEssCertIdV2() == 1 ? EssVersion::V2 : EssVersion::V1;
  const AsnList* attributes = SignedAttributesOf(token_);
  if (version_ == EssVersion::V2) {
    const Attribute* attribute = FindAttribute(attributes, {kIdSigningCertificateV2});
    const auto* ids = FirstValueAs<SigningCertificateV2>(attribute, kAnySigningCertificateV2);
    if (ids != nullptr) list_ = ids->certs;
  } else {
    const Attribute* attribute = FindAttribute(attributes, {kIdSigningCertificate});
    const auto* ids = FirstValueAs<SigningCertificate>(attribute, kAnySigningCertificate);
    if (ids != nullptr) list_ = ids->certs;
  }
  if (list_ != nullptr && list_->first == nullptr) list_ = nullptr;
}

SigningCertificateIds::~SigningCertificateIds() {
  AsnFree(hashes_);
}

// sort_others fills hashes_; false when an allocation fails. Each hash already has a node, so the pointers to
// them take no more memory than the list.
bool SigningCertificateIds::sort_others() {
  const AsnListNode* second = list_->first->next;
  size_t counts[std::size(kDigestAlgorithms)] = {};
  size_t total = 0;
  for (const AsnListNode* node = second; node != nullptr; node = node->next) {
    const CertHash hash = hash_of(node, version_);
    if (!can_match(hash)) continue;
    ++counts[index_of(*hash.algorithm)];
    ++total;
  }
  if (total != 0) {
    hashes_ = static_cast<const uint8_t**>(AsnAlloc(total * sizeof *hashes_));
    if (hashes_ == nullptr) return false;
  }
  for (size_t i = 1; i < std::size(kDigestAlgorithms); ++i) ends_[i] = ends_[i - 1] + counts[i - 1];
  // Each end is where its run begins, and moves with every hash that is put there.
  for (const AsnListNode* node = second; node != nullptr; node = node->next) {
    const CertHash hash = hash_of(node, version_);
    if (can_match(hash)) hashes_[ends_[index_of(*hash.algorithm)]++] = hash.octets->octs;
  }
  for (size_t i = 0; i < std::size(kDigestAlgorithms); ++i) {
    std::sort(hashes_ + (ends_[i] - counts[i]), hashes_ + ends_[i],
              Before{kDigestAlgorithms[i].hash->hashsz});
  }
  sorted_ = true;
  return true;
}

int32_t SigningCertificateIds::Check(ExpBuf* certificateBytes, Identifiers which) {
  if (version_ == EssVersion::None) find();
  if (list_ == nullptr) return QEX_E_DECODE;
  CertificateDigests digests(certificateBytes);
  const AsnListNode* first = list_->first;
  if (which == Identifiers::First) return digests.match(hash_of(first, version_)) ? QEX_OK : QEX_E_MISMATCH;
  for (const AsnListNode* node = first->next; node != nullptr; node = node->next) {
    if (digests.match(hash_of(node, version_))) return QEX_OK;
  }
  return QEX_E_MISMATCH;
}

int32_t SigningCertificateIds::FindAmongOthers(ExpBuf* certificateBytes) {
  if (version_ == EssVersion::None) find();
  if (list_ == nullptr) return QEX_E_DECODE;
  if (!sorted_ && !sort_others()) return QEX_E_NOMEM;
  CertificateDigests digests(certificateBytes);
  size_t begin = 0;
  for (size_t i = 0; i < std::size(kDigestAlgorithms); begin = ends_[i++]) {
    if (begin == ends_[i]) continue;
    const DigestValue& digest = digests.of(kDigestAlgorithms[i]);
    const Before before{digest.length};
    if (std::binary_search(hashes_ + begin, hashes_ + ends_[i], digest.octets, before)) return QEX_OK;
  }
  return QEX_E_MISMATCH;
}

int32_t CheckSigningCertificate(const ContentInfo& token, ExpBuf* certificateBytes, Identifiers which) {
  return SigningCertificateIds(token).Check(certificateBytes, which);
}

bool MatchCertHashV2(const AsnOcts& certHash, ExpBuf* certificateBytes,
                     const AlgorithmIdentifier* hashAlgorithm) {
  return CertificateDigests(certificateBytes).match(hash_v2(certHash, hashAlgorithm));
}

int32_t FindSigningCertificate(const ContentInfo& token, uint8_t* out, uint32_t* outLength,
                               const Certificate** certificate) {
  const SignedData* signedData = SignedDataOf(token);
  if (signedData == nullptr) return QEX_E_NOCERT;
  const uint32_t capacity = *outLength;  // *outLength itself changes with every certificate
  SigningCertificateIds ids(token);
  ExpBufHolder buf(nullptr);
  for (const CertificateChoices* element : ElementsOf<CertificateChoices>(signedData->certificates)) {
    if (element->choice != CertificateChoices::kX509Certificate) continue;
    const Certificate* candidate = element->certificate;
    buf.empty();
    if (!EncodeInto(buf, [&](ExpBuf** b) { BEncCertificate(b, candidate); })) return QEX_E_NOMEM;
    if (EncodedLength(buf) == 0) return QEX_E_MISSING;
    *outLength = EncodedLength(buf);
    if (ids.Check(buf.block(), Identifiers::First) != QEX_OK) continue;
    if (certificate != nullptr) *certificate = candidate;
    return CopyOut(buf, out, capacity, outLength);
  }
  return QEX_E_NOCERT;
}

}  // namespace qex
