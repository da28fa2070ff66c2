// wolfSSL's wolfCrypt: digests, and tokens as PKCS #7.
#include <wolfssl/options.h>
// The settings come before everything else.
#include <wolfssl/version.h>
#include <wolfssl/wolfcrypt/md5.h>
#include <wolfssl/wolfcrypt/pkcs7.h>
#include <wolfssl/wolfcrypt/sha.h>
#include <wolfssl/wolfcrypt/sha256.h>
#include <wolfssl/wolfcrypt/sha512.h>

#include "bench/peers/makers.h"

namespace qex::bench {
namespace {

template <class Context, auto kInit, auto kUpdate, auto kFinal, size_t kLength>
[[nodiscard]] bool digest(const Subject& subject, Octets* result) {
  Context context;
  uint8_t digest[kLength];
  if (kInit(&context) != 0 || kUpdate(&context, subject.octets.data(), word32(subject.octets.size())) != 0 ||
      kFinal(&context, digest) != 0) {
    return false;
  }
  if (result != nullptr) result->assign(digest, digest + kLength);
  return true;
}

// It takes the signer's certificate from the token.
[[nodiscard]] bool verify_token(const Subject& subject, Octets*) {
  PKCS7* token = wc_PKCS7_New(nullptr, INVALID_DEVID);
  const bool good = token != nullptr && wc_PKCS7_InitWithCert(token, nullptr, 0) == 0 &&
                    wc_PKCS7_VerifySignedData(token, const_cast<uint8_t*>(subject.octets.data()),
                                              word32(subject.octets.size())) == 0;
  wc_PKCS7_Free(token);
  return good;
}

constexpr const char* kDigest = "wc_InitX, wc_XUpdate, wc_XFinal";

constexpr Way kWays[] = {
    {Job::Md5, kDigest, digest<wc_Md5, wc_InitMd5, wc_Md5Update, wc_Md5Final, 16>},
    {Job::Sha1, kDigest, digest<wc_Sha, wc_InitSha, wc_ShaUpdate, wc_ShaFinal, 20>},
    {Job::Sha256, kDigest, digest<wc_Sha256, wc_InitSha256, wc_Sha256Update, wc_Sha256Final, 32>},
    {Job::Sha384, kDigest, digest<wc_Sha384, wc_InitSha384, wc_Sha384Update, wc_Sha384Final, 48>},
    {Job::Sha512, kDigest, digest<wc_Sha512, wc_InitSha512, wc_Sha512Update, wc_Sha512Final, 64>},
    {Job::VerifyToken, "wc_PKCS7_VerifySignedData", verify_token},
};

}  // namespace

Maker Wolfssl() {
  return {"wolfSSL", LIBWOLFSSL_VERSION_STRING, kWays};
}

}  // namespace qex::bench
