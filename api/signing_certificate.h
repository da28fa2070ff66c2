// The signing-certificate attribute of a token (RFC 2634, 5.4; RFC 5035) and the search for the
// authority's certificate that it names. MatchCertHashV2 has no caller in the library; it is part of what
// this header offers.
#pragma once

#include <atomic>
#include <cstdint>
#include <iterator>

#include "api/digest_by_oid.h"
#include "asn1/cms.h"
#include "asn1/x509.h"
#include "ber/buffer.h"

namespace qex {

// The result of UseEssCertIdV2 once it has read the environment. Tests and fuzz targets store 0, 1 or
// kEssCertIdV2Unread in it; the library never resets it.
inline constexpr uint32_t kEssCertIdV2Unread = 0xFFFFFFFF;
extern std::atomic<uint32_t> essCertIdV2Switch;

// UseEssCertIdV2 returns 1 when the second version of the attribute is used, which is when the
// environment variable QEX_VERIFY_ESSCERTIDV2 is exactly "1"; else 0, for the first version.
// Deliberate: it is read once in the life of the process.
uint32_t UseEssCertIdV2();

// The identifiers of a token that a certificate is compared with: the authority's certificate is the first
// one, attribute certificates are among the others.
enum class Identifiers : uint8_t { First, Others };

// The certificate identifiers of a token's signing-certificate attribute, of the version in use.
// The attribute is looked up, and the switch between the versions read, with the first
// certificate that is checked. A certificate is digested once with each algorithm that occurs among the
// identifiers. issuerSerial is never compared. The token must outlive the object.
class SigningCertificateIds {
 public:
  explicit SigningCertificateIds(const ContentInfo& token) : token_(token) {}
  ~SigningCertificateIds();
  SigningCertificateIds(const SigningCertificateIds&) = delete;
  SigningCertificateIds& operator=(const SigningCertificateIds&) = delete;

  // Check looks for the certificate (or attribute certificate) whose encoding is the data of
  // `certificateBytes`: at the first identifier alone, or at the second and later ones alone, one by
  // one. QEX_OK: it is there. QEX_E_DECODE: the token has no such attribute, or no
  // identifier in it. QEX_E_MISMATCH: no identifier matches.
  [[nodiscard]] int32_t Check(ExpBuf* certificateBytes, Identifiers which);

  // FindAmongOthers is Check of the others for callers that look for many certificates: the hashes are
  // sorted once, and a digest is found among them in logarithmic time, whatever hashes the token brings.
  // QEX_E_NOMEM: allocation fails.
  [[nodiscard]] int32_t FindAmongOthers(ExpBuf* certificateBytes);

 private:
  void find();
  [[nodiscard]] bool sort_others();

  const ContentInfo& token_;
  EssVersion version_ = EssVersion::None;  // until the attribute has been looked up
  bool sorted_ = false;
  const AsnList* list_ = nullptr;  // of ESSCertID or ESSCertIDv2; null: none
  // Hashes of the second and later identifiers: of each algorithm a sorted run, which ends at ends_.
  const uint8_t** hashes_ = nullptr;
  size_t ends_[std::size(kDigestAlgorithms)] = {};
};

// CheckSigningCertificate is the check of one certificate against the identifiers of `token`.
[[nodiscard]] int32_t CheckSigningCertificate(const ContentInfo& token, ExpBuf* certificateBytes,
                                              Identifiers which);

// MatchCertHashV2 returns whether `certHash` is the digest of `certificateBytes` with
// `hashAlgorithm`, which must be SHA-256, SHA-384 or SHA-512; null means SHA-256, the default
// of an ESSCertIDv2.
[[nodiscard]] bool MatchCertHashV2(const AsnOcts& certHash, ExpBuf* certificateBytes,
                                   const AlgorithmIdentifier* hashAlgorithm);

// FindSigningCertificate searches the token's certificates for the one that the first identifier of its
// signing-certificate attribute names. It encodes each again and hashes that, and `*outLength` becomes the
// length of every one examined. The one found is copied to `out` if the capacity, `*outLength` at entry,
// suffices; `*certificate`, unless null, becomes the one found, which the token still owns. QEX_OK: found and
// copied. QEX_E_SIZE: found, and `out` is null or too small. QEX_E_NOCERT: not found. QEX_E_MISSING: a
// certificate has an empty encoding. QEX_E_NOMEM.
[[nodiscard]] int32_t FindSigningCertificate(const ContentInfo& token, uint8_t* out, uint32_t* outLength,
                                             const Certificate** certificate = nullptr);

}  // namespace qex
