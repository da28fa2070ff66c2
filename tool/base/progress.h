// A progress bar on standard error: on a terminal only, and only after a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qex::tool {

class Progress {
 public:
  // `total` of 0 is an unknown one.
  Progress(std::string subject, uint64_t total, bool wanted);
  ~Progress();  // takes the bar away
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(uint64_t done);

 private:
  std::string subject_;
  uint64_t total_;
  bool possible_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace qex::tool
