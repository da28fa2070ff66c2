// Distributes tasks and puts outcomes in order.
//
// A lane has one chunk of tasks at a time and gets another when it has answered all of it, so that neither
// side ever waits for room in a pipe while the other does. Chunks get smaller towards the end, so that no
// lane idles while another still has several large files.
#include "tool/commands/lanes.h"

#include <poll.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <exception>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/base/process.h"
#include "tool/base/stop_request.h"

namespace qex::tool {
namespace {

constexpr size_t kChunk = 16;               // tasks that a lane has before it
constexpr size_t kWaitingPerLane = 64;      // tasks that are taken ahead
constexpr size_t kAhead = 4096;             // outcomes that wait for an earlier one
constexpr size_t kHeld = size_t{64} << 20;  // octets of tasks and outcomes that are held
constexpr size_t kMaxChunk = size_t{1} << 20;

// The lane's side. Nothing that is thrown leaves it: the stack above is the parent's.
[[nodiscard]] int serve(const LaneWork& work, const StopRequest& stop) {
  stop.Release();
  try {
    const auto perform = work.start();
    while (const auto chunk = ReadFrame(STDIN_FILENO)) {
      std::string_view rest = *chunk;
      while (!rest.empty()) {
        const auto frame = TakePart(rest);
        if (!frame || !WriteFrame(STDOUT_FILENO, FrameOf(perform(std::string(*frame))))) return 1;
      }
    }
  } catch (...) {
    return 1;
  }
  return 0;
}

struct Numbered {
  size_t number;
  std::string frame;
};

struct Lane {
  std::unique_ptr<ChildProcess> process;
  std::deque<Numbered> tasks;  // that it has not answered
};

class Distributor {
 public:
  Distributor(TaskSource& source, size_t count, const LaneWork& work, const OutcomeSink& sink,
              const StopRequest& stop)
      : source_(source), count_(count), work_(work), sink_(sink), stop_(stop) {}
  ~Distributor() {
    for (Lane& lane : lanes_) {
      if (!lane.process) continue;
      lane.process->CloseInput();
      if (!lane.tasks.empty()) lane.process->Terminate();
    }
  }
  Distributor(const Distributor&) = delete;
  Distributor& operator=(const Distributor&) = delete;

  void Run() {
    while (stop_.Came() == 0) {
      take();
      for (size_t i = 0; i < count_ && !waiting_.empty(); ++i) hand_out(i);
      tell(Ready::InOrder);
      const bool busy = std::ranges::any_of(lanes_, [](const Lane& lane) { return !lane.tasks.empty(); });
      if (busy || !waiting_.empty()) {
        await();
      } else if (exhausted_) {
        if (source_.Descriptor() < 0) return;
        await();
      }
    }
    tell(Ready::All);
  }

 private:
  [[nodiscard]] bool has_room() const {
    return waiting_.size() < count_ * kWaitingPerLane && outcomes_.size() < kAhead && held_ < kHeld;
  }

  void take() {
    exhausted_ = false;
    while (has_room()) {
      std::optional<Task> task = source_.Take();
      exhausted_ = !task;
      if (!task) return;
      const size_t number = first_ + outcomes_.size();
      outcomes_.emplace_back();
      if (task->done) {
        keep(number, std::move(*task->done));
      } else {
        held_ += task->frame.size();
        waiting_.push_back({number, std::move(task->frame)});
      }
    }
  }

  void keep(size_t number, Outcome outcome) {
    held_ += outcome.output.size();
    outcomes_[number - first_] = std::move(outcome);
  }

  // A lane is started when there is work for it. If that fails, the others do its work.
  [[nodiscard]] bool start(size_t i) {
    if (i < lanes_.size() && lanes_[i].process) return true;
    if (i >= lanes_.size()) lanes_.resize(i + 1);
    try {
      lanes_[i].process = std::make_unique<ChildProcess>(ChildProcess::Errors::Inherit,
                                                         [this] { return serve(work_, stop_); });
      return true;
    } catch (const Failure&) {
      const bool any = std::ranges::any_of(lanes_, [](const Lane& lane) { return lane.process != nullptr; });
      if (!any) throw;
      return false;
    }
  }

