// One output file of a command: its destination, and its progress. What finds the destination and gives a
// finished temporary its name is the operating system's, in output_file_*.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/failure.h"
#include "tool/base/outputs.h"
#include "tool/base/system.h"
#include "tool/base/temporary_file.h"

namespace qex::tool {

class OutputFile {
 public:
  // Throws a Failure for a name that cannot be written, and for binary output to a terminal.
  OutputFile(const Output& output, bool force);

  [[nodiscard]] bool IsFile() const { return way_ == Way::File; }
  const std::string& Path() const { return path_; }
  const std::string& Target() const { return target_; }

  // LeadsTo returns whether this is a file that is read.
  [[nodiscard]] bool LeadsTo(const FileIdentity& input) const;

  // The steps of a file; each throws a Failure.
  void MakeTemporary();
  void WriteTemporary(ByteView data);
  // TakeName has an older file replaced only if that was asked for.
  void TakeName();
  // GiveNameBack restores the older file, where the file system can do that.
  void GiveNameBack();
  // Finish removes the file that still has the temporary's name: a second link, or the older file.
  void Finish() { temporary_.reset(); }

  // WriteDirectly writes to standard output, a pipe or a device; throws a Failure, or ReaderGone.
  void WriteDirectly(ByteView data) const;

 private:
  enum class Way { File, Standard, Direct };
  enum class Taken { No, New, Swapped, Replaced };

  void find_place(const Output& output);
  [[nodiscard]] int open_device() const;
  void take_name_by_link();
  void replace();

  std::string target_;  // as given by the caller
  std::string path_;    // where a link leads to
  Way way_ = Way::File;
  bool force_;
  uint64_t room_;
  bool there_ = false;
  Taken taken_ = Taken::No;
  std::optional<TemporaryFile> temporary_;
};

// ExistsAlready is the failure for a name that has a file.
Failure ExistsAlready(const std::string& target);

// Locks the folder for one commit at a time, so that of several concurrent ones the files of one appear. The
// lock is advisory: if the file system has none, or another program keeps it, the files are renamed without
// it.
class FolderLock {
 public:
  FolderLock(const std::string& folder, bool wanted);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  // Then the names, too, reach the disk.
  void Release();

 private:
  int fd_;
};

}  // namespace qex::tool
