// The library's private operations, in the form that token makers take.
#include "tests/support/library_signer.h"

#include <algorithm>
#include <cstdlib>

#include "crypto/pk/rsa.h"

namespace qex::test {
namespace {

// A number that is released at the end of its block.
struct Number {
  Number() = default;
  explicit Number(const Octets& octets) {
    check(KXBN_frombytes(&n, octets.data(), uint32_t(octets.size()), nullptr));
  }
  ~Number() { KXBN_free(n); }
  Number(const Number&) = delete;
  Number& operator=(const Number&) = delete;

  static void check(uint32_t code) {
    if (code != KXBN_OK) std::abort();  // the keys of the tests are good
  }

  KXBN* n = nullptr;
};

}  // namespace

Signature SignedWithLibraryRsa(const RsaKey& key) {
  return [key](const std::string& digest, const Octets& hash) {
    const Number modulus(key.n);
    const Number exponent(key.d);
    const Number block(Padded(DigestInfo(digest, der::null(), hash), key.n.size()));
    RSAKey record{};
    record.n = modulus.n;
    record.d = exponent.n;
    Number signature;
    Number::check(rsa_private(&record, block.n, &signature.n, nullptr));
    Octets octets(key.n.size());
    Number::check(KXBN_tobytes(signature.n, octets.data(), uint32_t(octets.size())));
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
