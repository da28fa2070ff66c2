// The check of a token's signature.
//
// A table lists the keys with their checks; which signature algorithm pairs a key with a digest is part of
// the table of digests.
#include "api/verify.h"

#include <cstring>

#include "api/attributes.h"
#include "api/frame.h"
#include "api/qex.h"
#include "asn1/oids.h"
#include "crypto/bignum/number.h"
#include "crypto/pk/dsa.h"
#include "crypto/pk/rsa.h"
#include "ground/scratch_octets.h"

namespace qex {
namespace {

// read_number makes `n` the value of the octets; false when it is too large or an allocation fails.
[[nodiscard]] bool read_number(Number& n, const AsnOcts& octets) {
  return n.frombytes(octets.octs, octets.count) == KXBN_OK;
}

// The inputs of a signature check.
struct SignatureInput {
  const SignerInfo& signer;
  const SubjectPublicKeyInfo& key;
  const DigestValue& digest;  // of the signed attributes
};

// --- RSA (RFC 8017, 8.2.2) -------------------------------------------------------

constexpr size_t kUsualDigestInfo = 128;

// match_digest_info encodes the DigestInfo of `digest` and compares it with the tail of `block`.
// Deliberate: the octets before it, block type and padding, are not examined.
[[nodiscard]] int32_t match_digest_info(AlgorithmIdentifier& algorithm, const DigestValue& digest,
                                        const uint8_t* block, size_t length) {
  DigestInfo info{};
  info.digestAlgorithm = &algorithm;
  info.digest = {digest.length, const_cast<uint8_t*>(digest.octets)};
  ExpBufHolder buf(kUsualDigestInfo);
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncDigestInfo(b, &info); })) return QEX_E_NOMEM;
  const size_t tail = EncodedLength(buf);
  return tail <= length && EncodingEquals(buf, block + (length - tail), tail) ? QEX_OK : QEX_E_SIGNATURE;
}

[[nodiscard]] int32_t check_rsa(const SignatureInput& in) {
  Number signature;
  if (!read_number(signature, in.signer.signature)) return QEX_E_NOMEM;

  Decoded<RSAPublicKey> publicKey;
  const AsnBits& bits = in.key.subjectPublicKey;
  const AsnInt code = publicKey.decode(BDecRSAPublicKey, bits.octs, bits.count / 8);
  const AsnOcts& modulus = publicKey.value.modulus;
  const AsnOcts& exponent = publicKey.value.publicExponent;
  if (code != 0 || modulus.octs == nullptr || exponent.octs == nullptr) return QEX_E_MISSING;
  Number n, e;
  if (!read_number(n, modulus) || !read_number(e, exponent)) return QEX_E_NOMEM;

  const size_t length = (size_t{KXBN_bits(n)} + 7) / 8;
  const ScratchOctets block(length);
  if (!block) return QEX_E_NOMEM;
  RSAKey key{};
  key.n = n;
  key.e = e;
  Number message;
  if (rsa_public(&key, signature, message.out(), nullptr) != KXBN_OK ||
      KXBN_tobytes(message, block.octets(), length) != KXBN_OK) {
    return QEX_E_SIGNATURE;
  }

  // Signers write the parameters of the digest as NULL or leave them out, in the DigestInfo and in the token.
  AlgorithmIdentifier algorithm = *in.signer.digestAlgorithm;
  const int32_t asDecoded = match_digest_info(algorithm, in.digest, block.octets(), length);
  if (asDecoded != QEX_E_SIGNATURE) return asDecoded;
  algorithm.parameters = algorithm.parameters.value != nullptr ? AsnAny{} : NullParameters();
  return match_digest_info(algorithm, in.digest, block.octets(), length);
}

// --- DSA (FIPS 186-4, 4.7) -------------------------------------------------------

constexpr uint32_t kDsaDigestOctets = 20;

// set_dsa_key fills `p` to `y` from the certificate's key.
[[nodiscard]] int32_t set_dsa_key(const SubjectPublicKeyInfo& info, Number& p, Number& q, Number& g,
                                  Number& y) {
  const auto* parms = ValueAs<Dss_Parms>(info.algorithm->parameters, kAnyDsa);
  if (parms == nullptr || parms->p.octs == nullptr || parms->q.octs == nullptr || parms->g.octs == nullptr) {
    return QEX_E_MISSING;
  }
  Decoded<AsnOcts> value;
  const AsnBits& bits = info.subjectPublicKey;
  const AsnInt code = value.decode(BDecBigIntegerStr, bits.octs, bits.count / 8);
  if (code != 0 || value.value.octs == nullptr) return QEX_E_MISSING;
  const bool read = read_number(y, value.value) && read_number(p, parms->p) && read_number(q, parms->q) &&
                    read_number(g, parms->g);
  return read ? QEX_OK : QEX_E_NOMEM;
}

