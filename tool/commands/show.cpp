// qex show: what stands in a message, whatever kind it is. Nothing is verified.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/judge/tac_facts.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct Arguments {
  std::vector<std::string> files;
  bool asn1 = false;
};

// The parts of the worker's answer that are for people.
Json shown_fields(const Json& facts) {
  Json fields;
  if (facts.contains("trailing")) fields["trailing_octets"] = facts["trailing"];
  for (const char* part : {"status", "request"}) {
    if (facts.contains(part)) fields[part] = facts[part];
  }
  if (facts.contains("info")) {
    fields["token"] = facts["info"];
    const Json& signer = facts["signer"];
    if (signer.contains("sha256")) {
      fields["authority_certificate"] = {{"sha256", signer["sha256"]}, {"subject", signer["subject"]}};
    }
  }
  if (facts.contains("description") && facts["description"].is_object()) {
    fields.update(facts["description"]);
    if (!facts.contains("info")) fields["sha256"] = facts["raw"]["sha256"];
  }
  if (facts.contains("tac") && facts["tac"].contains("info")) {
    Json certificate = TacFields(facts["tac"]);
    if (facts.contains("info")) {
      fields["time_attribute_certificate"] = std::move(certificate);
    } else {
      fields.update(certificate);
    }
  }
  return fields;
}

void show_one(const std::string& file, const Arguments& arguments, const Options& options) {
  const Message message = ReadAnyMessage(file);
  Job job{ShownPath(file), message.octets};
  job.asn1 = arguments.asn1;
  const Answer answer = Ask(job);
  WriteLibraryMessages(answer.libraryMessages, options);
  const std::string kind = answer.facts["kind"].get<std::string>();
  if (arguments.asn1 && !answer.facts.contains("asn1")) {
    throw Failure{ExitStatus::Input,
                  ShownPath(file) + ": the " + kind + " does not decode",
                  "leave --asn1 out to see what can be read",
                  0,
                  0,
                  answer.libraryMessages};
  }
  if (options.json) {
    Json document = NewDocument("show", file);
    document["kind"] = kind;
    const Json fields = shown_fields(answer.facts);
    for (const auto& [name, value] : fields.items()) {
      document[name == "subject" ? "subject_name" : name] = value;  // the document's subject is the file
    }
    if (arguments.asn1) document["asn1"] = answer.facts["asn1"];
    WriteJson(document);
  } else if (arguments.asn1) {
    WriteText(answer.facts["asn1"].get<std::string>());
  } else {
    WriteText(ShownPath(file) + ": " + kind + "\n");
    WriteFields(shown_fields(answer.facts), 2);
  }
}

ExitStatus show_all(const Arguments& arguments, const Options& options) {
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    try {
      show_one(file, arguments, options);
    } catch (const Failure& failure) {
      // The other files are shown all the same; the first failure decides.
      if (status == ExitStatus::Ok) status = failure.exit;
      if (options.json) {
        Json document = NewDocument("show", file);
        SetFailure(document, failure);
        WriteJson(document);
      }
      WriteFailure(failure, options);
    }
  }
  return status;
}

}  // namespace

Run AddShow(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  app.add_option("X", arguments->files,
                 "requests, replies, tokens, certificates, attribute certificates; - is standard input")
      ->required();
  app.add_flag("--asn1", arguments->asn1, "every value, as the library prints it");
  return [arguments](const Options& options) { return show_all(*arguments, options); };
}

}  // namespace qex::tool
