// nettle, with GMP: digests, and signatures alone.
#include <nettle/dsa.h>
#include <nettle/md5.h>
#include <nettle/rsa.h>
#include <nettle/sha1.h>
#include <nettle/sha2.h>
#include <nettle/version.h>

#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

template <class Context, auto kInit, auto kUpdate, auto kDigest, size_t kLength>
[[nodiscard]] bool digest(const Subject& subject, Octets* result) {
  Context context;
  uint8_t digest[kLength];
  kInit(&context);
  kUpdate(&context, subject.octets.size(), subject.octets.data());
  kDigest(&context, kLength, digest);
  if (result != nullptr) result->assign(digest, digest + kLength);
  return true;
}

// A number of GMP with the value of a part.
class Number {
 public:
  explicit Number(const Octets& octets) {
    mpz_init(value_);
    mpz_import(value_, octets.size(), 1, 1, 1, 0, octets.data());
  }
  ~Number() { mpz_clear(value_); }
  Number(const Number&) = delete;
  Number& operator=(const Number&) = delete;
  operator mpz_srcptr() const { return value_; }

 private:
  mpz_t value_;
};

[[nodiscard]] bool verify_rsa(const Subject& subject) {
  const auto& parts = subject.parts;
  rsa_public_key key;
  rsa_public_key_init(&key);
  mpz_set(key.n, Number(parts.at("n")));
  mpz_set(key.e, Number(parts.at("e")));
  const bool good =
      rsa_public_key_prepare(&key) == 1 &&
      rsa_sha256_verify_digest(&key, parts.at("digest").data(), Number(parts.at("signature"))) == 1;
  rsa_public_key_clear(&key);
  return good;
}

[[nodiscard]] bool verify_dsa(const Subject& subject) {
  const auto& parts = subject.parts;
  dsa_params params;
  dsa_signature signature;
  dsa_params_init(&params);
  dsa_signature_init(&signature);
  mpz_set(params.p, Number(parts.at("p")));
  mpz_set(params.q, Number(parts.at("q")));
  mpz_set(params.g, Number(parts.at("g")));
  mpz_set(signature.r, Number(parts.at("r")));
  mpz_set(signature.s, Number(parts.at("s")));
  const Octets& digest = parts.at("digest");
  const bool good = dsa_verify(&params, Number(parts.at("y")), digest.size(), digest.data(), &signature) == 1;
  dsa_signature_clear(&signature);
  dsa_params_clear(&params);
  return good;
}

[[nodiscard]] bool verify_signature(const Subject& subject, Octets*) {
  if (subject.parts.contains("n")) return verify_rsa(subject);
  return subject.parts.contains("y") && verify_dsa(subject);
}

constexpr const char* kDigest = "x_init, x_update, x_digest";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, digest<md5_ctx, nettle_md5_init, nettle_md5_update, nettle_md5_digest, 16>},
    {Job::Sha1, kDigest, digest<sha1_ctx, nettle_sha1_init, nettle_sha1_update, nettle_sha1_digest, 20>},
    {Job::Sha256, kDigest,
     digest<sha256_ctx, nettle_sha256_init, nettle_sha256_update, nettle_sha256_digest, 32>},
    {Job::Sha384, kDigest,
     digest<sha512_ctx, nettle_sha384_init, nettle_sha512_update, nettle_sha384_digest, 48>},
    {Job::Sha512, kDigest,
     digest<sha512_ctx, nettle_sha512_init, nettle_sha512_update, nettle_sha512_digest, 64>},
    {Job::VerifyToken, "the signature alone: rsa_sha256_verify_digest, dsa_verify", verify_signature,
     Share::Part},
};

}  // namespace

Maker Nettle() {
  return {"nettle",
          std::to_string(nettle_version_major()) + "." + std::to_string(nettle_version_minor()) + ", GMP " +
              gmp_version,
          kWays};
}

}  // namespace qex::bench
