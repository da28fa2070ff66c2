// The signing-certificate attribute, and the search for the certificate that it names.
#include "api/signing_certificate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "api/frame.h"
#include "api/token.h"
#include "asn1/ess.h"
#include "asn1/oids.h"
#include "ber/memory.h"

namespace qex {

std::atomic<uint32_t> essCertIdV2Switch{kEssCertIdV2Unread};

uint32_t UseEssCertIdV2() {
  uint32_t use = essCertIdV2Switch;
  if (use == kEssCertIdV2Unread) {
    const char* value = std::getenv("QEX_VERIFY_ESSCERTIDV2");
    use = value != nullptr && std::strcmp(value, "1") == 0 ? 1 : 0;
    essCertIdV2Switch = use;
  }
  return use;
}

namespace {

struct HashAlgorithm {
  AsnOid algorithm;
  uint32_t length;  // of the hash, in octets
};

constexpr HashAlgorithm kAlgorithms[] = {{kIdSha1, 20}, {kIdSha256, 32}, {kIdSha384, 48}, {kIdSha512, 64}};
constexpr size_t kSha1 = 0;
constexpr size_t kSha256 = 1;
constexpr size_t kNoAlgorithm = std::size(kAlgorithms);

// The hash of one identifier: with kNoAlgorithm it is that of no certificate.
struct CertHash {
  size_t algorithm;  // index in kAlgorithms
  const AsnOcts* octets;
};

// hash_v2 takes SHA-2 alone, which is the default too.
CertHash hash_v2(const AsnOcts& certHash, const AlgorithmIdentifier* hashAlgorithm) {
  if (hashAlgorithm == nullptr) return {kSha256, &certHash};
  size_t i = kSha256;
  while (i < kNoAlgorithm && !AsnOidEqual(kAlgorithms[i].algorithm, hashAlgorithm->algorithm)) ++i;
  return {i, &certHash};
}

// hash_of returns the hash of the ESSCertID or ESSCertIDv2 that `node` holds.
CertHash hash_of(const AsnListNode* node, bool v2) {
  if (!v2) return {kSha1, &static_cast<const ESSCertID*>(node->data[0])->certHash};
  const auto& id = *static_cast<const ESSCertIDv2*>(node->data[0]);
  return hash_v2(id.certHash, id.hashAlgorithm);
}

bool can_match(const CertHash& hash) {
  return hash.algorithm != kNoAlgorithm && hash.octets->count == kAlgorithms[hash.algorithm].length;
}

// The digests of one certificate, each computed when it is first asked for.
class CertificateDigests {
 public:
  explicit CertificateDigests(ExpBuf* bytes) : bytes_(bytes) {}

  const uint8_t* octets(size_t algorithm) {
    DigestValue& digest = digests_[algorithm];
    if (digest.length == 0) DigestByOid(bytes_, kAlgorithms[algorithm].algorithm, &digest);
    return digest.octets;
  }

  bool match(const CertHash& hash) {
    return can_match(hash) &&
           std::memcmp(octets(hash.algorithm), hash.octets->octs, kAlgorithms[hash.algorithm].length) == 0;
  }

