// The progress bar.
#include "tool/base/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qex::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr int kWidth = 30;

}  // namespace

Progress::Progress(std::string subject, uint64_t total, bool wanted)
    : subject_(std::move(subject)),
      total_(total),
      possible_(wanted && ::isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + kPatience) {}

Progress::~Progress() {
  if (drawn_) std::fputs("\r\033[K", stderr);
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
    std::fprintf(stderr, "\r\033[K%s  [%s%*s] %3d %%", subject_.c_str(),
                 std::string(size_t(filled), '#').c_str(), kWidth - filled, "", int(part * 100));
  }
  std::fflush(stderr);
}

}  // namespace qex::tool
