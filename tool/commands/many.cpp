// Lines, the summary, and progress while there are many subjects.
#include "tool/commands/many.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>

#include "tool/base/escape.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/progress.h"
#include "tool/base/stop_request.h"
#include "tool/commands/verify_one.h"

namespace qex::tool {
namespace {

class Names : public TaskSource {
 public:
  Names(std::vector<Subject> subjects, const char* command, const Options& options)
      : subjects_(std::move(subjects)), command_(command), options_(options) {}

  std::optional<Task> Take() override {
    if (next_ == subjects_.size()) return std::nullopt;
    Subject& subject = subjects_[next_++];
    if (!subject.failure) return Task{std::move(subject.frame.empty() ? subject.name : subject.frame)};
    return Task{"", OutcomeOf(*subject.failure, command_, subject.name, options_)};
  }

 private:
  std::vector<Subject> subjects_;
  size_t next_ = 0;
  const char* command_;
  const Options& options_;
};

struct OutcomeTally {
  size_t total = 0;
  size_t pass = 0;
  size_t fail = 0;
  size_t open = 0;       // neither
  size_t unchecked = 0;  // of the passes and the open ones: no signer was trusted
  std::map<std::string, size_t> reasons;
  ExitStatus exit = ExitStatus::Ok;

  size_t Done() const { return pass + fail + open; }

  void Add(const Outcome& outcome) {
    exit = Graver(exit, outcome.exit);
    if (outcome.unchecked) ++unchecked;
    if (outcome.exit == ExitStatus::Ok) {
      ++pass;
    } else if (outcome.unchecked) {
      ++open;
    } else {
      ++fail;
      ++reasons[outcome.reason];
    }
  }
};

std::string count_of(size_t number, const char* what) {
  return std::to_string(number) + ' ' + what;
}

// "1000 files: 988 pass, 12 fail (8 imprint, 4 signature)"
std::string summary_text(const OutcomeTally& tally, bool stopped) {
  std::string text;
  if (stopped) text = "stopped after " + std::to_string(tally.Done()) + " of ";
  text += count_of(tally.total, tally.total == 1 ? "file: " : "files: ") + count_of(tally.pass, "pass");
  if (tally.open != 0) text += ", " + count_of(tally.open, "authority not checked");
  text += ", " + count_of(tally.fail, "fail");
  std::string reasons;
  for (const auto& [reason, number] : tally.reasons) {
    reasons += (reasons.empty() ? " (" : ", ") + count_of(number, reason.c_str());
  }
  if (!reasons.empty()) reasons += ")";
  const bool unchecked = tally.unchecked > tally.open;
  return text + reasons + (unchecked ? ", authority not checked\n" : "\n");
}

Json summary_document(const OutcomeTally& tally, const char* command, int signal) {
  Json document = NewDocument(command, "");
  document["exit"] = int(tally.exit);
  Json reasons = Json::object();
  for (const auto& [reason, number] : tally.reasons) reasons[reason] = number;
  document["summary"] = {{"subjects", tally.total},
                         {"passed", tally.pass},
                         {"failed", tally.fail},
                         {"authority_not_checked", tally.unchecked},
                         {"not_done", tally.total - tally.Done()},
                         {"reasons", std::move(reasons)}};
  if (signal != 0) document["summary"]["signal"] = signal;
  return document;
}

std::string shown_line(const Outcome& outcome, const Options& options) {
  constexpr size_t kVerdict = 4;  // octets of pass, fail, skip
  const Tone tone = outcome.exit == ExitStatus::Ok ? Tone::Good : outcome.unchecked ? Tone::Aside : Tone::Bad;
  const std::string line = Escaped(outcome.line);
  return Colored(line.substr(0, kVerdict), tone, options) + line.substr(kVerdict) + '\n';
}

// First the data of all outcomes in one piece, then their errors.
void write_outcomes(std::span<const Outcome> outcomes, const Options& options) {
  std::string data;
  std::string errors;
  for (const Outcome& outcome : outcomes) {
    if (options.json) {
      data += outcome.output;
    } else if (!options.quiet) {
      data += shown_line(outcome, options);
    }
    if (options.json || options.quiet || options.verbose) errors += outcome.errors;
  }
  if (!data.empty()) WriteData(data);
  if (!errors.empty()) std::fputs(errors.c_str(), stderr);
}

}  // namespace

ExitStatus RunMany(const char* command, std::vector<Subject> subjects, size_t jobs, const LaneWork& work,
                   const Options& options) {
  OutcomeTally tally;
  tally.total = subjects.size();
  const size_t lanes = std::min(LaneCount(jobs), std::max<size_t>(1, tally.total));
  Names names(std::move(subjects), command, options);
  Progress progress(command, tally.total, !options.quiet, Progress::Unit::Subjects);
  const StopRequest stop;
  const OutcomeSink sink = [&](std::span<const Outcome> outcomes) {
    progress.Hide();
    write_outcomes(outcomes, options);
    for (const Outcome& outcome : outcomes) tally.Add(outcome);
    progress.Update(tally.Done());
  };
  RunLanes(names, lanes, work, sink, stop);
  const int signal = stop.Came();
  progress.Hide();
  if (options.json) {
    WriteJson(summary_document(tally, command, signal));
  } else if (!options.quiet || signal != 0) {
    const std::string text = summary_text(tally, signal != 0);
    options.quiet ? static_cast<void>(std::fputs(text.c_str(), stderr)) : WriteText(text);
  }
  if (signal != 0) EndBySignal(signal);
  return tally.exit;
}

Outcome LostOutcome(const char* command, const std::string& subject, const Options& options) {
  return OutcomeOf(
      {ExitStatus::Internal, ShownPath(subject) + ": the process that was at it ended before it answered",
       "nothing is known about this one, so do not rely on it; run the command again for it alone"},
      command, subject, options);
}

}  // namespace qex::tool
