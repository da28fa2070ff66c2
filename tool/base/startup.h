// The process at its start and its end, as the operating system has them.
#pragma once

namespace qex::tool {

// PrepareProcess is called first. It makes standard streams safe and binary, has failed writes reported as
// errors, and makes the words of the command line UTF-8.
void PrepareProcess(int& count, char**& words);

// EndByBrokenPipe ends the process as other programs end whose reader has gone: without a line, and with a
// status that no script takes for a pass.
[[nodiscard]] int EndByBrokenPipe();

}  // namespace qex::tool
