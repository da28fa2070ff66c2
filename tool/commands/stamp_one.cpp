// The steps of a stamp. The outputs are made before an authority is asked, and a reply that does not pass is
// a reason to ask the next one.
#include "tool/commands/stamp_one.h"

#include <utility>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/outputs.h"
#include "tool/commands/verify_one.h"
#include "tool/exchange/socket_transport.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/message/gen_time.h"
#include "tool/message/structure.h"

namespace qex::tool {
namespace {

// Where the reply and the request go.
struct Places {
  std::string reply;
  std::string request;  // empty: nowhere
  bool replyIsGiven = false;
};

// The plan, and its results so far.
struct Stamp {
  const StampPlan& plan;
  const StampSubject& subject;
  const HashAlgorithm& hash;
  Places places;
  Bytes digest;
  Request request;
  // Of the authority that was asked last.
  std::string authority = {};  // as shown
  HttpReply reply = {};
  Answer answer = {};
  Report report = {};
  std::vector<Attempt> failed = {};
};

Places places_of(const StampPlan& plan, const StampSubject& subject) {
  const std::string& output = plan.output;
  if (IsStandardStream(output)) return {"-", "", true};
  if (!output.empty() && !IsDirectory(output)) {
    const std::string stem = output.ends_with(".tsr") ? output.substr(0, output.size() - 4) : output;
    return {output, stem + ".tsq", true};
  }
  if (subject.digest || IsStandardStream(subject.file)) {
    throw UsageFailure(
        std::string(subject.digest ? "a digest" : "standard input") + " has no name to store the reply under",
        output.empty() ? "name a file with -o" : "name a file with -o, not a folder");
  }
  std::string base = subject.file;
  if (!output.empty()) base = output + (output.ends_with('/') ? "" : "/") + BaseName(subject.file);
  return {base + ".tsr", base + ".tsq"};
}

// No stamp is spent on a full disk: the room that replies and requests usually take.
constexpr uint64_t kReplyRoom = 16384;
constexpr uint64_t kRequestRoom = 1024;

std::vector<Output> outputs_of(const Places& places, const StampSubject& subject, const Options& options) {
  if (!IsStandardStream(places.reply)) {
    std::vector<Output> outputs{{.path = places.reply, .found = !places.replyIsGiven, .room = kReplyRoom},
                                {.path = places.request, .found = true, .room = kRequestRoom}};
    if (subject.content) outputs.push_back({.path = subject.file, .room = subject.content->size()});
    return outputs;
  }
  if (options.json) return {};  // the document contains the reply
  return {{.path = "-", .terminalHint = "name a file with -o"}};
}

std::string source_of(const StampSubject& subject) {
  return subject.digest ? "--digest" : ShownPath(subject.file);
}

void ask(Stamp& stamp, const std::string& authority) {
  if (stamp.plan.socket) {
    stamp.authority = authority;
    const Bytes framed = FramedRequest(stamp.request, QEX_TRANSPORT_SOCKET);
    stamp.reply.body = ExchangeOverSocket(authority, framed, stamp.plan.http.timeout);
    return;
  }
  stamp.authority = ShownUrl(authority);
  HttpSettings settings = stamp.plan.http;
  settings.url = authority;
  stamp.reply = PostRequest(settings, stamp.request.der);
}

Expected expected_reply(const Stamp& stamp) {
  const QEX_TSQ_DATA_EX& record = stamp.request.record;
  Expected expected;
  expected.imprint = Imprint{{stamp.hash.octets.begin(), stamp.hash.octets.end()}, stamp.digest};
  expected.imprintSource = source_of(stamp.subject);
  expected.noNonceReason = "sent without one";
  if (record.nonceLength != 0) {
    expected.nonce = Bytes(record.nonce, record.nonce + record.nonceLength);
    expected.nonceSource = "the request";
  }
  if (!stamp.plan.request.policy.empty()) {
    expected.policy = PolicyOctets(stamp.plan.request.policy);
    expected.policySource = "the request";
  }
  return expected;
}

constexpr const char* kClock = "clock";  // the key of the note

// A time far from this machine's deserves a note; either clock may be wrong.
void note_skew(Stamp& stamp) {
  using namespace std::chrono;
  const auto time = ParseGenTime(InfoOf(stamp.answer.facts).genTime);
  if (!time) return;
  const milliseconds now = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
  const milliseconds skew = seconds(time->seconds) - now;
  if (abs(skew) <= stamp.plan.maxSkew) return;
  const int64_t away = duration_cast<seconds>(abs(skew)).count();
  stamp.report.Note(kClock, "the token's time is " + std::to_string(away) + " s " +
                                (skew.count() < 0 ? "behind" : "ahead of") + " this machine's clock");
}

// Has the reply read and judged; throws the Failure that it comes to.
void judge(Stamp& stamp, Worker& worker, const Trust& trust, const Options& options) {
  if (inspect::KindOf(stamp.reply.body) != inspect::Kind::Reply) {
    throw Failure{ExitStatus::Input, stamp.authority + ": what came is no time-stamp reply",
                  "look at the address"};
  }
  Job job{.name = stamp.authority, .message = stamp.reply.body};
  job.verify = !stamp.plan.request.noCertificate || trust.Any();
  job.allowWeak = options.allowWeak;
  stamp.answer = worker.Ask(job);
  if (const auto refusal = RefusalOf(stamp.answer.facts, stamp.authority)) throw Failure{*refusal};
  Manner manner;
  manner.signatureAsked = job.verify;
  stamp.report = JudgeToken(stamp.answer.facts, expected_reply(stamp), trust, manner, options);
  note_skew(stamp);
  if (!stamp.reply.note.empty()) stamp.report.Note("transport", "the reply " + stamp.reply.note);
  if (const auto failure = stamp.report.FirstFailure(stamp.authority)) throw Failure{*failure};
}

void try_authority(Stamp& stamp, const std::string& authority, Worker& worker, const Trust& trust,
                   const Options& options) {
  stamp.reply = {};
  stamp.answer = {};
  stamp.report = {};
  ask(stamp, authority);
  judge(stamp, worker, trust, options);
}

Json failed_json(const Stamp& stamp) {
  Json list = Json::array();
  for (const Attempt& attempt : stamp.failed) {
    const ExchangeFailure& failure = attempt.failure;
    Json one{{"authority", stamp.plan.socket ? attempt.authority : ShownUrl(attempt.authority)},
             {"exit", int(failure.exit)},
             {"error", failure.message},
             {"hint", failure.hint}};
    if (failure.httpStatus != 0) one["http_status"] = failure.httpStatus;
    list.push_back(std::move(one));
  }
  return list;
}

Json stamp_document(const Stamp& stamp, const Trust& trust, const std::optional<Failure>& failure) {
  const Facts& facts = stamp.answer.facts;
  Json document = NewDocument("stamp", stamp.subject.file);
  if (facts.token) (void)SetVerdict(document, stamp.report, trust, stamp.authority);
  // A stamp without a trusted authority is not a failure.
  document["exit"] = 0;
  document["error"] = document["hint"] = nullptr;
  if (failure) SetFailure(document, *failure);
  document["authority"] = stamp.authority;
  if (stamp.reply.status != 0) document["http_status"] = stamp.reply.status;
  if (failure && !stamp.failed.empty() && stamp.failed.back().failure.httpStatus != 0) {
    document["http_status"] = stamp.failed.back().failure.httpStatus;
  }
  if (!stamp.failed.empty()) document["failed_attempts"] = failed_json(stamp);
  if (facts.status) document["status"] = StatusFields(*facts.status);
  document["checks"] = stamp.report.Checks();
  if (facts.token) document["token"] = TokenFields(facts);
  if (!failure && !IsStandardStream(stamp.places.reply)) {
    document["reply_file"] = stamp.places.reply;
    document["request_file"] = stamp.places.request;
  } else if (!failure) {
    document["reply"] = ToHex(stamp.reply.body);
  }
  if (!stamp.answer.libraryMessages.empty()) document["library_messages"] = stamp.answer.libraryMessages;
  return document;
}

std::string text_of(const Stamp& stamp, const Trust& trust, const std::optional<Failure>& failure,
                    const Options& options) {
  if (!stamp.answer.facts.token) return "";
  Report report = stamp.report;
  if (!failure) report.Note("authority", stamp.authority + " answered");
  std::string text = report.Text(options) + EscapedLines(TimeLine(stamp.answer.facts));
  if (!failure && !trust.Any()) text += std::string(kUnpinned) + "\n";
  return text;
}

Outcome outcome_of(const Stamp& stamp, const Trust& trust, const std::optional<Failure>& failure,
                   const Options& options) {
  Outcome outcome;
  outcome.errors = LibraryMessagesText(stamp.answer.libraryMessages, options);
  // The last of the failed ones is the failure itself, when there is one.
  const size_t others = stamp.failed.size() - (failure && !stamp.failed.empty() ? 1 : 0);
  for (size_t i = 0; options.verbose && i < others; ++i) {
    outcome.errors += FailureText(stamp.failed[i].failure);
  }
  const std::string subject = source_of(stamp.subject);
  if (failure) {
    const Check* fault = stamp.report.FirstFault();
    outcome.exit = failure->exit;
    outcome.reason = fault == nullptr ? ReasonOf(failure->exit) : fault->name;
    outcome.errors += FailureText(*failure);
    outcome.line = "fail  " + subject + "   " + failure->message;
  } else {
    outcome.unchecked = !trust.Any();
    outcome.line = "pass  " + subject + "   " + TokenFields(stamp.answer.facts)["time"].get<std::string>();
    if (const Check* clock = stamp.report.Find(kClock)) outcome.line += "   note: " + clock->text;
  }
  if (options.json) {
    outcome.output = JsonLine(stamp_document(stamp, trust, failure));
  } else if (!options.quiet) {
    // Standard output may be the reply's.
    const std::string text = text_of(stamp, trust, failure, options);
    IsStandardStream(stamp.places.reply) ? outcome.errors = text + outcome.errors : outcome.output = text;
  }
  return outcome;
}

Bytes digest_of(const StampSubject& subject, const HashAlgorithm& hash, const Options& options) {
  if (subject.digest) return *subject.digest;
  if (!subject.content) return HashFile(subject.file, hash, options);
  Hasher hasher(hash);
  hasher.Update(OctetsOf(*subject.content));
  return hasher.Final();
}

Outcome stamped(const StampPlan& plan, const StampSubject& subject, Worker& worker, const Trust& trust,
                const Options& options) {
  const HashAlgorithm& hash = HashNamed(plan.request.hash);
  const Places places = places_of(plan, subject);
  std::vector<std::string> inputs = plan.inputs;
  if (!subject.digest && !subject.content) inputs.push_back(subject.file);
  Outputs outputs(outputs_of(places, subject, options), inputs, options.force);
  const Bytes digest = digest_of(subject, hash, options);
  Stamp stamp{plan, subject, hash, places, digest, MakeRequest(plan.request, hash, digest)};
  std::optional<Failure> failure;
  try {
    AskInTurn(
        plan.authorities, plan.patience,
        [&](const std::string& authority) { try_authority(stamp, authority, worker, trust, options); },
        stamp.failed);
    if (subject.content) {
      outputs.Commit({stamp.reply.body, stamp.request.der, OctetsOf(*subject.content)});
    } else {
      outputs.Commit({stamp.reply.body, stamp.request.der});
    }
  } catch (const Failure& caught) {
    failure = caught;
  }
  return outcome_of(stamp, trust, failure, options);
}

}  // namespace

Outcome StampOne(const StampPlan& plan, const StampSubject& subject, Worker& worker, const Trust& trust,
                 const Options& options) {
  try {
    return stamped(plan, subject, worker, trust, options);
  } catch (const Failure& failure) {
    return OutcomeOf(failure, "stamp", subject.file, options);
  }
}

}  // namespace qex::tool
