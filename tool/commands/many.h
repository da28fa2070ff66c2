// Many subjects of one command: a line each in the order given, a summary, and the worst exit status.
#pragma once

#include <vector>

#include "tool/base/options.h"
#include "tool/commands/lanes.h"
#include "tool/commands/subjects.h"

namespace qex::tool {

// RunMany runs every subject in lanes (a task's frame is the subject's, or its name) and writes the outcomes.
// With --json a subject is a document, and the summary is the last one. When a signal asks the process to
// stop, it ends by that signal after the summary of the finished subjects.
[[nodiscard]] ExitStatus RunMany(const char* command, std::vector<Subject> subjects, size_t jobs,
                                 const LaneWork& work, const Options& options);

// LostOutcome is the outcome of a subject whose lane ended before it answered.
Outcome LostOutcome(const char* command, const std::string& subject, const Options& options);

}  // namespace qex::tool
