// The parser of the command line, with all commands and their shared options.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/options.h"
#include "tool/commands/command.h"

namespace qex::tool {

// A Program is parsed at most once. Help and completion examine a second one.
struct Program {
  struct Entry {
    const Command* command;
    CLI::App* app;
    Run run;
  };

  CLI::App app{"Time-stamping by RFC 3161.", "qex"};
  Options options;
  std::vector<Entry> entries;

  // With the name of a command the others are left out, which would cost more to build than a short command
  // takes.
  explicit Program(std::string_view only = {});

  // The command that the command line names, null before it is read and when it names none.
  const Entry* Chosen() const;
};

// ValueLabel returns an option's name for its value, as in --tsa URL.
std::string ValueLabel(const CLI::Option& option);

// ValueChoices returns the values that an option's check allows; none when it allows any.
std::vector<std::string> ValueChoices(const CLI::Option& option);

}  // namespace qex::tool
