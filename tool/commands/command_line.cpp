// Every failure of a command becomes a message and an exit status here.
#include "tool/commands/command_line.h"

#include <cstring>
#include <exception>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/arguments.h"
#include "tool/commands/program.h"
#include "tool/commands/usage.h"

namespace qex::tool {
namespace {

std::string command_name(const Program& program) {
  const Program::Entry* chosen = program.Chosen();
  return chosen == nullptr ? "" : chosen->command->name;
}

[[nodiscard]] ExitStatus run_command(Program& program, int count, char** words) {
  if (count <= 1) return PrintHelp("", program.options);
  try {
    RefuseEmptyAssignments(count, words);
    program.app.parse(count, words);
    HidePasswords(count, words);
  } catch (const CLI::CallForHelp&) {
    return PrintHelp(command_name(program), program.options);
  } catch (const CLI::CallForVersion&) {
    return PrintVersion(program.options);
  } catch (const CLI::ParseError& error) {
    throw UnreadCommandLine(error, program);
  }
  const auto* chosen = program.Chosen();
  RefuseEmptyValues(program.app);
  RefuseEmptyValues(*chosen->app);
  return chosen->run(program.options);
}

[[nodiscard]] ExitStatus report_failure(const Failure& failure, const Program& program) {
  if (program.options.json) {
    Json document = NewDocument(command_name(program), "");
    SetFailure(document, failure);
    try {
      WriteJson(document);
    } catch (const Failure&) {  // standard output is gone; the line below still reports the failure
    } catch (const ReaderGone&) {
    }
  }
  WriteFailure(failure, program.options);
  return failure.exit;
}

}  // namespace

ExitStatus RunCommandLine(int count, char** words) {
  Program program(count > 1 ? words[1] : "");
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(words[i], "--json") == 0) program.options.json = true;  // for usage failures too
  }
  try {
    return run_command(program, count, words);
  } catch (const Failure& failure) {
    return report_failure(failure, program);
  } catch (const std::bad_alloc&) {
    return report_failure(
        {ExitStatus::Internal, "memory ran out", "free some memory and run the command again"}, program);
  } catch (const std::exception& error) {
    return report_failure({ExitStatus::Internal, std::string("internal: ") + error.what(),
                           "this is a fault of the tool; please report it with the command line"},
                          program);
  }
}

}  // namespace qex::tool
