// The subjects of a command that accepts many: FILE..., --dir and --list, in any combination.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/failure.h"

namespace CLI {
class App;
}

namespace qex::tool {

struct SubjectOptions {
  std::vector<std::string> files;
  std::vector<std::string> folders;
  std::vector<std::string> lists;
  bool nulSeparated = false;
  size_t jobs = 0;  // 0: one a core

  // Whether one FILE is given alone, which is handled separately.
  [[nodiscard]] bool Single() const { return files.size() <= 1 && folders.empty() && lists.empty(); }
};

// One subject, or the reason why an expected one is missing.
struct Subject {
  std::string name;
  bool named = false;  // on the command line
  std::optional<Failure> failure = {};
  std::string frame = {};  // the frame for a lane, if it is more than the name
};

// Which files of a folder to select: those with a token next to them; those that are neither stamped nor a
// stamp; those that are not a stamp; every one; and for Entries also links that lead nowhere, pipes and
// devices. Entries are listed without further checks.
enum class FolderRule { Stamped, Unstamped, Stampable, Every, Entries };

void AddSubjectOptions(CLI::App& app, SubjectOptions& options, const char* fileText, const char* folderText);

// FindSubjects returns the subjects in the order of the command line: FILE..., folders, lists; those of a
// folder sorted. An unreadable one is a subject with a failure. Throws a usage failure for options that
// exclude each other.
std::vector<Subject> FindSubjects(const SubjectOptions& options, FolderRule rule);

}  // namespace qex::tool
