// Signals that ask a long run to stop. They take effect between two steps of it, so that a summary can
// follow.
#pragma once

#include <csignal>

namespace qex::tool {

// StopRequest has SIGHUP, SIGINT and SIGTERM wait while it lives. One that the caller of the program has
// ignored stays ignored. There is one at a time.
class StopRequest {
 public:
  StopRequest();
  ~StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;

  // Came returns the signal that came, 0 when none did.
  [[nodiscard]] int Came() const;

  // The mask under which poll lets these signals through.
  const sigset_t& Outside() const { return outside_; }

  // Release gives a forked child the original signal settings, except for SIGINT: a terminal sends that to
  // parent and children alike, and the parent decides.
  void Release() const;

 private:
  sigset_t outside_{};
  struct sigaction before_[3]{};
};

// EndBySignal ends the process by that signal if nothing handles it, and with 128 + number otherwise, so that
// a shell sees what stopped it.
[[noreturn]] void EndBySignal(int number);

}  // namespace qex::tool
