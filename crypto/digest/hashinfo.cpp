// The descriptors of the five digests: constant data, ready before any code runs.
#include "crypto/digest/hashinfo.h"

#include "crypto/digest/md5.h"
#include "crypto/digest/sha1.h"
#include "crypto/digest/sha256.h"
#include "crypto/digest/sha512.h"

namespace qex {
namespace {

// One forwarder an operation, from the untyped context of the descriptor to the digest's own.
// SHA-384 and SHA-512 name the same update and so get the same forwarder.
template <class Context, void (*kInit)(Context*)>
void* init(void* ctx) {
  kInit(static_cast<Context*>(ctx));
  return ctx;
}

template <class Context, void (*kUpdate)(Context*, const uint8_t*, uint32_t)>
void update(void* ctx, const uint8_t* data, uint32_t length) {
  kUpdate(static_cast<Context*>(ctx), data, length);
}

template <class Context, void (*kFinal)(Context*, uint8_t*)>
void finish(void* ctx, uint8_t* out) {
  kFinal(static_cast<Context*>(ctx), out);
}

template <class Context, void (*kInit)(Context*), void (*kUpdate)(Context*, const uint8_t*, uint32_t),
          void (*kFinal)(Context*, uint8_t*)>
constexpr HashInfo describe(uint32_t hashsz, uint32_t blocksz, uint32_t auxsz) {
  return {hashsz,
          blocksz,
          sizeof(Context),
          auxsz,
          init<Context, kInit>,
          update<Context, kUpdate>,
          finish<Context, kFinal>};
}

}  // namespace

// clang-format off
constinit const HashInfo kSHA1Info   = describe<QEX_SHA1_CTX,   SHA1Init,   SHA1Update,   SHA1Final>  (kSHA1Size,   kSHA1Block,   60);
constinit const HashInfo kSHA256Info = describe<QEX_SHA256_CTX, SHA256Init, SHA256Update, SHA256Final>(kSHA256Size, kSHA256Block, 64);
constinit const HashInfo kSHA384Info = describe<QEX_SHA512_CTX, SHA384Init, SHA512Update, SHA384Final>(kSHA384Size, kSHA512Block, 128);
constinit const HashInfo kSHA512Info = describe<QEX_SHA512_CTX, SHA512Init, SHA512Update, SHA512Final>(kSHA512Size, kSHA512Block, 128);
constinit const HashInfo kMD5Info    = describe<QEX_MD5_CTX,    MD5Init,    MD5Update,    MD5Final>   (kMD5Size,    kMD5Block,    64);
// clang-format on

}  // namespace qex
