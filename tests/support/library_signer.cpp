// The library's private operations, in the form that token makers use.
#include "tests/support/library_signer.h"

#include <algorithm>
#include <cstdlib>

#include "crypto/bignum/number.h"
#include "crypto/pk/rsa.h"

namespace qex::test {
namespace {

void check(uint32_t code) {
  if (code != KXBN_OK) std::abort();  // the keys of the tests are good
}

Number number(const Octets& octets) {
  Number n;
  check(n.frombytes(octets.data(), octets.size()));
  return n;
}

}  // namespace

Signature SignedWithLibraryRsa(const RsaKey& key) {
  return [key](const std::string& digest, const Octets& hash) {
    const Number modulus = number(key.n);
    const Number exponent = number(key.d);
    const Number block = number(Padded(DigestInfo(digest, der::null(), hash), key.n.size()));
    RSAKey record{};
    record.n = modulus;
    record.d = exponent;
    Number signature;
    check(rsa_private(&record, block, signature.out(), nullptr));
    Octets octets(key.n.size());
    check(KXBN_tobytes(signature, octets.data(), octets.size()));
    return octets;
  };
}

Signature SignedWithLibraryDsa(const DsaKey& key) {
  return [key](const std::string&, const Octets& hash) {
    constexpr size_t kTakesPart = 20;
    return SigValue(DsaSign(key, Octets(hash.begin(), hash.begin() + kTakesPart)));
  };
}

}  // namespace qex::test
