// The block functions of SHA-1 and SHA-2 in all their forms (crypto/forms.h).
//
// A form takes `blocks` blocks, at least one and at any address, into the chaining values of its digest.
#pragma once

#include <cstddef>
#include <cstdint>

#include "crypto/forms.h"

// Forms by ARMv8 instructions. clang before version 16 offers their intrinsics only where they are compiled
// for every function of a source.
#if defined(__AARCH64EL__) && defined(__GNUC__) && !defined(__clang__)
#define QEX_ARM_FORMS
#endif

namespace qex {

// SHA-512 has each value in two words, the high one first, as its context does.
using SHA1Blocks = void (*)(uint32_t (&state)[5], const uint8_t* data, size_t blocks);
using SHA256Blocks = void (*)(uint32_t (&state)[8], const uint8_t* data, size_t blocks);
using SHA512Blocks = void (*)(uint32_t (&state)[16], const uint8_t* data, size_t blocks);

// The constants of the rounds.
extern const uint32_t kSHA256K[64];
extern const uint64_t kSHA512K[80];

void SHA1CompressBlocks_portable(uint32_t (&state)[5], const uint8_t* data, size_t blocks);
void SHA256CompressBlocks_portable(uint32_t (&state)[8], const uint8_t* data, size_t blocks);
void SHA512CompressBlocks_portable(uint32_t (&state)[16], const uint8_t* data, size_t blocks);

#if defined(__x86_64__)
void SHA1CompressBlocks_sha(uint32_t (&state)[5], const uint8_t* data, size_t blocks);
void SHA256CompressBlocks_sha(uint32_t (&state)[8], const uint8_t* data, size_t blocks);
void SHA512CompressBlocks_avx2(uint32_t (&state)[16], const uint8_t* data, size_t blocks);
void SHA512CompressBlocks_avx512(uint32_t (&state)[16], const uint8_t* data, size_t blocks);
#endif

#if defined(QEX_ARM_FORMS)
void SHA1CompressBlocks_arm(uint32_t (&state)[5], const uint8_t* data, size_t blocks);
void SHA256CompressBlocks_arm(uint32_t (&state)[8], const uint8_t* data, size_t blocks);
void SHA512CompressBlocks_arm(uint32_t (&state)[16], const uint8_t* data, size_t blocks);
#endif

inline constinit const Forms kSHA1Forms({
#if defined(__x86_64__)
  Form<SHA1Blocks>{"sha", kFeatureSha, SHA1CompressBlocks_sha},
#endif
#if defined(QEX_ARM_FORMS)
      Form<SHA1Blocks>{"arm", kFeatureArmSha1, SHA1CompressBlocks_arm},
#endif
      Form<SHA1Blocks>{"portable", 0, SHA1CompressBlocks_portable},
});

inline constinit const Forms kSHA256Forms({
#if defined(__x86_64__)
  Form<SHA256Blocks>{"sha", kFeatureSha, SHA256CompressBlocks_sha},
#endif
#if defined(QEX_ARM_FORMS)
      Form<SHA256Blocks>{"arm", kFeatureArmSha256, SHA256CompressBlocks_arm},
#endif
      Form<SHA256Blocks>{"portable", 0, SHA256CompressBlocks_portable},
});

inline constinit const Forms kSHA512Forms({
#if defined(__x86_64__)
  Form<SHA512Blocks>{"avx512", kFeatureAvx512 | kFeatureAvx2 | kFeatureBmi2, SHA512CompressBlocks_avx512},
      Form<SHA512Blocks>{"avx2", kFeatureAvx2 | kFeatureBmi2, SHA512CompressBlocks_avx2},
#endif
#if defined(QEX_ARM_FORMS)
      Form<SHA512Blocks>{"arm", kFeatureArmSha512, SHA512CompressBlocks_arm},
#endif
      Form<SHA512Blocks>{"portable", 0, SHA512CompressBlocks_portable},
});

}  // namespace qex
