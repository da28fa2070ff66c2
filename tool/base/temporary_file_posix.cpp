// Names that no other file has, and the entry that has a signal remove the file.
#include "tool/base/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <utility>

#include "tool/base/files.h"
#include "tool/base/system.h"

namespace qex::tool {
namespace {

constexpr mode_t kNewFileMode = 0666;  // less the bits of the caller's mask

// The name says whose the file is; it depends on no other name, so it is never too long for a folder that
// takes the output's own.
std::string temporary_name(const std::string& path) {
  uint64_t random = 0;
  if (!FillRandom({reinterpret_cast<uint8_t*>(&random), sizeof random})) {
    random = uint64_t(std::chrono::steady_clock::now().time_since_epoch().count());
  }
  char name[32];
  std::snprintf(name, sizeof name, "/.qex-%016llx", static_cast<unsigned long long>(random));
  return FolderOf(path) + name;
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& path, const std::string& target) {
  const SignalsHeld held;  // no file without its entry
  do {
    name_ = temporary_name(path);
    fd_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kNewFileMode);
  } while (fd_ < 0 && errno == EEXIST);
  if (fd_ < 0) throw FileFailure(target, "cannot be written", errno);
  try {
    entry_.emplace(name_);
  } catch (...) {
    ::unlink(name_.c_str());
    ::close(fd_);
    throw;
  }
}

TemporaryFile::~TemporaryFile() {
  const SignalsHeld held;
  if (fd_ >= 0) ::close(fd_);
  ::unlink(name_.c_str());
}

int TemporaryFile::KeepFree(uint64_t room) const {
  if (room == 0 || ::fallocate(fd_, FALLOC_FL_KEEP_SIZE, 0, off_t(room)) == 0) return 0;
  return errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL ? 0 : errno;
}

int TemporaryFile::Write(ByteView data) {
  const bool written = WriteAll(fd_, data) && ::ftruncate(fd_, off_t(data.size())) == 0 && ::fsync(fd_) == 0;
  int error = written ? 0 : errno;
  if (::close(std::exchange(fd_, -1)) != 0 && error == 0) error = errno;
  return error;
}

}  // namespace qex::tool
