// A child process that answers frames: a length of four octets, then as many octets. Whatever it reads, it
// cannot harm its parent.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qex::tool {

// The child's side: one frame from a descriptor; nothing at the end of input. False when writing fails.
std::optional<std::string> ReadFrame(int fd);
bool WriteFrame(int fd, std::string_view frame);

// A frame of several parts, each after its length. TakePart takes the first one off; nothing when there is
// none, or not the whole of it.
void AppendPart(std::string& frame, std::string_view part);
std::optional<std::string_view> TakePart(std::string_view& frame);

class ChildProcess {
 public:
  // Standard error of the child: kept for TakeMessages, or inherited from the parent.
  enum class Errors { Capture, Inherit };

  // Forks. The child runs `main` with standard input and output connected to the pipes and every other
  // descriptor closed, and exits with the status that `main` returns. Throws a Failure when the system has no
  // processes or descriptors left.
  ChildProcess(Errors errors, const std::function<int()>& main);
  ~ChildProcess();  // closes its input, and waits for its end
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Send hands it a frame; false when it has ended.
  bool Send(std::string_view frame);
  // Receive waits for its next frame; nothing when it ended instead.
  std::optional<std::string> Receive();
  // The descriptor that becomes readable when a frame, or the end, comes.
  int Output() const { return output_; }

  // CloseInput lets the child end after its last answer.
  void CloseInput();
  // Terminate has it ended by SIGTERM, whatever it is at.
  void Terminate();

  // TakeMessages returns its output to standard error since the last call, at most 64 KiB.
  std::string TakeMessages();
  // Wait closes its input and waits for its end; returns the status as waitpid gives it.
  int Wait();

 private:
  void gather_errors();

  pid_t pid_ = -1;
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  int status_ = 0;
  std::string messages_;
};

}  // namespace qex::tool
