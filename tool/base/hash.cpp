// Digests by the library's exports, and the digest of a file.
#include "tool/base/hash.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash_routines.h"
#include "tool/base/progress.h"
#include "tool/base/system.h"

namespace qex::tool {

namespace {

template <class Context, auto kInit, auto kUpdate, auto kFinal>
constexpr DigestRoutines routines() {
  return {[] { return static_cast<void*>(kInit()); },
          [](void* context, const uint8_t* data, uint32_t length) {
            kUpdate(static_cast<Context*>(context), data, length);
          },
          [](void* context, uint8_t* digest) { kFinal(static_cast<Context*>(context), digest); }};
}

using namespace std::string_view_literals;

#define QEX_NIST_HASH "\x60\x86\x48\x01\x65\x03\x04\x02"  // 2.16.840.1.101.3.4.2

// clang-format off
constexpr HashAlgorithm kHashes[] = {
    {"sha256", "2.16.840.1.101.3.4.2.1", QEX_NIST_HASH "\x01"sv, 32, Strength::Sound, Computed::ByLibrary},
    {"sha384", "2.16.840.1.101.3.4.2.2", QEX_NIST_HASH "\x02"sv, 48, Strength::Sound, Computed::ByLibrary},
    {"sha512", "2.16.840.1.101.3.4.2.3", QEX_NIST_HASH "\x03"sv, 64, Strength::Sound, Computed::ByLibrary},
    {"sha1", "1.3.14.3.2.26", "\x2B\x0E\x03\x02\x1A"sv, 20, Strength::Weak, Computed::ByLibrary},
    {"md5", "1.2.840.113549.2.5", "\x2A\x86\x48\x86\xF7\x0D\x02\x05"sv, 16, Strength::Weak, Computed::ByLibrary},
    {"sha224", "2.16.840.1.101.3.4.2.4", QEX_NIST_HASH "\x04"sv, 28, Strength::Sound, Computed::ByLibcrypto},
    {"sha512-256", "2.16.840.1.101.3.4.2.6", QEX_NIST_HASH "\x06"sv, 32, Strength::Sound, Computed::ByLibcrypto},
    {"sha3-224", "2.16.840.1.101.3.4.2.7", QEX_NIST_HASH "\x07"sv, 28, Strength::Sound, Computed::ByLibcrypto},
    {"sha3-256", "2.16.840.1.101.3.4.2.8", QEX_NIST_HASH "\x08"sv, 32, Strength::Sound, Computed::ByLibcrypto},
    {"sha3-384", "2.16.840.1.101.3.4.2.9", QEX_NIST_HASH "\x09"sv, 48, Strength::Sound, Computed::ByLibcrypto},
    {"sha3-512", "2.16.840.1.101.3.4.2.10", QEX_NIST_HASH "\x0A"sv, 64, Strength::Sound, Computed::ByLibcrypto},
};
// clang-format on

// In the order of kHashes.
constexpr DigestRoutines kRoutines[] = {
    routines<QEX_SHA256_CTX, QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final>(),
    routines<QEX_SHA512_CTX, QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final>(),
    routines<QEX_SHA512_CTX, QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final>(),
    routines<QEX_SHA1_CTX, QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final>(),
    routines<QEX_MD5_CTX, QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final>(),
};

// An algorithm that the library does not export is libcrypto's.
const DigestRoutines& routines_for(const HashAlgorithm& hash) {
  const auto row = size_t(&hash - kHashes);
  return row < std::size(kRoutines) ? kRoutines[row] : RoutinesOfLibcrypto(hash);
}

// Pieces stay in the processor's second cache from the read to the digest. Mapped files are slower: their
// octets come from memory, and a file that shrinks would end the process.
constexpr size_t kReadSize = size_t{256} << 10;

// A descriptor that is closed on every path; standard input stays open.
class InputFile {
 public:
  explicit InputFile(const std::string& path) : path_(path) {
    fd_ = IsStandardStream(path) ? STDIN_FILENO : OpenToRead(path);
    if (fd_ < 0) fail("cannot be opened");
  }
  ~InputFile() {
    if (!IsStandardStream(path_)) CloseDescriptor(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Octets of a regular file, 0 for another.
  uint64_t size() const { return SizeOfRegular(fd_); }

  size_t read(std::span<uint8_t> buffer) {
    const ptrdiff_t n = ReadSome(fd_, buffer.data(), buffer.size());
    if (n < 0) fail("cannot be read");
    return size_t(n);
  }

 private:
  [[noreturn]] void fail(const char* what) const { throw FileFailure(path_, what, errno); }

  const std::string& path_;
  int fd_;
};

// The digest would be that of no file there ever was.
Failure shortened(const std::string& path) {
  return {ExitStatus::File, ShownPath(path) + ": became shorter while it was read",
          "run the command again when nothing writes to the file"};
}

}  // namespace

std::span<const HashAlgorithm> HashAlgorithms() {
  return kHashes;
}

const HashAlgorithm* FindHash(std::string_view name) {
  const auto plain = [](std::string_view text) {
    std::string kept;
    for (const char c : text) {
      if (c != '-') kept += c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
    }
    return kept;
  };
  const std::string wanted = plain(name);
  for (const HashAlgorithm& hash : kHashes) {
    if (wanted == plain(hash.name) || name == hash.identifier) return &hash;
  }
  return nullptr;
}

const HashAlgorithm* FindHash(ByteView identifier) {
  const std::string_view octets(reinterpret_cast<const char*>(identifier.data()), identifier.size());
  const auto* found = std::ranges::find(kHashes, octets, &HashAlgorithm::octets);
  return found == std::end(kHashes) ? nullptr : found;
}

const HashAlgorithm& HashNamed(const std::string& name) {
  const HashAlgorithm* hash = FindHash(name);
  if (hash != nullptr) return *hash;
  throw Failure{ExitStatus::Unsupported, "hash algorithm " + name + " is not supported",
                "use one of sha256, sha384, sha512, sha3-256 (or sha1, md5 with --allow-weak)"};
}

void RefuseWeakHash(const HashAlgorithm& hash, const Options& options) {
  if (hash.strength == Strength::Sound || options.allowWeak) return;
  throw Failure{ExitStatus::CheckFailed,
                std::string("hash algorithm ") + hash.name + " is weak: collisions are known",
                "use sha256, or accept it with --allow-weak"};
}

Hasher::Hasher(const HashAlgorithm& hash)
    : hash_(hash), routines_(routines_for(hash)), context_(routines_.init()) {}

Hasher::~Hasher() {
  // Ending it is how a context is released.
  uint8_t digest[64];
  if (context_ != nullptr) routines_.final(context_, digest);
}

void Hasher::Update(ByteView data) {
  while (!data.empty()) {
    const size_t n = std::min<size_t>(data.size(), size_t{1} << 30);
    routines_.update(context_, data.data(), uint32_t(n));
    data = data.subspan(n);
  }
}

Bytes Hasher::Final() {
  Bytes digest(hash_.length);
  routines_.final(std::exchange(context_, nullptr), digest.data());
  return digest;
}

Bytes Sha256(ByteView data) {
  Hasher hasher(kHashes[0]);
  hasher.Update(data);
  return hasher.Final();
}

Bytes HashFile(const std::string& path, const HashAlgorithm& hash, const Options& options) {
  InputFile file(path);
  Hasher hasher(hash);
  const uint64_t size = file.size();
  Progress progress(ShownPath(path), size, options.progress && !options.quiet);
  Bytes buffer(size == 0 ? kReadSize : std::min<uint64_t>(size + 1, kReadSize));
  uint64_t done = 0;
  while (const size_t n = file.read(buffer)) {
    hasher.Update({buffer.data(), n});
    progress.Update(done += n);
  }
  // Not the size alone: standard input may begin in the middle, and /sys announces more than its files hold.
  if (done < size && file.size() < size) throw shortened(path);
  return hasher.Final();
}

}  // namespace qex::tool
