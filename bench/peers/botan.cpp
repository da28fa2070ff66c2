// Botan 2: digests, and signatures alone.
#include <botan/bigint.h>
#include <botan/dl_group.h>
#include <botan/dsa.h>
#include <botan/hash.h>
#include <botan/pubkey.h>
#include <botan/rsa.h>
#include <botan/version.h>

#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

[[nodiscard]] bool digest(Botan::HashFunction& hash, const Subject& subject, Octets* result) {
  uint8_t digest[64];
  hash.update(subject.octets.data(), subject.octets.size());
  hash.final(digest);
  if (result != nullptr) result->assign(digest, digest + hash.output_length());
  return true;
}

#define DIGEST(function, name)                                                                           \
  bool function(const Subject& subject, Octets* result) {                                                \
    static const std::unique_ptr<Botan::HashFunction> hash = Botan::HashFunction::create_or_throw(name); \
    return digest(*hash, subject, result);                                                               \
  }
DIGEST(md5, "MD5")
DIGEST(sha1, "SHA-160")
DIGEST(sha256, "SHA-256")
DIGEST(sha384, "SHA-384")
DIGEST(sha512, "SHA-512")
#undef DIGEST

[[nodiscard]] bool verify_rsa(const std::map<std::string, Octets>& parts) {
  const Botan::RSA_PublicKey key(Botan::BigInt(parts.at("n")), Botan::BigInt(parts.at("e")));
  Botan::PK_Verifier verifier(key, "EMSA3(Raw,SHA-256)");
  const Octets& signature = parts.at("signature");
  return verifier.verify_message(parts.at("digest").data(), parts.at("digest").size(), signature.data(),
                                 signature.size());
}

// r and s have the octets of q each.
Octets joined(const std::map<std::string, Octets>& parts) {
  const size_t length = parts.at("q").size();
  Octets both(2 * length);
  const Octets& r = parts.at("r");
  const Octets& s = parts.at("s");
  std::copy(r.begin(), r.end(), both.begin() + ptrdiff_t(length - r.size()));
  std::copy(s.begin(), s.end(), both.begin() + ptrdiff_t(2 * length - s.size()));
  return both;
}

[[nodiscard]] bool verify_dsa(const std::map<std::string, Octets>& parts) {
  const Botan::DL_Group group(Botan::BigInt(parts.at("p")), Botan::BigInt(parts.at("q")),
                              Botan::BigInt(parts.at("g")));
  const Botan::DSA_PublicKey key(group, Botan::BigInt(parts.at("y")));
  Botan::PK_Verifier verifier(key, "Raw");
  const Octets signature = joined(parts);
  return verifier.verify_message(parts.at("digest").data(), parts.at("digest").size(), signature.data(),
                                 signature.size());
}

[[nodiscard]] bool verify_signature(const Subject& subject, Octets*) {
  if (subject.parts.contains("n")) return verify_rsa(subject.parts);
  return subject.parts.contains("y") && verify_dsa(subject.parts);
}

constexpr const char* kDigest = "HashFunction::update, final, object kept";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, md5},
    {Job::Sha1, kDigest, sha1},
    {Job::Sha256, kDigest, sha256},
    {Job::Sha384, kDigest, sha384},
    {Job::Sha512, kDigest, sha512},
    {Job::VerifyToken, "the signature alone: PK_Verifier::verify_message", verify_signature, Share::Part},
};

}  // namespace

Maker Botan() {
  return {"Botan", Botan::short_version_string(), kWays};
}

}  // namespace qex::bench
