// qex rewrite: a token in another shape.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

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

struct RewriteArguments {
  std::string token;
  std::string output = "-";
  bool dropAttrCerts = false;
  bool idData = false;
};

[[nodiscard]] ExitStatus rewrite(const RewriteArguments& arguments, const Options& options) {
  if (arguments.dropAttrCerts == arguments.idData) {
    throw UsageFailure(arguments.idData ? "--drop-attr-certs and --id-data exclude each other"
                                        : "how the token is to be written is not said",
                       "name one of --drop-attr-certs and --id-data");
  }
  Outputs outputs(SingleOutput(arguments.output, options, "name a file with -o"), {arguments.token},
                  options.force);
  const std::string name = ShownPath(arguments.token);
  Job job{.name = name, .message = ReadTokenOrReply(arguments.token).octets};
  job.rewriting = arguments.idData ? Rewriting::IdData : Rewriting::DropAttrCerts;
  const Answer answer = AskOnce(job);
  if (auto refusal = RefusalOf(answer.facts, name)) {
    refusal->libraryMessages = answer.libraryMessages;
    throw Failure{*refusal};
  }
  WriteLibraryMessages(answer.libraryMessages, options);
  const Bytes& written = answer.facts.rewritten.value();
  outputs.Commit({written});
  if (options.json) {
    Json document = NewDocument("rewrite", arguments.token);
    document["changed"] = written != answer.facts.token;
    document["token"] = ToHex(written);
    WriteJson(document);
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddRewrite(CLI::App& app) {
  auto arguments = std::make_shared<RewriteArguments>();
  app.add_option("TOKEN", arguments->token, "a token or reply; - is standard input")->required();
  app.add_flag("--drop-attr-certs", arguments->dropAttrCerts, "without the attribute certificates");
  app.add_flag("--id-data", arguments->idData, "with its content typed as plain data");
  app.add_option("-o", arguments->output, "where the token goes; - is standard output")->type_name("FILE");
  return [arguments](const Options& options) { return rewrite(*arguments, options); };
}

}  // namespace qex::tool
