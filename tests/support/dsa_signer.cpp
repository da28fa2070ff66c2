// Between octets and the library's numbers, and the encodings of RFC 3279.
#include "tests/support/dsa_signer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "crypto/pk/dsa.h"
#include "tests/support/big.h"
#include "tests/support/octets.h"
#include "tests/support/random_source.h"

namespace qex::test {
namespace {

[[noreturn]] void give_up(const char* what) {
  std::fprintf(stderr, "dsa_signer: %s\n", what);
  std::abort();
}

Octets magnitude(const std::string& digits) {
  return FromHex(digits.size() % 2 == 0 ? digits : "0" + digits);
}

// of_length returns the number in `n` octets.
Octets of_length(size_t n, const Octets& number) {
  const auto first = std::find_if(number.begin(), number.end(), [](uint8_t octet) { return octet != 0; });
  const auto used = size_t(number.end() - first);
  if (used > n) give_up("the number is too long");
  Octets octets(n - used);
  octets.insert(octets.end(), first, number.end());
  return octets;
}

}  // namespace

DsaKey TestDsaKey(const std::string& name) {
  static const std::vector<Vector> all = read_vectors("dsa_verify.txt");
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const Vector& v) { return v.at("Name") == name; });
  if (found == all.end()) give_up("dsa_verify.txt has no such key");
  const auto number = [&](const char* field) { return magnitude(found->at(field)); };
  return {number("P"), number("Q"), number("G"), number("X"), number("Y")};
}

DsaPair DsaSign(const DsaKey& key, const Octets& digest, uint32_t seed) {
  const Big p(ToHex(key.p)), q(ToHex(key.q)), g(ToHex(key.g)), x(ToHex(key.x)), y(ToHex(key.y));
  Big r, s;
  const DSAKey numbers{p, q, g, x, y};
  DSASig pair{r, s};
  DigestBuf input{};
  input.length = uint32_t(std::min(digest.size(), sizeof input.octets));
  std::copy_n(digest.begin(), input.length, input.octets);
  const SeededSource random(seed);
  if (dsa_sign(&input, &numbers, &random, nullptr, &pair) != KXBN_OK) give_up("the key does not sign");
  return {of_length(key.q.size(), magnitude(r.hex())), of_length(key.q.size(), magnitude(s.hex()))};
}

Octets Raw(const DsaPair& pair) {
  return der::concat(of_length(20, pair.r), of_length(20, pair.s));
}

Octets SigValue(const DsaPair& pair) {
  return der::sequence(der::unsigned_integer(pair.r), der::unsigned_integer(pair.s));
}

Octets DssParms(const DsaKey& key) {
  return der::sequence(der::unsigned_integer(key.p), der::unsigned_integer(key.q),
                       der::unsigned_integer(key.g));
}

Octets DsaPublicKeyInfo(const DsaKey& key) {
  return der::sequence(der::algorithm(kDsa, DssParms(key)), der::bit_string(der::unsigned_integer(key.y)));
}

TokenMaker DsaTokenMaker(const DsaKey& key, const std::string& digest, const Octets& public_key_info) {
  CertificateMaker authority;
  authority.subject_public_key_info = public_key_info.empty() ? DsaPublicKeyInfo(key) : public_key_info;
  TokenMaker maker;
  maker.certificates = {authority.encode()};
  SignerMaker& signer = maker.signer();
  signer.certificate = maker.certificates[0];
  signer.digest = digest;
  signer.signature_algorithm = digest == kSha1 ? kDsaWithSha1 : kDsaWithSha256;
  signer.signature_parameters = {};
  signer.sign = [key](const Octets& hash) { return SigValue(DsaSign(key, hash)); };
  return maker;
}

}  // namespace qex::test
