// qex request: a request as a file, for another program to send.
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/commands/request_options.h"
#include "tool/commands/single_output.h"

namespace qex::tool {
namespace {

struct RequestArguments {
  RequestOptions request;
  std::string file;
  std::string digest;
  std::string frame = "raw";
  std::string output;
};

[[nodiscard]] ExitStatus make_request(RequestArguments arguments, const Options& options) {
  if (arguments.file.empty() == arguments.digest.empty()) {
    throw UsageFailure("request takes one of FILE and --digest",
                       "for example 'qex request report.pdf -o report.pdf.tsq'");
  }
  if (arguments.request.noNonce && !arguments.request.nonce.empty()) {
    throw UsageFailure("--nonce and --no-nonce exclude each other", "leave one of them out");
  }
  std::optional<Bytes> digest;
  if (!arguments.digest.empty()) digest = ReadDigest(arguments.digest, arguments.request);
  const HashAlgorithm& hash = HashNamed(arguments.request.hash);
  RefuseWeakHash(hash, options);
  Outputs outputs(SingleOutput(arguments.output, options, "name a file with -o"), {arguments.file},
                  options.force);
  if (!digest) digest = HashFile(arguments.file, hash, options);
  const Request request = MakeRequest(arguments.request, hash, *digest);
  const uint32_t transport = arguments.frame == "socket" ? QEX_TRANSPORT_SOCKET
                             : arguments.frame == "http" ? QEX_TRANSPORT_HTTP
                                                         : QEX_TRANSPORT_RAW;
  const Bytes framed = FramedRequest(request, transport);
  outputs.Commit({framed});
  if (options.json) {
    Json document = NewDocument("request", arguments.file);
    document["request"] = RequestFields(request.record);
    document["frame"] = arguments.frame;
    document["octets"] = ToHex(framed);
    WriteJson(document);
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddRequest(CLI::App& app) {
  auto arguments = std::make_shared<RequestArguments>();
  app.add_option("FILE", arguments->file, "the file to be stamped; - is standard input");
  app.add_option("--digest", arguments->digest, "its digest, in place of the file")->type_name("[ALG:]HEX");
  AddRequestOptions(app, arguments->request);
  app.add_option("--nonce", arguments->request.nonce, "nonce, a number")->type_name("HEX");
  app.add_option("--frame", arguments->frame, "raw, socket or http")
      ->check(CLI::IsMember({"raw", "socket", "http"}))
      ->type_name("MODE");
  app.add_option("-o", arguments->output, "where the request goes; - is standard output")->type_name("FILE");
  return [arguments](const Options& options) { return make_request(*arguments, options); };
}

}  // namespace qex::tool
