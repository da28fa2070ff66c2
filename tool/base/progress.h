// A progress bar on standard error: on a terminal only, and only after a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qex::tool {

class Progress {
 public:
  enum class Unit { Octets, Subjects };

  // `total` of 0 is an unknown one.
  Progress(std::string subject, uint64_t total, bool wanted, Unit unit = Unit::Octets);
  ~Progress();  // takes the bar away
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(uint64_t done);
  // Hide takes the bar away until the next Update, so that a line can be written.
  void Hide();

 private:
  std::string remaining(uint64_t done) const;

  std::string subject_;
  uint64_t total_;
  Unit unit_;
  bool possible_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace qex::tool
