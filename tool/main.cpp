// The command line program qex: reads the command line, runs one command, and turns its end into an exit
// status and a line for people.
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/base/startup.h"
#include "tool/commands/arguments.h"
#include "tool/commands/program.h"
#include "tool/commands/usage.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

std::string command_name(const Program& program) {
  const Program::Entry* chosen = program.Chosen();
  return chosen == nullptr ? "" : chosen->command->name;
}

ExitStatus run_command(Program& program, int count, char** words) {
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

ExitStatus report(const Failure& failure, const Program& program) {
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

int tool_main(int count, char** words) {
  PrepareProcess(count, words);
  if (const std::optional<int> status = RunAsWorker(count, words)) return *status;
  Program program(count > 1 ? words[1] : "");
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(words[i], "--json") == 0) program.options.json = true;  // for usage failures too
  }
  ExitStatus status;
  try {
    status = run_command(program, count, words);
  } catch (const ReaderGone&) {
    return EndByBrokenPipe();
  } catch (const Failure& failure) {
    status = report(failure, program);
  } catch (const std::bad_alloc&) {
    status = report({ExitStatus::Internal, "memory ran out", "free some memory and run the command again"},
                    program);
  } catch (const std::exception& error) {
    status = report({ExitStatus::Internal, std::string("internal: ") + error.what(),
                     "this is a fault of the tool; please report it with the command line"},
                    program);
  }
  return int(status);
}

}  // namespace
}  // namespace qex::tool

int main(int count, char** words) {
  try {
    return qex::tool::tool_main(count, words);
  } catch (const std::bad_alloc&) {  // before there was a program to report by, or memory to report with
    std::fputs("qex: error: memory ran out\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qex: error: internal: %s\n", error.what());
  } catch (...) {
    std::fputs("qex: error: internal\n", stderr);
  }
  return int(qex::tool::ExitStatus::Internal);
}
