// qex verify: tokens against files, requests and an authority.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/commands/command.h"
#include "tool/commands/trust_options.h"
#include "tool/commands/verify_one.h"

namespace qex::tool {
namespace {

struct Arguments {
  VerifyArguments one;
  TrustOptions trust;
};

ExitStatus verify(const Arguments& arguments, const Options& options) {
  const Trust trust = ReadTrust(arguments.trust);
  Worker worker(trust);
  return Emit(VerifyOne(arguments.one, worker, trust, options));
}

}  // namespace

Run AddVerify(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  VerifyArguments& one = arguments->one;
  app.add_option("FILE", one.file, "the stamped file; FILE.tsr and FILE.tsq are found beside it");
  app.add_option("--token", one.token, "the reply or token")->type_name("TSR|TOKEN");
  app.add_option("--request", one.request, "the request that it answers")->type_name("TSQ");
  app.add_option("--digest", one.digest, "the file's digest, in place of reading it")->type_name("[ALG:]HEX");
  app.add_option("--nonce", one.nonce, "the nonce that was sent")->type_name("HEX");
  app.add_option("--policy", one.policy, "the policy that is wanted")->type_name("OID");
  AddTrustOptions(app, arguments->trust);
  app.add_option("--ess", one.manner.ess, "signing-certificate attribute: auto, v1 or v2")
      ->check(CLI::IsMember({"auto", "v1", "v2"}))
      ->type_name("VERSION");
  app.add_flag("--library-only", one.manner.libraryOnly, "leave the strict reader out");
  return [arguments](const Options& options) { return verify(*arguments, options); };
}

}  // namespace qex::tool
