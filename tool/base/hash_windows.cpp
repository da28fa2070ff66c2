// The build for Windows is without libcrypto, and so without the digests that the library does not export.
#include "tool/base/failure.h"
#include "tool/base/hash_routines.h"

namespace qex::tool {

const DigestRoutines& RoutinesOfLibcrypto(const HashAlgorithm& hash) {
  throw Failure{ExitStatus::Unsupported,
                std::string("hash algorithm ") + hash.name + " is left out of qex for Windows",
                "use sha256, sha384 or sha512, or run qex on Linux"};
}

std::string CryptoLibraryVersion() {
  return "libcrypto: left out of qex for Windows";
}

}  // namespace qex::tool
