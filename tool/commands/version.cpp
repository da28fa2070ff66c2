// qex version
#include <CLI/CLI.hpp>

#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/exchange/http.h"

namespace qex::tool {

ExitStatus PrintVersion(const Options& options) {
  if (options.json) {
    Json document = NewDocument("version", "");
    document["version"] = QEX_TOOL_VERSION;
    document["libcurl"] = HttpLibraryVersion();
    document["libcrypto"] = CryptoLibraryVersion();
    WriteJson(document);
  } else {
    WriteText("qex " QEX_TOOL_VERSION "\n");
    if (options.verbose) WriteText(HttpLibraryVersion() + "\n" + CryptoLibraryVersion() + "\n");
  }
  return ExitStatus::Ok;
}

Run AddVersion(CLI::App& /*app*/) {
  return [](const Options& options) { return PrintVersion(options); };
}

}  // namespace qex::tool
