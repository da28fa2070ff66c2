// The digest exports: contexts on the heap around the digests of crypto/.
//
// Init allocates a context and Final releases it, after writing the digest; between the two
// it belongs to the caller, who passes it on and never frees it.
#include <cstdlib>

#include "api/qex.h"
#include "crypto/digest/md5.h"
#include "crypto/digest/sha1.h"
#include "crypto/digest/sha256.h"
#include "crypto/digest/sha512.h"

namespace {

// Deliberate: the allocation is not checked. These functions have no code to return, and without
// memory they fault at once rather than hand out a null pointer that would look like a context.
template <class Context>
Context* new_context(void (*init)(Context*)) {
  auto* ctx = static_cast<Context*>(std::malloc(sizeof(Context)));
  init(ctx);
  return ctx;
}

template <class Context>
void finish_context(Context* ctx, uint8_t* out, void (*final)(Context*, uint8_t*)) {
  final(ctx, out);
  std::free(ctx);
}

}  // namespace

extern "C" {

QEX_MD5_CTX* QEX_MD5_Init() noexcept {
  return new_context(qex::MD5Init);
}

void QEX_MD5_Update(QEX_MD5_CTX* context, const uint8_t* data, uint32_t length) noexcept {
  qex::MD5Update(context, data, length);
}

void QEX_MD5_Final(QEX_MD5_CTX* context, uint8_t* digest) noexcept {
  finish_context(context, digest, qex::MD5Final);
}

QEX_SHA1_CTX* QEX_SHA1_Init() noexcept {
  return new_context(qex::SHA1Init);
}

void QEX_SHA1_Update(QEX_SHA1_CTX* context, const uint8_t* data, uint32_t length) noexcept {
  qex::SHA1Update(context, data, length);
}

void QEX_SHA1_Final(QEX_SHA1_CTX* context, uint8_t* digest) noexcept {
  finish_context(context, digest, qex::SHA1Final);
}

QEX_SHA256_CTX* QEX_SHA256_Init() noexcept {
  return new_context(qex::SHA256Init);
}

void QEX_SHA256_Update(QEX_SHA256_CTX* context, const uint8_t* data, uint32_t length) noexcept {
  qex::SHA256Update(context, data, length);
}

void QEX_SHA256_Final(QEX_SHA256_CTX* context, uint8_t* digest) noexcept {
  finish_context(context, digest, qex::SHA256Final);
}

QEX_SHA512_CTX* QEX_SHA384_Init() noexcept {
  return new_context(qex::SHA384Init);
}

void QEX_SHA384_Final(QEX_SHA512_CTX* context, uint8_t* digest) noexcept {
  finish_context(context, digest, qex::SHA384Final);
}

QEX_SHA512_CTX* QEX_SHA512_Init() noexcept {
  return new_context(qex::SHA512Init);
}

void QEX_SHA512_Update(QEX_SHA512_CTX* context, const uint8_t* data, uint32_t length) noexcept {
  qex::SHA512Update(context, data, length);
}

// Deliberate: one entry under two names. The update does not care which initial values the
// context holds, and callers may use either name for either digest.
void QEX_SHA384_Update(QEX_SHA512_CTX* context, const uint8_t* data, uint32_t length) noexcept
    __attribute__((alias("QEX_SHA512_Update")));

void QEX_SHA512_Final(QEX_SHA512_CTX* context, uint8_t* digest) noexcept {
  finish_context(context, digest, qex::SHA512Final);
}

}  // extern "C"
