// Schemes by the identifier of the signature algorithm. Some name a digest, some none (rsaEncryption and its
// kin), and RSASSA-PSS names two in its parameters (RFC 4055).
#include "tool/worker/strict/scheme.h"

#include <algorithm>
#include <iterator>

#include <openssl/objects.h>

namespace qex::tool::strict {
namespace {

struct KeyScheme {
  int key;  // identifier of the key's algorithm
  const char* name;
};

constexpr KeyScheme kSchemes[] = {
    {NID_rsaEncryption, "rsa"},
    {NID_dsa, "dsa"},
    {NID_X9_62_id_ecPublicKey, "ecdsa"},
};

// Identifiers that name a digest and a key's algorithm, and that libcrypto's own table of such pairs lacks.
struct Pair {
  int identifier;
  int digest;
  int key;
};

constexpr Pair kPairs[] = {
    {NID_dsa_with_SHA384, NID_sha384, NID_dsa},
    {NID_dsa_with_SHA512, NID_sha512, NID_dsa},
    {NID_dsa_with_SHA3_224, NID_sha3_224, NID_dsa},
    {NID_dsa_with_SHA3_256, NID_sha3_256, NID_dsa},
    {NID_dsa_with_SHA3_384, NID_sha3_384, NID_dsa},
    {NID_dsa_with_SHA3_512, NID_sha3_512, NID_dsa},
    {NID_ecdsa_with_SHA3_224, NID_sha3_224, NID_X9_62_id_ecPublicKey},
    {NID_ecdsa_with_SHA3_256, NID_sha3_256, NID_X9_62_id_ecPublicKey},
    {NID_ecdsa_with_SHA3_384, NID_sha3_384, NID_X9_62_id_ecPublicKey},
    {NID_ecdsa_with_SHA3_512, NID_sha3_512, NID_X9_62_id_ecPublicKey},
};

// Splits an identifier; one for a key alone stays unchanged, without a digest.
Pair pair_of(int identifier) {
  const auto* row = std::ranges::find(kPairs, identifier, &Pair::identifier);
  if (row != std::end(kPairs)) return *row;
  Pair pair{identifier, NID_undef, identifier};
  OBJ_find_sigid_algs(identifier, &pair.digest, &pair.key);
  return pair;
}

// The SEQUENCE given as an algorithm's parameters; empty when there is none.
ByteView parameters_of(const X509_ALGOR* algorithm) {
  int type = V_ASN1_UNDEF;
  const void* value = nullptr;
  X509_ALGOR_get0(nullptr, &type, &value, algorithm);
  return type == V_ASN1_SEQUENCE ? OctetsOf(static_cast<const ASN1_STRING*>(value)) : ByteView{};
}

// The digest of an algorithm; SHA-1 where it is absent, as RFC 4055 has it.
const Digest* digest_or_sha1(const X509_ALGOR* algorithm, std::string& unsupported) {
  if (algorithm == nullptr) return FindDigest(NID_sha1);
  const Digest* digest = FindDigest(IdentifierOf(algorithm));
  if (digest == nullptr) unsupported = "the digest " + OidText(IdentifierOf(algorithm));
  return digest;
}

void read_mask(Scheme& scheme, const X509_ALGOR* mask) {
  if (mask == nullptr) {
    scheme.mask = FindDigest(NID_sha1);
    return;
  }
  if (OBJ_obj2nid(IdentifierOf(mask)) != NID_mgf1) {
    scheme.unsupported = "the mask generation " + OidText(IdentifierOf(mask));
    return;
  }
  const auto digest = DecodeWhole<OwnedAlgorithm, d2i_X509_ALGOR>(parameters_of(mask));
  if (!digest) {
    scheme.fault = "the parameters of rsassaPss cannot be read";
    return;
  }
  scheme.mask = digest_or_sha1(digest.get(), scheme.unsupported);
}

Scheme pss_scheme(const X509_ALGOR* algorithm) {
  Scheme scheme;
  scheme.name = "rsa-pss";
  const auto parameters = DecodeWhole<OwnedPssParameters, d2i_RSA_PSS_PARAMS>(parameters_of(algorithm));
  if (!parameters) {
    scheme.fault = "the parameters of rsassaPss cannot be read";
    return scheme;
  }
  scheme.digest = digest_or_sha1(parameters->hashAlgorithm, scheme.unsupported);
  read_mask(scheme, parameters->maskGenAlgorithm);
  int64_t salt = 20;
  int64_t trailer = 1;
  const bool read =
      (parameters->saltLength == nullptr || ASN1_INTEGER_get_int64(&salt, parameters->saltLength) == 1) &&
      (parameters->trailerField == nullptr ||
       ASN1_INTEGER_get_int64(&trailer, parameters->trailerField) == 1);
  // No modulus that is tried has room for a longer salt.
  if (!read || salt < 0 || salt > 1024) scheme.fault = "the salt length of rsassaPss cannot be";
  if (trailer != 1) scheme.unsupported = "the trailer field " + std::to_string(trailer) + " of rsassaPss";
  scheme.saltLength = int(std::clamp<int64_t>(salt, 0, 1024));
  return scheme;
}

}  // namespace

Scheme SchemeOf(const X509_ALGOR* signatureAlgorithm, const X509_ALGOR* digestAlgorithm) {
  const ASN1_OBJECT* identifier = IdentifierOf(signatureAlgorithm);
  const int nid = OBJ_obj2nid(identifier);
  if (nid == NID_rsassaPss) return pss_scheme(signatureAlgorithm);
  Scheme scheme;
  if (nid == NID_ED25519 || nid == NID_ED448) {
    scheme.name = nid == NID_ED25519 ? "ed25519" : "ed448";
    return scheme;
  }
  const Pair pair = pair_of(nid);
  const auto* row = std::ranges::find(kSchemes, pair.key, &KeyScheme::key);
  const bool bareKey = pair.digest == NID_undef && pair.key == nid;
  if (row == std::end(kSchemes) || (pair.digest == NID_undef && !bareKey)) {
    scheme.name = OidText(identifier);
    scheme.unsupported = "the signature algorithm " + scheme.name;
    return scheme;
  }
  scheme.name = row->name;
  scheme.digest = bareKey ? FindDigest(IdentifierOf(digestAlgorithm)) : FindDigest(pair.digest);
  if (scheme.digest == nullptr) scheme.unsupported = "the digest of " + OidText(identifier);
  return scheme;
}

bool Scheme::FitsKey(const std::string& keyType) const {
  if (name == "ecdsa") return keyType == "ec";
  if (name == "rsa-pss") return keyType == "rsa" || keyType == "rsa-pss";
  return keyType == name;
}

}  // namespace qex::tool::strict