 private:
  ExpBuf* bytes_;
  DigestValue digests_[std::size(kAlgorithms)];
};

// The order of hashes of one length.
struct Before {
  bool operator()(const uint8_t* a, const uint8_t* b) const { return std::memcmp(a, b, length) < 0; }
  uint32_t length;
};

// The first signed attribute of type `wanted`, or null.
const Attribute* find_attribute(const SignerInfo* signer, const AsnOid& wanted) {
  if (signer == nullptr) return nullptr;
  for (const Attribute* attribute : ElementsOf<Attribute>(signer->signedAttrs)) {
    if (AsnOidEqual(attribute->type, wanted)) return attribute;
  }
  return nullptr;
}

}  // namespace

// Deliberate: the version in use is the only one looked at, even when the token has the other.
void SigningCertificateIds::find() {
  found_ = true;
  v2_ = UseEssCertIdV2() == 1;
  const Attribute* attribute =
      find_attribute(FirstSignerInfo(token_), v2_ ? kIdSigningCertificateV2 : kIdSigningCertificate);
  const auto* value = attribute == nullptr ? nullptr : FirstOf<AsnAny>(attribute->values);
  if (value == nullptr) return;
  if (v2_) {
    const auto* ids = ValueAs<SigningCertificateV2>(*value, kAnySigningCertificateV2);
    if (ids != nullptr) list_ = ids->certs;
  } else {
    const auto* ids = ValueAs<SigningCertificate>(*value, kAnySigningCertificate);
    if (ids != nullptr) list_ = ids->certs;
  }
  if (list_ != nullptr && list_->first == nullptr) list_ = nullptr;
}

SigningCertificateIds::~SigningCertificateIds() {
  AsnFree(hashes_);
}

// sort_others fills hashes_; false when memory is out. Each hash has a node, so their pointers' size is no
// more than what stands in memory already.
bool SigningCertificateIds::sort_others() {
  static_assert(std::size(kAlgorithms) == kAlgorithmCount);
  const AsnListNode* second = list_->first->next;
  size_t counts[kAlgorithmCount] = {};
  size_t total = 0;
  for (const AsnListNode* node = second; node != nullptr; node = node->next) {
    const CertHash hash = hash_of(node, v2_);
    if (!can_match(hash)) continue;
    ++counts[hash.algorithm];
    ++total;
  }
  if (total != 0) {
    hashes_ = static_cast<const uint8_t**>(AsnAlloc(total * sizeof *hashes_));
    if (hashes_ == nullptr) return false;
  }
  for (size_t i = 1; i < kAlgorithmCount; ++i) ends_[i] = ends_[i - 1] + counts[i - 1];
  // Each end is where its run begins, and moves with every hash that is put there.
  for (const AsnListNode* node = second; node != nullptr; node = node->next) {
    const CertHash hash = hash_of(node, v2_);
    if (can_match(hash)) hashes_[ends_[hash.algorithm]++] = hash.octets->octs;
  }
  for (size_t i = 0; i < kAlgorithmCount; ++i) {
    std::sort(hashes_ + (ends_[i] - counts[i]), hashes_ + ends_[i], Before{kAlgorithms[i].length});
  }
  sorted_ = true;
  return true;
}

int32_t SigningCertificateIds::Check(ExpBuf* certificateBytes, bool firstOnly) {
  if (!found_) find();
  if (list_ == nullptr) return QEX_E_DECODE;
  CertificateDigests digests(certificateBytes);
  const AsnListNode* node = firstOnly ? list_->first : list_->first->next;
  for (; node != nullptr; node = firstOnly ? nullptr : node->next) {
    if (digests.match(hash_of(node, v2_))) return QEX_OK;
  }
  return QEX_E_MISMATCH;
}

int32_t SigningCertificateIds::FindAmongOthers(ExpBuf* certificateBytes) {
  if (!found_) find();
  if (list_ == nullptr) return QEX_E_DECODE;
  if (!sorted_ && !sort_others()) return QEX_E_NOMEM;
  CertificateDigests digests(certificateBytes);
  size_t begin = 0;
  for (size_t i = 0; i < kAlgorithmCount; begin = ends_[i++]) {
    if (begin == ends_[i]) continue;
    const Before before{kAlgorithms[i].length};
    if (std::binary_search(hashes_ + begin, hashes_ + ends_[i], digests.octets(i), before)) return QEX_OK;
  }
  return QEX_E_MISMATCH;
}

int32_t CheckSigningCertificate(const ContentInfo& token, ExpBuf* certificateBytes, bool firstOnly) {
  return SigningCertificateIds(token).Check(certificateBytes, firstOnly);
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
  for (const CertificateChoices* element : ElementsOf<CertificateChoices>(signedData->certificates)) {
    if (element->choice != CertificateChoices::kX509Certificate) continue;
    const Certificate* candidate = element->certificate;
    ExpBufHolder buf;
    if (!EncodeInto(buf, [&](ExpBuf** b) { BEncCertificate(b, candidate); })) return QEX_E_NOMEM;
    if (EncodedLength(buf) == 0) return QEX_E_MISSING;
    *outLength = EncodedLength(buf);
    if (ids.Check(buf.block(), true) != QEX_OK) continue;
    if (certificate != nullptr) *certificate = candidate;
    return CopyOut(buf, out, capacity, outLength);
  }
  return QEX_E_NOCERT;
}

}  // namespace qex
