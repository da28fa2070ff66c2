// Standard streams and signals. The words of the command line are taken as they are.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

#include "tool/base/startup.h"

namespace qex::tool {
namespace {

// If a standard stream is closed at the start, the next file, pipe or connection would get its number and
// receive texts. Occupy it with a descriptor that cannot be read or written, so that using it still fails.
void occupy_standard_streams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free descriptor, which is this one.
    if (::fcntl(fd, F_GETFD) < 0) ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

void PrepareProcess(int& /*count*/, char**& /*words*/) {
  occupy_standard_streams();
  // A closed reader appears as a failed write, here and in the worker's pipes, so that unfinished outputs are
  // cleaned up.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that grows beyond the limit, too, shows as a failed write.
  std::signal(SIGXFSZ, SIG_IGN);
}

int EndByBrokenPipe() {
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  return 128 + SIGPIPE;  // where the signal is blocked
}

}  // namespace qex::tool
