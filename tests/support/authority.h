// The time-stamp authority of tests/authority as a child process.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/files.h"

namespace qex::test {

// TestAuthority starts authority.py with `options`, the keys in `folder`, and ends it with its own end. It
// listens on ports that the system chose.
class TestAuthority {
 public:
  TestAuthority(const std::string& python, const std::string& script, const std::string& folder,
                const std::vector<std::string>& options) {
    std::vector<std::string> words = {python,    "-B",    script,  "--end-with-parent",
                                      "--ready", ready(), "--dir", folder};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    child_ = fork();
    if (child_ < 0) throw std::runtime_error("fork");
    if (child_ == 0) {
      execvp(arguments[0], arguments.data());
      _exit(127);
    }
    wait_until_ready();
  }
  ~TestAuthority() { end(); }
  TestAuthority(const TestAuthority&) = delete;
  TestAuthority& operator=(const TestAuthority&) = delete;

  uint16_t http_port() const { return port("http_port"); }
  uint16_t socket_port() const { return port("socket_port"); }

 private:
  std::string ready() const { return scratch_.path("ready.json"); }

  void wait_until_ready() {
    using namespace std::chrono_literals;
    for (int i = 0; i < 600; ++i) {
      const std::vector<uint8_t> text = ReadFile(ready());
      said_.assign(text.begin(), text.end());
      if (!said_.empty()) return;
      int status = 0;
      if (waitpid(child_, &status, WNOHANG) == child_) {
        child_ = -1;
        throw std::runtime_error("the authority ended before it was ready");
      }
      std::this_thread::sleep_for(50ms);
    }
    end();
    throw std::runtime_error("the authority was not ready within 30 seconds");
  }

  void end() {
    if (child_ <= 0) return;
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
    child_ = -1;
  }

  uint16_t port(const std::string& name) const {
    const size_t at = said_.find("\"" + name + "\": ");
    if (at == std::string::npos) throw std::runtime_error("the authority did not name its " + name);
    return uint16_t(std::atoi(said_.c_str() + at + name.size() + 4));
  }

  Folder scratch_;
  std::string said_;
  pid_t child_ = -1;
};

}  // namespace qex::test