// set_dsa_signature fills r and s. Forty octets are the two raw numbers, never an encoding.
[[nodiscard]] int32_t set_dsa_signature(const AsnOcts& signature, Number& r, Number& s) {
  constexpr uint32_t kHalf = 20;
  if (signature.count == 2 * kHalf) {
    const bool read =
        read_number(r, {kHalf, signature.octs}) && read_number(s, {kHalf, signature.octs + kHalf});
    return read ? QEX_OK : QEX_E_NOMEM;
  }
  Decoded<Dss_Sig_Value> pair;
  if (pair.decode(BDecDss_Sig_Value_BI, signature.octs, signature.count) != 0) return QEX_E_SIGNATURE;
  return read_number(r, pair.value.r) && read_number(s, pair.value.s) ? QEX_OK : QEX_E_NOMEM;
}

[[nodiscard]] int32_t check_dsa(const SignatureInput& in) {
  Number p, q, g, y, r, s;
  if (const int32_t code = set_dsa_key(in.key, p, q, g, y); code != QEX_OK) return code;
  if (const int32_t code = set_dsa_signature(in.signer.signature, r, s); code != QEX_OK) return code;

  // Deliberate: no more than 20 octets of the digest take part, also for a longer q, where
  // FIPS 186 signs as many as q has. Such a signature does not verify.
  DigestBuf digest{};
  digest.length = kDsaDigestOctets;
  std::memcpy(digest.octets, in.digest.octets, kDsaDigestOctets);
  DSAKey key{};
  key.p = p;
  key.q = q;
  key.g = g;
  key.y = y;
  const DSASig signature{r, s};
  uint32_t result = DSA_PENDING;
  const uint32_t code = dsa_verify(&digest, &key, &signature, nullptr, &result);
  return code == KXBN_OK && result == DSA_VALID ? QEX_OK : QEX_E_SIGNATURE;
}

// --- Algorithms ------------------------------------------------------------------

// A key algorithm and the signature algorithms that it goes with.
struct KeyRow {
  AsnOid key;
  const AsnOid* withAnyDigest;  // null: none
  const AsnOid* DigestAlgorithm::*withDigest;
  int32_t (*check)(const SignatureInput&);
};

constexpr KeyRow kKeys[] = {
    {kIdRsaEncryption, &kIdRsaEncryption, &DigestAlgorithm::withRsa, check_rsa},
    {kIdDsa, nullptr, &DigestAlgorithm::withDsa, check_dsa},
};

// find_key returns the row of `key`, or null unless digest and signature algorithm go with it and each other.
const KeyRow* find_key(const AsnOid& key, const AsnOid& digest, const AsnOid& signature) {
  const DigestAlgorithm* algorithm = FindDigestAlgorithm(digest);
  if (algorithm == nullptr) return nullptr;
  const auto is_signature = [&](const AsnOid* oid) { return oid != nullptr && AsnOidEqual(*oid, signature); };
  for (const KeyRow& row : kKeys) {
    if (!AsnOidEqual(row.key, key)) continue;
    return is_signature(row.withAnyDigest) || is_signature(algorithm->*row.withDigest) ? &row : nullptr;
  }
  return nullptr;
}

// --- The parts of token and certificate ------------------------------------------

// lacking sets the last ASN.1 error of a well-formed value that lacks a part, and returns `code`.
[[nodiscard]] int32_t lacking(int32_t code) {
  constexpr AsnInt kStructureCode = 100;
  lastAsnError = kStructureCode;
  return code;
}

[[nodiscard]] bool has_algorithm(const AlgorithmIdentifier* algorithm) {
  return algorithm != nullptr && algorithm->algorithm.octs != nullptr && algorithm->algorithm.count != 0;
}

[[nodiscard]] bool is_usable(const SignerInfo* signer) {
  return signer != nullptr && has_algorithm(signer->digestAlgorithm) && signer->signedAttrs != nullptr &&
         has_algorithm(signer->signatureAlgorithm) && signer->signature.octs != nullptr;
}

[[nodiscard]] bool has_public_key(const Certificate& certificate) {
  if (certificate.tbsCertificate == nullptr) return false;
  const SubjectPublicKeyInfo* key = certificate.tbsCertificate->subjectPublicKeyInfo;
  return key != nullptr && has_algorithm(key->algorithm) && key->subjectPublicKey.octs != nullptr &&
         key->subjectPublicKey.count != 0;
}

// The authority's certificate as the caller gave it, or nothing.
struct GivenCertificate {
  const uint8_t* data;
  uint32_t length;

  [[nodiscard]] bool present() const { return data != nullptr && length != 0; }
};

using DecodedCertificate = Decoded<Certificate>;

