// The steps of one output.
#include "tool/base/output_file.h"

#include <unistd.h>

#include <cerrno>

#include "tool/base/failure.h"
#include "tool/base/files.h"

namespace qex::tool {

Failure ExistsAlready(const std::string& target) {
  return {ExitStatus::File, ShownPath(target) + ": exists already",
          "replace it with --force, or name another file with -o"};
}

OutputFile::OutputFile(const Output& output, bool force)
    : target_(output.path), force_(force), room_(output.room) {
  if (IsStandardStream(target_)) {
    way_ = Way::Standard;
    if (!output.terminalHint.empty() && IsTerminal(STDOUT_FILENO)) {
      throw UsageFailure("standard output is a terminal, and the output is binary", output.terminalHint);
    }
    return;
  }
  find_place(output);
}

bool OutputFile::LeadsTo(const FileIdentity& input) const {
  return there_ && RegularFileAt(path_) == input;
}

void OutputFile::MakeTemporary() {
  if (!IsFile()) return;
  if (there_ && !force_) throw ExistsAlready(target_);
  temporary_.emplace(path_, target_);
  if (const int error = temporary_->KeepFree(room_)) throw FileFailure(target_, "cannot be written", error);
}

void OutputFile::WriteTemporary(ByteView data) {
  if (const int error = temporary_->Write(data)) throw FileFailure(target_, "cannot be written", error);
}

void OutputFile::WriteDirectly(ByteView data) const {
  const bool standard = way_ == Way::Standard;
  const int fd = standard ? STDOUT_FILENO : open_device();
  const int error = fd >= 0 && WriteAll(fd, data) ? 0 : errno;
  if (!standard && fd >= 0) CloseDescriptor(fd);
  if (standard && error == EPIPE) throw ReaderGone{};
  if (error != 0) throw FileFailure(standard ? "standard output" : target_, "cannot be written", error);
}

}  // namespace qex::tool
