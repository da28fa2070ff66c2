// Files as the tool reads and writes them: `-` is standard input or output, and a file that is
// written appears whole or not at all.
#pragma once

#include <csignal>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/bytes.h"

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

// SignalsHeld keeps the signals that ask a process to end (SIGHUP, SIGINT, SIGTERM) waiting while it
// lives; they take effect when it goes. Several end in the reverse order.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_;
};

// PendingFile is a file on its way: written beside its target under another name, and renamed
// by Commit. Without Commit it leaves nothing behind, also when the process is told to end. A target
// that is no regular file (a pipe, a device) is written by Commit directly.
class PendingFile {
 public:
  // Writes `data` to the temporary; throws a Failure.
  PendingFile(std::string target, ByteView data);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  // Puts the file in its place; throws a Failure.
  void Commit();

 private:
  std::optional<SignalsHeld> held_;  // while there is a temporary
  std::string target_;               // as the user named it
  std::string place_;                // where a link leads to
  std::string temporary_;            // empty: none
  Bytes direct_;                     // for a target that is no regular file
};

// WriteOutput writes `data` to `path`, or to standard output. Binary data is not written to a
// terminal: that is a usage failure with `hint`.
void WriteOutput(const std::string& path, ByteView data, const std::string& hint);

// WriteText writes to standard output; throws a Failure when that cannot be written.
void WriteText(std::string_view text);

}  // namespace qex::tool
