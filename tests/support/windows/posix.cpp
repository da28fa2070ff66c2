// The few POSIX functions that tests call, on top of those of Windows.
#include "tests/support/windows/posix.h"

#include <sys/mman.h>
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <string>

int setenv(const char* name, const char* value, int) {
  return _putenv_s(name, value);
}

int unsetenv(const char* name) {
  return _putenv_s(name, "");
}

char* mkdtemp(char* pattern) {
  std::string path(pattern);
  for (unsigned number = 0; number < 1000; ++number) {
    path.replace(path.size() - 6, 6, std::to_string(100000 + (GetCurrentProcessId() + number) % 900000));
    if (!std::filesystem::create_directory(path)) continue;
    path.copy(pattern, path.size());
    return pattern;
  }
  return nullptr;
}

long sysconf(int) {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return long(info.dwPageSize);
}

// All of the memory counts against the limit of the system, whether MAP_NORESERVE is set or not.
void* mmap(void*, size_t size, int, int, int, long) {
  return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

int mprotect(void* address, size_t size, int protection) {
  DWORD before = 0;
  return VirtualProtect(address, size, protection == PROT_NONE ? PAGE_NOACCESS : PAGE_READWRITE, &before)
             ? 0
             : -1;
}

int munmap(void* address, size_t) {
  return VirtualFree(address, 0, MEM_RELEASE) ? 0 : -1;
}

bool RunOnStack(size_t size, void (*work)(void*), void* argument) {
  struct Call {
    void (*work)(void*);
    void* argument;
  } call{work, argument};
  const auto run = [](void* p) -> DWORD {
    const Call& it = *static_cast<Call*>(p);
    it.work(it.argument);
    return 0;
  };
  HANDLE const thread = CreateThread(nullptr, size, run, &call, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (thread == nullptr) return false;
  const bool ended = WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0;
  CloseHandle(thread);
  return ended;
}
