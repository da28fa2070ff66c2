// Forking, and talking over three pipes.
#include "tool/base/process.h"

#include <fcntl.h>
#include <poll.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "tool/base/failure.h"
#include "tool/base/sanitized.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxMessages = size_t{64} << 10;  // further output is dropped

[[noreturn]] void fail_to_start(int error) {
  const bool descriptors = error == EMFILE || error == ENFILE;
  throw Failure{ExitStatus::Internal, std::string("no process can be started: ") + std::strerror(error),
                descriptors ? "the limit of open files is reached; raise it (ulimit -n)"
                            : "the system is out of processes or memory; try again"};
}

struct Pipe {
  int read = -1;
  int write = -1;

  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) fail_to_start(errno);
    read = ends[0];
    write = ends[1];
  }
  ~Pipe() {
    CloseEnd(read);
    CloseEnd(write);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
};

// The handlers are the parent's and would clean up the parent's files.
void drop_handlers() {
  for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGXFSZ, SIGXCPU}) {
    struct sigaction now {};
    ::sigaction(number, nullptr, &now);
    if (now.sa_handler != SIG_IGN || number == SIGXCPU) std::signal(number, SIG_DFL);
  }
}

// A child ends when its parent does, for whatever reason and at any time. It then cleans up as when it is
// asked to end.
void end_with_parent(pid_t parent) {
#ifdef __linux__
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
  if (::getppid() != parent) ::_exit(127);
}

[[noreturn]] void become_child(pid_t parent, const Pipe& in, const Pipe& out, const Pipe* err,
                               const std::function<int()>& main) {
  drop_handlers();
  end_with_parent(parent);
  const bool ready = ::dup2(in.read, STDIN_FILENO) >= 0 && ::dup2(out.write, STDOUT_FILENO) >= 0 &&
                     (err == nullptr || ::dup2(err->write, STDERR_FILENO) >= 0);
  ::closefrom(STDERR_FILENO + 1);
  int status = 127;
  if (ready) status = main();
  std::fflush(nullptr);
  if (!LeavesNoLeak()) status = 23;  // as the sanitizer's own exit status
  ::_exit(status);
}

}  // namespace

ChildProcess::ChildProcess(Errors errors, const std::function<int()>& main) {
  Pipe in;
  Pipe out;
  std::optional<Pipe> err;
  if (errors == Errors::Capture) err.emplace();
  std::fflush(nullptr);
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ < 0) fail_to_start(errno);
  if (pid_ == 0) become_child(parent, in, out, err ? &*err : nullptr, main);
  input_ = std::exchange(in.write, -1);
  output_ = std::exchange(out.read, -1);
  if (err) {
    errors_ = std::exchange(err->read, -1);
    ::fcntl(errors_, F_SETFL, O_NONBLOCK);
  }
}

// Errors are read meanwhile, so that the child never waits for room in their pipe.
std::optional<std::string> ChildProcess::Receive() {
  struct pollfd ends[] = {{output_, POLLIN, 0}, {errors_, POLLIN, 0}};
  for (;;) {
    if (::poll(ends, std::size(ends), -1) < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (ends[1].revents != 0) gather_errors();
    if (ends[0].revents != 0) break;
    ends[1].fd = errors_;
  }
  std::optional<std::string> frame = ReadFrame(output_);
  gather_errors();
  return frame;
}

void ChildProcess::gather_errors() {
  std::array<char, 4096> buffer{};
  while (errors_ >= 0) {
    const ssize_t n = ::read(errors_, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno == EAGAIN) return;
    if (n <= 0) {
      CloseEnd(errors_);
      return;
    }
    messages_.append(buffer.data(), std::min(size_t(n), kMaxMessages - messages_.size()));
  }
}

void ChildProcess::Terminate() {
  if (pid_ > 0) ::kill(pid_, SIGTERM);
}

int ChildProcess::Wait() {
  CloseEnd(input_);
  if (pid_ < 0) return status_;
  while (::waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  gather_errors();
  return status_;
}

}  // namespace qex::tool
