// Signals that ask the process to end (SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU), and the temporary files
// that must not outlive it. One handler serves every thread, also one of libcurl's that still looks up a
// name, where a mask would hold for one thread alone.
#pragma once

#include <atomic>
#include <string>

namespace qex::tool {

// SignalsHeld keeps these signals waiting while it lives; they take effect when the last one goes.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
};

// RemovedOnSignal has the file `name` removed when one of these signals ends the process while it lives.
class RemovedOnSignal {
 public:
  explicit RemovedOnSignal(const std::string& name);
  ~RemovedOnSignal();
  RemovedOnSignal(const RemovedOnSignal&) = delete;
  RemovedOnSignal& operator=(const RemovedOnSignal&) = delete;

  struct Slot;

 private:
  Slot* slot_;
};

}  // namespace qex::tool
