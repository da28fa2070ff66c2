// What keeps a worker apart: its process, its limits, and the report on its end, as the operating system has
// them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "tool/base/process.h"

namespace qex::tool {

inline constexpr uint64_t kMaxMemory = uint64_t{1} << 30;
inline constexpr uint64_t kMaxSeconds = 20;  // of processor time, for one message

// StartWorker starts a process that serves one version of the signing-certificate attribute. Where the system
// forks it runs `serve`; where it does not, it is started with kWorkerArgument (worker.h), and trusts nobody.
[[nodiscard]] std::unique_ptr<ChildProcess> StartWorker(const char* version,
                                                        const std::function<int()>& serve);

// VersionOfStartedWorker returns the version that a command line names which StartWorker has made; null for
// any other.
const char* VersionOfStartedWorker(int count, char** words);

// LimitWorker sets the limits that a worker sets itself.
void LimitWorker();

// MessageClock gives every message the same processor time, however many came before it.
class MessageClock {
 public:
  MessageClock();
  void Restart() const;

 private:
  uint64_t callers_;  // the caller's own limits, in seconds
  uint64_t callersMost_;
};

// EndInWords describes the end of a worker by its status, as ChildProcess::Wait returns it.
std::string EndInWords(int status);

}  // namespace qex::tool
