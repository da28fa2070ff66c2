// Names that no other file has, and the entry that has a signal remove the file.
// clang-format off
#include <windows.h>
// clang-format on
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "tool/base/files.h"
#include "tool/base/system.h"
#include "tool/base/temporary_file.h"

namespace qex::tool {
namespace {

std::string temporary_name(const std::string& path) {
  uint64_t random = 0;
  if (!FillRandom({reinterpret_cast<uint8_t*>(&random), sizeof random})) random = ::GetTickCount64();
  char name[32];
  std::snprintf(name, sizeof name, ".qex-%016llx", static_cast<unsigned long long>(random));
  const std::u8string whole = (PathOf(path).parent_path() / name).u8string();
  return {whole.begin(), whole.end()};
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& path, const std::string& target) {
  const SignalsHeld held;  // no file without its entry
  do {
    name_ = temporary_name(path);
    fd_ = ::_wopen(PathOf(name_).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                   _S_IREAD | _S_IWRITE);
  } while (fd_ < 0 && errno == EEXIST);
  if (fd_ < 0) throw FileFailure(target, "cannot be written", errno);
  try {
    entry_.emplace(name_);
  } catch (...) {
    ::_close(fd_);
    ::DeleteFileW(PathOf(name_).c_str());
    throw;
  }
}

// An open file cannot be removed.
TemporaryFile::~TemporaryFile() {
  const SignalsHeld held;
  if (fd_ >= 0) ::_close(fd_);
  ::DeleteFileW(PathOf(name_).c_str());
}

// No command of this build asks for room: its outputs are written as soon as they are known.
int TemporaryFile::KeepFree(uint64_t /*room*/) const {
  return 0;
}

int TemporaryFile::Write(ByteView data) {
  int error = WriteAll(fd_, data) && ::_commit(fd_) == 0 ? 0 : errno;
  if (::_close(std::exchange(fd_, -1)) != 0 && error == 0) error = errno;
  return error;
}

}  // namespace qex::tool
