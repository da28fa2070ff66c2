// The worker: the processes that decode foreign octets.
//
// The library reads its environment switch once per process, ends the process when a precondition of its
// arithmetic is broken, and writes to standard error. So every message is read in a separate process with
// limits on memory and processor time, whose end harms nothing else. A process serves one version of the
// signing-certificate attribute and many messages; one that died is replaced.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/process.h"
#include "tool/message/job.h"
#include "tool/message/trust.h"

namespace qex::tool {

// The command line word that makes the tool read one job from standard input and write its answer to
// standard output, both in the form that crosses the pipe. It is not a command: memory tests use it. On
// systems that do not fork, workers are started with it and the version of the attribute that they serve.
inline constexpr const char* kWorkerArgument = "--worker-process";

class Worker {
 public:
  // `trust` is passed to the processes when they are forked; it must not change, and must outlive this
  // object.
  explicit Worker(const Trust& trust) : trust_(trust) {}

  // CheckTrust lets a worker decode the trust options' files; throws a Failure that names an undecodable one.
  void CheckTrust();

  // Whether there will be another question. A process that expects none ends while its answer is being read.
  enum class Then { More, Nothing };

  // Ask has a job done; throws the worker's Failure, or one of exit status 70 when the process ended before
  // it answered. With `ess` auto every signing-certificate attribute of the token is checked.
  Answer Ask(const Job& job, Then then = Then::More);

 private:
  enum Version : size_t { V1, V2, kVersions };

  std::string exchange(Version version, const std::string& question, const std::string& name,
                       std::string& messages);
  Answer ask(Version version, const Job& job);
  Answer ask_each_version(const Job& job);

  const Trust& trust_;
  std::array<std::unique_ptr<ChildProcess>, kVersions> processes_;
  Then then_ = Then::More;
};

// AskOnce has a worker without trust options run one job, and ends it.
Answer AskOnce(const Job& job);

// RunAsWorker does the job of a process that was started with kWorkerArgument, and returns its exit status;
// nothing for any other command line.
[[nodiscard]] std::optional<int> RunAsWorker(int count, char** words);

}  // namespace qex::tool
