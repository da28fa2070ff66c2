// The one output of a command that writes a single file.
#pragma once

#include <string>
#include <vector>

#include "tool/base/files.h"
#include "tool/base/options.h"
#include "tool/base/outputs.h"

namespace qex::tool {

// SingleOutput returns the path of -o for Outputs; an empty one is standard output. Under --json standard
// output is the document's, and nothing else is written there.
inline std::vector<Output> SingleOutput(const std::string& path, const Options& options,
                                        const std::string& terminalHint) {
  const std::string place = path.empty() ? "-" : path;
  if (options.json && IsStandardStream(place)) return {};
  return {{.path = place, .terminalHint = terminalHint}};
}

}  // namespace qex::tool
