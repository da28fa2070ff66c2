// The few functions of POSIX that the tests use and Windows lacks. Every source of the tests is compiled with
// this header before its first line; sys/mman.h beside it has the functions of memory.
#pragma once

#ifdef __cplusplus
#include <cstddef>

extern "C" {
int setenv(const char* name, const char* value, int replace);
int unsetenv(const char* name);
char* mkdtemp(char* pattern);
long sysconf(int name);
}

inline constexpr int _SC_PAGESIZE = 1;

// RunOnStack calls `work(argument)` on a new thread with a stack of `size` octets. False if there is no such
// thread.
bool RunOnStack(size_t size, void (*work)(void*), void* argument);
#endif
