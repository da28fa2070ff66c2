// The checks of declarations, which the compiler runs. A test calls them as ordinary functions, on the
// declarations that must not compile too.
#pragma once

#include <string>

namespace qex::test {

// RefusalOf returns the text that a check throws, empty when it throws none.
template <class Check>
std::string RefusalOf(Check&& check) {
  try {
    check();
  } catch (const char* text) {
    return text;
  }
  return {};
}

}  // namespace qex::test
