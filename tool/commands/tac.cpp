// qex tac: the time attribute certificate of a token.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/commands/single_output.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/judge/report.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

using inspect::Kind;

struct TacArguments {
  std::string action;
  std::string token;
  std::string tac;
  std::string output;
  std::string ess = "auto";
  bool pem = false;
};

Answer ask_for_tac(const TacArguments& arguments, const Message& token, const Bytes& tac) {
  Job job{.name = ShownPath(arguments.token), .message = token.octets};
  job.ess = arguments.ess;
  job.takeTac = true;
  job.tac = tac;
  Answer answer = AskOnce(job);
  if (auto refusal = RefusalOf(answer.facts, job.name)) {
    refusal->libraryMessages = answer.libraryMessages;
    throw Failure{*refusal};
  }
  return answer;
}

// The facts of the certificate that the token carries.
const TacFacts& carried(const Answer& answer, const std::string& name) {
  const TacFacts& tac = answer.facts.tac.value();
  if (tac.code == QEX_OK) return tac;
  throw Failure{ExitOfCode(tac.code),
                name + ": " + tac.meaning,
                "the authority attached none; one that was kept apart is named with --tac",
                tac.code,
                tac.asn1Error,
                answer.libraryMessages};
}

[[nodiscard]] ExitStatus take_out(const TacArguments& arguments, const Options& options) {
  if (!arguments.tac.empty()) {
    throw UsageFailure("tac get takes the certificate out of the token, so it takes no --tac",
                       "-o says where the certificate goes");
  }
  const char* hint = arguments.pem ? "" : "name a file with -o, or ask for --pem";
  Outputs outputs(SingleOutput(arguments.output, options, hint), {arguments.token}, options.force);
  const std::string name = ShownPath(arguments.token);
  const Answer answer = ask_for_tac(arguments, ReadTokenOrReply(arguments.token), {});
  const TacFacts& tac = carried(answer, name);
  WriteLibraryMessages(answer.libraryMessages, options);
  const std::string pem = ToPem(tac.der, "ATTRIBUTE CERTIFICATE");
  outputs.Commit({arguments.pem ? OctetsOf(pem) : ByteView(tac.der)});
  if (options.json) {
    Json document = NewDocument("tac", arguments.token);
    document["action"] = arguments.action;
    document["sha256"] = ToHex(tac.sha256);
    document["attribute_certificate"] = ToHex(tac.der);
    WriteJson(document);
  }
  return ExitStatus::Ok;
}

[[nodiscard]] ExitStatus show_fields(const TacArguments& arguments, const Options& options,
                                     const Json& fields, const std::optional<Failure>& missing,
                                     const std::string& source) {
  if (options.json) {
    Json document = NewDocument("tac", source);
    if (missing) SetFailure(document, *missing);
    document["action"] = arguments.action;
    document.update(fields);
    WriteJson(document);
  } else {
    WriteText(ShownPath(source) + ": time attribute certificate\n");
    WriteFields(fields, 2);
  }
  if (!missing) return ExitStatus::Ok;
  WriteFailure(*missing, options);
  return missing->exit;
}

// A certificate in a file of its own.
[[nodiscard]] ExitStatus show_alone(const TacArguments& arguments, const Options& options,
                                    const Message& message, const std::optional<TacMatch>& match) {
  const std::string name = ShownPath(message.path);
  const Answer answer = AskOnce({.name = name, .message = message.octets});
  WriteLibraryMessages(answer.libraryMessages, options);
  const TacFacts& tac = answer.facts.tac.value();
  Json fields = TacFields(tac);
  if (match) fields["belongs_to_token"] = match->code == QEX_OK;
  return show_fields(arguments, options, fields, MissingTiming(tac, name), message.path);
}

