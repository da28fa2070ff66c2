// A child process that answers frames. Whatever it reads, it cannot harm its parent.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tool/base/frame.h"

namespace qex::tool {

class ChildProcess {
 public:
  // Standard error of the child: kept for TakeMessages, or inherited from the parent.
  enum class Errors { Capture, Inherit };

  // Forks. The child runs `main` with standard input and output connected to the pipes and every other
  // descriptor closed, and exits with the status that `main` returns. Throws a Failure when the system has no
  // processes or descriptors left.
  ChildProcess(Errors errors, const std::function<int()>& main);

  // Where the system does not fork, starts this program again with `words`, and with at most that many octets
  // of memory; standard error is kept.
  ChildProcess(const std::string& words, uint64_t memory);
  ~ChildProcess();  // closes its input, and waits for its end
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Send hands it a frame; false when it has ended.
  [[nodiscard]] bool Send(std::string_view frame);
  // Receive waits for its next frame; nothing when it ended instead.
  [[nodiscard]] std::optional<std::string> Receive();
  // The descriptor that becomes readable when a frame, or the end, comes.
  [[nodiscard]] int Output() const { return output_; }

  // CloseInput lets the child end after its last answer.
  void CloseInput();
  // Terminate has it ended, by SIGTERM where there are signals, whatever it is at.
  void Terminate();

  // TakeMessages returns its output to standard error since the last call, at most 64 KiB.
  std::string TakeMessages();
  // Wait closes its input and waits for its end; returns the status as the system gives it.
  [[nodiscard]] int Wait();

 private:
  void gather_errors();

  pid_t pid_ = -1;  // a handle where the system has those
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  int status_ = 0;
  std::string messages_;
};

// CloseEnd closes the end of a pipe, if it is open.
void CloseEnd(int& fd);

}  // namespace qex::tool
