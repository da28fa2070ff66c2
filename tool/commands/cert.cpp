// qex cert: the authority's certificate out of a token.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct Arguments {
  std::string token;
  std::string output = "-";
  bool pem = false;
};

ExitStatus take_certificate(const Arguments& arguments, const Options& options) {
  const Message message = ReadTokenOrReply(arguments.token);
  const std::string name = ShownPath(arguments.token);
  const Answer answer = Ask({name, message.octets});
  if (const auto refusal = RefusalOf(answer.facts, name)) throw Failure{*refusal};
  const Json& signer = answer.facts["signer"];
  const auto code = signer["code"].get<int32_t>();
  if (code != 0) {
    throw Failure{ExitOfCode(code),
                  name + ": " + inspect::CodeMeaning(code),
                  "the authority was not asked for its certificate; take it from its operator",
                  code,
                  0,
                  answer.libraryMessages};
  }
  WriteLibraryMessages(answer.libraryMessages, options);
  const Bytes der = FromHex(signer["der"].get<std::string>()).value();
  const bool standard = IsStandardStream(arguments.output);
  if (!arguments.pem) {
    if (!options.json || !standard)
      WriteOutput(arguments.output, der, "name a file with -o, or ask for --pem");
  } else if (const std::string pem = ToPem(der, "CERTIFICATE"); !standard) {
    WriteFiles({{arguments.output, {reinterpret_cast<const uint8_t*>(pem.data()), pem.size()}}});
  } else if (!options.json) {
    WriteText(pem);
  }
  if (options.json) {
    Json document = NewDocument("cert", arguments.token);
    document["named_by"] = answer.facts["ess"] == "v2" ? "signing-certificate-v2" : "signing-certificate";
    document["subject_name"] = signer["subject"];
    document["sha256"] = signer["sha256"];
    document["certificate"] = signer["der"];
    WriteJson(document);
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddCert(CLI::App& app) {
  auto arguments = std::make_shared<Arguments>();
  app.add_option("TOKEN", arguments->token, "a token or reply; - is standard input")->required();
  app.add_option("-o", arguments->output, "where the certificate goes; - is standard output")
      ->type_name("FILE");
  app.add_flag("--pem", arguments->pem, "as PEM, not DER");
  return [arguments](const Options& options) { return take_certificate(*arguments, options); };
}

}  // namespace qex::tool
