// The main function of the test programs.
//
// A death test in a fresh process starts the program again by the first word of the command line. Under an
// emulator that is the emulator's, because this machine cannot start the program directly.
#include <gtest/gtest.h>

#include <string.h>
#include <vector>

#include "tests/support/instrumentation.h"

namespace {

#ifdef QEX_EMULATOR
char emulator[] = QEX_EMULATOR;
#else
char emulator[] = "";
#endif

}  // namespace

bool qex::test::Emulated() {
#ifdef QEX_EMULATED
  return true;
#else
  return false;
#endif
}

int main(int argc, char** argv) {
  std::vector<char*> words;
  char* rest = nullptr;
  for (char* word = strtok_r(emulator, " ", &rest); word != nullptr; word = strtok_r(nullptr, " ", &rest)) {
    words.push_back(word);
  }
  words.insert(words.end(), argv, argv + argc);
  int count = int(words.size());
  words.push_back(nullptr);
  testing::InitGoogleTest(&count, words.data());
  return RUN_ALL_TESTS();
}
