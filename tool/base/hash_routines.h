// A digest as three calls, whoever computes it.
#pragma once

#include <cstdint>

#include "tool/base/hash.h"

namespace qex::tool {

struct DigestRoutines {
  void* (*init)();
  void (*update)(void* context, const uint8_t* data, uint32_t length);
  void (*final)(void* context, uint8_t* digest);
};

// RoutinesOfLibcrypto returns the routines of an algorithm that the library does not export; throws a Failure
// of exit status Unsupported in a build without libcrypto.
const DigestRoutines& RoutinesOfLibcrypto(const HashAlgorithm& hash);

}  // namespace qex::tool
