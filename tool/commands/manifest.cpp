// Writing and checking manifests.
#include "tool/commands/manifest.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "tool/base/digest_list.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/process.h"
#include "tool/base/stop_request.h"
#include "tool/commands/many.h"

namespace qex::tool {
namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxManifest = size_t{256} << 20;

// One for each length of digest: a line of a list does not name its algorithm.
constexpr const char* kListHashes[] = {"sha256", "sha384", "sha512"};

// The place of a file, by any path to its folder. A link to a file is a file of its own. Throws a Failure for
// a relative path when the working folder has been removed.
fs::path place_of(const std::string& path) {
  std::error_code error;
  const fs::path whole = fs::absolute(path, error).lexically_normal();
  if (error) throw FileFailure(path, "cannot be found from the working folder", error.value());
  const fs::path folder = fs::canonical(whole.parent_path(), error);
  return error ? whole : folder / whole.filename();
}

std::string folder_of(const std::string& list) {
  return list.substr(0, list.rfind('/') + 1);
}

// The list, and its stamp next to it.
[[nodiscard]] bool is_of_list(const fs::path& place, const fs::path& list) {
  return place == list || place == list.string() + ".tsr" || place == list.string() + ".tsq";
}

// The digest as hexadecimal text; a failure crosses the pipe as line and reason.
Outcome digest_outcome(const std::string& path, const HashAlgorithm& hash, const Options& options) {
  Outcome outcome;
  try {
    outcome.output = ToHex(HashFile(path, hash, options));
  } catch (const Failure& failure) {
    outcome.exit = failure.exit;
    outcome.line = failure.message;
    outcome.reason = failure.hint;
  }
  return outcome;
}

class Paths : public TaskSource {
 public:
  explicit Paths(const std::vector<std::string>& paths) : paths_(paths) {}
  std::optional<Task> Take() override {
    if (next_ == paths_.size()) return std::nullopt;
    return Task{paths_[next_++]};
  }

 private:
  const std::vector<std::string>& paths_;
  size_t next_ = 0;
};

std::vector<std::string> digests_of(const std::vector<std::string>& paths, const HashAlgorithm& hash,
                                    size_t jobs, const Options& options) {
  Options quiet = options;
  quiet.progress = false;
  const LaneWork work{[&hash, quiet] {
                        return [&hash, quiet](const std::string& path) {
                          return digest_outcome(path, hash, quiet);
                        };
                      },
                      [](const std::string& path) {
                        Outcome outcome;
                        outcome.exit = ExitStatus::Internal;
                        outcome.line = ShownPath(path) + ": the process that read it ended";
                        outcome.reason = "run the command again";
                        return outcome;
                      }};
  std::vector<std::string> digests;
  const OutcomeSink sink = [&digests](std::span<const Outcome> outcomes) {
    for (const Outcome& outcome : outcomes) {
      if (outcome.exit != ExitStatus::Ok) throw Failure{outcome.exit, outcome.line, outcome.reason};
      digests.push_back(outcome.output);
    }
  };
  Paths source(paths);
  const StopRequest stop;
  RunLanes(source, std::min(LaneCount(jobs), std::max<size_t>(1, paths.size())), work, sink, stop);
  if (stop.Came() != 0) EndBySignal(stop.Came());
  return digests;
}

struct Manifest {
  std::vector<DigestEntry> entries;
  size_t unreadable = 0;
  size_t firstUnreadable = 0;  // number of the line, from 1
};

[[nodiscard]] std::optional<DigestEntry> entry_of(std::string_view line) {
  for (const char* name : kListHashes) {
    if (auto entry = ParseDigestLine(line, *FindHash(std::string_view(name)))) return entry;
  }
  return std::nullopt;
}

Manifest parse(std::string_view text) {
  Manifest manifest;
  for (size_t number = 1; !text.empty(); ++number) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (IsDigestComment(line)) continue;
    if (auto entry = entry_of(line)) {
      manifest.entries.push_back(std::move(*entry));
    } else if (manifest.unreadable++ == 0) {
      manifest.firstUnreadable = number;
    }
  }
  return manifest;
}

[[nodiscard]] std::optional<Failure> failure_of(const Manifest& manifest, const std::string& list) {
  const char* hint = "the list is not one that 'qex stamp --manifest' or sha256sum wrote";
  if (manifest.unreadable != 0) {
    return Failure{ExitStatus::Input,
                   ShownPath(list) + ": line " + std::to_string(manifest.firstUnreadable) +
                       " is not a digest and a name, and " + std::to_string(manifest.unreadable - 1) +
                       " others are not",
                   hint};
  }
  if (manifest.entries.empty()) return Failure{ExitStatus::Input, ShownPath(list) + ": names no file", hint};
  return std::nullopt;
}

// The frames of the tasks. The first one is for the list itself, and empty except for its kind.
constexpr char kList = 'L';
constexpr char kEntry = 'E';

std::string frame_of(const DigestEntry& entry, const std::string& path) {
  std::string frame(1, kEntry);
  AppendPart(frame, entry.hash->name);
  AppendPart(frame, ToHex(entry.digest));
  AppendPart(frame, path);
  return frame;
}

// Everything in the folders that the list does not name, of any kind; none of it is opened.
void add_additional(std::vector<Subject>& subjects, const std::vector<std::string>& folders,
                    const std::string& list, const Manifest& manifest) {
  const fs::path listPlace = place_of(list);
  std::set<fs::path> known;
  for (const DigestEntry& entry : manifest.entries) {
    known.insert(place_of(entry.name.starts_with('/') ? entry.name : folder_of(list) + entry.name));
  }
  SubjectOptions options;
  options.folders = folders;
  for (Subject& subject : FindSubjects(options, FolderRule::Entries)) {
    if (!subject.failure) {
      const fs::path place = place_of(subject.name);
      if (known.contains(place) || is_of_list(place, listPlace)) continue;
      subject.failure = Failure{ExitStatus::CheckFailed, ShownPath(subject.name) + ": is not in the list",
                                "it was added after the list was made; stamp it, or take it away"};
    }
    subjects.push_back(std::move(subject));
  }
}

