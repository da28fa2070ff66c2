// The digests as descriptors, for code that takes the digest as a parameter.
#pragma once

#include <cstdint>

namespace qex {

// HashInfo describes a digest: its sizes in octets, and its operations on a context of `ctxsz`
// octets that the caller provides, aligned for words of 32 bits. Pointers have the size of the machine.
struct HashInfo {
  uint32_t hashsz;           // digest
  uint32_t blocksz;          // block
  uint32_t ctxsz;            // context
  uint32_t auxsz;            // kept with the descriptor; no operation reads it
  void* (*init)(void* ctx);  // begins a digest and returns `ctx`
  void (*update)(void* ctx, const uint8_t* data, uint32_t length);
  void (*final)(void* ctx, uint8_t* out);
};
static_assert(sizeof(HashInfo) == 4 * sizeof(uint32_t) + 3 * sizeof(void (*)()), "HashInfo has no padding");

extern const HashInfo kSHA1Info;
extern const HashInfo kSHA256Info;
extern const HashInfo kSHA384Info;
extern const HashInfo kSHA512Info;
extern const HashInfo kMD5Info;

}  // namespace qex
