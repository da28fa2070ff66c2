// Finding subjects: walking folders and reading lists of names.
#include "tool/commands/subjects.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <CLI/CLI.hpp>

#include "tool/base/files.h"
#include "tool/commands/lanes.h"

namespace qex::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kReply = ".tsr";
constexpr std::string_view kRequest = ".tsq";
constexpr size_t kMaxNameList = size_t{1} << 30;

[[nodiscard]] bool exists(const std::string& path) {
  std::error_code none;
  return fs::exists(fs::symlink_status(path, none));
}

// The regular files below a folder, links to them included; for Entries everything except folders. Links to
// folders are not followed, so there is no cycle. A folder that cannot be read is a subject that fails.
std::vector<std::string> files_below(const std::string& top, FolderRule rule,
                                     std::vector<Subject>& subjects) {
  std::vector<std::string> names;
  std::vector<std::string> folders{top};
  while (!folders.empty()) {
    const std::string folder = std::move(folders.back());
    folders.pop_back();
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
      std::error_code none;
      if (entry->is_directory(none) && !entry->is_symlink(none)) {
        folders.push_back(entry->path().string());
      } else if (rule == FolderRule::Entries || entry->is_regular_file(none)) {
        names.push_back(entry->path().string());
      }
    }
    if (error) {
      subjects.push_back(
          {.name = folder, .named = true, .failure = FileFailure(folder, "cannot be read", error.value())});
    }
  }
  std::ranges::sort(names);
  return names;
}

// A token without its file is a subject that fails.
void add_stamped(const std::string& token, std::vector<Subject>& subjects) {
  std::string name = token.substr(0, token.size() - kReply.size());
  if (IsRegularFile(name)) {
    subjects.push_back({std::move(name)});
  } else if (exists(name)) {
    Failure failure{ExitStatus::File, ShownPath(name) + ": is no regular file",
                    "name it alone to have it read"};
    subjects.push_back({.name = std::move(name), .failure = std::move(failure)});
  } else {
    Failure failure{ExitStatus::File, ShownPath(token) + ": the file that it belongs to is not beside it",
                    "look for the file; a token alone is checked with --token"};
    subjects.push_back({.name = token, .failure = std::move(failure)});
  }
}

// A file next to something under the name of its reply that is not a reply: it is not stamped, and cannot be.
Subject blocked(std::string name) {
  const std::string token = name + std::string(kReply);
  std::error_code none;
  const char* what = fs::is_symlink(token, none) ? ": is a link that leads to no file" : ": is no file";
  Failure failure{ExitStatus::File, ShownPath(token) + what, "take it away, and the file is stamped"};
  return {.name = std::move(name), .failure = std::move(failure)};
}

[[nodiscard]] bool is_stampable(const std::string& path) {
  return !path.ends_with(kReply) && !path.ends_with(kRequest);
}

[[nodiscard]] bool is_meant(const std::string& path, FolderRule rule) {
  switch (rule) {
    case FolderRule::Stamped: return path.ends_with(kReply) && BaseName(path) != kReply;
    case FolderRule::Unstamped: return is_stampable(path) && !IsRegularFile(path + std::string(kReply));
    case FolderRule::Stampable: return is_stampable(path);
    case FolderRule::Every:
    case FolderRule::Entries: return true;
  }
  return false;
}

// A folder in which the rule selects nothing. If every file in it is stamped, that is fine.
[[nodiscard]] std::optional<Failure> failure_of_idle(const std::string& folder, FolderRule rule, bool empty) {
  if (rule == FolderRule::Stamped) {
    return Failure{ExitStatus::Input,
                   ShownPath(folder) + ": no file of this folder has a token (.tsr) beside it",
                   "name the folder of the stamped files; tokens kept elsewhere are checked with --token"};
  }
  if (!empty) return std::nullopt;
  return Failure{ExitStatus::Input, ShownPath(folder) + ": there is no file in this folder",
                 "name another folder, or the files"};
}

void add_folder(const std::string& folder, FolderRule rule, std::vector<Subject>& subjects) {
  const size_t before = subjects.size();
  std::vector<std::string> names = files_below(folder, rule, subjects);
  for (std::string& name : names) {
    if (!is_meant(name, rule)) continue;
    if (rule == FolderRule::Stamped) {
      add_stamped(name, subjects);
    } else if (rule == FolderRule::Unstamped && exists(name + std::string(kReply))) {
      subjects.push_back(blocked(std::move(name)));
    } else {
      subjects.push_back({name});
    }
  }
  if (subjects.size() != before) return;
  if (auto failure = failure_of_idle(folder, rule, names.empty())) {
    subjects.push_back({.name = folder, .named = true, .failure = std::move(*failure)});
  }
}

void add_list(const std::string& list, bool nulSeparated, std::vector<Subject>& subjects) {
  const size_t before = subjects.size();
  try {
    const std::string text = ReadText(list, kMaxNameList);
    const char separator = nulSeparated ? '\0' : '\n';
    for (std::string_view rest = text; !rest.empty();) {
      const size_t end = std::min(rest.find(separator), rest.size());
      if (end > 0) subjects.push_back({std::string(rest.substr(0, end))});
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
  } catch (const Failure& failure) {
    subjects.push_back({.name = list, .named = true, .failure = failure});
  }
  if (subjects.size() != before) return;
  subjects.push_back({.name = list,
                      .named = true,
                      .failure = Failure{ExitStatus::Input, ShownPath(list) + ": names no file",
                                         "a list has a name a line, or with -0 a NUL after each"}});
}

// Names that lead to no file, or to one that is opened only when the command line names it.
void refuse_names(std::vector<Subject>& subjects) {
  for (Subject& subject : subjects) {
    if (subject.failure) continue;
    if (IsStandardStream(subject.name)) {
      subject.failure = UsageFailure("standard input is one of several subjects", "name it alone");
    } else if (subject.name.find('\0') != std::string::npos) {
      subject.failure = Failure{ExitStatus::Input, "a name in the list holds a NUL", "read the list with -0"};
    } else if (!exists(subject.name)) {
      subject.failure = FileFailure(subject.name, "cannot be opened", ENOENT);
    } else if (!subject.named && exists(subject.name) && !IsRegularFile(subject.name)) {
      subject.failure = Failure{ExitStatus::File, ShownPath(subject.name) + ": is no regular file",
                                "such a file is opened only when it is named on the command line"};
    }
  }
}

}  // namespace

void AddSubjectOptions(CLI::App& app, SubjectOptions& options, const char* fileText, const char* folderText) {
  app.add_option("FILE", options.files, fileText);
  app.add_option("--dir", options.folders, folderText)->type_name("DIR")->allow_extra_args(false);
  CLI::Option* list =
      app.add_option("--list", options.lists, "the files that LIST names, one a line; - is standard input")
          ->type_name("LIST")
          ->allow_extra_args(false);
  app.add_flag("-0", options.nulSeparated, "names in lists end with a NUL")->needs(list);
  AddLanesOption(app, options.jobs);
}

std::vector<Subject> FindSubjects(const SubjectOptions& options, FolderRule rule) {
  if (std::ranges::count(options.lists, "-") > 1) {
    throw UsageFailure("--list - is given twice", "standard input is read once");
  }
  std::vector<Subject> subjects;
  for (const std::string& file : options.files) subjects.push_back({.name = file, .named = true});
  for (const std::string& folder : options.folders) add_folder(folder, rule, subjects);
  for (const std::string& list : options.lists) add_list(list, options.nulSeparated, subjects);
  if (rule != FolderRule::Entries) refuse_names(subjects);
  return subjects;
}

}  // namespace qex::tool
