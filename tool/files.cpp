// Reading and writing files.
#include "tool/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "tool/escape.h"
#include "tool/failure.h"

namespace qex::tool {
namespace {

Failure file_failure(const std::string& path, const char* what, int error) {
  std::string hint;
  switch (error) {
    case ENOENT: hint = "look at the path: there is no such file or folder"; break;
    case EACCES:
    case EPERM: hint = "look at the permissions of the file and of the folders above it"; break;
    case ENOSPC:
    case EDQUOT: hint = "make room on the disk, then run the command again"; break;
    case EISDIR: hint = "name a file, not a folder"; break;
    default: hint = "look at the path and at the file system that it is on"; break;
  }
  return {ExitStatus::File, ShownPath(path) + ": " + what + ": " + std::strerror(error), hint};
}

// Writes all octets; false with errno set.
bool write_all(int fd, ByteView data) {
  while (!data.empty()) {
    const ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data = data.subspan(static_cast<size_t>(n));
  }
  return true;
}

// The permissions that a newly created file has.
mode_t new_file_mode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

std::string resolve_links(const std::string& path) {
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return path;
  char* real = ::realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string place(real);
  std::free(real);
  return place;
}

}  // namespace

std::string ShownPath(std::string_view path) {
  return IsStandardStream(path) ? "standard input" : Escaped(path);
}

Bytes ReadMessage(const std::string& path) {
  const bool standard = IsStandardStream(path);
  const int fd = standard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw file_failure(path, "cannot be opened", errno);
  Bytes data;
  int error = 0;
  while (data.size() <= kMaxMessage) {
    const size_t held = data.size();
    data.resize(held + 65536);
    const ssize_t n = ::read(fd, data.data() + held, 65536);
    data.resize(held + (n > 0 ? static_cast<size_t>(n) : 0));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) error = errno;
    if (n <= 0) break;
  }
  if (!standard) ::close(fd);
  if (error != 0) throw file_failure(path, "cannot be read", error);
  if (data.size() > kMaxMessage) {
    throw Failure{ExitStatus::Input, ShownPath(path) + ": longer than 16 MiB, so no time-stamp message",
                  "name the request, reply, token or certificate, not the stamped file"};
  }
  return data;
}

bool FileExists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

SignalsHeld::SignalsHeld() {
  sigset_t held;
  ::sigemptyset(&held);
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) ::sigaddset(&held, number);
  ::pthread_sigmask(SIG_BLOCK, &held, &before_);
}

SignalsHeld::~SignalsHeld() {
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

PendingFile::PendingFile(std::string target, ByteView data) : target_(std::move(target)) {
  place_ = resolve_links(target_);
  struct stat status {};
  if (::stat(place_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    if (S_ISDIR(status.st_mode)) throw file_failure(target_, "cannot be written", EISDIR);
    direct_.assign(data.begin(), data.end());
    return;
  }
  held_.emplace();
  std::string name = place_ + ".XXXXXX";
  const int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) throw file_failure(target_, "cannot be written", errno);
  temporary_ = name;
  const bool written = write_all(fd, data) && ::fchmod(fd, new_file_mode()) == 0 && ::fsync(fd) == 0;
  int error = written ? 0 : errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error != 0) {
    ::unlink(temporary_.c_str());  // the destructor of a half-built object does not run
    throw file_failure(target_, "cannot be written", error);
  }
}

PendingFile::~PendingFile() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void PendingFile::Commit() {
  if (temporary_.empty()) {
    const int fd = ::open(place_.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) throw file_failure(target_, "cannot be written", errno);
    const int error = write_all(fd, direct_) ? 0 : errno;
    ::close(fd);
    if (error != 0) throw file_failure(target_, "cannot be written", error);
    return;
  }
  if (::rename(temporary_.c_str(), place_.c_str()) != 0)
    throw file_failure(target_, "cannot be written", errno);
  temporary_.clear();
}

void WriteOutput(const std::string& path, ByteView data, const std::string& hint) {
  if (!IsStandardStream(path)) {
    PendingFile(path, data).Commit();
    return;
  }
  if (::isatty(STDOUT_FILENO) != 0) {
    throw UsageFailure("standard output is a terminal, and the output is binary", hint);
  }
  WriteText({reinterpret_cast<const char*>(data.data()), data.size()});
}

void WriteText(std::string_view text) {
  const ByteView data{reinterpret_cast<const uint8_t*>(text.data()), text.size()};
  if (!write_all(STDOUT_FILENO, data)) throw file_failure("standard output", "cannot be written", errno);
}

}  // namespace qex::tool
