// qex reply: the status of a reply, and the token out of it.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/commands/single_output.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

struct ReplyArguments {
  std::string file;
  std::string frame = "raw";
  bool token = false;
  std::string output;
};

// Removes the transport framing from a reply that was stored with it.
Bytes unframed(Bytes data, const ReplyArguments& arguments) {
  const int32_t transport = arguments.frame == "socket" ? QEX_TRANSPORT_SOCKET : QEX_TRANSPORT_HTTP;
  auto length = uint32_t(data.size());
  uint32_t status = 0;
  const int32_t code = QEX_UnpackTSR(data.data(), &length, &status, transport);
  if (code == QEX_OK) {
    data.resize(length);
    return data;
  }
  std::string text = ShownPath(arguments.file) + ": " + inspect::CodeMeaning(code);
  if (code == QEX_E_LENGTH) {
    text += ": " + std::to_string(length) + " octets are announced, " + std::to_string(data.size()) +
            " are there";
  }
  if (code == QEX_E_FRAMING) {
    text += arguments.frame == "http" ? ": HTTP status " + std::to_string(status)
                                      : ": flag " + std::to_string(status);
  }
  throw Failure{ExitOfCode(code), text, "was the reply stored with another framing? --frame names it", code};
}

Message read_reply(const ReplyArguments& arguments) {
  if (arguments.frame == "raw") return ReadMessageOf(arguments.file, inspect::Kind::Reply);
  Message message = ParseMessage(arguments.file, unframed(ReadMessage(arguments.file), arguments));
  if (message.kind == inspect::Kind::Reply) return message;
  throw Failure{ExitStatus::Input, ShownPath(arguments.file) + ": what is framed is no time-stamp reply",
                "look at where it came from"};
}

[[nodiscard]] ExitStatus read_status(const ReplyArguments& arguments, const Options& options) {
  if (!arguments.token && !arguments.output.empty()) {
    throw UsageFailure("-o says where the token goes, so it takes --token", "add --token, or leave -o out");
  }
  std::optional<Outputs> outputs;
  if (arguments.token) {
    outputs.emplace(SingleOutput(arguments.output, options, "name a file with -o"),
                    std::vector{arguments.file}, options.force);
  }
  const Message message = read_reply(arguments);
  const std::string name = ShownPath(arguments.file);
  const Answer answer = AskOnce({.name = name, .message = message.octets});
  const std::optional<Failure> refusal = RefusalOf(answer.facts, name);
  WriteLibraryMessages(answer.libraryMessages, options);
  if (outputs && !refusal) {
    outputs->Commit({answer.facts.token.value()});
  }
  if (options.json) {
    Json document = NewDocument("reply", arguments.file);
    document["status"] = StatusFields(answer.facts.status.value());
    if (answer.facts.token) document["token"] = ToHex(*answer.facts.token);
    if (refusal) SetFailure(document, *refusal);
    WriteJson(document);
  } else if (!arguments.token && !options.quiet) {
    WriteFields(StatusFields(answer.facts.status.value()));
  }
  if (!refusal) return ExitStatus::Ok;
  WriteFailure(*refusal, options);
  return refusal->exit;
}

}  // namespace

Run AddReply(CLI::App& app) {
  auto arguments = std::make_shared<ReplyArguments>();
  app.add_option("TSR", arguments->file, "the reply; - is standard input")->required();
  app.add_option("--frame", arguments->frame, "how it is framed: raw, socket or http")
      ->check(CLI::IsMember({"raw", "socket", "http"}))
      ->type_name("MODE");
  app.add_flag("--token", arguments->token, "take the token out");
  app.add_option("-o", arguments->output, "where the token goes; - is standard output")->type_name("FILE");
  return [arguments](const Options& options) { return read_status(*arguments, options); };
}

}  // namespace qex::tool
