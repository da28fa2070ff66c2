// The operating system by POSIX and Linux.
#include "tool/base/system.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#include "tool/base/files.h"

namespace qex::tool {
namespace {

ssize_t append(void* text, const char* data, size_t length) {
  try {
    static_cast<std::string*>(text)->append(data, length);
  } catch (const std::bad_alloc&) {
    return 0;  // an error of the stream
  }
  return ssize_t(length);
}

}  // namespace

std::filesystem::path PathOf(const std::string& path) {
  return path;
}

int OpenToRead(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

void CloseDescriptor(int fd) {
  ::close(fd);
}

ptrdiff_t ReadSome(int fd, void* data, size_t size) {
  for (;;) {
    const ssize_t n = ::read(fd, data, size);
    if (n >= 0 || errno != EINTR) return n;
  }
}

bool WriteAll(int fd, ByteView data) {
  while (!data.empty()) {
    const ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data = data.subspan(size_t(n));
  }
  return true;
}

uint64_t SizeOfRegular(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) ? uint64_t(status.st_size) : 0;
}

bool IsTerminal(int fd) {
  return ::isatty(fd) != 0;
}

bool FillRandom(std::span<uint8_t> octets) {
  while (!octets.empty()) {
    const ssize_t n = ::getrandom(octets.data(), octets.size(), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    octets = octets.subspan(size_t(n));
  }
  return true;
}

// A memory stream of the C library does not remember an allocation failure in the middle of a text.
std::string WrittenText(const std::function<void(FILE*)>& write) {
  std::string text;
  FILE* stream = ::fopencookie(&text, "w", {nullptr, append, nullptr, nullptr});
  if (stream == nullptr) throw std::bad_alloc();
  write(stream);
  const bool failed = std::ferror(stream) != 0;
  if (std::fclose(stream) != 0 || failed) throw std::bad_alloc();
  return text;
}

bool SetVariable(const char* name, const char* value) {
  return ::setenv(name, value, 1) == 0;
}

bool HasNoRoom(int error) {
  return error == ENOSPC || error == EDQUOT;
}

std::optional<FileIdentity> RegularFileAt(const std::string& path) {
  struct stat status {};
  const bool known = IsStandardStream(path) ? ::fstat(STDIN_FILENO, &status) == 0
                                            : !path.empty() && ::stat(path.c_str(), &status) == 0;
  if (!known || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileIdentity{uint64_t(status.st_dev), uint64_t(status.st_ino)};
}

bool FileExists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

bool IsRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace qex::tool