[[nodiscard]] ExitStatus show(const TacArguments& arguments, const Options& options) {
  const std::string name = ShownPath(arguments.token);
  if (!arguments.tac.empty()) {
    const Message token = ReadTokenOrReply(arguments.token);
    const Message certificate = ReadMessageOf(arguments.tac, Kind::AttributeCertificate);
    const Answer answer = ask_for_tac(arguments, token, certificate.octets);
    return show_alone(arguments, options, certificate, answer.facts.tacMatch);
  }
  const Message message = ReadAnyMessage(arguments.token);
  if (message.kind == Kind::AttributeCertificate) return show_alone(arguments, options, message, {});
  const Answer answer = ask_for_tac(arguments, AsTokenOrReply(message), {});
  const TacFacts& tac = carried(answer, name);
  if (tac.failure) {
    Failure failure = *tac.failure;
    failure.message = name + ": " + failure.message;
    failure.libraryMessages = answer.libraryMessages;
    throw Failure{failure};
  }
  WriteLibraryMessages(answer.libraryMessages, options);
  return show_fields(arguments, options, TacFields(tac), MissingTiming(tac, name), arguments.token);
}

[[nodiscard]] ExitStatus check(const TacArguments& arguments, const Options& options) {
  const std::string name = ShownPath(arguments.token);
  const Message token = ReadTokenOrReply(arguments.token);
  Bytes given;
  if (!arguments.tac.empty()) given = ReadMessageOf(arguments.tac, Kind::AttributeCertificate).octets;
  const Answer answer = ask_for_tac(arguments, token, given);
  if (given.empty()) carried(answer, name);
  const TacMatch& match = answer.facts.tacMatch.value();
  const char* attribute = match.ess == "v2" ? "signing-certificate-v2" : "signing-certificate";
  const std::string source = given.empty() ? "the one it carries" : ShownPath(arguments.tac);

  Report report;
  const auto fail = [&](const std::string& text, const char* hint) {
    report.Fail("belongs",
                {text, SubIndication::Generic, hint, ExitOfCode(match.code), match.code, match.asn1Error});
  };
  if (match.code == QEX_OK) {
    report.Pass("belongs", source + ": named or held by the signed attributes");
  } else if (match.code == QEX_E_MISMATCH) {
    fail(source + ": neither named by " + attribute + " nor held by the signer attributes",
         "it belongs to another token, or was written afresh in other octets");
  } else if (match.code == QEX_E_DECODE) {
    fail(std::string("the token has no attribute ") + attribute,
         "--ess auto takes the attribute that is there");
  } else {
    fail(match.meaning, "look inside with 'qex show --asn1'");
  }
  report.Skip("token", "its signature is for 'qex verify' to check");
  report.Skip("certificate", "its issuer, signature and validity are not checked");

  const std::optional<Failure> failure = report.FirstFailure(name);
  WriteLibraryMessages(answer.libraryMessages, options);
  if (options.json) {
    Json document = NewDocument("tac", arguments.token);
    if (failure) SetFailure(document, *failure);
    document["action"] = arguments.action;
    document["checks"] = report.Checks();
    document["ess"] = match.ess;
    WriteJson(document);
  } else if (!options.quiet) {
    WriteData(report.Text(options));
  }
  if (!failure) return ExitStatus::Ok;
  WriteFailure(*failure, options);
  return failure->exit;
}

[[nodiscard]] ExitStatus run_action(const TacArguments& arguments, const Options& options) {
  const bool get = arguments.action == "get";
  if (!get && (!arguments.output.empty() || arguments.pem)) {
    throw UsageFailure("-o and --pem say how the certificate is written, so they go with tac get",
                       "leave them out, or take the certificate out with 'qex tac get'");
  }
  if (get) return take_out(arguments, options);
  return arguments.action == "show" ? show(arguments, options) : check(arguments, options);
}

}  // namespace

Run AddTac(CLI::App& app) {
  auto arguments = std::make_shared<TacArguments>();
  app.add_option("ACTION", arguments->action,
                 "get: take it out; show: print it; check: does it belong to the token")
      ->check(CLI::IsMember({"get", "show", "check"}))
      ->required();
  app.add_option("TOKEN", arguments->token,
                 "a token or reply, for show also a certificate; - is standard input")
      ->required();
  app.add_option("--tac", arguments->tac, "the certificate, in place of the one that the token carries")
      ->type_name("FILE");
  app.add_option("-o", arguments->output, "where get writes it; - is standard output")->type_name("FILE");
  app.add_flag("--pem", arguments->pem, "as PEM, not DER");
  app.add_option("--ess", arguments->ess, "signing-certificate attribute: auto, v1 or v2")
      ->check(CLI::IsMember({"auto", "v1", "v2"}))
      ->type_name("VERSION");
  return [arguments](const Options& options) { return run_action(*arguments, options); };
}

}  // namespace qex::tool
