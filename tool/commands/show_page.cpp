// What `qex show --json --asn1` and `qex verify --json` print of each file, on a page.
#include "tool/commands/show_page.h"

#include <cstdio>
#include <ctime>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/outputs.h"
#include "tool/commands/show_one.h"
#include "tool/commands/verify_one.h"
#include "tool/report/page.h"

namespace qex::tool {
namespace {

constexpr size_t kLargestTree = size_t{1} << 20;  // of a message that is printed in full
constexpr std::string_view kReplyEnding = ".tsr";

[[nodiscard]] bool is_reply_name(const std::string& file) {
  return file.size() > kReplyEnding.size() && file.ends_with(kReplyEnding);
}

// FILE of FILE.tsr.
std::string data_beside(const std::string& file) {
  if (!is_reply_name(file)) return "";
  const std::string data = file.substr(0, file.size() - kReplyEnding.size());
  return IsRegularFile(data) ? data : "";
}

// The files that may be read besides the named ones; no output takes their place.
std::vector<std::string> with_files_beside(const std::vector<std::string>& files) {
  std::vector<std::string> all = files;
  for (const std::string& file : files) {
    const std::string data = is_reply_name(file) ? file.substr(0, file.size() - kReplyEnding.size()) : file;
    for (const std::string& beside : {data, data + ".tsq", data + ".tsr"}) {
      if (beside != file && FileExists(beside)) all.push_back(beside);
    }
  }
  return all;
}

// The message in a file; for stamped data that is none, the reply next to it.
Message message_of(const std::string& file) {
  try {
    return ReadAnyMessage(file);
  } catch (const Failure&) {
    if (IsStandardStream(file) || !IsRegularFile(file + std::string(kReplyEnding))) throw;
  }
  return ReadAnyMessage(file + std::string(kReplyEnding));
}

Json document_in(const Outcome& outcome) {
  return Json::parse(outcome.output);
}

// The contents, with the printed message where the library can print it.
Outcome show_message_of(const Message& message, const Options& options, Worker& worker) {
  const Source source(message.path, message.octets);
  if (message.octets.size() <= kLargestTree) {
    Outcome outcome = ShowOne(source, Printed::Yes, options, worker);
    if (outcome.exit == ExitStatus::Ok) return outcome;
  }
  return ShowOne(source, Printed::No, options, worker);
}

Json verification_of(const Message& message, const Options& options, Worker& worker) {
  const bool stays = IsRegularFile(message.path);  // a pipe can be read once
  VerifyArguments arguments;
  arguments.file = stays ? data_beside(message.path) : "";
  arguments.token = stays ? Source(message.path) : Source(message.path, message.octets);
  static const Trust kNobodyIsTrusted;
  return document_in(VerifyOne(arguments, worker, kNobodyIsTrusted, options));
}

// Adds a file to the page and returns what counts for the exit status.
Outcome add_file(ReportPage& page, const std::string& file, const Options& options, Worker& worker) {
  try {
    const Message message = message_of(file);
    Outcome outcome = show_message_of(message, options, worker);
    ReportSubject subject{document_in(outcome), nullptr, message.octets};
    const bool token = message.kind == inspect::Kind::Token || message.kind == inspect::Kind::Reply;
    if (token && outcome.exit == ExitStatus::Ok) {
      subject.verified = verification_of(message, options, worker);
    }
    page.Add(subject);
    return outcome;
  } catch (const Failure& failure) {
    Outcome outcome = OutcomeOf(failure, "show", file, options);
    page.Add({document_in(outcome), nullptr, {}});
    return outcome;
  }
}

}  // namespace

ExitStatus ShowPage(const std::vector<std::string>& files, const std::string& output,
                    const Options& options) {
  Outputs outputs({{output.empty() ? "-" : output}}, with_files_beside(files), options.force);
  Options documents = options;
  documents.json = true;
  static const Trust kNobody;
  Worker worker(kNobody);
  ReportPage page(std::time(nullptr));
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : files) {
    const Outcome outcome = add_file(page, file, documents, worker);
    std::fputs(outcome.errors.c_str(), stderr);
    status = Graver(status, outcome.exit);
  }
  const std::string html = page.Html();
  outputs.Commit({OctetsOf(html)});
  return status;
}

}  // namespace qex::tool
