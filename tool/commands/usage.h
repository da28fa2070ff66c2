// Turns a command line that cannot be read into a failure with a suggestion.
#pragma once

#include "tool/base/failure.h"

namespace CLI {
class ParseError;
}

namespace qex::tool {

struct Program;

// UnreadCommandLine returns the failure for the `error` with which `program` refused the command line. A
// likely misspelling gets a suggestion.
Failure UnreadCommandLine(const CLI::ParseError& error, const Program& program);

// UnknownCommand returns the failure for a name that is not a command.
Failure UnknownCommand(const std::string& name);

}  // namespace qex::tool
