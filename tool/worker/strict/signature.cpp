// Verifies the signature step by step, not by one call: each failing step has its own reason, and a signature
// that libcrypto cannot try is never called invalid.
#include "tool/worker/strict/signature.h"

#include <algorithm>

#include <openssl/dsaerr.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/rsaerr.h>

#include "tool/message/oid_text.h"
#include "tool/message/structure.h"
#include "tool/message/tags.h"
#include "tool/worker/strict/attributes.h"
#include "tool/worker/strict/scheme.h"

namespace qex::tool::strict {
namespace {

using inspect::kNull;
using inspect::kSequence;
using Result = SignatureResult;

constexpr uint8_t kSignatureTag = 0xA1;

void settle(StrictSignature& signature, Result result, std::string reason) {
  signature.result = result;
  signature.reason = std::move(reason);
}

// An AlgorithmIdentifier's contents. Absent parameters and NULL mean the same, and implementations mix them.
Bytes contents_of(ByteView algorithm) {
  const auto element = inspect::Elements(algorithm).next();
  if (!element) return {};
  Bytes contents(element->content.begin(), element->content.end());
  const size_t size = contents.size();
  if (size > 2 && contents[size - 2] == kNull && contents[size - 1] == 0) contents.resize(size - 2);
  return contents;
}

// CMSAlgorithmProtection ::= SEQUENCE { digestAlgorithm, signatureAlgorithm [1], macAlgorithm [2] }: the
// algorithms of the signer, signed. Returns its fault; empty when it is absent or agrees.
std::string protection_fault(const Token& token) {
  const ASN1_TYPE* value = FirstValue(token, kAlgorithmProtection);
  if (value == nullptr) return "";
  const auto whole = inspect::Elements(SequenceOctets(value)).next(kSequence);
  inspect::Elements fields(whole ? whole->content : ByteView{});
  const auto digest = fields.next(kSequence);
  const auto signature = fields.next(kSignatureTag);
  if (!digest || !signature) return "the attribute algorithm-protection cannot be read";
  if (contents_of(digest->whole) != contents_of(Encoded<i2d_X509_ALGOR>(token.digestAlgorithm))) {
    return "the digest algorithm is not the one that algorithm-protection names";
  }
  if (contents_of(signature->whole) != contents_of(Encoded<i2d_X509_ALGOR>(token.signatureAlgorithm))) {
    return "the signature algorithm is not the one that algorithm-protection names";
  }
  return "";
}

// Whether the attribute message-digest is the digest of the content. Without any attributes the content
// itself is signed, and there is nothing to compare.
std::string content_fault(const Token& token, const Digest& digest) {
  if (!HasAttributes(token)) return "";
  const ASN1_TYPE* value = FirstValue(token, NID_pkcs9_messageDigest);
  if (value == nullptr || value->type != V_ASN1_OCTET_STRING) return "there is no message digest";
  if (!std::ranges::equal(OctetsOf(value->value.octet_string), DigestOf(digest, token.content))) {
    return "the content is not the one that was signed";
  }
  return "";
}

[[nodiscard]] bool set_pss(EVP_PKEY_CTX* context, const Scheme& scheme) {
  return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
         EVP_PKEY_CTX_set_rsa_mgf1_md(context, scheme.mask->routine.get()) > 0 &&
         EVP_PKEY_CTX_set_rsa_pss_saltlen(context, scheme.saltLength) > 0;
}

// Whether the last failure was one of the key's size: libcrypto has bounds of its own, such as 64 bits for
// the exponent of a modulus beyond 3072, and the three usual lengths of q.
[[nodiscard]] bool key_was_refused() {
  const unsigned long error = ERR_peek_error();
  const int reason = ERR_GET_REASON(error);
  if (ERR_GET_LIB(error) == ERR_LIB_RSA) {
    return reason == RSA_R_BAD_E_VALUE || reason == RSA_R_MODULUS_TOO_LARGE;
  }
  return ERR_GET_LIB(error) == ERR_LIB_DSA &&
         (reason == DSA_R_BAD_Q_VALUE || reason == DSA_R_MODULUS_TOO_LARGE);
}

void try_signature(StrictSignature& signature, const Token& token, const Scheme& scheme, EVP_PKEY* key) {
  const OwnedDigestContext context(Needed(EVP_MD_CTX_new()));
  EVP_PKEY_CTX* keyContext = nullptr;  // belongs to `context`
  const EVP_MD* digest = scheme.digest == nullptr ? nullptr : scheme.digest->routine.get();
  if (EVP_DigestVerifyInit(context.get(), &keyContext, digest, nullptr, key) <= 0) {
    return settle(signature, Result::Unsupported,
                  "the digest " + signature.digest + " with a key of this kind");
  }
  if (scheme.mask != nullptr && !set_pss(keyContext, scheme)) {
    return settle(signature, Result::Invalid, "the key does not allow these parameters of rsassaPss");
  }
  const Bytes data = SignedOctets(token);
  const ByteView value = OctetsOf(CMS_SignerInfo_get0_signature(token.signer));
  if (EVP_DigestVerify(context.get(), value.data(), value.size(), data.data(), data.size()) == 1) {
    return settle(signature, Result::Valid, "");
  }
  if (key_was_refused()) return settle(signature, Result::Unsupported, "a key of these sizes");
  settle(signature, Result::Invalid, "the signature does not verify with the signer's key");
}

// The names of the algorithms. Where the scheme brings a digest of its own, the shorter of the two counts.
void name_algorithms(StrictSignature& signature, const Token& token, const Digest* digest,
                     const Scheme& scheme) {
  signature.scheme = scheme.name;
  if (digest == nullptr) {
    signature.digest = inspect::DecodeOid(OctetsOf(IdentifierOf(token.digestAlgorithm)));
    return;
  }
  const Digest& weaker =
      scheme.digest != nullptr && scheme.digest->length <= digest->length ? *scheme.digest : *digest;
  signature.digest = weaker.name;
  signature.digestBits = weaker.length * 8;
}

}  // namespace

StrictSignature VerifySignature(const Token& token, X509* certificate, const SignerKey& key) {
  StrictSignature signature;
  signature.reason = "the token has no signer";
  if (token.signer == nullptr) return signature;
  const Digest* digest = FindDigest(IdentifierOf(token.digestAlgorithm));
  const Scheme scheme = SchemeOf(token.signatureAlgorithm, token.digestAlgorithm);
  name_algorithms(signature, token, digest, scheme);
  if (digest == nullptr) {
    settle(signature, Result::Unsupported, "the digest " + OidText(IdentifierOf(token.digestAlgorithm)));
    return signature;
  }
  std::string fault = content_fault(token, *digest);
  if (fault.empty()) fault = protection_fault(token);
  ThrowIfMemoryFailed();
  if (!fault.empty()) {
    settle(signature, Result::Invalid, fault);
  } else if (certificate == nullptr) {
    settle(signature, Result::NoCertificate, "no certificate is at hand that the signer's identifier names");
  } else if (!scheme.unsupported.empty()) {
    settle(signature, Result::Unsupported, scheme.unsupported);
  } else if (!scheme.fault.empty()) {
    settle(signature, Result::Invalid, scheme.fault);
  } else if (!key.excess.empty()) {
    settle(signature, Result::KeyTooLarge, key.excess);
  } else if (!scheme.FitsKey(key.type)) {
    settle(signature, Result::Invalid,
           "the signature algorithm " + scheme.name + " does not fit the key, " + key.name);
  } else if (key.bits == 0) {
    settle(signature, Result::Unsupported, "the key " + key.name);
  } else {
    try_signature(signature, token, scheme, X509_get0_pubkey(certificate));
  }
  ThrowIfMemoryFailed();
  return signature;
}

}  // namespace qex::tool::strict
