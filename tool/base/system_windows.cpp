// The operating system by Windows. Paths are UTF-8 in the tool, and UTF-16 in every call.
#include "tool/base/system.h"

// clang-format off
#include <windows.h>
#include <ntsecapi.h>
// clang-format on
#include <fcntl.h>
#include <io.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

#include "tool/base/files.h"

namespace qex::tool {
namespace {

namespace fs = std::filesystem;

// One call of the C runtime takes its length as an int; a console takes less at once.
constexpr size_t kMostAtOnce = size_t{1} << 20;

HANDLE handle_of(int fd) {
  return reinterpret_cast<HANDLE>(::_get_osfhandle(fd));
}

[[nodiscard]] std::optional<FileIdentity> identity_of(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION about{};
  if (file == INVALID_HANDLE_VALUE || ::GetFileType(file) != FILE_TYPE_DISK ||
      ::GetFileInformationByHandle(file, &about) == 0 ||
      (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return std::nullopt;
  }
  return FileIdentity{about.dwVolumeSerialNumber, uint64_t{about.nFileIndexHigh} << 32 | about.nFileIndexLow};
}

}  // namespace

fs::path PathOf(const std::string& path) {
  return std::u8string(path.begin(), path.end());
}

// The C runtime reports a folder as a file that may not be opened.
int OpenToRead(const std::string& path) {
  const int fd = ::_wopen(PathOf(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  if (fd < 0 && errno == EACCES && IsDirectory(path)) errno = EISDIR;
  return fd;
}

void CloseDescriptor(int fd) {
  ::_close(fd);
}

ptrdiff_t ReadSome(int fd, void* data, size_t size) {
  return ::_read(fd, data, unsigned(std::min(size, kMostAtOnce)));
}

bool WriteAll(int fd, ByteView data) {
  while (!data.empty()) {
    const int n = ::_write(fd, data.data(), unsigned(std::min(data.size(), kMostAtOnce)));
    if (n < 0) {
      // A pipe whose reader has gone is an invalid argument to the C runtime.
      if (errno == EINVAL && ::GetFileType(handle_of(fd)) == FILE_TYPE_PIPE) errno = EPIPE;
      return false;
    }
    data = data.subspan(size_t(n));
  }
  return true;
}

uint64_t SizeOfRegular(int fd) {
  const HANDLE file = handle_of(fd);
  LARGE_INTEGER size{};
  const bool known = identity_of(file) && ::GetFileSizeEx(file, &size) != 0;
  return known ? uint64_t(size.QuadPart) : 0;
}

// The C runtime treats every device as a terminal, NUL too.
bool IsTerminal(int fd) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle_of(fd), &mode) != 0;
}

bool FillRandom(std::span<uint8_t> octets) {
  if (::RtlGenRandom(octets.data(), ULONG(octets.size())) != 0) return true;
  errno = EIO;
  return false;
}

// Windows has streams over files alone.
std::string WrittenText(const std::function<void(FILE*)>& write) {
  wchar_t folder[MAX_PATH + 1];
  wchar_t name[MAX_PATH + 1];
  if (::GetTempPathW(MAX_PATH + 1, folder) == 0 || ::GetTempFileNameW(folder, L"qex", 0, name) == 0) {
    throw FileFailure("temporary file", "cannot be made", EACCES);
  }
  const int fd = ::_wopen(name, _O_RDWR | _O_BINARY | _O_NOINHERIT | _O_TEMPORARY);
  if (fd < 0) throw FileFailure("temporary file", "cannot be opened", errno);
  FILE* stream = ::_fdopen(fd, "w+b");
  if (stream == nullptr) throw std::bad_alloc();
  write(stream);
  const bool written = std::fflush(stream) == 0 && std::ferror(stream) == 0;
  std::string text(size_t(std::max(::_lseeki64(fd, 0, SEEK_END), 0LL)), '\0');
  std::rewind(stream);
  const bool read = std::fread(text.data(), 1, text.size(), stream) == text.size();
  std::fclose(stream);  // which removes it
  if (!written || !read) throw FileFailure("temporary file", "cannot be used", EIO);
  return text;
}

// The library asks the system, not its C runtime; both are told.
bool SetVariable(const char* name, const char* value) {
  return ::_putenv_s(name, value) == 0 && ::SetEnvironmentVariableA(name, value) != 0;
}

bool HasNoRoom(int error) {
  return error == ENOSPC;
}

std::optional<FileIdentity> RegularFileAt(const std::string& path) {
  if (IsStandardStream(path)) return identity_of(handle_of(STDIN_FILENO));
  const HANDLE file =
      ::CreateFileW(PathOf(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  const std::optional<FileIdentity> identity = identity_of(file);
  if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
  return identity;
}

bool FileExists(const std::string& path) {
  std::error_code none;  // an answer of its own: there is none
  return fs::exists(PathOf(path), none);
}

bool IsRegularFile(const std::string& path) {
  return !IsStandardStream(path) && RegularFileAt(path).has_value();
}

bool IsDirectory(const std::string& path) {
  std::error_code none;
  return fs::is_directory(PathOf(path), none);
}

}  // namespace qex::tool
