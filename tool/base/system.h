// What the tool asks of the operating system beyond the C++ library, in one source for each kind of system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "tool/base/bytes.h"

namespace qex::tool {

// PathOf returns a path for the C++ library. Names of files are UTF-8 in the tool, or whatever octets POSIX
// has.
std::filesystem::path PathOf(const std::string& path);

// OpenToRead returns a descriptor, or -1 with errno set.
[[nodiscard]] int OpenToRead(const std::string& path);
void CloseDescriptor(int fd);

// ReadSome reads what is there, at most `size` octets; 0 at the end, -1 with errno set.
ptrdiff_t ReadSome(int fd, void* data, size_t size);

// WriteAll writes all octets to a descriptor; false with errno set.
[[nodiscard]] bool WriteAll(int fd, ByteView data);

// SizeOfRegular returns the size that a regular file says it has, 0 for anything else.
uint64_t SizeOfRegular(int fd);

[[nodiscard]] bool IsTerminal(int fd);

// FillRandom fills `octets` from the system's source; false with errno set.
[[nodiscard]] bool FillRandom(std::span<uint8_t> octets);

// WrittenText returns what `write` writes to a stream; throws std::bad_alloc when it cannot be kept.
std::string WrittenText(const std::function<void(FILE*)>& write);

// SetVariable sets a variable of the environment; false when it cannot.
[[nodiscard]] bool SetVariable(const char* name, const char* value);

// HasNoRoom returns whether an error (errno) says that a disk, or the caller's part of it, is full.
[[nodiscard]] bool HasNoRoom(int error);

// FileIdentity is the same for two paths that lead to one file.
struct FileIdentity {
  uint64_t device;
  uint64_t number;
  bool operator==(const FileIdentity&) const = default;
};

// RegularFileAt identifies the regular file that a path leads to, or standard input; nothing for anything
// else.
[[nodiscard]] std::optional<FileIdentity> RegularFileAt(const std::string& path);

}  // namespace qex::tool
