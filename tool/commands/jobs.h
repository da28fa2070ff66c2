// Jobs: one JSON object a line in, one document a line out with the same id, in the order given and as soon
// as each is done, for programs that keep the tool open.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tool/base/options.h"
#include "tool/commands/outcome.h"
#include "tool/message/message.h"

namespace CLI {
class App;
}

namespace qex::tool {

// The members of a job but its id; each is a text.
using JobMembers = std::vector<std::pair<std::string, std::string>>;
using JobWork = std::function<Outcome(const JobMembers& members)>;

void AddJobsOption(CLI::App& app, std::string& place);

// RunJobs runs the jobs of `place` until its input ends; `start` is called once in each lane, with the
// options for rendering documents. A job that is malformed, or has a member outside `members`, gets a
// document with exit status 2. Returns the worst exit status.
[[nodiscard]] ExitStatus RunJobs(const char* command, std::vector<std::string> members,
                                 const std::string& place, size_t count, const Options& options,
                                 const std::function<JobWork(const Options&)>& start);

// JobSource returns the source for a member `name`: a message in base64 or PEM when `text` is one, else the
// path of a file.
Source JobSource(const std::string& name, const std::string& text);

}  // namespace qex::tool