// The parts of a token that the check needs; the token owns them all.
struct TokenParts {
  const AsnOcts* content = nullptr;
  const SignerInfo* signer = nullptr;
  const AsnOcts* messageDigest = nullptr;
};

[[nodiscard]] int32_t find_parts(const ContentInfo& token, TokenParts* parts) {
  if (!AsnOidEqual(token.contentType, kIdSignedData)) return lacking(QEX_E_BADTOKEN);
  parts->content = EContentOf(token);
  parts->signer = FirstSignerInfo(token);
  if (parts->content == nullptr || !is_usable(parts->signer)) return lacking(QEX_E_BADTOKEN);
  parts->messageDigest = FindMessageDigest(parts->signer->signedAttrs);
  if (parts->messageDigest == nullptr || parts->messageDigest->octs == nullptr) {
    return lacking(QEX_E_BADTOKEN);
  }
  return QEX_OK;
}

// find_certificate points `*certificate` at the authority's: the given one, decoded into `decoded`, or else
// the one of the token that its signing-certificate attribute names.
[[nodiscard]] int32_t find_certificate(const ContentInfo& token, const GivenCertificate& given,
                                       DecodedCertificate* decoded, const Certificate** certificate) {
  if (given.present()) {
    if (!Succeeded(decoded->decode(BDecCertificate, given.data, given.length))) return QEX_E_ARG;
    *certificate = &decoded->value;
  } else {
    uint8_t* const noCopy = nullptr;  // a certificate that is found does not fit: QEX_E_SIZE
    uint32_t length = 0;
    const int32_t code = FindSigningCertificate(token, noCopy, &length, certificate);
    if (code != QEX_E_SIZE) return lacking(QEX_E_NOCERT);
  }
  return has_public_key(**certificate) ? QEX_OK : lacking(QEX_E_MISSING);
}

[[nodiscard]] bool matches_content(const TokenParts& parts) {
  ExpBuf content;
  ExpBufWrapData(&content, parts.content->octs, parts.content->count);
  DigestValue digest;
  DigestByOid(&content, *parts.signer->digestAlgorithm, &digest);
  return DigestEquals(digest, *parts.messageDigest);
}

// compare_given compares the given certificate with the first identifier of the token's signing-certificate
// attribute.
// Deliberate: the bytes as given; any bytes after the certificate are included.
[[nodiscard]] int32_t compare_given(const ContentInfo& token, const GivenCertificate& given) {
  ExpBuf bytes;
  ExpBufWrapData(&bytes, given.data, given.length);
  return CheckSigningCertificate(token, &bytes, Identifiers::First);
}

[[nodiscard]] int32_t verify(const uint8_t* data, uint32_t length, const GivenCertificate& given) {
  DecodedToken token;
  if (!DecodeToken(data, length, &token)) return QEX_E_BADTOKEN;
  TokenParts parts;
  if (const int32_t code = find_parts(token.value, &parts); code != QEX_OK) return code;
  DecodedCertificate decoded;
  const Certificate* certificate = nullptr;
  if (const int32_t code = find_certificate(token.value, given, &decoded, &certificate); code != QEX_OK) {
    return code;
  }
  if (!matches_content(parts)) return QEX_E_SIGNATURE;
  const int32_t code = VerifySignerInfoSignature(*parts.signer, *certificate);
  if (code != QEX_OK || !given.present()) return code;  // the search has compared the attribute already
  return compare_given(token.value, given);
}

}  // namespace

const AsnOcts* FindMessageDigest(const AsnList* signedAttrs) {
  return FirstValueAs<AsnOcts>(FindAttribute(signedAttrs, {kIdMessageDigest}), kAnyMessageDigest);
}

int32_t VerifySignerInfoSignature(const SignerInfo& signer, const Certificate& certificate) {
  ExpBufHolder attributes;
  if (!EncodeInto(attributes, [&](ExpBuf** b) { BEncAttributes(b, signer.signedAttrs); })) return QEX_E_NOMEM;
  DigestValue digest;
  DigestByOid(attributes.block(), *signer.digestAlgorithm, &digest);

  const SubjectPublicKeyInfo& key = *certificate.tbsCertificate->subjectPublicKeyInfo;
  const KeyRow* row = find_key(key.algorithm->algorithm, signer.digestAlgorithm->algorithm,
                               signer.signatureAlgorithm->algorithm);
  return row == nullptr ? QEX_E_UNSUPPORTED : row->check({signer, key, digest});
}

}  // namespace qex

int32_t QEX_VerifyTST_Signature(const uint8_t* token, uint32_t tokenLen, const uint8_t* tsaCert,
                                uint32_t tsaCertLen) noexcept {
  using namespace qex;
  if (token == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  return verify(token, tokenLen, {tsaCert, tsaCertLen});
}
