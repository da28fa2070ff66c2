// The hash algorithms of imprints, and the digest of a file.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tool/base/bytes.h"
#include "tool/base/options.h"

namespace qex::tool {

enum class Strength { Sound, Weak };  // weak: collisions are known
enum class Computed { ByLibrary, ByLibcrypto };

struct HashAlgorithm {
  const char* name;  // sha256
  const char* identifier;
  std::string_view octets;  // contents octets of the identifier
  size_t length;            // of the digest, in octets
  Strength strength;
  Computed computed;
};

std::span<const HashAlgorithm> HashAlgorithms();

// FindHash returns the algorithm of a name (sha256, SHA-256) or of a dotted identifier, null for another.
const HashAlgorithm* FindHash(std::string_view name);
inline const HashAlgorithm* FindHash(const std::string& name) {
  return FindHash(std::string_view(name));
}

// FindHash returns the algorithm of an identifier's contents octets, null for another.
const HashAlgorithm* FindHash(ByteView identifier);

// HashNamed is FindHash that throws a usage failure with the list of known names.
const HashAlgorithm& HashNamed(const std::string& name);

// RefuseWeakHash throws a failed check when `hash` is weak and --allow-weak was not given.
void RefuseWeakHash(const HashAlgorithm& hash, const Options& options);

struct DigestRoutines;

// Hasher computes a digest over successive pieces.
class Hasher {
 public:
  // `hash` is a row of HashAlgorithms.
  explicit Hasher(const HashAlgorithm& hash);
  ~Hasher();
  Hasher(const Hasher&) = delete;
  Hasher& operator=(const Hasher&) = delete;

  void Update(ByteView data);
  // Ends the digest; to be called once.
  Bytes Final();

 private:
  const HashAlgorithm& hash_;
  const DigestRoutines& routines_;
  void* context_;
};

// Sha256 returns the digest of octets in memory.
Bytes Sha256(ByteView data);

// HashFile digests a file or standard input as it is read, with progress on a terminal when that
// takes longer than a second; throws a Failure.
Bytes HashFile(const std::string& path, const HashAlgorithm& hash, const Options& options);

// CryptoLibraryVersion names the library that computes the digests libqex lacks.
std::string CryptoLibraryVersion();

}  // namespace qex::tool
