// The command line program qex: a worker process, or else one command.
#include <cstdio>
#include <exception>
#include <new>
#include <optional>

#include "tool/base/exit_status.h"
#include "tool/base/failure.h"
#include "tool/base/startup.h"
#include "tool/commands/command_line.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

[[nodiscard]] int tool_main(int count, char** words) {
  PrepareProcess(count, words);
  if (const std::optional<int> status = RunAsWorker(count, words)) return *status;
  try {
    return int(RunCommandLine(count, words));
  } catch (const ReaderGone&) {
    return EndByBrokenPipe();
  }
}

}  // namespace
}  // namespace qex::tool

int main(int count, char** words) {
  try {
    return qex::tool::tool_main(count, words);
  } catch (const std::bad_alloc&) {  // before there was a program to report by, or memory to report with
    std::fputs("qex: error: memory ran out\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qex: error: internal: %s\n", error.what());
  } catch (...) {
    std::fputs("qex: error: internal\n", stderr);
  }
  return int(qex::tool::ExitStatus::Internal);
}
