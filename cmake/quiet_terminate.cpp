// For the shared library that brings its C++ runtime: std::terminate ends the process without a description
// of the exception. No exception leaves an export, and what would describe one is a fifth of the library's
// size.
#include <cstdlib>

namespace __gnu_cxx {  // NOLINT(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp): libstdc++'s name

void __verbose_terminate_handler() {  // NOLINT(bugprone-reserved-identifier, cert-dcl37-c, cert-dcl51-cpp)
  std::abort();
}

}  // namespace __gnu_cxx
