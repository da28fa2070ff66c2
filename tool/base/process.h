// A process forked off this one that answers frames: a length of four octets, then as many octets. What it
// does cannot harm its parent, whatever it reads.
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
  // What the child writes to standard error: kept for TakeMessages, or left to go where the parent's goes.
  enum class Errors { Capture, Inherit };

  // Forks. The child runs `main` with standard input and output as its ends of the pipes and every other
  // descriptor closed, and ends with the status that it returns. Throws a Failure when there are no processes
  // or descriptors left.
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

  // CloseInput lets it end when it has answered what it was sent.
  void CloseInput();
  // Terminate has it ended by SIGTERM, whatever it is at.
  void Terminate();

  // TakeMessages returns what it wrote to standard error since the last call, of at most 64 KiB.
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
