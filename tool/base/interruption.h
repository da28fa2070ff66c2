// Signals that ask the process to end (SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU), and the temporary files
// that must not outlive it. One handler covers every thread, including libcurl's thread that resolves a name;
// a mask would cover only one thread.
#pragma once

#include <atomic>
#include <string>

namespace qex::tool {

// SignalsHeld delays these signals while it lives; they take effect when the last one is destroyed.
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
