// An unfinished file beside the place where it is to appear.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/interruption.h"

namespace qex::tool {

// TemporaryFile is created next to `path`, and nothing of it stays under its own name: not after its
// destruction, nor when a signal ends the process. Throws a Failure that names `target`.
class TemporaryFile {
 public:
  TemporaryFile(const std::string& path, const std::string& target);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // KeepFree returns 0 or the error; a file system that cannot reserve room is not an error.
  [[nodiscard]] int KeepFree(uint64_t room) const;

  // Write returns 0 or the error. The room that is left over is given back.
  [[nodiscard]] int Write(ByteView data);

  const std::string& Name() const { return name_; }

 private:
  std::string name_;
  int fd_ = -1;
  std::optional<RemovedOnSignal> entry_;
};

}  // namespace qex::tool
