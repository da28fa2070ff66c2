// The private operation of RSA, by arithmetic of its own, so that the library's is not asked to agree with
// itself.
#pragma once

#include "tests/support/der.h"

namespace qex::test {

// An RSA private key (RFC 8017, 3.2), its numbers big-endian. p is the larger prime, and both have the same
// length.
struct RsaKey {
  Octets n;
  Octets e;
  Octets d;
  Octets p;
  Octets q;
  Octets dp;    // d mod (p - 1)
  Octets dq;    // d mod (q - 1)
  Octets qinv;  // 1/q mod p
};

// RsaPrivate returns block ^ d mod n, as long as n.
Octets RsaPrivate(const RsaKey& key, const Octets& block);

}  // namespace qex::test