std::vector<Subject> subjects_of(const std::string& list, const Manifest& manifest,
                                 const std::vector<std::string>& folders) {
  std::vector<Subject> subjects;
  subjects.push_back({.name = list, .named = true, .frame = std::string(1, kList)});
  if (auto failure = failure_of(manifest, list)) {
    subjects.push_back({.name = list, .named = true, .failure = std::move(*failure)});
  }
  for (const DigestEntry& entry : manifest.entries) {
    std::string path = entry.name.starts_with('/') ? entry.name : folder_of(list) + entry.name;
    std::string frame = frame_of(entry, path);
    subjects.push_back({.name = std::move(path), .frame = std::move(frame)});
  }
  add_additional(subjects, folders, list, manifest);
  return subjects;
}

// Compares one file with its line; throws a Failure. A line may name its own algorithm, and a digest that
// two files can share proves nothing of either.
void compare(const HashAlgorithm& hash, const std::string& digest, const std::string& path,
             const Options& options) {
  if (hash.strength == Strength::Weak && !options.allowWeak) {
    throw Failure{ExitStatus::CheckFailed,
                  ShownPath(path) + ": the list has a weak digest of it, " + hash.name,
                  "collisions of this hash are known; --allow-weak accepts it all the same"};
  }
  if (FileExists(path) && !IsRegularFile(path)) {
    throw Failure{ExitStatus::File, ShownPath(path) + ": is no regular file",
                  "such a file is not opened because a list names it"};
  }
  if (ToHex(HashFile(path, hash, options)) == digest) return;
  throw Failure{ExitStatus::CheckFailed, ShownPath(path) + ": differs from the list",
                "the file was changed after the list was made"};
}

Outcome entry_outcome(std::string_view frame, const std::string& list, const Options& options) {
  const std::string hash(TakePart(frame).value());
  const std::string digest(TakePart(frame).value());
  const std::string path(TakePart(frame).value());
  Outcome outcome;
  try {
    compare(HashNamed(hash), digest, path, options);
  } catch (const Failure& failure) {
    outcome = OutcomeOf(failure, "verify", path, options);
    if (failure.exit == ExitStatus::CheckFailed) outcome.reason = "digest";
    return outcome;
  }
  outcome.line = "pass  " + ShownPath(path) + "   as in the list";
  if (options.json) {
    Json document = NewDocument("verify", path);
    document["manifest"] = list;
    document["digest"] = hash + ":" + digest;
    outcome.output = JsonLine(std::move(document));
  }
  return outcome;
}

}  // namespace

const HashAlgorithm& ManifestHash(const std::string& name) {
  const HashAlgorithm& hash = HashNamed(name);
  for (const char* one : kListHashes) {
    if (std::string_view(hash.name) == one) return hash;
  }
  throw UsageFailure(std::string("a manifest has no digests by ") + hash.name,
                     "use --hash sha256, sha384 or sha512, of which sha256sum and its relatives write lists");
}

std::string MakeManifest(const std::string& list, const std::vector<Subject>& files,
                         const HashAlgorithm& hash, size_t jobs, const Options& options) {
  const fs::path listPlace = place_of(list);
  std::vector<std::string> names;
  std::vector<std::string> paths;
  std::set<fs::path> seen;
  for (const Subject& file : files) {
    if (file.failure) throw Failure{*file.failure};
    const fs::path place = place_of(file.name);
    if (is_of_list(place, listPlace) || !seen.insert(place).second) continue;
    names.push_back(place.lexically_relative(listPlace.parent_path()).string());
    paths.push_back(file.name);
  }
  if (paths.empty()) {
    throw Failure{ExitStatus::Input, ShownPath(list) + ": there is no file to list",
                  "name files, or a folder with --dir"};
  }
  const std::vector<std::string> digests = digests_of(paths, hash, jobs, options);
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) text += DigestLine(FromHex(digests[i]).value(), names[i]);
  return text;
}

ExitStatus VerifyManifest(const std::string& list, const std::vector<std::string>& folders, size_t jobs,
                          const VerifyArguments& common, const Trust& trust, const Options& options) {
  // Read once, so that token and files are checked against the same list.
  VerifyArguments arguments = common;
  arguments.file = list;
  arguments.lineOnly = true;
  arguments.content = ReadText(list, kMaxManifest);
  const Manifest manifest = parse(*arguments.content);
  Options quiet = options;
  quiet.progress = false;
  const LaneWork work{[&arguments, &trust, &list, quiet] {
                        auto worker = std::make_shared<Worker>(trust);
                        return [&arguments, &trust, &list, quiet, worker](const std::string& frame) {
                          if (frame.front() == kList) return VerifyOne(arguments, *worker, trust, quiet);
                          return entry_outcome(std::string_view(frame).substr(1), list, quiet);
                        };
                      },
                      [&list, quiet](const std::string& frame) {
                        std::string_view rest = std::string_view(frame).substr(1);
                        std::string path = list;
                        while (const auto part = TakePart(rest)) path = *part;
                        return LostOutcome("verify", path, quiet);
                      }};
  return RunMany("verify", subjects_of(list, manifest, folders), jobs, work, options);
}

}  // namespace qex::tool
