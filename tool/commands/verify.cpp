// qex verify: a token against a file, a request and an authority.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/exchange/request.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

constexpr const char* kUnpinned = "consistent in itself, authority not checked";
constexpr const char* kPinHint =
    "say whom you trust: --tsa-cert, --tsa-fingerprint or --insecure-any-signer "
    "(--ca-file, --ca-path and --system-ca are not supported yet)";

struct Arguments {
  std::string file;
  std::string token;
  std::string request;
  std::string digest;
  std::string nonce;
  std::string policy;
  std::string tsaCert;
  std::string fingerprint;
  bool anySigner = false;
  std::string ess = "auto";
};

Pins read_pins(const Arguments& arguments) {
  Pins pins;
  pins.anySigner = arguments.anySigner;
  if (!arguments.tsaCert.empty()) {
    pins.certificate = ReadMessageOf(arguments.tsaCert, inspect::Kind::Certificate).octets;
  }
  if (!arguments.fingerprint.empty()) {
    constexpr std::string_view kPrefix = "sha256:";
    const bool prefixed = arguments.fingerprint.starts_with(kPrefix);
    if (prefixed) pins.fingerprint = FromHex(std::string_view(arguments.fingerprint).substr(kPrefix.size()));
    if (!pins.fingerprint || pins.fingerprint->size() != 32) {
      throw UsageFailure(
          "fingerprint " + Escaped(arguments.fingerprint) + ": not sha256: and 64 hexadecimal digits",
          "'qex show CERTIFICATE' prints it");
    }
  }
  return pins;
}

// The names that were not given are found beside the file.
Arguments with_files_beside(Arguments arguments) {
  if (arguments.token.empty()) {
    if (arguments.file.empty() || IsStandardStream(arguments.file)) {
      throw UsageFailure("no token is named", "name it with --token, or give the FILE that it lies beside");
    }
    arguments.token = arguments.file + ".tsr";
    if (!FileExists(arguments.token)) {
      throw Failure{ExitStatus::File, ShownPath(arguments.token) + ": there is no such file",
                    "name the token with --token"};
    }
  }
  if (arguments.request.empty() && !arguments.file.empty() && FileExists(arguments.file + ".tsq")) {
    arguments.request = arguments.file + ".tsq";
  }
  if (arguments.file.empty() && arguments.digest.empty() && arguments.request.empty()) {
    throw UsageFailure("nothing to compare the token with",
                       "name the stamped FILE, its --digest or the --request");
  }
  return arguments;
}

Message read_token(const std::string& path) {
  Message message = ReadAnyMessage(path);
  if (message.kind == inspect::Kind::Token || message.kind == inspect::Kind::Reply) return message;
  throw Failure{
      ExitStatus::Input,
      ShownPath(path) + ": is a " + inspect::KindName(message.kind) + ", where a token or reply is needed",
      "name the token with --token"};
}

Answer ask_about_token(const Arguments& arguments, const Pins& pins) {
  Job job{ShownPath(arguments.token), read_token(arguments.token).octets};
  job.verify = true;
  job.ess = arguments.ess;
  if (pins.certificate) job.certificate = *pins.certificate;
  Answer answer = Ask(job);
  if (auto refusal = RefusalOf(answer.facts, job.name)) {
    refusal->libraryMessages = answer.libraryMessages;
    throw Failure{*refusal};
  }
  const Json& verification = answer.facts["verification"];
  const std::string certificate = ShownPath(arguments.tsaCert);
  if (verification.contains("unknown")) {
    throw FailureFrom(verification["unknown"], certificate, answer.libraryMessages);
  }
  if (const auto code = verification.value("code", int32_t{QEX_OK}); code == QEX_E_ARG) {
    throw Failure{ExitStatus::Input,
                  certificate + ": the certificate does not decode",
                  "look inside with 'qex show --asn1', or fetch it again",
                  code,
                  verification["asn1_error"].get<int32_t>(),
                  answer.libraryMessages};
  }
  return answer;
}

void expect_request(Expected& expected, const Json& request, const std::string& name) {
  const Json& raw = request["raw"];
  const std::string nonce = raw["nonce"].get<std::string>();
  if (!nonce.empty()) {
    expected.nonce = FromHex(nonce);
    expected.nonceSource = name;
    if (raw["nonce_cut"].get<bool>())
      throw Failure{ExitStatus::Input, name + ": the nonce is longer than 40 octets", ""};
  } else {
    expected.noNonceReason = name + " has none";
  }
  const std::string policy = raw["policy"].get<std::string>();
  if (!policy.empty()) {
    expected.policy = FromHex(policy);
    expected.policySource = name;
  }
}

