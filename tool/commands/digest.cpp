// qex digest: prints digests in the line formats of sha256sum, and checks lists of such lines.
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/digest_list.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/system.h"
#include "tool/commands/command.h"

namespace qex::tool {
namespace {

struct DigestArguments {
  std::vector<std::string> files;
  std::string hash = "sha256";
  bool tag = false;
  std::vector<std::string> lists;
};

[[nodiscard]] ExitStatus print_digests(const DigestArguments& arguments, const HashAlgorithm& hash,
                                       const Options& options) {
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    Json document = NewDocument("digest", file);
    std::string line;
    try {
      const Bytes digest = HashFile(file, hash, options);
      line = arguments.tag ? TaggedDigestLine(hash, digest, file) : DigestLine(digest, file);
      document["hash"] = hash.name;
      document["digest"] = ToHex(digest);
    } catch (const Failure& failure) {
      // The other files are digested all the same.
      status = Graver(status, failure.exit);
      WriteFailure(failure, options);
      SetFailure(document, failure);
    }
    if (options.json) {
      WriteJson(document);
    } else {
      WriteData(line);
    }
  }
  return status;
}

// A list names files that the user has not checked: a pipe among them would keep the command waiting, a
// device may never end.
void refuse_special_file(const std::string& name) {
  std::error_code none;  // a missing file is reported when it is opened
  const std::filesystem::file_status status = std::filesystem::status(PathOf(name), none);
  if (IsStandardStream(name) || !std::filesystem::is_other(status)) return;
  throw Failure{ExitStatus::File,
                ShownPath(name) + ": is a pipe, socket or device, and is not read for a list",
                "digest it by itself with 'qex digest FILE'"};
}

Failure check_entry(const DigestEntry& entry, const Options& options) {
  try {
    refuse_special_file(entry.name);
    if (HashFile(entry.name, *entry.hash, options) == entry.digest) return {ExitStatus::Ok, "", ""};
    return {ExitStatus::CheckFailed, ShownPath(entry.name) + ": differs from the list",
            "the file was changed, or the list belongs to another file"};
  } catch (const Failure& failure) {
    return failure;
  }
}

void tell_entry(const DigestEntry& entry, const Failure& result, const Options& options) {
  const bool good = result.exit == ExitStatus::Ok;
  if (options.json) {
    Json document = NewDocument("digest", entry.name);
    document["hash"] = entry.hash->name;
    document["expected"] = ToHex(entry.digest);
    if (!good) SetFailure(document, result);
    WriteJson(document);
  } else if (!good || !options.quiet) {
    const char* verdict = good                                     ? "OK"
                          : result.exit == ExitStatus::CheckFailed ? "FAILED"
                                                                   : "FAILED open or read";
    // The name may hold line feeds, and would then look like lines of its own.
    WriteText(Escaped(entry.name) + ": " + verdict + "\n");
  }
  if (!good) WriteFailure(result, options);
}

std::string read_list(const std::string& path) {
  try {
    const Bytes octets = ReadMessage(path);
    return {octets.begin(), octets.end()};
  } catch (const Failure& failure) {
    if (failure.exit != ExitStatus::Input) throw;
    throw Failure{ExitStatus::Input, ShownPath(path) + ": longer than 16 MiB, which no list may be",
                  "split the list: --check takes several"};
  }
}

// How the lines of a list fared.
struct LineTally {
  ExitStatus status = ExitStatus::Ok;
  size_t entries = 0;
  size_t unreadable = 0;
  size_t firstUnreadable = 0;  // number of the line, from 1
};

LineTally check_lines(std::string_view text, const HashAlgorithm& hash, const Options& options) {
  LineTally tally;
  for (size_t number = 1; !text.empty(); ++number) {
    const size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (IsDigestComment(line)) continue;
    if (const std::optional<DigestEntry> entry = ParseDigestLine(line, hash)) {
      ++tally.entries;
      const Failure result = check_entry(*entry, options);
      tell_entry(*entry, result, options);
      tally.status = Graver(tally.status, result.exit);
    } else if (tally.unreadable++ == 0) {
      tally.firstUnreadable = number;
    }
  }
  return tally;
}

// An ignored line may be the one that names the changed file: a list counts as checked only when every line
// of it was.
[[nodiscard]] std::optional<Failure> failure_of_list(const std::string& list, const LineTally& tally,
                                                     const HashAlgorithm& hash) {
  const std::string wanted = std::string("a line of a ") + hash.name + " digest and a name";
  if (tally.entries == 0) {
    return Failure{ExitStatus::Input, ShownPath(list) + ": no line is " + wanted,
                   "name the algorithm of the list with --hash"};
  }
  if (tally.unreadable == 0) return std::nullopt;
  const std::string first = std::to_string(tally.firstUnreadable);
  const std::string lines = tally.unreadable == 1 ? "line " + first + " cannot be read"
                                                  : std::to_string(tally.unreadable) +
                                                        " lines cannot be read, the first is line " + first;
  return Failure{ExitStatus::Input, ShownPath(list) + ": " + lines + ": not " + wanted,
                 "mend or remove such lines; lines of another algorithm are checked with --hash"};
}

[[nodiscard]] ExitStatus check_list(const std::string& list, const HashAlgorithm& hash,
                                    const Options& options) {
  const LineTally tally = check_lines(read_list(list), hash, options);
  const std::optional<Failure> failure = failure_of_list(list, tally, hash);
  const ExitStatus status = failure ? Graver(tally.status, failure->exit) : tally.status;
  if (failure) WriteFailure(*failure, options);
  if (options.json) {
    Json document = NewDocument("digest", list);
    if (failure) SetFailure(document, *failure);
    document["exit"] = int(status);
    document["entries"] = tally.entries;
    document["unreadable_lines"] = tally.unreadable;
    if (tally.unreadable != 0) document["first_unreadable_line"] = tally.firstUnreadable;
    WriteJson(document);
  }
  return status;
}

[[nodiscard]] ExitStatus check_lists(const DigestArguments& arguments, const HashAlgorithm& hash,
                                     const Options& options) {
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& list : arguments.lists) {
    try {
      status = Graver(status, check_list(list, hash, options));
    } catch (const Failure& failure) {
      status = Graver(status, failure.exit);
      WriteFailure(failure, options);
      if (!options.json) continue;
      Json document = NewDocument("digest", list);
      SetFailure(document, failure);
      WriteJson(document);
    }
  }
  return status;
}

