// The commands: one source each in commands/, one row each in the table of main.
#pragma once

#include <functional>

#include "tool/base/exit_status.h"
#include "tool/base/options.h"

namespace CLI {
class App;
}

namespace qex::tool {

// Run carries a command out once the command line has been read; it may throw a Failure.
using Run = std::function<ExitStatus(const Options& options)>;

struct Command {
  const char* name;
  const char* summary;
  // Adds the command's own options to `app` and returns what carries it out.
  Run (*add)(CLI::App& app);
};

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
Run AddVersion(CLI::App& app);

}  // namespace qex::tool
