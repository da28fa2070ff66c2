// qex version
#include <openssl/crypto.h>
#include <CLI/CLI.hpp>

#include "tool/base/files.h"
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
    document["libcrypto"] = OpenSSL_version(OPENSSL_VERSION);
    WriteJson(document);
  } else {
    WriteText("qex " QEX_TOOL_VERSION "\n");
    if (options.verbose) WriteText(HttpLibraryVersion() + "\n" + OpenSSL_version(OPENSSL_VERSION) + "\n");
  }
  return ExitStatus::Ok;
}

Run AddVersion(CLI::App& /*app*/) {
  return [](const Options& options) { return PrintVersion(options); };
}

}  // namespace qex::tool
