// Memory without a file, as POSIX has it: for tests on Windows.
#pragma once

#include <cstddef>

inline constexpr int PROT_NONE = 0, PROT_READ = 1, PROT_WRITE = 2;
inline constexpr int MAP_PRIVATE = 1, MAP_ANONYMOUS = 2, MAP_NORESERVE = 4;
inline void* const MAP_FAILED = nullptr;

extern "C" {
void* mmap(void* address, size_t size, int protection, int flags, int file, long offset);
int mprotect(void* address, size_t size, int protection);
int munmap(void* address, size_t size);
}
