// Checks the names of outputs, and gives finished temporary files these names.
#include "tool/base/outputs.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/interruption.h"
#include "tool/base/temporary_file.h"

namespace qex::tool {
namespace {

constexpr auto kLockPatience = std::chrono::seconds(10);  // signals are held meanwhile
constexpr auto kLockPause = std::chrono::milliseconds(10);

Failure exists_already(const std::string& target) {
  return {ExitStatus::File, ShownPath(target) + ": exists already",
          "replace it with --force, or name another file with -o"};
}

std::string resolve_links(const std::string& path) {
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return path;
  char* real = ::realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string place(real);
  std::free(real);
  return place;
}

// Locks the folder for one commit at a time, so that of several concurrent ones the files of one appear. The
// lock is advisory: if the file system has none, or another program keeps it, the files are renamed without
// it.
class FolderLock {
 public:
  FolderLock(const std::string& folder, bool wanted)
      : fd_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    while (wanted && fd_ >= 0 && ::flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK &&
           std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(kLockPause);
    }
  }
  ~FolderLock() {
    if (fd_ >= 0) ::close(fd_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  // Then the names, too, reach the disk.
  void release() {
    if (fd_ < 0) return;
    ::flock(fd_, LOCK_UN);
    ::fsync(fd_);
  }

 private:
  int fd_;
};

bool has_no_such_call(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

}  // namespace

// One output: its destination, and its progress.
class OutputFile {
 public:
  OutputFile(const Output& output, bool force) : target_(output.path), force_(force), room_(output.room) {
    if (IsStandardStream(target_)) {
      way_ = Way::Standard;
      if (!output.terminalHint.empty() && ::isatty(STDOUT_FILENO) != 0) {
        throw UsageFailure("standard output is a terminal, and the output is binary", output.terminalHint);
      }
      return;
    }
    refuse_link_of_another(output);
    path_ = resolve_links(target_);
    struct stat status {};
    there_ = ::lstat(path_.c_str(), &status) == 0;
    if (!there_ && errno != ENOENT) throw FileFailure(target_, "cannot be written", errno);
    // A link to a pipe without a name, such as /dev/stdout.
    struct stat opened {};
    if (there_ && S_ISLNK(status.st_mode) && ::stat(path_.c_str(), &opened) == 0) status = opened;
    if (!there_ || S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) return;
    if (S_ISDIR(status.st_mode)) throw FileFailure(target_, "cannot be written", EISDIR);
    if (output.found) {
      throw Failure{ExitStatus::File, ShownPath(target_) + ": is no regular file",
                    "remove it, or name another file with -o"};
    }
    way_ = Way::Direct;
    if (::faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0) {
      throw FileFailure(target_, "cannot be written", errno);
    }
  }

  bool is_file() const { return way_ == Way::File; }
  const std::string& path() const { return path_; }
  const std::string& target() const { return target_; }

  // `input` is the device and number of a file that is read.
  bool leads_to(const struct stat& input) const {
    struct stat status {};
    return there_ && ::stat(path_.c_str(), &status) == 0 && status.st_dev == input.st_dev &&
           status.st_ino == input.st_ino;
  }

  void make_temporary() {
    if (!is_file()) return;
    if (there_ && !force_) throw exists_already(target_);
    temporary_.emplace(path_, target_);
    if (const int error = temporary_->KeepFree(room_)) throw FileFailure(target_, "cannot be written", error);
  }

  void write_directly(ByteView data) const {
    const bool standard = way_ == Way::Standard;
    const int fd = standard ? STDOUT_FILENO : ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    const int error = fd >= 0 && WriteAll(fd, data) ? 0 : errno;
    if (!standard && fd >= 0) ::close(fd);
    if (standard && error == EPIPE) throw ReaderGone{};
    if (error != 0) throw FileFailure(standard ? "standard output" : target_, "cannot be written", error);
  }

  void write_temporary(ByteView data) {
    if (const int error = temporary_->Write(data)) throw FileFailure(target_, "cannot be written", error);
  }

  // An older file gets the temporary's name, from which it can be restored.
  void take_name() {
    const char* from = temporary_->Name().c_str();
    const char* to = path_.c_str();
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return taken(Taken::New);
    if (has_no_such_call(errno)) return take_name_by_link();
    if (errno != EEXIST) throw FileFailure(target_, "cannot be written", errno);
    if (!force_) throw exists_already(target_);
    if (IsDirectory(path_)) throw FileFailure(target_, "cannot be written", EISDIR);
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE) == 0) return taken(Taken::Swapped);
    replace();
  }

