// Reading files, and the errors of the system in words.
#include "tool/base/files.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/system.h"

namespace qex::tool {

std::string ShownPath(std::string_view path) {
  return IsStandardStream(path) ? "standard input" : Escaped(path);
}

Failure FileFailure(const std::string& path, const char* what, int error) {
  std::string hint;
  switch (error) {
    case ENOENT: hint = "look at the path: there is no such file or folder"; break;
    case EACCES:
    case EPERM: hint = "look at the permissions of the file and of the folders above it"; break;
    case EMFILE:
    case ENFILE: hint = "too many files are open at once; a larger limit is set with 'ulimit -n'"; break;
    case EFBIG: hint = "files are limited in size here; a larger limit is set with 'ulimit -f'"; break;
    case EROFS: hint = "name a file on another file system, which can be written"; break;
    case EISDIR: hint = "name a file, not a folder"; break;
    default: hint = "look at the path and at the file system that it is on"; break;
  }
  if (HasNoRoom(error)) hint = "make room on the disk, then run the command again";
  return {ExitStatus::File, ShownPath(path) + ": " + what + ": " + std::strerror(error), hint};
}

namespace {

constexpr size_t kStep = 65536;

// Reads a whole file; false when it is longer than `most`, and not all of it was read.
template <typename Octets>
[[nodiscard]] bool read_up_to(const std::string& path, size_t most, Octets& data) {
  const bool standard = IsStandardStream(path);
  const int fd = standard ? STDIN_FILENO : OpenToRead(path);
  if (fd < 0) throw FileFailure(path, "cannot be opened", errno);
  int error = 0;
  const auto size = size_t(SizeOfRegular(fd));
  // One read is enough for a small file: it asks for one octet more, whose absence shows the end.
  size_t step = size > 0 && size < kStep ? size + 1 : kStep;
  for (; data.size() <= most; step = kStep) {
    const size_t held = data.size();
    data.resize(held + step);
    const ptrdiff_t n = ReadSome(fd, data.data() + held, step);
    data.resize(held + (n > 0 ? size_t(n) : 0));
    if (n < 0) error = errno;
    if (n <= 0 || (size_t(n) < step && size > 0 && data.size() >= size)) break;
  }
  if (!standard) CloseDescriptor(fd);
  if (error != 0) throw FileFailure(path, "cannot be read", error);
  return data.size() <= most;
}

}  // namespace

Bytes ReadMessage(const std::string& path) {
  Bytes data;
  if (read_up_to(path, kMaxMessage, data)) return data;
  throw Failure{ExitStatus::Input, ShownPath(path) + ": longer than 16 MiB, so no time-stamp message",
                "name the request, reply, token or certificate, not the stamped file"};
}

Bytes ReadRevocationFile(const std::string& path) {
  Bytes data;
  if (read_up_to(path, kMaxRevocationList, data)) return data;
  throw Failure{ExitStatus::Input,
                ShownPath(path) + ": longer than 64 MiB, too long for a list of revoked certificates",
                "name a list (CRL) of the signer's issuer, as DER, or one of its distribution points"};
}

std::string ReadText(const std::string& path, size_t most) {
  std::string data;
  if (read_up_to(path, most, data)) return data;
  throw Failure{ExitStatus::Input,
                ShownPath(path) + ": longer than " + std::to_string(most >> 20) + " MiB, so no list of names",
                "name a list, or split it"};
}

std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

void WriteData(std::string_view octets) {
  if (WriteAll(STDOUT_FILENO, OctetsOf(octets))) return;
  if (errno == EPIPE) throw ReaderGone{};
  throw FileFailure("standard output", "cannot be written", errno);
}

}  // namespace qex::tool
