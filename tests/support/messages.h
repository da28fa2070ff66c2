// Requests and responses (RFC 3161, 2.4) by hand; for tokens see token_maker.h.
#pragma once

#include "tests/support/der.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {

// The reasons of PKIFailureInfo (RFC 3161, 2.4.2) by their bits.
struct FailureReason {
  const char* name;
  unsigned bit;
};
inline constexpr FailureReason kFailureReasons[] = {
    {"badAlg", 0},
    {"badRequest", 2},
    {"badDataFormat", 5},
    {"timeNotAvailable", 14},
    {"unacceptedPolicy", 15},
    {"unacceptedExtension", 16},
    {"addInfoNotAvailable", 17},
    {"systemFailure", 25},
};

// RequestWith returns a TimeStampReq with a SHA-256 imprint of 32 octets 0x11 and absent parameters, followed
// by these parts.
template <class... Parts>
Octets RequestWith(const Parts&... parts) {
  return der::sequence(der::integer(1),
                       der::sequence(der::algorithm(kSha256), der::octet_string(Octets(32, 0x11))), parts...);
}

// StatusInfo returns a PKIStatusInfo; Response a TimeStampResp with it, followed by these parts.
template <class... Parts>
Octets StatusInfo(int64_t status, const Parts&... parts) {
  return der::sequence(der::integer(status), parts...);
}
template <class... Parts>
Octets Response(const Octets& status, const Parts&... parts) {
  return der::sequence(status, parts...);
}

}  // namespace qex::test
