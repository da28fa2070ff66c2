// Runs code on a stack of 256 KiB, the size that decoding must do with in threads. On s390x it is 640 KiB:
// there every frame has 160 octets for the registers of its callees. Under clang's checks of undefined
// behaviour, whose frames are larger too, it is 512 KiB.
#pragma once

#include <gtest/gtest.h>
#ifndef _WIN32
#include <pthread.h>
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>

#include "tests/support/instrumentation.h"

namespace qex::test {

#if defined(__s390x__)
inline constexpr size_t kSmallStack = 640 * 1024;
#elif QEX_HAS_FEATURE(undefined_behavior_sanitizer)
inline constexpr size_t kSmallStack = 512 * 1024;
#else
inline constexpr size_t kSmallStack = 256 * 1024;
#endif
// The part that decoding may take; a quarter is left to the caller.
inline constexpr size_t kStackBound = kSmallStack / 4 * 3;

// OnSmallStack returns how many octets of the stack were touched, including those of the thread itself; 0
// under valgrind, which does not count abandoned stack as memory, and on Windows, where the system makes the
// stack. Below the stack is an inaccessible page.
#ifdef _WIN32
inline size_t OnSmallStack(std::function<void()> work) {
  const auto run = [](void* p) { (*static_cast<std::function<void()>*>(p))(); };
  EXPECT_TRUE(RunOnStack(kSmallStack, run, &work));
  return 0;
}
#else
inline size_t OnSmallStack(std::function<void()> work) {
  constexpr size_t kGuard = 64 * 1024;  // a page of any machine
  constexpr uint8_t kPaint = 0xA5;
  void* const memory =
      mmap(nullptr, kGuard + kSmallStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED || mprotect(memory, kGuard, PROT_NONE) != 0) {
    ADD_FAILURE() << "no memory for a stack";
    return 0;
  }
  auto* const stack = static_cast<uint8_t*>(memory) + kGuard;
  std::memset(stack, kPaint, kSmallStack);

  pthread_attr_t attributes;
  EXPECT_EQ(pthread_attr_init(&attributes), 0);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kSmallStack), 0);
  const auto run = [](void* p) -> void* {
    (*static_cast<std::function<void()>*>(p))();
    return nullptr;
  };
  pthread_t thread;
  const bool started = pthread_create(&thread, &attributes, run, &work) == 0;
  pthread_attr_destroy(&attributes);
  EXPECT_TRUE(started && pthread_join(thread, nullptr) == 0);

  size_t used = 0;
  if (!UnderValgrind()) {
    const uint8_t* touched = stack;
    const uint8_t* const end = stack + kSmallStack;
    uint8_t page[4096];  // compared as a whole, since tests are not optimized
    std::memset(page, kPaint, sizeof page);
    while (touched != end && std::memcmp(touched, page, sizeof page) == 0) touched += sizeof page;
    used = size_t(end - std::find_if(touched, end, [](uint8_t octet) { return octet != kPaint; }));
  }
  munmap(memory, kGuard + kSmallStack);
  return used;
}
#endif

// OnReleaseStack is OnSmallStack where the frames are those of a release; other builds run it on the current
// stack, and return 0.
inline size_t OnReleaseStack(const std::function<void()>& work) {
  if (kSmallFrames) return OnSmallStack(work);
  work();
  return 0;
}

}  // namespace qex::test