Expected expectation(const Arguments& arguments, const Json& facts, const std::optional<Answer>& request,
                     const Options& options) {
  Expected expected;
  if (!arguments.digest.empty()) {
    expected.digest = FromHex(arguments.digest);
    expected.digestSource = "--digest";
    if (!expected.digest)
      throw UsageFailure("digest " + Escaped(arguments.digest) + ": not hexadecimal",
                         "for example from 'qex digest FILE'");
  } else if (!arguments.file.empty()) {
    expected.digest = HashFile(arguments.file, TokenHash(facts, ShownPath(arguments.token)), options);
    expected.digestSource = ShownPath(arguments.file);
  }
  if (request) expect_request(expected, request->facts, ShownPath(arguments.request));
  if (!arguments.nonce.empty()) {
    expected.nonce = NonceFromHex(arguments.nonce);
    expected.nonceSource = "--nonce";
  }
  if (!arguments.policy.empty()) {
    expected.policy = PolicyOctets(arguments.policy);
    expected.policySource = "--policy";
  }
  return expected;
}

// What the checks lead to: the first that fails, or the want of a pin.
std::optional<Failure> outcome(const Report& report, const Pins& pins, const std::string& name) {
  if (auto failure = report.FirstFailure(name)) return failure;
  if (pins.Any()) return std::nullopt;
  return UsageFailure(name + ": " + kUnpinned, kPinHint);
}

ExitStatus verify(const Arguments& given, const Options& options) {
  const Arguments arguments = with_files_beside(given);
  const Pins pins = read_pins(arguments);
  const std::string name = ShownPath(arguments.token);
  const Answer answer = ask_about_token(arguments, pins);
  std::optional<Answer> request;
  if (!arguments.request.empty()) {
    const Message message = ReadMessageOf(arguments.request, inspect::Kind::Request);
    request = Ask({ShownPath(arguments.request), message.octets});
  }

  Report report;
  JudgeStatus(report, answer.facts);
  if (request) JudgeRequest(report, answer.facts, request->facts, ShownPath(arguments.request));
  JudgeContents(report, answer.facts, expectation(arguments, answer.facts, request, options), options);
  JudgeSigner(report, answer.facts, pins, options);
  const std::optional<Failure> failure = outcome(report, pins, name);

  WriteLibraryMessages(answer.libraryMessages, options);
  if (options.json) {
    Json document = NewDocument("verify", arguments.file.empty() ? arguments.token : arguments.file);
    if (failure) SetFailure(document, *failure);
    document["token_file"] = name;
    document["checks"] = report.Checks();
    document["authority_checked"] = !failure && (pins.certificate || pins.fingerprint);
    document["token"] = answer.facts["info"];
    if (answer.facts["signer"].contains("sha256"))
      document["signer_sha256"] = answer.facts["signer"]["sha256"];
    document["ess"] = answer.facts["ess"];
    if (!answer.libraryMessages.empty()) document["library_messages"] = EscapedLines(answer.libraryMessages);
    WriteJson(document);
  } else if (!options.quiet) {
    std::string text = report.Text(options) + CutNote(answer.facts) + TimeLine(answer.facts);
    if (!pins.Any() && !report.FirstFailure(name)) text += std::string(kUnpinned) + "\n";
    WriteText(text);
  }
  if (!failure) return ExitStatus::Ok;
  WriteFailure(*failure, options);
  return failure->exit;
}

}  // namespace

Run AddVerify(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  app.add_option("FILE", arguments->file, "the stamped file; FILE.tsr and FILE.tsq are found beside it");
  app.add_option("--token", arguments->token, "the reply or token")->type_name("TSR|TOKEN");
  app.add_option("--request", arguments->request, "the request that it answers")->type_name("TSQ");
  app.add_option("--digest", arguments->digest, "the file's digest, in place of reading it")
      ->type_name("HEX");
  app.add_option("--nonce", arguments->nonce, "the nonce that was sent")->type_name("HEX");
  app.add_option("--policy", arguments->policy, "the policy that is wanted")->type_name("OID");
  app.add_option("--tsa-cert", arguments->tsaCert, "trust this certificate of the authority")
      ->type_name("PEM|DER");
  app.add_option("--tsa-fingerprint", arguments->fingerprint, "trust the certificate of this digest")
      ->type_name("sha256:HEX");
  app.add_flag("--insecure-any-signer", arguments->anySigner, "trust whoever signed");
  app.add_option("--ess", arguments->ess, "signing-certificate attribute: auto, v1 or v2")
      ->check(CLI::IsMember({"auto", "v1", "v2"}))
      ->type_name("VERSION");
  return [arguments](const Options& options) { return verify(*arguments, options); };
}

}  // namespace qex::tool