std::string hash_names() {
  std::string names;
  for (const HashAlgorithm& hash : HashAlgorithms()) {
    names += (names.empty() ? "" : ", ") + std::string(hash.name);
  }
  return names;
}

}  // namespace

Run AddDigest(CLI::App& app) {
  auto arguments = std::make_shared<DigestArguments>();
  app.add_option("FILE", arguments->files, "files; - is standard input");
  app.add_option("--hash", arguments->hash, hash_names())->type_name("NAME");
  app.add_flag("--tag", arguments->tag, "write lines that name the algorithm: SHA256 (FILE) = HEX");
  app.add_option("--check", arguments->lists, "check the digests that the lists hold")->type_name("LIST");
  return [arguments](const Options& options) {
    const HashAlgorithm& hash = HashNamed(arguments->hash);
    if (!arguments->lists.empty()) {
      if (!arguments->files.empty()) {
        throw UsageFailure("--check takes no files beside its lists", "name the lists alone");
      }
      if (arguments->tag) {
        throw UsageFailure("--tag says how digests are written, and --check writes none",
                           "leave --tag out: lines of either form are read");
      }
      return check_lists(*arguments, hash, options);
    }
    if (arguments->files.empty()) arguments->files.emplace_back("-");
    return print_digests(*arguments, hash, options);
  };
}

}  // namespace qex::tool
