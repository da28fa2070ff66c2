// Workers that are this program, started again. A job limits their memory, a thread of their own their time:
// a job counts all messages of a process together.
// clang-format off
#include <windows.h>
// clang-format on

#include <atomic>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "tool/worker/isolation.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

constexpr uint64_t kTicksPerSecond = 10'000'000;  // of FILETIME
constexpr DWORD kPause = 100;                     // milliseconds
constexpr UINT kOutOfTime = 0xE0000001;           // a status that no exception of the system has

std::atomic<uint64_t> deadline{UINT64_MAX};

uint64_t processor_time() {
  FILETIME began{};
  FILETIME ended{};
  FILETIME system{};
  FILETIME user{};
  if (::GetProcessTimes(::GetCurrentProcess(), &began, &ended, &system, &user) == 0) return 0;
  const auto ticks = [](const FILETIME& time) {
    return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  };
  return ticks(system) + ticks(user);
}

DWORD WINAPI watch(void* /*nothing*/) {
  while (processor_time() < deadline) ::Sleep(kPause);
  ::TerminateProcess(::GetCurrentProcess(), kOutOfTime);
  return 0;
}

}  // namespace

std::unique_ptr<ChildProcess> StartWorker(const char* version, const std::function<int()>& /*serve*/) {
  return std::make_unique<ChildProcess>(std::string(kWorkerArgument) + " " + version, kMaxMemory);
}

const char* VersionOfStartedWorker(int count, char** words) {
  return count == 3 && std::strcmp(words[1], kWorkerArgument) == 0 ? words[2] : nullptr;
}

// A worker that breaks ends, without a window or a debugger that waits for somebody.
void LimitWorker() {
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  ::SetUnhandledExceptionFilter([](EXCEPTION_POINTERS* what) -> LONG {
    ::TerminateProcess(::GetCurrentProcess(), what->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
  });
}

MessageClock::MessageClock() : callers_(kMaxSeconds), callersMost_(kMaxSeconds) {
  const HANDLE watching = ::CreateThread(nullptr, 0, watch, nullptr, 0, nullptr);
  if (watching == nullptr) throw std::runtime_error("no thread can be started");
  ::CloseHandle(watching);
}

void MessageClock::Restart() const {
  deadline = processor_time() + callers_ * kTicksPerSecond;
}

std::string EndInWords(int status) {
  if (unsigned(status) == kOutOfTime) return "it was stopped for taking too much time";
  if (status >= 0) return "it ended with status " + std::to_string(status);
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", unsigned(status));
  return std::string("it was ended by exception ") + number;
}

}  // namespace qex::tool
