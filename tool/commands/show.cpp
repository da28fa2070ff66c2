// qex show: the contents of a message of any kind. Verifies nothing.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/outputs.h"
#include "tool/commands/command.h"
#include "tool/commands/html.h"
#include "tool/commands/jobs.h"
#include "tool/commands/lanes.h"
#include "tool/commands/verify_one.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct ShowArguments {
  std::vector<std::string> files;
  std::string jobs;
  size_t jobsAtOnce = 0;
  bool asn1 = false;
  bool html = false;
  std::string output;
};

// Both readers' view of a token, where they differ.
Json readers_of(const Facts& facts) {
  Json readers;
  if (facts.libraryStop) readers["libqex"] = facts.libraryStop->text;
  if (facts.strictStop) readers["strict"] = facts.strictStop->text;
  if (facts.library && facts.strict && !(facts.library->info == facts.strict->info)) {
    Facts one;
    one.library = facts.library;
    readers["libqex"] = TokenFields(one);
    one.strict = facts.strict;
    readers["strict"] = TokenFields(one);
  }
  return readers;
}

void add_token(Json& fields, const Facts& facts) {
  fields["token"] = TokenFields(facts);
  if (const SignerCertificate* signer = SignerOf(facts)) {
    fields["authority_certificate"] = {{"sha256", ToHex(signer->sha256)}, {"subject", signer->subject}};
  }
  if (Json readers = readers_of(facts); !readers.empty()) fields["readers"] = std::move(readers);
}

// The parts of the facts that are for people.
Json shown_fields(const Facts& facts) {
  Json fields;
  if (facts.trailing != 0) fields["trailing_octets"] = facts.trailing;
  if (facts.status) fields["status"] = StatusFields(*facts.status);
  if (facts.request) fields["request"] = RequestFields(*facts.request);
  const bool token = facts.library || facts.strict;
  if (token) add_token(fields, facts);
  if (!facts.description.empty()) fields.update(Json::parse(facts.description));
  if (facts.certificate) {
    if (!facts.certificate->key.type.empty()) fields["key"] = KeyFields(facts.certificate->key);
    fields["sha256"] = ToHex(facts.certificate->sha256);
  }
  if (facts.tac && facts.tac->code == 0 && !facts.tac->failure) {
    Json certificate = TacFields(*facts.tac);
    if (token) {
      fields["time_attribute_certificate"] = std::move(certificate);
    } else {
      fields.update(certificate);
    }
  }
  return fields;
}

Outcome show_message(const Source& source, const ShowArguments& arguments, const Options& options,
                     Worker& worker) {
  const std::string& file = source.path;
  const Message message = ReadAnyMessage(source);
  Job job{.name = ShownPath(file), .message = message.octets};
  job.describe = true;
  job.asn1 = arguments.asn1;
  const Answer answer = worker.Ask(job);
  const std::string kind = inspect::KindName(answer.facts.kind);
  if (arguments.asn1 && answer.facts.asn1.empty()) {
    throw Failure{ExitStatus::Input,
                  ShownPath(file) + ": the " + kind + " does not decode",
                  "leave --asn1 out to see what can be read",
                  0,
                  0,
                  answer.libraryMessages};
  }
  Outcome outcome;
  outcome.errors = LibraryMessagesText(answer.libraryMessages, options);
  if (options.json) {
    Json document = NewDocument("show", file);
    document["kind"] = kind;
    const Json fields = shown_fields(answer.facts);
    for (const auto& [name, value] : fields.items()) {
      document[name == "subject" ? "subject_name" : name] = value;  // the document's subject is the file
    }
    if (arguments.asn1) document["asn1"] = answer.facts.asn1;
    outcome.output = JsonLine(std::move(document));
  } else if (arguments.asn1) {
    outcome.output = EscapedLines(answer.facts.asn1);
  } else {
    outcome.output =
        Escaped(ShownPath(file)) + ": " + kind + "\n" + FieldsText(shown_fields(answer.facts), 2);
  }
  return outcome;
}

// All files on one page; one that cannot be shown has its failure there, which counts for the exit status.
ExitStatus show_page(const ShowArguments& arguments, const Options& options) {
  Outputs outputs({{arguments.output.empty() ? "-" : arguments.output}}, arguments.files, options.force);
  static const Trust kNobody;
  Worker worker(kNobody);
  std::vector<HtmlSection> sections;
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    try {
      Job job{.name = ShownPath(file), .message = ReadAnyMessage(file).octets};
      job.describe = true;
      const Answer answer = worker.Ask(job);
      sections.push_back(
          {job.name + ": " + inspect::KindName(answer.facts.kind), shown_fields(answer.facts)});
    } catch (const Failure& failure) {
      status = Graver(status, failure.exit);
      WriteFailure(failure, options);
      sections.push_back({ShownPath(file), {{"error", failure.message}, {"hint", failure.hint}}});
    }
  }
  const std::string page = HtmlPage(sections);
  outputs.Commit({{reinterpret_cast<const uint8_t*>(page.data()), page.size()}});
  return status;
}

// No Failure leaves it.
Outcome show_one(const Source& source, const ShowArguments& arguments, const Options& options,
                 Worker& worker) {
  try {
    return show_message(source, arguments, options, worker);
  } catch (const Failure& failure) {
    return OutcomeOf(failure, "show", source.path, options);
  }
}

// All files are shown, even after a failure; the gravest exit status counts.
ExitStatus show_all(const ShowArguments& arguments, const Options& options) {
  static const Trust kNobody;
  Worker worker(kNobody);
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    status = Graver(status, Emit(show_one(file, arguments, options, worker)));
  }
  return status;
}

ExitStatus show_jobs(const ShowArguments& arguments, const Options& options) {
  if (!arguments.files.empty()) {
    throw UsageFailure("--jobs says of each job what it is about", "leave the other messages out");
  }
  static const Trust kNobody;
  return RunJobs("show", {"token"}, arguments.jobs, arguments.jobsAtOnce, options,
                 [&arguments](const Options& rendered) {
                   auto worker = std::make_shared<Worker>(kNobody);
                   return [&arguments, rendered, worker](const JobMembers& members) {
                     if (members.empty()) throw UsageFailure("a job without a token", "add the member token");
                     return show_one(JobSource("token", members.front().second), arguments, rendered,
                                     *worker);
                   };
                 });
}

}  // namespace

Run AddShow(CLI::App& app) {
  auto arguments = std::make_shared<ShowArguments>();
  app.add_option("X", arguments->files,
                 "requests, replies, tokens, certificates, attribute certificates; - is standard input");
  app.add_flag("--asn1", arguments->asn1, "every value, as the library prints it");
  app.add_flag("--html", arguments->html, "as a page for a browser");
  app.add_option("-o", arguments->output, "where the page goes; - is standard output")->type_name("PAGE");
  AddJobsOption(app, arguments->jobs);
  AddLanesOption(app, arguments->jobsAtOnce);
  return [arguments](const Options& options) {
    if (!arguments->jobs.empty()) return show_jobs(*arguments, options);
    if (arguments->html && (arguments->asn1 || options.json)) {
      throw UsageFailure("--html is a form of its own, beside --json and --asn1", "leave one of them out");
    }
    if (!arguments->html && !arguments->output.empty()) {
      throw UsageFailure("-o says where the page goes, so it goes with --html",
                         "add --html, or leave -o out");
    }
    if (arguments->files.empty()) throw UsageFailure("X is required", "'qex help show' lists what it takes");
    return arguments->html ? show_page(*arguments, options) : show_all(*arguments, options);
  };
}

}  // namespace qex::tool
