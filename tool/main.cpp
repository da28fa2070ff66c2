// The command line program qex: reads the command line, runs one command, and turns what ends it
// into an exit status with a line for people.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/arguments.h"
#include "tool/commands/command.h"
#include "tool/worker/worker.h"

namespace qex::tool {
namespace {

constexpr Command kCommands[] = {
    {"stamp", "have a file time-stamped, and keep the reply", AddStamp},
    {"request", "make a time-stamp request", AddRequest},
    {"reply", "read the status of a reply, take the token out", AddReply},
    {"verify", "check a token against a file and an authority", AddVerify},
    {"show", "show a request, reply, token, certificate or attribute certificate", AddShow},
    {"cert", "take the authority's certificate out of a token", AddCert},
    {"tac", "the time attribute certificate of a token: take out, show, check", AddTac},
    {"rewrite", "write a token without attribute certificates, or typed as plain data", AddRewrite},
    {"digest", "print or check digests of files", AddDigest},
    {"explain", "explain a result code, ASN.1 error or exit status", AddExplain},
    {"version", "print the version", AddVersion},
};

// Options that later versions know; named apart, so that nobody believes they were heeded.
constexpr const char* kNotYet[] = {"--ca-file", "--ca-path", "--system-ca", "--untrusted",
                                   "--crl",     "--at",      "--dir"};

void add_common_options(CLI::App& app, Options& options) {
  app.add_flag("--json", options.json, "one JSON object a line on standard output");
  app.add_flag("-q,--quiet", options.quiet, "nothing but errors and data");
  app.add_flag("-v,--verbose", options.verbose, "also what the library wrote");
  app.add_option("--color", options.color, "auto, always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->type_name("WHEN");
  app.add_flag("--force", options.force, "replace older files with the outputs");
  app.add_flag("--allow-weak", options.allowWeak, "accept SHA-1 and MD5");
  app.add_flag("--allow-low-exponent", options.allowLowExponent,
               "accept RSA keys with an exponent below 65537");
}

ExitStatus print_help(const std::string& subject);

// The command line as it was read.
struct Program {
  CLI::App app{"Time-stamping by RFC 3161.", "qex"};
  Options options;
  std::vector<std::pair<CLI::App*, Run>> commands;
  std::string helpSubject;

  Program() {
    add_common_options(app, options);
    app.require_subcommand(1);
    app.fallthrough();
    for (const Command& command : kCommands) {
      CLI::App* sub = app.add_subcommand(command.name, command.summary);
      sub->fallthrough();
      Run run = command.add(*sub);
      commands.emplace_back(sub, std::move(run));
    }
    CLI::App* help = app.add_subcommand("help", "explain a command and its options");
    help->add_option("COMMAND", helpSubject);
    commands.emplace_back(help, [this](const Options&) { return print_help(helpSubject); });
  }

  std::string command_name() const {
    for (const auto& [sub, run] : commands) {
      if (sub->parsed()) return sub->get_name();
    }
    return "";
  }
};

// Texts come from a program of their own: one that has read a command line explains the command it read.
ExitStatus print_help(const std::string& subject) {
  Program fresh;
  if (subject.empty()) {
    WriteText(fresh.app.help());
    return ExitStatus::Ok;
  }
  for (const auto& [sub, run] : fresh.commands) {
    if (sub->get_name() == subject) {
      WriteText(sub->help("qex"));
      return ExitStatus::Ok;
    }
  }
  throw UsageFailure("there is no command " + Escaped(subject), "'qex help' lists the commands");
}

Failure usage_failure(const CLI::ParseError& error, const Program& program, int count, char** words) {
  for (int i = 1; i < count; ++i) {
    const std::string word(words[i], std::strcspn(words[i], "="));
    for (const char* option : kNotYet) {
      if (word == option) {
        if (word == "--dir") {
          return UsageFailure(word + " is not supported yet", "run 'qex verify' once for each FILE");
        }
        return UsageFailure(word + " is not supported yet",
                            "this version trusts --tsa-cert, --tsa-fingerprint or "
                            "--insecure-any-signer");
      }
    }
  }
  std::string text = Escaped(error.what());
  // A sentence begins in lower case; names of arguments, which are capitals throughout, stay.
  const auto is_capital = [&text](size_t at) {
    return at < text.size() && text[at] >= 'A' && text[at] <= 'Z';
  };
  if (is_capital(0) && text.size() > 1 && text[1] != ' ' && !is_capital(1)) {
    text[0] = static_cast<char>(text[0] - 'A' + 'a');
  }
  const std::string command = program.command_name();
  if (command.empty() && count > 1 && words[1][0] != '-') text = "there is no command " + Escaped(words[1]);
  return UsageFailure(text, command.empty() ? "'qex help' lists the commands"
                                            : "'qex help " + command + "' lists what it takes");
}

ExitStatus run_command(Program& program, int count, char** words) {
  try {
    RefuseEmptyAssignments(count, words);
    program.app.parse(count, words);
    HidePasswords(count, words);
  } catch (const CLI::CallForHelp&) {
    return print_help(program.command_name());
  } catch (const CLI::ParseError& error) {
    throw usage_failure(error, program, count, words);
  }
  for (const auto& [sub, run] : program.commands) {
    if (!sub->parsed()) continue;
    RefuseEmptyValues(program.app);
    RefuseEmptyValues(*sub);
    return run(program.options);
  }
  return ExitStatus::Usage;
}

ExitStatus report(const Failure& failure, const Program& program) {
  if (program.options.json) {
    Json document = NewDocument(program.command_name(), "");
    SetFailure(document, failure);
    try {
      WriteJson(document);
    } catch (const Failure&) {  // standard output is gone; the line below still says what happened
    }
  }
  WriteFailure(failure, program.options);
  return failure.exit;
}

// A standard stream that came closed would be the next file, pipe or connection that is opened, and texts
// would go there. It is taken by what cannot be read or written, so that using it fails as before.
void occupy_standard_streams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free descriptor, which is this one.
    if (::fcntl(fd, F_GETFD) < 0) ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int tool_main(int count, char** words) {
  occupy_standard_streams();
  // A reader that has gone shows as a failed write, here and in the worker's pipes.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that grows beyond the limit, too, shows as a failed write.
  std::signal(SIGXFSZ, SIG_IGN);
  if (count == 2 && std::strcmp(words[1], kWorkerArgument) == 0) return RunWorker();
  Program program;
  for (int i = 1; i < count; ++i) {
    if (std::strcmp(words[i], "--json") == 0) program.options.json = true;  // holds for usage failures too
  }
  ExitStatus status;
  try {
    status = run_command(program, count, words);
  } catch (const Failure& failure) {
    status = report(failure, program);
  } catch (const std::bad_alloc&) {
    status = report({ExitStatus::Internal, "memory ran out", "free some memory and run the command again"},
                    program);
  } catch (const std::exception& error) {
    status = report({ExitStatus::Internal, std::string("internal: ") + Escaped(error.what()),
                     "this is a fault of the tool; please report it with the command line"},
                    program);
  }
  return static_cast<int>(status);
}

}  // namespace
}  // namespace qex::tool

int main(int count, char** words) {
  try {
    return qex::tool::tool_main(count, words);
  } catch (const std::bad_alloc&) {  // before there was a program to report by, or memory to report with
    std::fputs("qex: error: memory ran out\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qex: error: internal: %s\n", error.what());
  } catch (...) {
    std::fputs("qex: error: internal\n", stderr);
  }
  return static_cast<int>(qex::tool::ExitStatus::Internal);
}
