// Files as the tool reads them, and standard output: `-` is standard input or output.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tool/base/bytes.h"
#include "tool/base/failure.h"

namespace qex::tool {

// Messages and certificates are small; longer files are refused.
inline constexpr size_t kMaxMessage = size_t{16} << 20;
// Lists of revoked certificates grow with their authority.
inline constexpr size_t kMaxRevocationList = size_t{64} << 20;

[[nodiscard]] inline bool IsStandardStream(std::string_view path) {
  return path == "-";
}

// ShownPath returns how a path is named in a line for people, with control characters escaped.
std::string ShownPath(std::string_view path);

// FileFailure describes a system error (errno) for a file, and the next step.
Failure FileFailure(const std::string& path, const char* what, int error);

// ReadMessage reads a whole file of at most kMaxMessage octets; throws a Failure.
Bytes ReadMessage(const std::string& path);

// ReadRevocationFile reads a whole file of at most kMaxRevocationList octets; throws a Failure.
Bytes ReadRevocationFile(const std::string& path);

// ReadText reads a whole file of at most `most` octets; throws a Failure.
std::string ReadText(const std::string& path, size_t most);

// These three are in system_*.cpp.
[[nodiscard]] bool FileExists(const std::string& path);
[[nodiscard]] bool IsDirectory(const std::string& path);
// IsRegularFile follows links.
[[nodiscard]] bool IsRegularFile(const std::string& path);

// BaseName returns the part after the last slash.
std::string BaseName(const std::string& path);
// FolderOf returns the part before it; . for a name without one.
std::string FolderOf(const std::string& path);

// WriteData writes octets to standard output unchanged; throws a Failure when writing fails, and ReaderGone
// when nobody reads it any more.
void WriteData(std::string_view octets);

}  // namespace qex::tool
