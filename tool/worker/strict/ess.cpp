// SigningCertificate ::= SEQUENCE { certs SEQUENCE OF ESSCertID, policies ... OPTIONAL }
// ESSCertID          ::= SEQUENCE { certHash OCTET STRING, issuerSerial IssuerSerial OPTIONAL }
// ESSCertIDv2        ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier DEFAULT sha256, certHash, issuerSerial
// } The first of certs is the signer's certificate; the others are of no consequence here.
#include "tool/worker/strict/ess.h"

#include <algorithm>

#include <openssl/objects.h>

#include "tool/message/structure.h"
#include "tool/message/tags.h"
#include "tool/worker/strict/attributes.h"

namespace qex::tool::strict {
namespace {

using inspect::kInteger;
using inspect::kOctetString;
using inspect::kSequence;

const Digest* digest_of(const inspect::Element& algorithm) {
  const auto decoded = DecodeWhole<OwnedAlgorithm, d2i_X509_ALGOR>(algorithm.whole);
  return decoded ? FindDigest(IdentifierOf(decoded.get())) : nullptr;
}

}  // namespace

SigningCertificate::SigningCertificate(const Token& token, int nid) {
  if (!HasAttribute(token, nid)) return;
  state_ = EssMatch::Unreadable;
  const auto attribute = inspect::Elements(SequenceOctets(FirstValue(token, nid))).next(kSequence);
  const auto list = attribute ? inspect::Elements(attribute->content).next(kSequence) : std::nullopt;
  const auto first = list ? inspect::Elements(list->content).next(kSequence) : std::nullopt;
  if (!first) return;
  inspect::Elements fields(first->content);
  digest_ = FindDigest(nid == NID_id_smime_aa_signingCertificate ? NID_sha1 : NID_sha256);
  if (nid == NID_id_smime_aa_signingCertificateV2) {
    if (const auto algorithm = fields.next(kSequence)) digest_ = digest_of(*algorithm);
  }
  const auto hash = fields.next(kOctetString);
  if (digest_ == nullptr || !hash) return;
  hash_ = hash->content;
  if (const auto issuerSerial = fields.next(kSequence)) {
    inspect::Elements parts(issuerSerial->content);
    const auto issuer = parts.next(kSequence);
    const auto serial = parts.next(kInteger);
    if (!issuer || !serial) return;
    issuer_ = DecodeWhole<OwnedGeneralNames, d2i_GENERAL_NAMES>(issuer->whole);
    if (!issuer_) return;
    serial_ = MinimalInteger(serial->content);
  }
  if (fields.empty()) state_ = EssMatch::Names;
}

EssMatch SigningCertificate::Match(X509* certificate) const {
  if (state_ != EssMatch::Names) return state_;
  if (certificate == nullptr || !fits_issuer(certificate)) return EssMatch::NamesAnother;
  const Bytes der = Encoded<i2d_X509>(certificate);
  return std::ranges::equal(DigestOf(*digest_, der), hash_) ? EssMatch::Names : EssMatch::NamesAnother;
}

// The issuer is one directory name (RFC 5035, 4).
bool SigningCertificate::fits_issuer(X509* certificate) const {
  if (!issuer_) return true;
  if (sk_GENERAL_NAME_num(issuer_.get()) != 1) return false;
  const GENERAL_NAME* name = sk_GENERAL_NAME_value(issuer_.get(), 0);
  return name->type == GEN_DIRNAME &&
         X509_NAME_cmp(name->d.directoryName, X509_get_issuer_name(certificate)) == 0 &&
         IntegerOctets(X509_get0_serialNumber(certificate)) == serial_;
}

}  // namespace qex::tool::strict
