// One token against a file, a request and whom the caller trusts.
#include "tool/commands/verify_one.h"

#include <ctime>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/exchange/request.h"
#include "tool/judge/fields.h"
#include "tool/message/gen_time.h"
#include "tool/message/message.h"

namespace qex::tool {
namespace {

constexpr const char* kPinHint =
    "say whom you trust: --tsa-cert, --tsa-fingerprint, --ca-file, --ca-path, --system-ca or "
    "--insecure-any-signer";

// The request next to a token: X.tsq for X.tsr, so FILE.tsq for FILE.tsr.
std::string request_beside(const Source& token) {
  if (token.data || !token.path.ends_with(".tsr")) return "";
  const std::string request = token.path.substr(0, token.path.size() - 4) + ".tsq";
  return IsRegularFile(request) ? request : "";
}

// Looks for names that were not given next to the file and the token.
VerifyArguments with_files_beside(VerifyArguments arguments) {
  if (!arguments.file.empty() && !arguments.digest.empty()) {
    throw UsageFailure("--digest stands for the file, so it takes no FILE", "leave one of them out");
  }
  if (arguments.token.path.empty()) {
    if (arguments.file.empty() || IsStandardStream(arguments.file)) {
      throw UsageFailure("no token is named", "name it with --token, or give the FILE that it lies beside");
    }
    const std::string token = arguments.file + ".tsr";
    if (!FileExists(token)) {
      throw Failure{ExitStatus::File, ShownPath(token) + ": there is no such file",
                    "name the token with --token"};
    }
    if (!IsRegularFile(token)) {
      throw Failure{ExitStatus::File, ShownPath(token) + ": is no regular file",
                    "such a file is opened only when it is named with --token"};
    }
    arguments.token = token;
  }
  if (arguments.request.path.empty()) arguments.request = request_beside(arguments.token);
  return arguments;
}

Answer ask_about_token(const VerifyArguments& arguments, Worker& worker, const Options& options) {
  Message message = ReadAnyMessage(arguments.token);
  if (message.kind != inspect::Kind::Token && message.kind != inspect::Kind::Reply) {
    throw Failure{ExitStatus::Input,
                  ShownPath(arguments.token.path) + ": is a " + inspect::KindName(message.kind) +
                      ", where a token or reply is needed",
                  "name the token with --token"};
  }
  Job job;
  job.name = ShownPath(arguments.token.path);
  job.message = std::move(message.octets);
  job.verify = true;
  job.ess = arguments.manner.ess;
  job.libraryOnly = arguments.manner.libraryOnly;
  job.allowWeak = options.allowWeak;
  if (!arguments.request.path.empty()) {
    job.request = ReadMessageOf(arguments.request, inspect::Kind::Request).octets;
  }
  Answer answer = worker.Ask(job, arguments.last ? Worker::Then::Nothing : Worker::Then::More);
  if (auto refusal = RefusalOf(answer.facts, job.name)) {
    refusal->libraryMessages = answer.libraryMessages;
    throw Failure{*refusal};
  }
  return answer;
}

void expect_request(Expected& expected, const std::string& name, const Answer& answer) {
  if (answer.facts.requestFailure) {
    Failure failure = *answer.facts.requestFailure;
    failure.message = name + ": " + failure.message;
    failure.libraryMessages = answer.libraryMessages;
    throw Failure{failure};
  }
  expected.request = answer.facts.request;
  expected.requestSource = name;
  const RequestFacts& request = expected.request.value();
  if (request.nonce) {
    expected.nonce = request.nonce;
    expected.nonceSource = name;
  } else {
    expected.noNonceReason = name + " has none";
  }
  if (request.policy) {
    expected.policy = request.policy;
    expected.policySource = name;
  }
}

Imprint imprint_of_file(const VerifyArguments& arguments, const Facts& facts, const Options& options) {
  const Bytes& algorithm = InfoOf(facts).imprint.algorithm;
  const HashAlgorithm* hash = FindHash(algorithm);
  if (hash == nullptr) {
    throw Failure{
        ExitStatus::Unsupported,
        ShownPath(arguments.token.path) + ": the imprint's hash " + HashName(algorithm) + " is not supported",
        "compare a digest of your own with --digest"};
  }
  if (!arguments.content) return {algorithm, HashFile(arguments.file, *hash, options)};
  Hasher hasher(*hash);
  hasher.Update(OctetsOf(*arguments.content));
  return {algorithm, hasher.Final()};
}

Expected expectation(const VerifyArguments& arguments, const Answer& answer, const Options& options) {
  Expected expected;
  if (!arguments.request.path.empty()) expect_request(expected, ShownPath(arguments.request.path), answer);
  if (!arguments.digest.empty()) {
    expected.imprint = ExpectedDigest(arguments.digest, answer.facts);
    expected.imprintSource = "--digest";
  } else if (!arguments.file.empty()) {
    expected.imprint = imprint_of_file(arguments, answer.facts, options);
    expected.imprintSource = ShownPath(arguments.file);
  }
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

std::string ess_of(const Facts& facts, const Manner& manner) {
  if (manner.ess != "auto") return manner.ess;
  const bool v1 = facts.strict ? facts.strict->essV1 != EssMatch::Absent : facts.library->hasEssV1;
  const bool v2 = facts.strict ? facts.strict->essV2 != EssMatch::Absent : facts.library->hasEssV2;
  return v1 && v2 ? "v1 and v2" : v2 ? "v2" : "v1";
}

const std::string& subject_of(const VerifyArguments& arguments) {
  return arguments.file.empty() ? arguments.token.path : arguments.file;
}

Json document_of(const VerifyArguments& arguments, const Answer& answer, const Report& report) {
  Json document = NewDocument("verify", subject_of(arguments));
  if (!arguments.token.data) document["token_file"] = arguments.token.path;
  document["checks"] = report.Checks();
  if (answer.facts.status) document["status"] = StatusFields(*answer.facts.status);
  document["token"] = TokenFields(answer.facts);
  if (const SignerCertificate* signer = SignerOf(answer.facts)) {
    document["signer_sha256"] = ToHex(signer->sha256);
    document["signer_subject"] = signer->subject;
  }
  document["ess"] = ess_of(answer.facts, arguments.manner);
  if (!answer.libraryMessages.empty()) document["library_messages"] = answer.libraryMessages;
  return document;
}

// No token is from the future: one of the clocks is wrong.
void note_future(Report& report, const Facts& facts) {
  constexpr int64_t kTolerance = 300;  // seconds
  const auto time = ParseGenTime(InfoOf(facts).genTime);
  if (time && time->seconds - kTolerance > std::time(nullptr)) {
    report.Note("clock", "the token's time is ahead of this machine's clock");
  }
}

Outcome judged(const VerifyArguments& given, Worker& worker, const Trust& trust, const Options& options) {
  const VerifyArguments arguments = with_files_beside(given);
  if (arguments.manner.libraryOnly && (trust.chainWanted || !trust.untrusted.empty())) {
    throw UsageFailure("--library-only leaves out what checks chains",
                       "trust --tsa-cert or --tsa-fingerprint with it");
  }
  const std::string name = ShownPath(arguments.token.path);
  const Answer answer = ask_about_token(arguments, worker, options);
  const Expected expected = expectation(arguments, answer, options);
  Report report = JudgeToken(answer.facts, expected, trust, arguments.manner, options);
  note_future(report, answer.facts);

  Outcome outcome;
  Json document = options.json ? document_of(arguments, answer, report) : Json::object();
  const std::optional<Failure> failure = SetVerdict(document, report, trust, name);
  outcome.errors = LibraryMessagesText(answer.libraryMessages, options);
  const Check* fault = report.FirstFault();
  outcome.unchecked = fault == nullptr && failure;
  if (fault != nullptr) outcome.reason = fault->name;
  if (failure) {
    outcome.exit = failure->exit;
    outcome.errors += FailureText(*failure);
  }
  const std::string verdict = fault != nullptr ? "fail  " : failure ? "skip  " : "pass  ";
  outcome.line = verdict + ShownPath(subject_of(arguments)) + "   " +
                 (failure ? failure->message.substr(name.size() + 2)
                          : TokenFields(answer.facts)["time"].get<std::string>());
  if (options.json) {
    outcome.output = JsonLine(std::move(document));
  } else if (!options.quiet && !arguments.lineOnly) {
    outcome.output = report.Text(options) + EscapedLines(TimeLine(answer.facts));
    if (outcome.unchecked) outcome.output += std::string(kUnpinned) + "\n";
  }
  return outcome;
}

}  // namespace

Imprint ExpectedDigest(const std::string& text, const Facts& facts) {
  const Bytes& algorithm = InfoOf(facts).imprint.algorithm;
  const HashAlgorithm* own = FindHash(algorithm);
  const size_t colon = text.find(':');
  const HashAlgorithm* named =
      colon == std::string::npos ? nullptr : FindHash(std::string_view(text).substr(0, colon));
  const std::optional<Bytes> digest = FromHex(named == nullptr ? text : text.substr(colon + 1));
  if (!digest || digest->empty()) {
    throw UsageFailure("digest " + text + ": not hexadecimal, nor ALG:HEX",
                       "for example from 'qex digest FILE'");
  }
  const HashAlgorithm* hash = named == nullptr ? own : named;
  if (hash != nullptr && digest->size() != hash->length) {
    throw UsageFailure("digest " + text + ": " + std::to_string(digest->size()) + " octets, where " +
                           hash->name + " has " + std::to_string(hash->length),
                       "write ALG:HEX to name the algorithm, for example sha256:");
  }
  if (named == nullptr) return {algorithm, *digest};
  return {{named->octets.begin(), named->octets.end()}, *digest};
}

std::optional<Failure> SetVerdict(Json& document, const Report& report, const Trust& trust,
                                  const std::string& name) {
  document["indication"] = "PASSED";
  document["sub_indication"] = nullptr;
  document["authority_checked"] = false;
  if (const Check* check = report.FirstFault()) {
    const SubIndication sub = check->fault->sub;
    document["indication"] = sub <= SubIndication::NotYetValid ? "FAILED" : "INDETERMINATE";
    document["sub_indication"] = NameOf(sub);
    Failure failure = report.FirstFailure(name).value();
    SetFailure(document, failure);
    return failure;
  }
  document["authority_checked"] = trust.HasPin() || trust.chainWanted;
  if (trust.Any()) return std::nullopt;
  document["indication"] = "INDETERMINATE";
  Failure failure = UsageFailure(name + ": " + kUnpinned, kPinHint);
  SetFailure(document, failure);
  return failure;
}

Outcome VerifyOne(const VerifyArguments& arguments, Worker& worker, const Trust& trust,
                  const Options& options) {
  try {
    return judged(arguments, worker, trust, options);
  } catch (const Failure& failure) {
    return OutcomeOf(failure, "verify", subject_of(arguments), options);
  }
}

}  // namespace qex::tool
