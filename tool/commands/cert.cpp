// qex cert: the authority's certificate out of a token.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/commands/single_output.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct CertArguments {
  std::string token;
  std::string output = "-";
  bool pem = false;
};

[[nodiscard]] ExitStatus take_certificate(const CertArguments& arguments, const Options& options) {
  const char* hint = arguments.pem ? "" : "name a file with -o, or ask for --pem";
  Outputs outputs(SingleOutput(arguments.output, options, hint), {arguments.token}, options.force);
  const Message message = ReadTokenOrReply(arguments.token);
  const std::string name = ShownPath(arguments.token);
  const Answer answer = AskOnce({.name = name, .message = message.octets});
  if (const auto refusal = RefusalOf(answer.facts, name)) throw Failure{*refusal};
  const SignerCertificate* signer = SignerOf(answer.facts);
  if (signer == nullptr) {
    throw Failure{ExitStatus::Absent,
                  name + ": the token holds no certificate of its signer",
                  "the authority was not asked for its certificate; take it from its operator",
                  QEX_E_NOCERT,
                  0,
                  answer.libraryMessages};
  }
  WriteLibraryMessages(answer.libraryMessages, options);
  const std::string pem = ToPem(signer->der, "CERTIFICATE");
  outputs.Commit({arguments.pem ? OctetsOf(pem) : ByteView(signer->der)});
  if (options.json) {
    Json document = NewDocument("cert", arguments.token);
    document["named_by"] = AttributeName(answer.facts, {});
    document["subject_name"] = signer->subject;
    document["sha256"] = ToHex(signer->sha256);
    document["certificate"] = ToHex(signer->der);
    WriteJson(document);
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddCert(CLI::App& app) {
  auto arguments = std::make_shared<CertArguments>();
  app.add_option("TOKEN", arguments->token, "a token or reply; - is standard input")->required();
  app.add_option("-o", arguments->output, "where the certificate goes; - is standard output")
      ->type_name("FILE");
  app.add_flag("--pem", arguments->pem, "as PEM, not DER");
  return [arguments](const Options& options) { return take_certificate(*arguments, options); };
}

}  // namespace qex::tool
