// Commands and options that need the network, libcrypto or processes that fork. qex for Windows has none of
// these; each says so, and where to get it.
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/commands/command.h"
#include "tool/commands/jobs.h"
#include "tool/commands/lanes.h"
#include "tool/commands/show_page.h"
#include "tool/exchange/http.h"

namespace qex::tool {
namespace {

constexpr const char* kLeftOut = "left out of qex for Windows";

Failure left_out(const std::string& what, const std::string& lacks) {
  return UsageFailure(
      what + " is " + kLeftOut + ", which is without " + lacks,
      "run it with qex on Linux, or in the Windows Subsystem for Linux; 'qex help' lists what is here");
}

// The command takes any words, for none of them is the reason that it does not run.
Run leave_out(CLI::App& app, const char* lacks) {
  app.fallthrough(false)->allow_extras();
  app.footer(std::string(kLeftOut) + ", which is without " + lacks);
  return [name = app.get_name(), lacks](const Options& /*options*/) -> ExitStatus {
    throw left_out("'qex " + name + "'", lacks);
  };
}

}  // namespace

Run AddStamp(CLI::App& app) {
  return leave_out(app, "libcurl and libcrypto");
}

Run AddVerify(CLI::App& app) {
  return leave_out(app, "libcrypto, the strict reader's library");
}

Run AddCert(CLI::App& app) {
  return leave_out(app, "libcrypto, the strict reader's library");
}

void AddJobsOption(CLI::App& app, std::string& place) {
  app.add_option("--jobs", place, kLeftOut)->type_name("FILE");
}

void AddLanesOption(CLI::App& app, size_t& jobs) {
  app.add_option("-j", jobs, kLeftOut)->type_name("N");
}

ExitStatus RunJobs(const char* command, std::vector<std::string> /*members*/, const std::string& /*place*/,
                   size_t /*count*/, const Options& /*options*/,
                   const std::function<JobWork(const Options&)>& /*start*/) {
  throw left_out(std::string("'qex ") + command + " --jobs'", "processes that fork");
}

Source JobSource(const std::string& /*name*/, const std::string& /*text*/) {
  throw left_out("--jobs", "processes that fork");
}

ExitStatus ShowPage(const std::vector<std::string>& /*files*/, const std::string& /*output*/,
                    const Options& /*options*/) {
  throw left_out("'qex show --html'", "libcrypto, with which the page verifies");
}

std::string HttpLibraryVersion() {
  return std::string("libcurl: ") + kLeftOut;
}

}  // namespace qex::tool
