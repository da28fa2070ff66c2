// Workers: limits, questions and answers, and the report on one that died.
#include "tool/worker/worker.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/json.h"
#include "tool/base/system.h"
#include "tool/message/facts_json.h"
#include "tool/message/wire.h"
#include "tool/worker/examine.h"
#include "tool/worker/isolation.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace {

constexpr const char* kVersionNames[] = {"v1", "v2"};

const std::string& out_of_memory_answer() {
  static const std::string frame = [] {
    const std::string text =
        WireFrom({{"failure", ToJson({ExitStatus::Internal, "reading it takes more memory than is allowed",
                                      "no time-stamp message needs that much; do not rely on it"})}});
    const auto length = uint32_t(text.size());
    std::string whole(sizeof length, '\0');
    std::memcpy(whole.data(), &length, sizeof length);
    return whole + text;
  }();
  return frame;
}

// Answers that memory ran out, which takes none, and ends the worker. Nothing is unwound: JSON values end the
// process when memory runs out while they are built or released.
[[noreturn]] void end_without_memory() {
  const std::string& frame = out_of_memory_answer();
  ::_exit(WriteAll(STDOUT_FILENO, OctetsOf(frame)) ? 0 : 1);
}

// The answer to a question, whole before any of it crosses the pipe.
std::string answer_to(const std::string& question, const Trust& trust, bool& trustChecked) {
  try {
    const Json json = FromWire(question);
    if (!trustChecked) CheckTrust(trust);
    trustChecked = true;
    if (json.is_null()) return WireFrom({{"trust", true}});
    const std::string served = json.at("serve").get<std::string>();
    return WireFrom({{"facts", ToJson(Examine(JobFrom(json.at("job")), trust, served))}});
  } catch (const Failure& failure) {
    return WireFrom({{"failure", ToJson(failure)}});
  }
}

// The worker's side: answers questions until there are no more.
[[nodiscard]] int serve(const Trust& trust, const char* version) {
  LimitWorker();
  if (!SetVariable("QEX_VERIFY_ESSCERTIDV2", std::strcmp(version, "v2") == 0 ? "1" : "0")) return 1;
  out_of_memory_answer();
  std::set_new_handler(end_without_memory);
  const MessageClock clock;
  bool trustChecked = false;
  try {
    while (const auto question = ReadFrame(STDIN_FILENO)) {
      clock.Restart();
      if (!WriteFrame(STDOUT_FILENO, answer_to(*question, trust, trustChecked))) return 1;
    }
  } catch (const std::bad_alloc&) {  // thrown for allocations that bypass operator new
    end_without_memory();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "worker: %s\n", error.what());
    return 1;
  }
  return 0;
}

Failure ended(int status, const std::string& name, const std::string& messages) {
  return {
      ExitStatus::Internal,
      name + ": the worker process that reads it gave no answer: " + EndInWords(status),
      "nothing is known about the message, so do not rely on it; run again with -v, and report what it shows",
      0,
      0,
      messages};
}

// The version to begin with. Which attributes a token has only a worker can say; that the octets of the
// second one's identifier are somewhere in it is a good guess.
[[nodiscard]] bool may_have_v2(const Bytes& message) {
  constexpr uint8_t kSigningCertificateV2[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                               0x01, 0x09, 0x10, 0x02, 0x2F};
  return std::search(message.begin(), message.end(), std::begin(kSigningCertificateV2),
                     std::end(kSigningCertificateV2)) != message.end();
}

}  // namespace

std::string Worker::exchange(Version version, const std::string& question, const std::string& name,
                             std::string& messages) {
  std::unique_ptr<ChildProcess>& process = processes_[version];
  bool sent = process != nullptr && process->Send(question);
  if (!sent) {  // there is no process yet, or it ended while idle
    process = StartWorker(kVersionNames[version],
                          [this, version] { return serve(trust_, kVersionNames[version]); });
    sent = process->Send(question);
  }
  if (then_ == Then::Nothing) process->CloseInput();
  std::optional<std::string> answer;
  if (sent) answer = process->Receive();
  messages += process->TakeMessages();
  if (answer) return *answer;
  const int status = process->Wait();
  messages += process->TakeMessages();
  process.reset();
  throw ended(status, name, messages);
}

