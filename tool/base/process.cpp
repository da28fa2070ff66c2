// What child processes have in common, however the operating system starts and ends them.
#include "tool/base/process.h"

#include <utility>

#include "tool/base/system.h"

namespace qex::tool {

void CloseEnd(int& fd) {
  if (fd >= 0) CloseDescriptor(fd);
  fd = -1;
}

ChildProcess::~ChildProcess() {
  (void)Wait();
  CloseEnd(output_);
  CloseEnd(errors_);
}

bool ChildProcess::Send(std::string_view frame) {
  return input_ >= 0 && WriteFrame(input_, frame);
}

std::string ChildProcess::TakeMessages() {
  gather_errors();
  return std::exchange(messages_, {});
}

void ChildProcess::CloseInput() {
  CloseEnd(input_);
}

}  // namespace qex::tool
