// libgcrypt: digests, and signatures alone.
#include <gcrypt.h>

#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

template <int kAlgorithm, size_t kLength>
[[nodiscard]] bool digest(const Subject& subject, Octets* result) {
  uint8_t digest[kLength];
  gcry_md_hash_buffer(kAlgorithm, digest, subject.octets.data(), subject.octets.size());
  if (result != nullptr) result->assign(digest, digest + kLength);
  return true;
}

// A number with the value of a part.
class Number {
 public:
  explicit Number(const Octets& octets) {
    gcry_mpi_scan(&value_, GCRYMPI_FMT_USG, octets.data(), octets.size(), nullptr);
  }
  ~Number() { gcry_mpi_release(value_); }
  Number(const Number&) = delete;
  Number& operator=(const Number&) = delete;
  gcry_mpi_t value() const { return value_; }

 private:
  gcry_mpi_t value_ = nullptr;
};

struct Expressions {
  gcry_sexp_t key = nullptr;
  gcry_sexp_t data = nullptr;
  gcry_sexp_t signature = nullptr;
  ~Expressions() {
    gcry_sexp_release(key);
    gcry_sexp_release(data);
    gcry_sexp_release(signature);
  }
};

[[nodiscard]] bool build_rsa(Expressions& made, const std::map<std::string, Octets>& parts) {
  const Number n(parts.at("n"));
  const Number e(parts.at("e"));
  const Number signature(parts.at("signature"));
  const Octets& digest = parts.at("digest");
  return gcry_sexp_build(&made.key, nullptr, "(public-key (rsa (n %m) (e %m)))", n.value(), e.value()) == 0 &&
         gcry_sexp_build(&made.data, nullptr, "(data (flags pkcs1) (hash sha256 %b))", int(digest.size()),
                         digest.data()) == 0 &&
         gcry_sexp_build(&made.signature, nullptr, "(sig-val (rsa (s %m)))", signature.value()) == 0;
}

[[nodiscard]] bool build_dsa(Expressions& made, const std::map<std::string, Octets>& parts) {
  const Number p(parts.at("p"));
  const Number q(parts.at("q"));
  const Number g(parts.at("g"));
  const Number y(parts.at("y"));
  const Number r(parts.at("r"));
  const Number s(parts.at("s"));
  const Number digest(parts.at("digest"));
  return gcry_sexp_build(&made.key, nullptr, "(public-key (dsa (p %m) (q %m) (g %m) (y %m)))", p.value(),
                         q.value(), g.value(), y.value()) == 0 &&
         gcry_sexp_build(&made.data, nullptr, "(data (flags raw) (value %m))", digest.value()) == 0 &&
         gcry_sexp_build(&made.signature, nullptr, "(sig-val (dsa (r %m) (s %m)))", r.value(), s.value()) ==
             0;
}

[[nodiscard]] bool verify_signature(const Subject& subject, Octets*) {
  Expressions made;
  const bool rsa = subject.parts.contains("n");
  if (!rsa && !subject.parts.contains("y")) return false;
  return (rsa ? build_rsa(made, subject.parts) : build_dsa(made, subject.parts)) &&
         gcry_pk_verify(made.signature, made.data, made.key) == 0;
}

constexpr const char* kDigest = "gcry_md_hash_buffer";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, digest<GCRY_MD_MD5, 16>},
    {Job::Sha1, kDigest, digest<GCRY_MD_SHA1, 20>},
    {Job::Sha256, kDigest, digest<GCRY_MD_SHA256, 32>},
    {Job::Sha384, kDigest, digest<GCRY_MD_SHA384, 48>},
    {Job::Sha512, kDigest, digest<GCRY_MD_SHA512, 64>},
    {Job::VerifyToken, "the signature alone: gcry_pk_verify", verify_signature, Share::Part},
};

}  // namespace

Maker Gcrypt() {
  const char* version = gcry_check_version(nullptr);
  gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
  gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
  return {"libgcrypt", version, kWays};
}

}  // namespace qex::bench
