// Links, devices, and names that are taken and given back.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/output_file.h"

namespace qex::tool {
namespace {

constexpr auto kLockPatience = std::chrono::seconds(10);  // signals are held meanwhile
constexpr auto kLockPause = std::chrono::milliseconds(10);

void refuse_link_of_another(const Output& output) {
  struct stat link {};
  if (!output.found || ::lstat(output.path.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return;
  if (link.st_uid == ::geteuid()) return;
  throw Failure{ExitStatus::File, ShownPath(output.path) + ": is a link that another user made",
                "remove it, or name another file with -o"};
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

[[nodiscard]] bool has_no_such_call(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

}  // namespace

void OutputFile::find_place(const Output& output) {
  refuse_link_of_another(output);
  path_ = resolve_links(target_);
  struct stat status {};
  there_ = ::lstat(path_.c_str(), &status) == 0;
  if (!there_ && errno != ENOENT) throw FileFailure(target_, "cannot be written", errno);
  // A link to a pipe without a name, such as /dev/stdout.
  struct stat opened {};
  if (there_ && S_ISLNK(status.st_mode) && ::stat(path_.c_str(), &opened) == 0) status = opened;
  if (!there_ || S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) return;
  if (S_ISDIR(status.st_mode)) throw FileFailure(target_, "cannot be written", EISDIR);
  if (output.found) {
    throw Failure{ExitStatus::File, ShownPath(target_) + ": is no regular file",
                  "remove it, or name another file with -o"};
  }
  way_ = Way::Direct;
  if (::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0) {
    throw FileFailure(target_, "cannot be written", errno);
  }
}

int OutputFile::open_device() const {
  return ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
}

// An older file gets the temporary's name, from which it can be restored.
void OutputFile::TakeName() {
  const char* from = temporary_->Name().c_str();
  const char* to = path_.c_str();
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) {
    taken_ = Taken::New;
    return;
  }
  if (has_no_such_call(errno)) return take_name_by_link();
  if (errno != EEXIST) throw FileFailure(target_, "cannot be written", errno);
  if (!force_) throw ExistsAlready(target_);
  if (IsDirectory(path_)) throw FileFailure(target_, "cannot be written", EISDIR);
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE) == 0) {
    taken_ = Taken::Swapped;
    return;
  }
  replace();
}

void OutputFile::GiveNameBack() {
  const char* name = temporary_->Name().c_str();
  if (taken_ == Taken::New) ::unlink(path_.c_str());
  if (taken_ == Taken::Swapped) ::renameat2(AT_FDCWD, name, AT_FDCWD, path_.c_str(), RENAME_EXCHANGE);
  taken_ = Taken::No;
}

// For file systems on which renameat2 is not supported. An older file that is replaced there does not come
// back.
void OutputFile::take_name_by_link() {
  if (force_) return replace();
  if (::link(temporary_->Name().c_str(), path_.c_str()) != 0) {
    if (errno == EEXIST) throw ExistsAlready(target_);
    throw FileFailure(target_, "cannot be written", errno);
  }
  taken_ = Taken::New;
}

void OutputFile::replace() {
  if (::rename(temporary_->Name().c_str(), path_.c_str()) != 0) {
    throw FileFailure(target_, "cannot be written", errno);
  }
  taken_ = Taken::Replaced;
}

FolderLock::FolderLock(const std::string& folder, bool wanted)
    : fd_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
  while (wanted && fd_ >= 0 && ::flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kLockPause);
  }
}

FolderLock::~FolderLock() {
  if (fd_ >= 0) ::close(fd_);
}

void FolderLock::Release() {
  if (fd_ < 0) return;
  ::flock(fd_, LOCK_UN);
  ::fsync(fd_);
}

}  // namespace qex::tool
