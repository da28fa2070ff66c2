// Writing outcomes.
#include "tool/commands/outcome.h"

#include <cstdio>

#include "tool/base/files.h"

namespace qex::tool {

ExitStatus Emit(const Outcome& outcome) {
  if (!outcome.output.empty()) WriteData(outcome.output);
  if (!outcome.errors.empty()) std::fputs(outcome.errors.c_str(), stderr);
  return outcome.exit;
}

}  // namespace qex::tool
