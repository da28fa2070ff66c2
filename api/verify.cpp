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

namespace qex {
namespace {

// read_number makes `n` the value of the octets; false when it is too large or an allocation fails.
[[nodiscard]] bool read_number(Number& n, const AsnOcts& octets) {
  return n.frombytes(octets.octs, octets.count) == KXBN_OK;
}

// What a signature is checked with.
struct SignatureInput {
  const SignerInfo& signer;
  const SubjectPublicKeyInfo& key;
  const DigestValue& digest;  // of the signed attributes
};

// --- RSA (RFC 8017, 8.2.2) -------------------------------------------------------

// starts_with_chain returns whether `bytes` begins with the data of the chain.
bool starts_with_chain(const uint8_t* bytes, const ExpBuf* front) {
  for (const ExpBuf* block = front; block != nullptr; block = block->nextBlock) {
    const auto n = size_t(block->end - block->first);
    if (std::memcmp(bytes, block->first, n) != 0) return false;
    bytes += n;
  }
  return true;
}

// match_digest_info encodes the DigestInfo of `digest` and compares it with the tail of `block`.
// Deliberate: what stands in front of it, block type and padding, is not looked at.
int32_t match_digest_info(AlgorithmIdentifier& algorithm, const DigestValue& digest, const uint8_t* block,
                          size_t length) {
  DigestInfo info{};
  info.digestAlgorithm = &algorithm;
  info.digest = {digest.length, const_cast<uint8_t*>(digest.octets)};
  ExpBufHolder buf;
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncDigestInfo(b, &info); })) return QEX_E_NOMEM;
  const size_t tail = EncodedLength(buf);
  if (tail > length || !starts_with_chain(block + (length - tail), buf.block())) return QEX_E_SIGNATURE;
  return QEX_OK;
}

int32_t check_rsa(const SignatureInput& in) {
  Number signature;
  if (!read_number(signature, in.signer.signature)) return QEX_E_NOMEM;

  Decoded<RSAPublicKey, FreeRSAPublicKey> publicKey;
  const AsnBits& bits = in.key.subjectPublicKey;
  const AsnInt code = AsnCatch([&](AsnJmpEnv& env) {
    DecodeBytes(BDecRSAPublicKey, bits.octs, bits.count / 8, &publicKey.value, env);
  });
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

  // Signers write the parameters of the digest as NULL or leave them out, here and there alike.
  AlgorithmIdentifier algorithm = *in.signer.digestAlgorithm;
  const int32_t asDecoded = match_digest_info(algorithm, in.digest, block.octets(), length);
  if (asDecoded != QEX_E_SIGNATURE) return asDecoded;
  algorithm.parameters = algorithm.parameters.value != nullptr ? AsnAny{} : NullParameters();
  return match_digest_info(algorithm, in.digest, block.octets(), length);
}

// --- DSA (FIPS 186-4, 4.7) -------------------------------------------------------

constexpr uint32_t kDsaDigestOctets = 20;

// set_dsa_key fills `p` to `y` from the certificate's key.
int32_t set_dsa_key(const SubjectPublicKeyInfo& info, Number& p, Number& q, Number& g, Number& y) {
  const auto* parms = ValueAs<Dss_Parms>(info.algorithm->parameters, kAnyDsa);
  if (parms == nullptr || parms->p.octs == nullptr || parms->q.octs == nullptr || parms->g.octs == nullptr) {
    return QEX_E_MISSING;
  }
  Decoded<AsnOcts, FreeBigIntegerStr> value;
  const AsnBits& bits = info.subjectPublicKey;
  const AsnInt code = AsnCatch(
      [&](AsnJmpEnv& env) { DecodeBytes(BDecBigIntegerStr, bits.octs, bits.count / 8, &value.value, env); });
  if (code != 0 || value.value.octs == nullptr) return QEX_E_MISSING;
  const bool read = read_number(y, value.value) && read_number(p, parms->p) && read_number(q, parms->q) &&
                    read_number(g, parms->g);
  return read ? QEX_OK : QEX_E_NOMEM;
}

