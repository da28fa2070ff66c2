// Digests that the library does not export, by OpenSSL's libcrypto.
#include <cstring>
#include <new>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "tool/base/failure.h"
#include "tool/base/hash_routines.h"

namespace qex::tool {
namespace {

template <const EVP_MD* (*kDigest)()>
constexpr DigestRoutines routines_of() {
  return {[] {
            EVP_MD_CTX* context = EVP_MD_CTX_new();
            if (context == nullptr || EVP_DigestInit_ex(context, kDigest(), nullptr) != 1) {
              throw std::bad_alloc();
            }
            return static_cast<void*>(context);
          },
          [](void* context, const uint8_t* data, uint32_t length) {
            EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(context), data, length);
          },
          [](void* context, uint8_t* digest) {
            EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(context), digest, nullptr);
            EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(context));
          }};
}

struct Row {
  const char* name;
  DigestRoutines routines;
};

constexpr Row kRows[] = {
    {"sha224", routines_of<EVP_sha224>()},     {"sha512-256", routines_of<EVP_sha512_256>()},
    {"sha3-224", routines_of<EVP_sha3_224>()}, {"sha3-256", routines_of<EVP_sha3_256>()},
    {"sha3-384", routines_of<EVP_sha3_384>()}, {"sha3-512", routines_of<EVP_sha3_512>()},
};

}  // namespace

const DigestRoutines& RoutinesOfLibcrypto(const HashAlgorithm& hash) {
  for (const Row& row : kRows) {
    if (std::strcmp(row.name, hash.name) == 0) return row.routines;
  }
  throw Failure{ExitStatus::Unsupported, std::string("hash algorithm ") + hash.name + " is not supported",
                "use sha256"};
}

std::string CryptoLibraryVersion() {
  return OpenSSL_version(OPENSSL_VERSION);
}

}  // namespace qex::tool
