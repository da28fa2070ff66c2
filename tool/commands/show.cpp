// qex show: the contents of a message of any kind. Verifies nothing.
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/commands/command.h"
#include "tool/commands/jobs.h"
#include "tool/commands/lanes.h"
#include "tool/commands/show_one.h"
#include "tool/commands/show_page.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct ShowArguments {
  std::vector<std::string> files;
  std::string jobs;
  size_t jobsAtOnce = 0;
  bool asn1 = false;
  bool html = false;
  std::string output;
};

[[nodiscard]] Printed printed_by(const ShowArguments& arguments) {
  return arguments.asn1 ? Printed::Yes : Printed::No;
}

// All files are shown, even after a failure; the gravest exit status counts.
[[nodiscard]] ExitStatus show_all(const ShowArguments& arguments, const Options& options) {
  static const Trust kNobody;
  Worker worker(kNobody);
  ExitStatus status = ExitStatus::Ok;
  for (const std::string& file : arguments.files) {
    status = Graver(status, Emit(ShowOne(file, printed_by(arguments), options, worker)));
  }
  return status;
}

[[nodiscard]] ExitStatus show_jobs(const ShowArguments& arguments, const Options& options) {
  if (!arguments.files.empty()) {
    throw UsageFailure("--jobs says of each job what it is about", "leave the other messages out");
  }
  static const Trust kNobody;
  return RunJobs("show", {"token"}, arguments.jobs, arguments.jobsAtOnce, options,
                 [&arguments](const Options& rendered) {
                   auto worker = std::make_shared<Worker>(kNobody);
                   return [&arguments, rendered, worker](const JobMembers& members) {
                     if (members.empty()) throw UsageFailure("a job without a token", "add the member token");
                     return ShowOne(JobSource("token", members.front().second), printed_by(arguments),
                                    rendered, *worker);
                   };
                 });
}

}  // namespace

Run AddShow(CLI::App& app) {
  auto arguments = std::make_shared<ShowArguments>();
  app.add_option("X", arguments->files,
                 "requests, replies, tokens, certificates, attribute certificates; - is standard input");
  app.add_flag("--asn1", arguments->asn1, "every value, as the library prints it");
  app.add_flag("--html", arguments->html, "as a page for a browser");
  app.add_option("-o", arguments->output, "where the page goes; - is standard output")->type_name("PAGE");
  AddJobsOption(app, arguments->jobs);
  AddLanesOption(app, arguments->jobsAtOnce);
  return [arguments](const Options& options) {
    if (!arguments->jobs.empty() && (arguments->html || !arguments->output.empty())) {
      throw UsageFailure("--jobs writes JSON, no page", "leave --html and -o out, or name the messages");
    }
    if (!arguments->jobs.empty()) return show_jobs(*arguments, options);
    if (arguments->html && (arguments->asn1 || options.json)) {
      throw UsageFailure("--html is a form of its own, beside --json and --asn1", "leave one of them out");
    }
    if (!arguments->html && !arguments->output.empty()) {
      throw UsageFailure("-o says where the page goes, so it goes with --html",
                         "add --html, or leave -o out");
    }
    if (arguments->files.empty()) throw UsageFailure("X is required", "'qex help show' lists what it takes");
    return arguments->html ? ShowPage(arguments->files, arguments->output, options)
                           : show_all(*arguments, options);
  };
}

}  // namespace qex::tool
