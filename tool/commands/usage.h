// A command line that cannot be read, as a failure that says what was meant.
#pragma once

#include "tool/base/failure.h"

namespace CLI {
class ParseError;
}

namespace qex::tool {

struct Program;

// UnreadCommandLine returns the failure that `program` ended with `error` while it read the command line.
// What looks like a slip of the fingers gets a suggestion.
Failure UnreadCommandLine(const CLI::ParseError& error, const Program& program);

// UnknownCommand returns the failure that a name is which is no command's.
Failure UnknownCommand(const std::string& name);

}  // namespace qex::tool
