// The commands: one source each in commands/, one row each in the table of program.cpp.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tool/base/exit_status.h"
#include "tool/base/options.h"

namespace CLI {
class App;
}

namespace qex::tool {

// Run carries a command out once the command line has been read; it may throw a Failure.
using Run = std::function<ExitStatus(const Options& options)>;

struct Example {
  const char* line;
  const char* text;
};

struct Command {
  const char* name;
  const char* summary;
  // Adds the command's own options to `app` and returns the function that runs it.
  Run (*add)(CLI::App& app);
  Example examples[2];
  std::vector<ExitStatus> exits;  // those that it may end with
};

// Commands returns the table, in the order in which help lists it.
std::span<const Command> Commands();

// FindCommand returns the row of a name, null when there is none.
const Command* FindCommand(const std::string& name);

// PrintHelp prints the help of a command, or of the tool when `command` is empty; throws a usage failure for
// an unknown command.
[[nodiscard]] ExitStatus PrintHelp(const std::string& command, const Options& options);

// PrintVersion prints the version.
[[nodiscard]] ExitStatus PrintVersion(const Options& options);

Run AddStamp(CLI::App& app);
Run AddRequest(CLI::App& app);
Run AddReply(CLI::App& app);
Run AddVerify(CLI::App& app);
Run AddShow(CLI::App& app);
Run AddCert(CLI::App& app);
Run AddTac(CLI::App& app);
Run AddRewrite(CLI::App& app);
Run AddDigest(CLI::App& app);
Run AddExplain(CLI::App& app);
Run AddHelp(CLI::App& app);
Run AddVersion(CLI::App& app);
Run AddCompletion(CLI::App& app);

}  // namespace qex::tool
