// One message, for people and for scripts.
#include "tool/commands/show_one.h"

#include <string>
#include <utility>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/worker/strict/strict.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

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

// What a build without the strict reader does not say about a token or certificate.
constexpr const char* kWithoutStrictReader =
    "the strict reader's findings, the values of extensions, and keys other than RSA and DSA: this qex is "
    "without "
    "libcrypto";

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
  if ((token || facts.certificate) && !HasStrictReader()) fields["left_out"] = kWithoutStrictReader;
  return fields;
}

Outcome show_message(const Source& source, Printed printed, const Options& options, Worker& worker) {
  const bool asn1 = printed == Printed::Yes;
  const std::string& file = source.path;
  const Message message = ReadAnyMessage(source);
  Job job{.name = ShownPath(file), .message = message.octets};
  job.describe = true;
  job.asn1 = asn1;
  const Answer answer = worker.Ask(job);
  const std::string kind = inspect::KindName(answer.facts.kind);
  if (asn1 && answer.facts.asn1.empty()) {
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
    if (asn1) document["asn1"] = answer.facts.asn1;
    outcome.output = JsonLine(std::move(document));
  } else if (asn1) {
    outcome.output = EscapedLines(answer.facts.asn1);
  } else {
    outcome.output =
        Escaped(ShownPath(file)) + ": " + kind + "\n" + FieldsText(shown_fields(answer.facts), 2);
  }
  return outcome;
}

}  // namespace

Outcome ShowOne(const Source& source, Printed printed, const Options& options, Worker& worker) {
  try {
    return show_message(source, printed, options, worker);
  } catch (const Failure& failure) {
    return OutcomeOf(failure, "show", source.path, options);
  }
}

}  // namespace qex::tool
