// Blocked signals with a handler that notes them: they are delivered in ppoll alone, and no moment is too
// early or too late for one.
#include "tool/base/stop_request.h"

#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <iterator>

namespace qex::tool {
namespace {

constexpr int kStopping[] = {SIGHUP, SIGINT, SIGTERM};

std::atomic<int> noted{0};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void on_stop(int number) {
  noted = number;
}

[[nodiscard]] bool is_heeded(const struct sigaction& before) {
  return before.sa_handler != SIG_IGN;
}

}  // namespace

StopRequest::StopRequest() {
  noted = 0;
  sigset_t heeded;
  ::sigemptyset(&heeded);
  for (size_t i = 0; i < std::size(kStopping); ++i) {
    ::sigaction(kStopping[i], nullptr, &before_[i]);
    if (!is_heeded(before_[i])) continue;
    struct sigaction stop {};
    stop.sa_handler = on_stop;
    ::sigaction(kStopping[i], &stop, nullptr);
    ::sigaddset(&heeded, kStopping[i]);
  }
  ::sigprocmask(SIG_BLOCK, &heeded, &outside_);
}

StopRequest::~StopRequest() {
  for (size_t i = 0; i < std::size(kStopping); ++i) ::sigaction(kStopping[i], &before_[i], nullptr);
  ::sigprocmask(SIG_SETMASK, &outside_, nullptr);
}

// One that waits, too, has come.
int StopRequest::Came() const {
  if (noted != 0) return noted;
  sigset_t waiting;
  if (::sigpending(&waiting) != 0) return 0;
  for (size_t i = 0; i < std::size(kStopping); ++i) {
    if (is_heeded(before_[i]) && ::sigismember(&waiting, kStopping[i]) == 1) return kStopping[i];
  }
  return 0;
}

void StopRequest::Release() const {
  for (size_t i = 0; i < std::size(kStopping); ++i) ::sigaction(kStopping[i], &before_[i], nullptr);
  std::signal(SIGINT, SIG_IGN);
  ::sigprocmask(SIG_SETMASK, &outside_, nullptr);
}

void EndBySignal(int number) {
  std::signal(number, SIG_DFL);
  sigset_t set;
  ::sigemptyset(&set);
  ::sigaddset(&set, number);
  ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
  std::raise(number);
  ::_exit(128 + number);
}

}  // namespace qex::tool
