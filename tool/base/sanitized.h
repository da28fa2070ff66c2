// Whether this is a build with AddressSanitizer, and its search for leaks at the end of a forked process.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define QEX_TOOL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QEX_TOOL_SANITIZED 1
#endif
#endif

#ifdef QEX_TOOL_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

namespace qex::tool {

#ifdef QEX_TOOL_SANITIZED
inline constexpr bool kSanitized = true;
[[nodiscard]] inline bool LeavesNoLeak() {
  return __lsan_do_recoverable_leak_check() == 0;
}
#else
inline constexpr bool kSanitized = false;
[[nodiscard]] inline bool LeavesNoLeak() {
  return true;
}
#endif

}  // namespace qex::tool