// set_dsa_signature fills r and s. Forty octets are the two numbers as they stand, never an encoding.
int32_t set_dsa_signature(const AsnOcts& signature, Number& r, Number& s) {
  constexpr uint32_t kHalf = 20;
  if (signature.count == 2 * kHalf) {
    const bool read =
        read_number(r, {kHalf, signature.octs}) && read_number(s, {kHalf, signature.octs + kHalf});
    return read ? QEX_OK : QEX_E_NOMEM;
  }
  Decoded<Dss_Sig_Value, FreeDss_Sig_Value> pair;
  const AsnInt code = AsnCatch([&](AsnJmpEnv& env) {
    DecodeBytes(BDecDss_Sig_Value_BI, signature.octs, signature.count, &pair.value, env);
  });
  if (code != 0) return QEX_E_SIGNATURE;
  return read_number(r, pair.value.r) && read_number(s, pair.value.s) ? QEX_OK : QEX_E_NOMEM;
}

int32_t check_dsa(const SignatureInput& in) {
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

// The last ASN.1 error when a well-formed value lacks what the check needs.
constexpr AsnInt kStructureCode = 100;

void require(bool holds, AsnJmpEnv& env) {
  if (!holds) AsnRaise(env, kStructureCode);
}

bool has_algorithm(const AlgorithmIdentifier* algorithm) {
  return algorithm != nullptr && algorithm->algorithm.octs != nullptr && algorithm->algorithm.count != 0;
}

bool is_usable(const SignerInfo* signer) {
  return signer != nullptr && has_algorithm(signer->digestAlgorithm) && signer->signedAttrs != nullptr &&
         has_algorithm(signer->signatureAlgorithm) && signer->signature.octs != nullptr;
}

bool has_public_key(const Certificate& certificate) {
  if (certificate.tbsCertificate == nullptr) return false;
  const SubjectPublicKeyInfo* key = certificate.tbsCertificate->subjectPublicKeyInfo;
  return key != nullptr && has_algorithm(key->algorithm) && key->subjectPublicKey.octs != nullptr &&
         key->subjectPublicKey.count != 0;
}

// The authority's certificate as the caller gave it, or nothing.
struct GivenCertificate {
  const uint8_t* data;
  uint32_t length;

  bool present() const { return data != nullptr && length != 0; }
};

using DecodedCertificate = Decoded<Certificate, FreeCertificate>;

// verify makes the checks in their order and leaves the outcome in `*result`, which before each step holds
// what a jump out of the step means.
void verify(const uint8_t* data, uint32_t length, const GivenCertificate& given, DecodedToken& token,
            DecodedCertificate& givenCertificate, int32_t* result, AsnJmpEnv& env) {
  *result = QEX_E_BADTOKEN;
  require(DecodeBytes(BDecContentInfo, data, length, &token.value, env) != 0, env);
  require(AsnOidEqual(token.value.contentType, kIdSignedData), env);
  const AsnOcts* content = EContentOf(token.value);
  require(content != nullptr, env);
  const SignerInfo* signer = FirstSignerInfo(token.value);
  require(is_usable(signer), env);
  const AsnOcts* messageDigest = FindMessageDigest(signer->signedAttrs);
  require(messageDigest != nullptr && messageDigest->octs != nullptr, env);

  const Certificate* certificate = nullptr;
  if (given.present()) {
    *result = QEX_E_ARG;
    require(DecodeBytes(BDecCertificate, given.data, given.length, &givenCertificate.value, env) != 0, env);
    certificate = &givenCertificate.value;
  } else {
    *result = QEX_E_NOCERT;
    uint32_t certificateLength = 0;
    FindSigningCertificate(token.value, nullptr, &certificateLength, &certificate);
    require(certificate != nullptr, env);
  }
  *result = QEX_E_MISSING;
  require(has_public_key(*certificate), env);

  ExpBuf contentBytes;
  ExpBufWrapData(&contentBytes, content->octs, content->count);
  DigestValue contentDigest;
  DigestByOid(&contentBytes, *signer->digestAlgorithm, &contentDigest);
  if (!DigestEquals(contentDigest, *messageDigest)) {
    *result = QEX_E_SIGNATURE;
    return;
  }
  *result = VerifySignerInfoSignature(*signer, *certificate);
  if (*result != QEX_OK || !given.present()) return;  // the search has matched the attribute already

  // Deliberate: the bytes as they were given; what follows the certificate in them takes part.
  ExpBuf certificateBytes;
  ExpBufWrapData(&certificateBytes, given.data, given.length);
  *result = CheckSigningCertificate(token.value, &certificateBytes, Identifiers::First);
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
  DecodedToken contentInfo;
  DecodedCertificate certificate;
  int32_t result = QEX_E_BADTOKEN;
  AsnTry([&](AsnJmpEnv& env) {
    verify(token, tokenLen, {tsaCert, tsaCertLen}, contentInfo, certificate, &result, env);
  });
  return result;
}