  void give_name_back() {
    const char* name = temporary_->Name().c_str();
    if (taken_ == Taken::New) ::unlink(path_.c_str());
    if (taken_ == Taken::Swapped) ::renameat2(AT_FDCWD, name, AT_FDCWD, path_.c_str(), RENAME_EXCHANGE);
    taken_ = Taken::No;
  }

  // Remove the file that still has the temporary's name: a second link, or the older file.
  void finish() { temporary_.reset(); }

 private:
  enum class Way { File, Standard, Direct };
  enum class Taken { No, New, Swapped, Replaced };

  void taken(Taken how) { taken_ = how; }

  void refuse_link_of_another(const Output& output) const {
    struct stat link {};
    if (!output.found || ::lstat(target_.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return;
    if (link.st_uid == ::geteuid()) return;
    throw Failure{ExitStatus::File, ShownPath(target_) + ": is a link that another user made",
                  "remove it, or name another file with -o"};
  }

  // For file systems on which renameat2 is not supported. An older file that is replaced there does not come
  // back.
  void take_name_by_link() {
    if (force_) return replace();
    if (::link(temporary_->Name().c_str(), path_.c_str()) != 0) {
      if (errno == EEXIST) throw exists_already(target_);
      throw FileFailure(target_, "cannot be written", errno);
    }
    taken(Taken::New);
  }

  void replace() {
    if (::rename(temporary_->Name().c_str(), path_.c_str()) != 0) {
      throw FileFailure(target_, "cannot be written", errno);
    }
    taken(Taken::Replaced);
  }

  std::string target_;  // as given by the caller
  std::string path_;    // where a link leads to
  Way way_ = Way::File;
  bool force_;
  uint64_t room_;
  bool there_ = false;
  Taken taken_ = Taken::No;
  std::optional<TemporaryFile> temporary_;
};

namespace {

void refuse_inputs(const std::list<OutputFile>& files, const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    struct stat status {};
    const bool known = IsStandardStream(input) ? ::fstat(STDIN_FILENO, &status) == 0
                                               : !input.empty() && ::stat(input.c_str(), &status) == 0;
    if (!known || !S_ISREG(status.st_mode)) continue;
    for (const OutputFile& file : files) {
      if (!file.is_file() || !file.leads_to(status)) continue;
      throw UsageFailure(ShownPath(input) + ": would be lost under the output " + ShownPath(file.target()),
                         "name another file with -o");
    }
  }
}

void refuse_one_file_for_two(const std::list<OutputFile>& files) {
  std::vector<std::filesystem::path> places;
  for (const OutputFile& file : files) {
    if (!file.is_file()) continue;
    std::error_code none;  // a path that leads nowhere is itself
    std::filesystem::path place = std::filesystem::weakly_canonical(file.path(), none);
    if (none) place = file.path();
    if (std::ranges::find(places, place) != places.end()) {
      throw UsageFailure(ShownPath(file.target()) + ": two outputs lead to this file",
                         "name another file with -o");
    }
    places.push_back(std::move(place));
  }
}

void name_all(const std::vector<OutputFile*>& files) {
  size_t done = 0;
  try {
    for (; done < files.size(); ++done) files[done]->take_name();
  } catch (...) {
    while (done > 0) files[--done]->give_name_back();
    throw;
  }
  for (OutputFile* file : files) file->finish();
}

}  // namespace

Outputs::Outputs(const std::vector<Output>& outputs, const std::vector<std::string>& inputs, bool force) {
  for (const Output& output : outputs) files_.emplace_back(output, force);
  refuse_inputs(files_, inputs);
  refuse_one_file_for_two(files_);
  for (OutputFile& file : files_) file.make_temporary();
}

Outputs::~Outputs() = default;

void Outputs::Commit(std::initializer_list<ByteView> data) {
  std::vector<std::pair<OutputFile*, ByteView>> files;
  auto octets = data.begin();
  for (OutputFile& file : files_) {
    if (file.is_file()) {
      files.emplace_back(&file, *octets);
    } else {
      file.write_directly(*octets);
    }
    ++octets;
  }
  if (files.empty()) return;
  const SignalsHeld held;
  std::vector<OutputFile*> written;
  for (const auto& [file, octetsOfIt] : files) {
    file->write_temporary(octetsOfIt);
    written.push_back(file);
  }
  FolderLock folder(FolderOf(written.front()->path()), written.size() > 1);
  name_all(written);
  folder.release();
}

}  // namespace qex::tool