void Worker::CheckTrust() {
  std::string messages;
  const Json json = FromWire(exchange(V2, WireFrom(nullptr), "the trusted certificates", messages));
  if (json.contains("failure")) throw FailureFrom(json.at("failure"));
}

Answer Worker::ask(Version version, const Job& job) {
  Answer answer;
  const std::string question = WireFrom({{"serve", kVersionNames[version]}, {"job", ToJson(job)}});
  const std::string frame = exchange(version, question, job.name, answer.libraryMessages);
  try {
    const Json json = FromWire(frame);
    if (json.is_object() && json.contains("failure")) {
      Failure failure = FailureFrom(json.at("failure"));
      failure.message = job.name + ": " + failure.message;
      failure.libraryMessages = answer.libraryMessages;
      throw Failure{failure};
    }
    answer.facts = FactsFrom(json.at("facts"));
  } catch (const std::exception& error) {
    throw Failure{ExitStatus::Internal,
                  job.name + ": the worker's answer cannot be read: " + error.what(),
                  "nothing is known about the message, so do not rely on it; please report this",
                  0,
                  0,
                  answer.libraryMessages};
  }
  return answer;
}

Answer Worker::Ask(const Job& job, Then then) {
  then_ = then;
  return ask_each_version(job);
}

Answer Worker::ask_each_version(const Job& job) {
  if (job.ess != "auto") return ask(job.ess == "v2" ? V2 : V1, job);
  const bool versionMatters = job.verify || job.takeTac || job.describe;
  if (!versionMatters) return ask(processes_[V1] != nullptr ? V1 : V2, job);
  const Version first = may_have_v2(job.message) ? V2 : V1;
  Answer answer = ask(first, job);
  if (!answer.facts.library) return answer;
  LibraryReading& reading = *answer.facts.library;
  const bool wanted[kVersions] = {reading.hasEssV1, reading.hasEssV2};
  const Version second = first == V2 ? V1 : V2;
  if (!wanted[second]) return answer;
  // The other version is another process's; with both attributes both must hold.
  Job other = job;
  other.ess = kVersionNames[second];
  other.libraryOnly = true;
  other.describe = other.asn1 = false;
  other.request.clear();
  Answer more = ask(second, other);
  answer.libraryMessages += more.libraryMessages;
  if (!more.facts.library) return answer;
  if (!wanted[first]) {
    reading.checks.clear();
    reading.signer = more.facts.library->signer;
    answer.facts.tac = more.facts.tac;
    answer.facts.tacMatch = more.facts.tacMatch;
  }
  for (LibraryCheck& check : more.facts.library->checks) reading.checks.push_back(std::move(check));
  return answer;
}

Answer AskOnce(const Job& job) {
  static const Trust kNobody;
  return Worker(kNobody).Ask(job);
}

namespace {

[[nodiscard]] int do_one_job() {
  LimitWorker();
  out_of_memory_answer();
  std::set_new_handler(end_without_memory);
  std::string question;
  char buffer[65536];
  for (ptrdiff_t n; (n = ReadSome(STDIN_FILENO, buffer, sizeof buffer)) > 0;) {
    question.append(buffer, size_t(n));
  }
  bool trustChecked = false;
  try {
    return WriteFrame(STDOUT_FILENO, answer_to(question, Trust{}, trustChecked)) ? 0 : 1;
  } catch (const std::bad_alloc&) {
    end_without_memory();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "worker: %s\n", error.what());
    return 1;
  }
}

}  // namespace

std::optional<int> RunAsWorker(int count, char** words) {
  if (const char* version = VersionOfStartedWorker(count, words)) return serve(Trust{}, version);
  if (count == 2 && std::strcmp(words[1], kWorkerArgument) == 0) return do_one_job();
  return std::nullopt;
}

}  // namespace qex::tool
