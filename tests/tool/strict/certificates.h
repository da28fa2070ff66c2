// Keys, certificates and revocation lists for tests, made by libcrypto.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "tests/support/der.h"
#include "tool/message/trust.h"

namespace qex::test {

inline constexpr int64_t kDay = 86400;
inline constexpr int64_t kYear = 365 * kDay;
inline constexpr int64_t kGenTime = 1731657600;  // 2024-11-15T08:00:00Z, that of TstInfoMaker

// DerOf encodes a value by one of libcrypto's encoders, i2d_X509 and the like.
template <class T>
Octets DerOf(const T* value, int (*encode)(const T*, unsigned char**)) {
  unsigned char* octets = nullptr;
  const int length = encode(value, &octets);
  if (length <= 0) throw std::runtime_error("does not encode");
  Octets result(octets, octets + length);
  OPENSSL_free(octets);
  return result;
}

using Key = std::shared_ptr<EVP_PKEY>;

// MakeKey makes a key once for each name. A kind is "rsa:2048", "rsa:2048:3" with an exponent,
// "rsa-pss:2048", "dsa:2048:256", "ec:P-256", "ed25519" or "ed448"; a suffix after a slash distinguishes keys
// of one kind.
Key MakeKey(const std::string& kind);

using Extensions = std::vector<std::pair<std::string, std::string>>;  // as in openssl's configuration

struct Certificate {
  std::shared_ptr<X509> x509;
  Key key;
  Octets der() const;
};

struct CertificatePlan {
  std::string subject = "Example TSA";
  std::string key = "ec:P-256";
  const Certificate* issuer = nullptr;  // null: itself
  int64_t serial = 17;
  int64_t from = kGenTime - kYear;
  int64_t until = kGenTime + 20 * kYear;
  Extensions extensions;
  std::string digest = "SHA256";  // empty for Edwards keys
  std::string organization;
};

// The extensions of a root or intermediate, and of a signer of tokens.
Extensions AuthorityExtensions(const std::string& constraints = "critical,CA:TRUE");
Extensions SignerExtensions();

Certificate Make(const CertificatePlan& plan);
// A root, and a signer that it issued.
Certificate MakeRoot(const std::string& subject = "Example Root", const std::string& key = "ec:P-256/root");
Certificate MakeSigner(const Certificate& issuer, const std::string& key = "ec:P-256");

struct RevokedEntry {
  int64_t serial;
  int64_t date;
  std::optional<int> reason;
  std::optional<int64_t> invalidSince = {};  // the extension invalidityDate
  const Certificate* issuer = nullptr;       // the extension certificateIssuer; null: absent
};

struct ListPlan {
  const Certificate* issuer = nullptr;
  std::vector<RevokedEntry> entries;
  int64_t from = kGenTime - kDay;
  std::optional<int64_t> until = kGenTime + kDay;  // absent: no nextUpdate
  const Certificate* signedBy = nullptr;           // null: the issuer
  Octets scope = {};   // IssuingDistributionPoint (RFC 5280, 5.2.5); empty: absent
  bool delta = false;  // of changes to another list
  std::string digest = "SHA256";
  std::optional<int64_t> keepsExpiredSince = {};  // the extension expiredCertsOnCRL (X.509, 9.5.2.6)
};

Octets MakeList(const ListPlan& plan);

// Trusting returns trust in a chain to these roots.
tool::Trust Trusting(const std::vector<const Certificate*>& roots);
tool::TrustItem Item(const Octets& der);

}  // namespace qex::test
