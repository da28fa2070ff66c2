// qex digest: prints digests in the line format of sha256sum, and checks such a list.
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"

namespace qex::tool {
namespace {

struct Arguments {
  std::vector<std::string> files;
  std::string hash = "sha256";
  std::string list;
};

// A name with a backslash, line feed or carriage return is written escaped, and the line
// then starts with a backslash.
std::string list_line(const std::string& digest, const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\r') {
      escaped += "\\r";
    } else {
      escaped += c;
    }
  }
  return (escaped == name ? "" : "\\") + digest + "  " + escaped + "\n";
}

struct ListEntry {
  Bytes digest;
  std::string name;
};

std::optional<ListEntry> parse_line(std::string_view line, const HashAlgorithm& hash) {
  const bool escaped = line.starts_with('\\');
  if (escaped) line.remove_prefix(1);
  const size_t digits = hash.length * 2;
  if (line.size() < digits + 3 || line[digits] != ' ' ||
      (line[digits + 1] != ' ' && line[digits + 1] != '*')) {
    return std::nullopt;
  }
  std::optional<Bytes> digest = FromHex(line.substr(0, digits));
  if (!digest || digest->size() != hash.length) return std::nullopt;
  ListEntry entry{std::move(*digest), {}};
  const std::string_view name = line.substr(digits + 2);
  for (size_t i = 0; i < name.size(); ++i) {
    char c = name[i];
    if (escaped && c == '\\') {
      if (++i == name.size()) return std::nullopt;
      if (name[i] != 'n' && name[i] != 'r' && name[i] != '\\') return std::nullopt;
      c = name[i] == 'n' ? '\n' : name[i] == 'r' ? '\r' : '\\';
    }
    entry.name += c;
  }
  return entry;
}

ExitStatus print_digests(const Arguments& arguments, const HashAlgorithm& hash, const Options& options) {
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    Json document = NewDocument("digest", file);
    try {
      const std::string digest = ToHex(HashFile(file, hash, options));
      if (!options.json) WriteText(list_line(digest, file));
      document["hash"] = hash.name;
      document["digest"] = digest;
    } catch (const Failure& failure) {
      // The other files are digested all the same.
      status = failure.exit;
      WriteFailure(failure, options);
      SetFailure(document, failure);
    }
    if (options.json) WriteJson(document);
  }
  return status;
}

// Checks one line; the verdict of the whole list is the gravest one: a difference first.
Failure check_entry(const ListEntry& entry, const HashAlgorithm& hash, const Options& options) {
  try {
    if (HashFile(entry.name, hash, options) == entry.digest) return {ExitStatus::Ok, "", ""};
    return {ExitStatus::CheckFailed, ShownPath(entry.name) + ": differs from the list",
            "the file was changed, or the list belongs to another file"};
  } catch (const Failure& failure) {
    return failure;
  }
}

ExitStatus check_list(const std::string& list, const HashAlgorithm& hash, const Options& options) {
  const Bytes text = ReadMessage(list);
  ExitStatus status = ExitStatus::Ok;
  size_t entries = 0;
  std::string_view rest(reinterpret_cast<const char*>(text.data()), text.size());
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::optional<ListEntry> entry = parse_line(line, hash);
    if (!entry) continue;
    ++entries;
    const Failure result = check_entry(*entry, hash, options);
    if (options.json) {
      Json document = NewDocument("digest", entry->name);
      document["hash"] = hash.name;
      document["expected"] = ToHex(entry->digest);
      if (result.exit != ExitStatus::Ok) SetFailure(document, result);
      WriteJson(document);
    } else if (result.exit != ExitStatus::Ok || !options.quiet) {
      const char* verdict = result.exit == ExitStatus::Ok            ? "OK"
                            : result.exit == ExitStatus::CheckFailed ? "FAILED"
                                                                     : "FAILED open or read";
      WriteText(Escaped(entry->name) + ": " + verdict + "\n");
    }
    if (result.exit != ExitStatus::Ok) WriteFailure(result, options);
    if (result.exit == ExitStatus::CheckFailed || status == ExitStatus::Ok) status = result.exit;
  }
  if (entries == 0) {
    throw Failure{ExitStatus::Input, ShownPath(list) + ": no line of a " + hash.name + " digest and a name",
                  "name the algorithm of the list with --hash"};
  }
  return status;
}

}  // namespace

Run AddDigest(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  app.add_option("FILE", arguments->files, "files; - is standard input");
  app.add_option("--hash", arguments->hash, "sha256, sha384, sha512, sha1 or md5")->type_name("NAME");
  app.add_option("--check", arguments->list, "check the digests that LIST holds")->type_name("LIST");
  return [arguments](const Options& options) {
    const HashAlgorithm& hash = HashNamed(arguments->hash);
    if (!arguments->list.empty()) {
      if (!arguments->files.empty())
        throw UsageFailure("--check takes no files beside its list", "name the list alone");
      return check_list(arguments->list, hash, options);
    }
    if (arguments->files.empty()) arguments->files.emplace_back("-");
    return print_digests(*arguments, hash, options);
  };
}

}  // namespace qex::tool
