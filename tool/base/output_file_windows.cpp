// Devices, and names that are taken. A file takes its name, and an older file's place, in one step.
// clang-format off
#include <windows.h>
// clang-format on
#include <fcntl.h>
#include <io.h>

#include <cerrno>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/output_file.h"

namespace qex::tool {
namespace {

[[nodiscard]] int errno_of(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: return ENOENT;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS: return EEXIST;
    case ERROR_DISK_FULL: return ENOSPC;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION: return EACCES;
    default: return EIO;
  }
}

// NUL and other names of devices are files in every folder.
[[nodiscard]] bool is_device(const std::string& path) {
  const HANDLE file = ::CreateFileW(PathOf(path).c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool device = ::GetFileType(file) != FILE_TYPE_DISK;
  ::CloseHandle(file);
  return device;
}

}  // namespace

void OutputFile::find_place(const Output& /*output*/) {
  path_ = target_;
  if (is_device(path_)) {
    way_ = Way::Direct;
    return;
  }
  there_ = FileExists(path_);
  if (IsDirectory(path_)) throw FileFailure(target_, "cannot be written", EISDIR);
}

int OutputFile::open_device() const {
  return ::_wopen(PathOf(path_).c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
}

void OutputFile::TakeName() {
  const DWORD how = MOVEFILE_WRITE_THROUGH | (force_ ? MOVEFILE_REPLACE_EXISTING : 0);
  const bool before = FileExists(path_);
  if (::MoveFileExW(PathOf(temporary_->Name()).c_str(), PathOf(path_).c_str(), how) != 0) {
    taken_ = before ? Taken::Replaced : Taken::New;
    return;
  }
  const int error = errno_of(::GetLastError());
  if (error == EEXIST) throw ExistsAlready(target_);
  throw FileFailure(target_, "cannot be written", error);
}

// An older file that was replaced does not come back; no command of this build has two outputs.
void OutputFile::GiveNameBack() {
  if (taken_ == Taken::New) ::DeleteFileW(PathOf(path_).c_str());
  taken_ = Taken::No;
}

// A command with one output needs no lock, and MoveFileEx has written the name.
FolderLock::FolderLock(const std::string& /*folder*/, bool /*wanted*/) : fd_(-1) {}

FolderLock::~FolderLock() = default;

void FolderLock::Release() {}

}  // namespace qex::tool
