// Lanes: child processes that each run whole tasks of a command, so that many run at once and none can harm
// another. Outcomes arrive in the order of the tasks.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "tool/commands/outcome.h"

namespace CLI {
class App;
}

namespace qex::tool {

class StopRequest;

// A task is the frame for a lane, or the outcome of a task that needs no lane.
struct Task {
  std::string frame;
  std::optional<Outcome> done = {};
};

class TaskSource {
 public:
  virtual ~TaskSource() = default;
  // Take returns the next task; nothing when there is none at the moment, or no more at all.
  [[nodiscard]] virtual std::optional<Task> Take() = 0;
  // The descriptor that becomes readable when there may be more tasks; negative when no more will come.
  [[nodiscard]] virtual int Descriptor() const { return -1; }
  // Read is called when it is readable.
  virtual void Read() {}
};

// The work done in a lane, and the outcome of a task that ended its lane.
struct LaneWork {
  // Called once in each lane; the function that it returns is called with each task.
  std::function<std::function<Outcome(const std::string& frame)>()> start;
  std::function<Outcome(const std::string& frame)> lost;
};

// OutcomeSink takes outcomes in the order of their tasks, as soon as they and all before them are there.
using OutcomeSink = std::function<void(std::span<const Outcome>)>;

// AddLanesOption adds -j.
void AddLanesOption(CLI::App& app, size_t& jobs);

// LaneCount returns the number of lanes for -j; 0 means one per core.
size_t LaneCount(size_t jobs);

// RunLanes runs all tasks in at most `count` lanes. When a signal asks the process to stop, the lanes are
// ended at once; finished outcomes still go to the sink. Throws a Failure when no lane can be started.
void RunLanes(TaskSource& source, size_t count, const LaneWork& work, const OutcomeSink& sink,
              const StopRequest& stop);

}  // namespace qex::tool
