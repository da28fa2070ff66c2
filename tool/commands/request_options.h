// The options that `stamp` and `request` share.
#pragma once

#include <CLI/CLI.hpp>

#include "tool/exchange/request.h"

namespace qex::tool {

inline void AddRequestOptions(CLI::App& app, RequestOptions& options) {
  app.add_option("--hash", options.hash, "sha256, sha384, sha512 (sha1 or md5 with --allow-weak)")
      ->type_name("NAME");
  app.add_option("--policy", options.policy, "policy to ask for")->type_name("OID");
  app.add_flag("--no-nonce", options.noNonce, "send no nonce");
  app.add_flag("--no-cert", options.noCertificate, "do not ask for the authority's certificate");
}

}  // namespace qex::tool
