// Files as the tool reads and writes them: `-` is standard input or output, and a file that is
// written appears whole or not at all.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "tool/base/bytes.h"

namespace qex::tool {

// Messages and certificates are small; what is longer than this is none.
inline constexpr size_t kMaxMessage = size_t{16} << 20;

inline bool IsStandardStream(std::string_view path) {
  return path == "-";
}

// ShownPath returns how a path is named in a line for people, with control characters escaped.
std::string ShownPath(std::string_view path);

// ReadMessage reads a whole file of at most kMaxMessage octets; throws a Failure.
Bytes ReadMessage(const std::string& path);

bool FileExists(const std::string& path);
bool IsDirectory(const std::string& path);

// BaseName returns what follows the last slash.
std::string BaseName(const std::string& path);

// KeepFile throws a usage Failure when `output`, which need not exist, leads to the regular file `input`: to
// be called before anything is made of a file that is to last.
void KeepFile(const std::string& input, const std::string& output);

// Output is what is to be written, and where.
struct Output {
  std::string path;
  ByteView data;
};

// WriteFiles writes files that belong together: each beside its target under another name, and when all
// are written they are renamed. When it throws a Failure, or SIGHUP, SIGINT or SIGTERM asks the process to
// end, nothing is left half done: the signals take effect when it is over. A target that is no regular
// file (a pipe, a device) is written directly and before all others, and there a signal takes effect at once.
void WriteFiles(std::initializer_list<Output> outputs);

// WriteOutput writes `data` to `path`, or to standard output. Binary data is not written to a
// terminal: that is a usage failure with `hint`.
void WriteOutput(const std::string& path, ByteView data, const std::string& hint);

// WriteData writes octets to standard output as they are; throws a Failure when that cannot be written, and
// ReaderGone when nobody reads it any more.
void WriteData(std::string_view octets);

}  // namespace qex::tool