  void hand_out(size_t i) {
    if (i < lanes_.size() && !lanes_[i].tasks.empty()) return;
    if (!start(i)) return;
    Lane& lane = lanes_[i];
    const size_t most = std::clamp<size_t>(waiting_.size() / (4 * count_), 1, kChunk);
    std::string chunk;
    while (lane.tasks.size() < most && !waiting_.empty()) {
      if (!chunk.empty() && chunk.size() + waiting_.front().frame.size() > kMaxChunk) break;
      AppendPart(chunk, waiting_.front().frame);
      lane.tasks.push_back(std::move(waiting_.front()));
      waiting_.pop_front();
    }
    if (lane.process->Send(chunk)) return;
    // It ended while it had nothing to do.
    lane.process.reset();
    if (!start(i) || !lane.process->Send(chunk)) replace(lane);
  }

  // The task in progress is lost with the lane; those that it had not begun are distributed again.
  void replace(Lane& lane) {
    lane.process.reset();
    if (stop_.Came() != 0) return;
    keep(lane.tasks.front().number, work_.lost(lane.tasks.front().frame));
    held_ -= lane.tasks.front().frame.size();
    lane.tasks.pop_front();
    while (!lane.tasks.empty()) {
      waiting_.push_front(std::move(lane.tasks.back()));
      lane.tasks.pop_back();
    }
  }

  void receive(Lane& lane) {
    const std::optional<std::string> frame = lane.process->Receive();
    std::optional<Outcome> outcome = frame ? OutcomeFrom(*frame) : std::nullopt;
    if (!outcome) {
      replace(lane);
      return;
    }
    keep(lane.tasks.front().number, std::move(*outcome));
    held_ -= lane.tasks.front().frame.size();
    lane.tasks.pop_front();
  }

  enum class Ready { InOrder, All };

  // Passes on finished outcomes in order; with All also those after an unfinished task.
  void tell(Ready which) {
    std::vector<Outcome> ready;
    while (!outcomes_.empty() && (which == Ready::All || outcomes_.front())) {
      if (outcomes_.front()) {
        held_ -= outcomes_.front()->output.size();
        ready.push_back(std::move(*outcomes_.front()));
      }
      outcomes_.pop_front();
      ++first_;
    }
    if (!ready.empty()) sink_(ready);
  }

  void await() {
    std::vector<struct pollfd> ends;
    for (const Lane& lane : lanes_) {
      ends.push_back({lane.tasks.empty() ? -1 : lane.process->Output(), POLLIN, 0});
    }
    ends.push_back({has_room() ? source_.Descriptor() : -1, POLLIN, 0});
    if (::ppoll(ends.data(), ends.size(), nullptr, &stop_.Outside()) <= 0) return;
    for (size_t i = 0; i < lanes_.size(); ++i) {
      if (ends[i].revents != 0) receive(lanes_[i]);
    }
    if (ends.back().revents != 0) source_.Read();
  }

  TaskSource& source_;
  const size_t count_;
  const LaneWork& work_;
  const OutcomeSink& sink_;
  const StopRequest& stop_;
  std::vector<Lane> lanes_;
  std::deque<Numbered> waiting_;
  std::deque<std::optional<Outcome>> outcomes_;  // of the tasks from number first_ on
  size_t first_ = 0;
  size_t held_ = 0;
  bool exhausted_ = false;  // for now
};

}  // namespace

void AddLanesOption(CLI::App& app, size_t& jobs) {
  app.add_option("-j", jobs, "how many at once; one a core without it")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
}

size_t LaneCount(size_t jobs) {
  if (jobs != 0) return jobs;
  cpu_set_t cores;
  if (::sched_getaffinity(0, sizeof cores, &cores) == 0) {
    return std::max<size_t>(1, size_t(CPU_COUNT(&cores)));
  }
  return std::max(1U, std::thread::hardware_concurrency());
}

void RunLanes(TaskSource& source, size_t count, const LaneWork& work, const OutcomeSink& sink,
              const StopRequest& stop) {
  Distributor(source, count, work, sink, stop).Run();
}

}  // namespace qex::tool
