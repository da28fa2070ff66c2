// Reads lines and jobs. A line goes to a lane unchanged, and is parsed there.
#include "tool/commands/jobs.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <set>
#include <string_view>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/stop_request.h"
#include "tool/commands/lanes.h"
#include "tool/commands/verify_one.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxLine = size_t{32} << 20;
constexpr int kMaxDepth = 64;  // of values within values

Failure malformed(size_t line, const std::string& what) {
  return UsageFailure("job of line " + std::to_string(line) + ": " + what,
                      "a job is one JSON object in one line, such as {\"id\":1,\"file\":\"report.pdf\"}");
}

// A document with the id first, unchanged: texts in it are not escaped.
std::string with_id(const std::string& document, const std::string& id) {
  return "{\"id\":" + id + "," + document.substr(1);
}

struct JobLine {
  std::string id = "null";  // as JSON
  JobMembers members;
};

// Parses a line; throws a Failure when it is too deep, has a member twice or is not an object, and the JSON
// library's error when it is not JSON.
Json object_of(std::string_view line, size_t number) {
  std::set<std::string> names;
  const auto watch = [&](int depth, Json::parse_event_t event, Json& value) {
    if (depth > kMaxDepth) throw malformed(number, "values are nested too deeply");
    const bool name = event == Json::parse_event_t::key && depth == 1;
    if (name && !names.insert(value.get<std::string>()).second) {
      throw malformed(number, "member " + Quoted(value.get<std::string>()) + " stands there twice");
    }
    return true;
  };
  Json object = Json::parse(line, watch);
  if (object.is_object()) return object;
  throw malformed(number, "is no JSON object");
}

// Whether every number of a value can be returned unchanged. A number that the library holds in floating
// point may have lost digits, or be written differently.
[[nodiscard]] bool keeps_numbers(const Json& value) {
  if (value.is_structured()) return std::ranges::all_of(value, keeps_numbers);
  return !value.is_number_float();
}

// A path ends at a NUL, so that another file would be read than the one whose name is reported.
void check_text(const std::string& name, const Json& value, size_t number) {
  if (!value.is_string() || value.get_ref<const std::string&>().empty()) {
    throw malformed(number, "member " + name + " is no text, or an empty one");
  }
  if (value.get_ref<const std::string&>().find('\0') != std::string::npos) {
    throw malformed(number, "member " + name + " holds a NUL");
  }
  if (value == "-") throw malformed(number, "member " + name + " cannot be standard input");
}

void enter_members(JobLine& job, const Json& object, size_t number, const std::vector<std::string>& known) {
  if (const auto id = object.find("id"); id != object.end()) {
    if (!keeps_numbers(*id)) throw malformed(number, "the id has a number that is no integer of 64 bits");
    job.id = id->dump();
  }
  for (const auto& [name, value] : object.items()) {
    if (name == "id") continue;
    if (std::ranges::find(known, name) == known.end()) {
      std::string list;
      for (const std::string& one : known) list += ", " + one;
      throw UsageFailure("job of line " + std::to_string(number) + ": there is no member " + Quoted(name),
                         "a job may have id" + list);
    }
    check_text(name, value, number);
    job.members.emplace_back(name, value.get<std::string>());
  }
}

// Reads the job from the line; sets the id of `job` as soon as it is known. Throws only a Failure, never the
// JSON library's errors: one line must not end the others.
void read_job(JobLine& job, std::string_view line, size_t number, const std::vector<std::string>& known) {
  try {
    enter_members(job, object_of(line, number), number, known);
  } catch (const Json::parse_error& error) {
    throw malformed(number, "no JSON (octet " + std::to_string(error.byte) + ")");
  } catch (const Json::out_of_range&) {
    throw malformed(number, "a number is too large");
  } catch (const Json::exception&) {
    throw malformed(number, "cannot be read as JSON");
  }
}

// A task's frame is the number of the line, a blank, and the line.
size_t number_of(std::string_view& frame) {
  size_t number = 0;
  const char* end = std::from_chars(frame.data(), frame.data() + frame.size(), number).ptr;
  frame.remove_prefix(size_t(end - frame.data()) + 1);
  return number;
}

class JobDesk {
 public:
  JobDesk(const char* command, std::vector<std::string> members, Options options)
      : command_(command), members_(std::move(members)), options_(std::move(options)) {}

  Outcome Do(std::string_view frame, const JobWork& work) const {
    const size_t number = number_of(frame);
    JobLine job;
    Outcome outcome;
    try {
      read_job(job, frame, number, members_);
      outcome = work(job.members);
    } catch (const Failure& failure) {
      outcome = OutcomeOf(failure, command_, "", options_);
    }
    outcome.output = with_id(outcome.output, job.id);
    return outcome;
  }

  Outcome Lost(std::string_view frame) const {
    const size_t number = number_of(frame);
    JobLine job;
    try {
      read_job(job, frame, number, members_);
    } catch (const Failure&) {  // it has no id then
    }
    Outcome outcome = OutcomeOf(
        {ExitStatus::Internal,
         "job of line " + std::to_string(number) + ": the process that was at it ended before it answered",
         "nothing is known about this one, so do not rely on it"},
        command_, "", options_);
    outcome.output = with_id(outcome.output, job.id);
    return outcome;
  }

