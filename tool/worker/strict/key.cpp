// Kinds and sizes of public keys. The bounds on their numbers are those that the library's keys have: beyond
// them one check could take hours.
#include "tool/worker/strict/key.h"

#include <algorithm>
#include <span>

#include <openssl/core_names.h>
#include <openssl/ec.h>

#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace strict {
namespace {

constexpr int kMaxModulusBits = 8192;
constexpr int kMaxExponentBits = 256;
constexpr int kMaxOrderBits = 512;
constexpr uint64_t kLeastExponent = 65537;

struct KeyType {
  int nid;
  const char* name;
};

constexpr KeyType kKeyTypes[] = {
    {NID_rsaEncryption, "rsa"},       {NID_rsassaPss, "rsa-pss"}, {NID_dsa, "dsa"},
    {NID_X9_62_id_ecPublicKey, "ec"}, {NID_ED25519, "ed25519"},   {NID_ED448, "ed448"},
};

struct Bound {
  const char* parameter;
  const char* words;
  int bits;
};

constexpr Bound kRsaBounds[] = {
    {OSSL_PKEY_PARAM_RSA_N, "a modulus", kMaxModulusBits},
    {OSSL_PKEY_PARAM_RSA_E, "a public exponent", kMaxExponentBits},
};
constexpr Bound kDsaBounds[] = {
    {OSSL_PKEY_PARAM_FFC_P, "a prime p", kMaxModulusBits},
    {OSSL_PKEY_PARAM_FFC_Q, "a prime q", kMaxOrderBits},
    {OSSL_PKEY_PARAM_FFC_G, "a generator", kMaxModulusBits},
    {OSSL_PKEY_PARAM_PUB_KEY, "a public value", kMaxModulusBits},
};

[[nodiscard]] OwnedBigNumber number_of(EVP_PKEY* key, const char* parameter) {
  BIGNUM* number = nullptr;
  EVP_PKEY_get_bn_param(key, parameter, &number);
  return OwnedBigNumber(number);
}

// The text for the first number that is too long; empty when none is.
std::string excess_of(EVP_PKEY* key, std::span<const Bound> bounds) {
  for (const Bound& bound : bounds) {
    const OwnedBigNumber number = number_of(key, bound.parameter);
    const int bits = number ? BN_num_bits(number.get()) : 0;
    if (bits > bound.bits) {
      return std::string(bound.words) + " of " + std::to_string(bits) + " bits, more than " +
             std::to_string(bound.bits);
    }
  }
  return "";
}

std::string type_of(X509* certificate) {
  ASN1_OBJECT* identifier = nullptr;
  X509_PUBKEY_get0_param(&identifier, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(certificate));
  for (const KeyType& type : kKeyTypes) {
    if (OBJ_obj2nid(identifier) == type.nid) return type.name;
  }
  return OidText(identifier);
}

void describe_exponent(SignerKey& description, EVP_PKEY* key) {
  const OwnedBigNumber exponent = number_of(key, OSSL_PKEY_PARAM_RSA_E);
  if (!exponent) return;
  description.exponent.resize(size_t(BN_num_bytes(exponent.get())));
  BN_bn2bin(exponent.get(), description.exponent.data());
  description.lowExponent = BN_num_bits(exponent.get()) < 64 && BN_get_word(exponent.get()) < kLeastExponent;
}

std::string curve_name(EVP_PKEY* key) {
  char group[80] = "";
  size_t length = 0;
  if (EVP_PKEY_get_group_name(key, group, sizeof group, &length) != 1) return "";
  const char* nist = EC_curve_nid2nist(OBJ_txt2nid(group));
  return nist == nullptr ? group : nist;
}

}  // namespace

SignerKey DescribeKey(X509* certificate) {
  SignerKey description;
  description.type = type_of(certificate);
  description.name = description.type;
  const bool rsa = description.type == "rsa" || description.type == "rsa-pss";
  description.lowExponent = rsa;
  EVP_PKEY* key = X509_get0_pubkey(certificate);
  if (key == nullptr) return description;
  description.bits = uint64_t(std::max(EVP_PKEY_get_bits(key), 0));
  std::string detail = std::to_string(description.bits);
  if (rsa) {
    describe_exponent(description, key);
    description.excess = excess_of(key, kRsaBounds);
  } else if (description.type == "dsa") {
    description.excess = excess_of(key, kDsaBounds);
  } else if (description.type == "ec") {
    const std::string curve = curve_name(key);
    // Neither a curve of the key's own nor one of another scheme is one to try ECDSA with.
    if (curve.empty() || EVP_PKEY_is_a(key, "EC") != 1) description.bits = 0;
    detail = curve.empty() ? "curve of its own" : curve;
  } else {
    detail.clear();
  }
  if (!detail.empty()) description.name += " " + detail;
  return description;
}

}  // namespace strict

SignerKey KeyOf(ByteView certificate) {
  strict::Start();
  const auto decoded = strict::DecodeWhole<strict::OwnedCertificate, d2i_X509>(certificate);
  SignerKey key;
  if (decoded) key = strict::DescribeKey(decoded.get());
  strict::ThrowIfMemoryFailed();
  return key;
}

}  // namespace qex::tool
