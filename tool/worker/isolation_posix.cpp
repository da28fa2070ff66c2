// Workers that are forked, and limit themselves.
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstring>

#include "tool/base/sanitized.h"
#include "tool/worker/isolation.h"

namespace qex::tool {
namespace {

static_assert(sizeof(rlim_t) == sizeof(uint64_t));

struct rlimit limit_of(decltype(RLIMIT_CPU) resource) {
  struct rlimit now {};
  ::getrlimit(resource, &now);
  return now;
}

// A lower limit that the caller has set stays.
void set_limit(decltype(RLIMIT_CPU) resource, rlim_t soft, rlim_t hard) {
  const struct rlimit now = limit_of(resource);
  const struct rlimit wanted { std::min(now.rlim_cur, soft), std::min(now.rlim_max, hard) };
  ::setrlimit(resource, &wanted);
}

}  // namespace

std::unique_ptr<ChildProcess> StartWorker(const char* /*version*/, const std::function<int()>& serve) {
  return std::make_unique<ChildProcess>(ChildProcess::Errors::Capture, serve);
}

const char* VersionOfStartedWorker(int /*count*/, char** /*words*/) {
  return nullptr;
}

void LimitWorker() {
  set_limit(RLIMIT_CORE, 0, 0);
  // A sanitizer's shadow memory alone is beyond any limit.
  if (!kSanitized) set_limit(RLIMIT_AS, kMaxMemory, kMaxMemory);
}

MessageClock::MessageClock() {
  const struct rlimit now = limit_of(RLIMIT_CPU);
  callers_ = now.rlim_cur;
  callersMost_ = now.rlim_max;
}

void MessageClock::Restart() const {
  struct rusage used {};
  ::getrusage(RUSAGE_SELF, &used);
  const auto spent = rlim_t(used.ru_utime.tv_sec + used.ru_stime.tv_sec + 1);
  const rlim_t allowed = std::min<rlim_t>(kMaxSeconds, callers_);
  const struct rlimit wanted { std::min<rlim_t>(spent + allowed - 1, callersMost_), callersMost_ };
  ::setrlimit(RLIMIT_CPU, &wanted);
}

std::string EndInWords(int status) {
  if (!WIFSIGNALED(status)) return "it ended with status " + std::to_string(WEXITSTATUS(status));
  const int number = WTERMSIG(status);
  if (number == SIGXCPU) return "it was stopped for taking too much time";
  // By the system, which does not say why.
  if (number == SIGKILL) return "it was killed, for taking too much time or memory or by somebody";
  return "it was ended by signal " + std::to_string(number) + " (" + ::strsignal(number) + ")";
}

}  // namespace qex::tool