  Outcome TooLong(size_t number) const {
    Outcome outcome = OutcomeOf(malformed(number, "longer than " + std::to_string(kMaxLine >> 20) + " MiB"),
                                command_, "", options_);
    outcome.output = with_id(outcome.output, "null");
    return outcome;
  }

 private:
  const char* command_;
  std::vector<std::string> members_;
  Options options_;
};

// The lines of a descriptor, as they arrive.
class Lines : public TaskSource {
 public:
  Lines(int fd, const std::string& place, const JobDesk& desk) : fd_(fd), place_(place), desk_(desk) {}

  std::optional<Task> Take() override {
    for (;;) {
      const size_t end = buffer_.find('\n', searched_);
      if (end == std::string::npos && !(ended_ && begin_ < buffer_.size())) return take_partial();
      const size_t stop = std::min(end, buffer_.size());
      const std::string_view line = std::string_view(buffer_).substr(begin_, stop - begin_);
      begin_ = searched_ = std::min(stop + 1, buffer_.size());
      ++number_;
      if (std::exchange(skipping_, false)) return Task{"", desk_.TooLong(number_)};
      if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
      if (line.size() > kMaxLine) return Task{"", desk_.TooLong(number_)};
      return Task{std::to_string(number_) + ' ' + std::string(line)};
    }
  }

  int Descriptor() const override { return ended_ ? -1 : fd_; }

  void Read() override {
    buffer_.erase(0, begin_);
    searched_ -= begin_;
    begin_ = 0;
    const size_t held = buffer_.size();
    buffer_.resize(held + kStep);
    const ssize_t n = ::read(fd_, buffer_.data() + held, kStep);
    const int error = errno;
    buffer_.resize(held + (n > 0 ? size_t(n) : 0));
    if (n < 0 && error != EINTR && error != EAGAIN) throw FileFailure(place_, "cannot be read", error);
    ended_ = n == 0;
  }

 private:
  static constexpr size_t kStep = 65536;

  // A line without its end stays; of one that is too long nothing is kept.
  [[nodiscard]] std::optional<Task> take_partial() {
    searched_ = buffer_.size();
    if (ended_ && skipping_) {
      skipping_ = false;
      return Task{"", desk_.TooLong(++number_)};
    }
    if (buffer_.size() - begin_ > kMaxLine) skipping_ = true;
    if (skipping_) begin_ = buffer_.size();
    return std::nullopt;
  }

  int fd_;
  std::string place_;
  const JobDesk& desk_;
  std::string buffer_;
  size_t begin_ = 0;     // of the line that is next
  size_t searched_ = 0;  // how far no line feed was found
  size_t number_ = 0;
  bool skipping_ = false;  // the rest of a line that is too long
  bool ended_ = false;
};

// Errors go into the documents; nobody may be reading standard error.
void write_documents(std::span<const Outcome> outcomes, ExitStatus& worst) {
  std::string data;
  for (const Outcome& outcome : outcomes) {
    data += outcome.output;
    worst = Graver(worst, outcome.exit);
  }
  WriteData(data);
}

}  // namespace

void AddJobsOption(CLI::App& app, std::string& place) {
  app.add_option("--jobs", place,
                 "jobs of standard input (-) or a file: a JSON object a line, a document for each")
      ->type_name("-");
}

ExitStatus RunJobs(const char* command, std::vector<std::string> members, const std::string& place,
                   size_t count, const Options& options,
                   const std::function<JobWork(const Options&)>& start) {
  Options rendered = options;
  rendered.json = true;
  rendered.progress = false;
  const JobDesk desk(command, std::move(members), rendered);
  const bool standard = IsStandardStream(place);
  const int fd = standard ? STDIN_FILENO : ::open(place.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw FileFailure(place, "cannot be opened", errno);
  Lines lines(fd, place, desk);
  const LaneWork work{[&] {
                        return [&desk, perform = start(rendered)](const std::string& frame) {
                          return desk.Do(frame, perform);
                        };
                      },
                      [&desk](const std::string& frame) { return desk.Lost(frame); }};
  ExitStatus worst = ExitStatus::Ok;
  const StopRequest stop;
  RunLanes(
      lines, LaneCount(count), work,
      [&worst](std::span<const Outcome> outcomes) { write_documents(outcomes, worst); }, stop);
  if (!standard) ::close(fd);
  if (stop.Came() != 0) EndBySignal(stop.Came());
  return worst;
}

Source JobSource(const std::string& name, const std::string& text) {
  const ByteView octets = OctetsOf(text);
  Message message = ParseMessage(name, {octets.begin(), octets.end()});
  const bool armoured = !std::ranges::equal(message.octets, octets);
  const bool whole = armoured && message.kind != inspect::Kind::Unknown;
  // A line that was cut off is reported as such, not read as a path of that length.
  const bool part = armoured && !message.octets.empty() && message.octets[0] == 0x30 && !FileExists(text);
  if (whole || part) return {name, std::move(message.octets)};
  return {text};
}

}  // namespace qex::tool
