// Hash, policy, nonce and certificate of a request, and the digest given in place of a file.
#include "tool/commands/request_options.h"

#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"

namespace qex::tool {

void AddRequestOptions(CLI::App& app, RequestOptions& options) {
  app.add_option("--hash", options.hash, "sha256, sha384, sha512 (sha1 or md5 with --allow-weak)")
      ->type_name("NAME");
  app.add_option("--policy", options.policy, "policy to ask for")->type_name("OID");
  app.add_flag("--no-nonce", options.noNonce, "send no nonce");
  app.add_flag("--no-cert", options.noCertificate, "do not ask for the authority's certificate");
}

Bytes ReadDigest(const std::string& text, RequestOptions& options) {
  const size_t colon = text.find(':');
  const HashAlgorithm* named =
      colon == std::string::npos ? nullptr : FindHash(std::string_view(text).substr(0, colon));
  if (named != nullptr) options.hash = named->name;
  const HashAlgorithm& hash = HashNamed(options.hash);
  const std::optional<Bytes> digest = FromHex(named == nullptr ? text : text.substr(colon + 1));
  if (digest && digest->size() == hash.length) return *digest;
  throw UsageFailure("digest " + Quoted(text) + ": not " + std::to_string(hash.length * 2) +
                         " hexadecimal digits, as " + hash.name + " has",
                     "name the algorithm of the digest with --hash, or write ALG:HEX");
}

}  // namespace qex::tool
