// Binary streams, a console that takes UTF-8 and colours, and the words of the command line in UTF-8.
// clang-format off
#include <windows.h>
// clang-format on
#include <fcntl.h>
#include <io.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tool/base/startup.h"
#include "tool/base/system.h"

// The C runtime splits the command line, and replaces names with * and ? by those of files, as no shell of
// Windows does. MinGW's headers do not declare it.
struct StartInfo {
  int newMode;
};
extern "C" int __wgetmainargs(int* count, wchar_t*** words, wchar_t*** environment, int expand,
                              StartInfo* info);

namespace qex::tool {
namespace {

UINT consoleCodePage = 0;

// A stream that is closed at the start is opened on a device from which nothing is read and to which nothing
// can be written, so that no file gets its number.
void occupy_standard_streams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::_get_osfhandle(fd) < 0 && ::_open("NUL", fd == STDIN_FILENO ? _O_WRONLY : _O_RDONLY) < 0) continue;
    ::_setmode(fd, _O_BINARY);
  }
}

void prepare_console() {
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO}) {
    const auto console = reinterpret_cast<HANDLE>(::_get_osfhandle(fd));
    DWORD mode = 0;
    if (!IsTerminal(fd) || ::GetConsoleMode(console, &mode) == 0) continue;
    ::SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    if (consoleCodePage != 0) continue;
    // The console outlives the program.
    consoleCodePage = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { ::SetConsoleOutputCP(consoleCodePage); });
  }
}

std::string utf8(const wchar_t* word) {
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, word, -1, nullptr, 0, nullptr, nullptr);
  std::string text(size_t(size > 0 ? size : 1), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, word, -1, text.data(), size, nullptr, nullptr);
  text.pop_back();  // the NUL
  return text;
}

}  // namespace

void PrepareProcess(int& count, char**& words) {
  occupy_standard_streams();
  prepare_console();
  static std::vector<std::string> texts;
  static std::vector<char*> pointers;
  wchar_t** wide = nullptr;
  wchar_t** environment = nullptr;
  StartInfo info{};
  if (::__wgetmainargs(&count, &wide, &environment, 1, &info) != 0) return;
  for (int i = 0; i < count; ++i) texts.push_back(utf8(wide[i]));
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  words = pointers.data();
}

// Windows has no signal for it; the status is the one that a shell of POSIX shows.
int EndByBrokenPipe() {
  constexpr int kSigpipe = 13;
  return 128 + kSigpipe;
}

}  // namespace qex::tool
