// Reading and writing files.
#include "tool/base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <list>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tool/base/escape.h"
#include "tool/base/failure.h"

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

// Where an output goes.
struct Place {
  std::string target;  // as the user named it
  std::string path;    // where a link leads to
  ByteView data;
  bool direct;  // what is there is no regular file
};

Place place_of(const Output& output) {
  const std::string path = resolve_links(output.path);
  struct stat status {};
  const bool there = ::stat(path.c_str(), &status) == 0;
  if (there && S_ISDIR(status.st_mode)) throw file_failure(output.path, "cannot be written", EISDIR);
  return {output.path, path, output.data, there && !S_ISREG(status.st_mode)};
}

void write_directly(const Place& place) {
  const int fd = ::open(place.path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) throw file_failure(place.target, "cannot be written", errno);
  const int error = write_all(fd, place.data) ? 0 : errno;
  ::close(fd);
  if (error != 0) throw file_failure(place.target, "cannot be written", error);
}

// The signals that ask a process to end, and what came of them last while they were held.
constexpr std::array kHeld{SIGHUP, SIGINT, SIGTERM};
std::atomic<int> signalThatCame{0};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void note_signal(int number) {
  signalThatCame = number;
}

// Keeps these signals waiting while it lives. A handler does that for every thread, also for one of
// libcurl's that still looks up a name, where a mask holds for one thread alone.
class SignalsHeld {
 public:
  SignalsHeld() {
    signalThatCame = 0;
    struct sigaction noting {};
    noting.sa_handler = note_signal;
    noting.sa_flags = SA_RESTART;
    for (size_t i = 0; i < kHeld.size(); ++i) ::sigaction(kHeld[i], &noting, &before_[i]);
  }
  ~SignalsHeld() {
    for (size_t i = 0; i < kHeld.size(); ++i) ::sigaction(kHeld[i], &before_[i], nullptr);
    if (const int number = signalThatCame; number != 0) ::raise(number);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  std::array<struct sigaction, kHeld.size()> before_{};
};

// A file that is written beside its place under another name, and renamed by Commit. Without Commit
// nothing stays of it.
class Temporary {
 public:
  explicit Temporary(Place place) : place_(std::move(place)), name_(place_.path + ".XXXXXX") {
    const int fd = ::mkostemp(name_.data(), O_CLOEXEC);
    if (fd < 0) throw file_failure(place_.target, "cannot be written", errno);
    const bool written = write_all(fd, place_.data) && ::fchmod(fd, new_file_mode()) == 0 && ::fsync(fd) == 0;
    int error = written ? 0 : errno;
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error != 0) {
      ::unlink(name_.c_str());  // the destructor of a half-built object does not run
      throw file_failure(place_.target, "cannot be written", error);
    }
  }
  ~Temporary() {
    if (!name_.empty()) ::unlink(name_.c_str());
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  void Commit() {
    if (::rename(name_.c_str(), place_.path.c_str()) != 0)
      throw file_failure(place_.target, "cannot be written", errno);
    name_.clear();
  }

 private:
  Place place_;
  std::string name_;  // empty: renamed
};

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

void KeepFile(const std::string& input, const std::string& output) {
  struct stat status {};
  if (IsStandardStream(input) || IsStandardStream(output)) return;
  if (::stat(input.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  std::error_code none;  // a path that leads nowhere is itself
  if (std::filesystem::weakly_canonical(input, none) != std::filesystem::weakly_canonical(output, none))
    return;
  throw UsageFailure(ShownPath(input) + ": would be lost under the output " + ShownPath(output),
                     "name another file with -o");
}

void WriteFiles(std::initializer_list<Output> outputs) {
  std::vector<Place> places;
  for (const Output& output : outputs) places.push_back(place_of(output));
  // A pipe may keep its writer waiting for ever: until then nothing is held and no temporary stands.
  for (const Place& place : places) {
    if (place.direct) write_directly(place);
  }
  const SignalsHeld held;
  std::list<Temporary> temporaries;
  for (const Place& place : places) {
    if (!place.direct) temporaries.emplace_back(place);
  }
  for (Temporary& temporary : temporaries) temporary.Commit();
}

void WriteOutput(const std::string& path, ByteView data, const std::string& hint) {
  if (!IsStandardStream(path)) {
    WriteFiles({{path, data}});
    return;
  }
  if (::isatty(STDOUT_FILENO) != 0) {
    throw UsageFailure("standard output is a terminal, and the output is binary", hint);
  }
  WriteData({reinterpret_cast<const char*>(data.data()), data.size()});
}

void WriteData(std::string_view octets) {
  if (write_all(STDOUT_FILENO, {reinterpret_cast<const uint8_t*>(octets.data()), octets.size()})) return;
  if (errno == EPIPE) throw ReaderGone{};
  throw file_failure("standard output", "cannot be written", errno);
}

}  // namespace qex::tool
