// The trust options: whom the caller trusts. The files are read and their armour is removed here; only a
// worker decodes their contents.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/bytes.h"

namespace qex::tool {

// One certificate or list of revocation, and where it came from, for failures.
struct TrustItem {
  std::string source;
  Bytes der;
};

// The time at which the chain, its dates and the revocation are judged.
enum class TrustTime : uint8_t { GenTime, Now, Given };

struct Trust {
  std::vector<TrustItem> signers;    // --tsa-cert: one of them signed
  std::optional<Bytes> fingerprint;  // --tsa-fingerprint: SHA-256 of the signer's certificate
  bool chainWanted = false;          // --ca-file, --ca-path or --system-ca was given
  std::vector<TrustItem> roots;
  std::vector<TrustItem> systemRoots;  // as roots; unreadable ones are left out
  std::vector<TrustItem> untrusted;
  std::vector<TrustItem> crls;
  TrustTime time = TrustTime::GenTime;
  int64_t givenTime = 0;   // seconds since 1970
  bool anySigner = false;  // --insecure-any-signer

  [[nodiscard]] bool HasPin() const { return !signers.empty() || fingerprint; }
  [[nodiscard]] bool Any() const { return HasPin() || chainWanted || anySigner; }
};

}  // namespace qex::tool
