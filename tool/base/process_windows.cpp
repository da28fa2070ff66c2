// Starting this program again, in a job with limits, and talking to it over three pipes.
// clang-format off
#include <windows.h>
// clang-format on
#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "tool/base/failure.h"
#include "tool/base/process.h"
#include "tool/base/system.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxMessages = size_t{64} << 10;  // further output is dropped
constexpr DWORD kLongestPause = 10;                // milliseconds

[[noreturn]] void fail_to_start(const char* what) {
  throw Failure{ExitStatus::Internal,
                std::string("no process can be started: ") + what + ": Windows error " +
                    std::to_string(::GetLastError()),
                "the system is out of processes or memory; try again"};
}

class Handle {
 public:
  explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
  ~Handle() {
    if (handle_ != nullptr) ::CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE get() const { return handle_; }
  HANDLE release() { return std::exchange(handle_, nullptr); }
  HANDLE* out() { return &handle_; }

 private:
  HANDLE handle_;
};

struct Pipe {
  Handle read;
  Handle write;
  Pipe() {
    if (::CreatePipe(read.out(), write.out(), nullptr, 0) == 0) fail_to_start("no pipe");
  }
};

[[nodiscard]] int descriptor_of(Handle& end, int flags) {
  const int fd = ::_open_osfhandle(reinterpret_cast<intptr_t>(end.get()), flags | _O_BINARY);
  if (fd < 0) fail_to_start("no descriptor");
  end.release();
  return fd;
}

HANDLE handle_of(int fd) {
  return reinterpret_cast<HANDLE>(::_get_osfhandle(fd));
}

HANDLE handle_of_process(pid_t process) {
  return reinterpret_cast<HANDLE>(intptr_t{process});
}

// Octets that a pipe holds; nothing when it is at its end.
[[nodiscard]] std::optional<size_t> waiting_in(int fd) {
  DWORD count = 0;
  if (::PeekNamedPipe(handle_of(fd), nullptr, 0, nullptr, &count, nullptr) == 0) return std::nullopt;
  return count;
}

// The job of all children. It is closed with this process, however that ends, and they end with it.
HANDLE job_with(uint64_t memory) {
  static const HANDLE job = [memory] {
    const HANDLE made = ::CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE |
                                              JOB_OBJECT_LIMIT_PROCESS_MEMORY |
                                              JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    limits.ProcessMemoryLimit = memory;
    if (made == nullptr ||
        ::SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits) == 0) {
      fail_to_start("no job");
    }
    return made;
  }();
  return job;
}

// The attributes of a process that inherits these three handles and no others.
class Inherited {
 public:
  explicit Inherited(std::array<HANDLE, 3> handles) : handles_(handles) {
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    octets_.resize(size);
    if (::InitializeProcThreadAttributeList(list(), 1, 0, &size) == 0) fail_to_start("no attributes");
    for (const HANDLE handle : handles_) {
      ::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    }
    if (::UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                    sizeof handles_, nullptr, nullptr) == 0) {
      fail_to_start("no attributes");
    }
  }
  ~Inherited() { ::DeleteProcThreadAttributeList(list()); }
  Inherited(const Inherited&) = delete;
  Inherited& operator=(const Inherited&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST list() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(octets_.data());
  }

 private:
  std::array<HANDLE, 3> handles_;
  std::string octets_;
};

std::wstring path_of_this_program() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), DWORD(path.size()));
    if (length == 0) fail_to_start("its path is unknown");
    if (length < path.size()) return path.substr(0, length);
    path.resize(path.size() * 2);
  }
}

}  // namespace

ChildProcess::ChildProcess(const std::string& words, uint64_t memory) {
  Pipe in;
  Pipe out;
  Pipe err;
  Inherited inherited({in.read.get(), out.write.get(), err.write.get()});
  STARTUPINFOEXW start{};
  start.StartupInfo.cb = sizeof start;
  start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  start.StartupInfo.hStdInput = in.read.get();
  start.StartupInfo.hStdOutput = out.write.get();
  start.StartupInfo.hStdError = err.write.get();
  start.lpAttributeList = inherited.list();
  const std::wstring program = path_of_this_program();
  std::wstring line = L"\"" + program + L"\" " + std::wstring(words.begin(), words.end());
  PROCESS_INFORMATION made{};
  // It does nothing before it has its limits, and has no console: Ctrl-C is the parent's.
  constexpr DWORD kHow = CREATE_SUSPENDED | DETACHED_PROCESS | EXTENDED_STARTUPINFO_PRESENT;
  if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, kHow, nullptr, nullptr,
                       &start.StartupInfo, &made) == 0) {
    fail_to_start("it was refused");
  }
  Handle process(made.hProcess);
  const Handle thread(made.hThread);
  if (::AssignProcessToJobObject(job_with(memory), process.get()) == 0 ||
      ::ResumeThread(thread.get()) == DWORD(-1)) {
    ::TerminateProcess(process.get(), 1);
    fail_to_start("it cannot be limited");
  }
  input_ = descriptor_of(in.write, _O_WRONLY);
  output_ = descriptor_of(out.read, _O_RDONLY);
  errors_ = descriptor_of(err.read, _O_RDONLY);
  pid_ = reinterpret_cast<intptr_t>(process.release());
}

// Nothing waits for several pipes, so they are looked at in turn, with pauses that end with the process.
// Errors are read meanwhile, so that the child never waits for room in their pipe.
std::optional<std::string> ChildProcess::Receive() {
  const HANDLE process = handle_of_process(pid_);
  for (DWORD pause = 0;; pause = std::min(pause + 1, kLongestPause)) {
    const bool ended = ::WaitForSingleObject(process, pause) == WAIT_OBJECT_0;
    gather_errors();
    const std::optional<size_t> waiting = waiting_in(output_);
    if (!waiting || (ended && *waiting == 0)) return std::nullopt;
    if (*waiting > 0) break;
  }
  std::optional<std::string> frame = ReadFrame(output_);
  gather_errors();
  return frame;
}

void ChildProcess::gather_errors() {
  std::array<char, 4096> buffer{};
  while (errors_ >= 0 && waiting_in(errors_).value_or(0) > 0) {
    const ptrdiff_t n = ReadSome(errors_, buffer.data(), buffer.size());
    if (n <= 0) return;
    messages_.append(buffer.data(), std::min(size_t(n), kMaxMessages - messages_.size()));
  }
}

void ChildProcess::Terminate() {
  if (pid_ > 0) ::TerminateProcess(handle_of_process(pid_), 1);
}

int ChildProcess::Wait() {
  CloseEnd(input_);
  if (pid_ < 0) return status_;
  const HANDLE process = handle_of_process(std::exchange(pid_, -1));
  ::WaitForSingleObject(process, INFINITE);
  DWORD status = 1;
  ::GetExitCodeProcess(process, &status);
  ::CloseHandle(process);
  status_ = int(status);
  gather_errors();
  return status_;
}

}  // namespace qex::tool
