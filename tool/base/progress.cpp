// The progress bar.
#include "tool/base/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tool/base/system.h"

namespace qex::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr int kWidth = 30;

}  // namespace

Progress::Progress(std::string subject, uint64_t total, bool wanted, Unit unit)
    : subject_(std::move(subject)),
      total_(total),
      unit_(unit),
      possible_(wanted && IsTerminal(STDERR_FILENO)),
      begin_(Clock::now()),
      next_(begin_ + kPatience) {}

Progress::~Progress() {
  Hide();
}

void Progress::Hide() {
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

// The remaining time at the speed so far.
std::string Progress::remaining(uint64_t done) const {
  if (unit_ == Unit::Octets || done == 0) return "";
  const double spent = std::chrono::duration<double>(Clock::now() - begin_).count();
  const double left = spent / double(done) * double(total_ - std::min(done, total_));
  using std::chrono::round, std::chrono::duration;
  const auto seconds = uint64_t(round<std::chrono::seconds>(duration<double>(left)).count());
  const std::string minutes = seconds < 60 ? "" : std::to_string(seconds / 60) + " min ";
  return "  " + std::to_string(done) + " of " + std::to_string(total_) + ", " + minutes +
         std::to_string(seconds % 60) + " s left";
}

void Progress::Update(uint64_t done) {
  if (!possible_ || Clock::now() < next_) return;
  next_ = Clock::now() + kInterval;
  drawn_ = true;
  if (total_ == 0) {
    std::fprintf(stderr, "\r\033[K%s  %.1f MiB", subject_.c_str(), double(done) / 1048576.0);
  } else {
    // A file that grows while it is read stays at full.
    const double part = std::min(1.0, double(done) / double(total_));
    const int filled = int(part * kWidth);
    std::fprintf(stderr, "\r\033[K%s  [%s%*s] %3d %%%s", subject_.c_str(),
                 std::string(size_t(filled), '#').c_str(), kWidth - filled, "", int(part * 100),
                 remaining(done).c_str());
  }
  std::fflush(stderr);
}

}  // namespace qex::tool
