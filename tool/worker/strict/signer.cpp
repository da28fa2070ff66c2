// The signer identifier is not signed; the signing-certificate attributes are.
#include "tool/worker/strict/signer.h"

#include <openssl/objects.h>

#include "tool/worker/strict/ess.h"

namespace qex::tool::strict {
namespace {

std::vector<X509*> candidates_of(const Token& token, const TrustStore& store) {
  std::vector<X509*> candidates;
  const auto consider = [&](X509* certificate) {
    if (CMS_SignerInfo_cert_cmp(token.signer, certificate) == 0) candidates.push_back(certificate);
  };
  for (int i = 0; i < sk_X509_num(token.certificates.get()); ++i) {
    consider(sk_X509_value(token.certificates.get(), i));
  }
  for (const OwnedCertificate& certificate : store.signers) consider(certificate.get());
  for (const OwnedCertificate& certificate : store.untrusted) consider(certificate.get());
  ThrowIfMemoryFailed();
  return candidates;
}

}  // namespace

Signer FindSigner(const Token& token, const TrustStore& store) {
  if (token.signer == nullptr) return {};
  const SigningCertificate v1(token, NID_id_smime_aa_signingCertificate);
  const SigningCertificate v2(token, NID_id_smime_aa_signingCertificateV2);
  Signer best{nullptr, v1.Match(nullptr), v2.Match(nullptr)};
  for (X509* candidate : candidates_of(token, store)) {
    const Signer signer{candidate, v1.Match(candidate), v2.Match(candidate)};
    const bool named = signer.essV1 != EssMatch::NamesAnother && signer.essV2 != EssMatch::NamesAnother;
    if (best.certificate == nullptr || named) best = signer;
    if (named) break;
  }
  ThrowIfMemoryFailed();
  return best;
}

}  // namespace qex::tool::strict
