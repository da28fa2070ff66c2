// Instrumentation changes the cost of a program: tests of stack and memory ask for it here.
#pragma once

#include <cstdlib>
#include <cstring>

namespace qex::test {

#if defined(__has_feature)
#define QEX_HAS_FEATURE(x) __has_feature(x)
#else
#define QEX_HAS_FEATURE(x) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || QEX_HAS_FEATURE(address_sanitizer) || \
    QEX_HAS_FEATURE(thread_sanitizer) || QEX_HAS_FEATURE(memory_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// Frames of unoptimised and of instrumented builds are several times as large as those of a release.
// QEX_OPTIMIZED says that the library is optimized; the tests need not be.
#if defined(QEX_OPTIMIZED)
inline constexpr bool kSmallFrames = !kSanitized;
#else
inline constexpr bool kSmallFrames = false;
#endif

// UnderValgrind returns whether valgrind runs the program; it loads a library of its own into it.
[[nodiscard]] inline bool UnderValgrind() {
  const char* const preloaded = std::getenv("LD_PRELOAD");
  return preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr;
}

// Emulated returns whether an emulator runs the program, as configured in the build.
[[nodiscard]] bool Emulated();

}  // namespace qex::test
