// The table of commands, and the parser that is made from it.
#include "tool/commands/program.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace qex::tool {
namespace {

using enum ExitStatus;

// clang-format off
const std::vector<Command>& table() {
  static const std::vector<Command> commands = {
    {"stamp", "have a file time-stamped, and keep the reply", AddStamp,
     {{"qex stamp report.pdf --tsa https://tsa.example/",
       "writes report.pdf.tsr and report.pdf.tsq, once the reply is in order"},
      {"qex stamp report.pdf --tsa https://one.example/ --tsa https://two.example/ -o stamps/",
       "asks the second authority when the first fails; the files go to the folder stamps"}},
     {Ok, CheckFailed, Usage, File, Input, Refused, Network, Unsupported, Absent, Internal}},
    {"request", "make a time-stamp request", AddRequest,
     {{"qex request report.pdf -o report.pdf.tsq", "a request for another program to send"},
      {"qex request --digest HEX --hash sha512 --no-nonce -o -",
       "the file stays where it is: its digest will do"}},
     {Ok, CheckFailed, Usage, File, Unsupported, Internal}},
    {"reply", "read the status of a reply, take the token out", AddReply,
     {{"qex reply report.pdf.tsr", "was the request granted, and if not, why"},
      {"qex reply report.pdf.tsr --token -o report.pdf.token", "the token alone"}},
     {Ok, Usage, File, Input, Refused, Network, Internal}},
    {"verify", "check a token against a file and an authority", AddVerify,
     {{"qex verify report.pdf --ca-file roots.pem",
       "report.pdf against report.pdf.tsr and report.pdf.tsq, by an authority under one of the roots"},
      {"qex verify report.pdf --token stamps/1.tsr --tsa-cert tsa.pem",
       "a token that is kept elsewhere, and an authority that is known by its certificate"}},
     {Ok, CheckFailed, Usage, File, Input, Refused, Unsupported, Absent, Internal}},
    {"show", "show a request, reply, token, certificate or attribute certificate", AddShow,
     {{"qex show report.pdf.tsr", "what the reply says; nothing is verified"},
      {"qex show --asn1 tsa.pem", "every value in its place"}},
     {Ok, Usage, File, Input, Internal}},
    {"cert", "take the authority's certificate out of a token", AddCert,
     {{"qex cert report.pdf.tsr --pem -o tsa.pem", "as PEM"},
      {"qex cert report.pdf.tsr --pem -o - | openssl x509 -noout -text", "for another program to read"}},
     {Ok, Usage, File, Input, Refused, Absent, Internal}},
    {"tac", "the time attribute certificate of a token: take out, show, check", AddTac,
     {{"qex tac show report.pdf.tsr", "how well the authority's clock keeps time"},
      {"qex tac check report.pdf.tsr --tac kept.der", "does the certificate that was kept apart belong to it"}},
     {Ok, CheckFailed, Usage, File, Input, Refused, Absent, Internal}},
    {"rewrite", "write a token without attribute certificates, or typed as plain data", AddRewrite,
     {{"qex rewrite report.pdf.tsr --drop-attr-certs -o plain.token",
       "for readers that know no attribute certificates"},
      {"qex rewrite report.pdf.tsr --id-data -o data.token", "for readers that know no TSTInfo"}},
     {Ok, Usage, File, Input, Refused, Internal}},
    {"digest", "print or check digests of files", AddDigest,
     {{"qex digest *.pdf > list.sha256", "the lines that sha256sum writes"},
      {"qex digest --check list.sha256", "fails when a file differs, is missing, or a line cannot be read"}},
     {Ok, CheckFailed, Usage, File, Input, Unsupported, Internal}},
    {"explain", "explain a result code, ASN.1 error or exit status", AddExplain,
     {{"qex explain -8", "what the number means in each of its places, and what to do"},
      {"qex explain", "all of them"}},
     {Ok, Usage, File, Internal}},
    {"help", "explain a command and its options", AddHelp,
     {{"qex help", "the commands"},
      {"qex help verify", "one of them; 'qex verify --help' says the same"}},
     {Ok, Usage, File, Internal}},
    {"version", "print the version", AddVersion,
     {{"qex version", "the same as 'qex --version'"},
      {"qex version -v", "with the versions of what the tool stands on"}},
     {Ok, Usage, File, Internal}},
    {"completion", "print what makes a shell complete commands and options", AddCompletion,
     {{"source <(qex completion bash)", "in ~/.bashrc"},
      {"qex completion fish > ~/.config/fish/completions/qex.fish", "once, for fish"}},
     {Ok, Usage, File, Internal}},
  };
  return commands;
}
// clang-format on

void add_common_options(CLI::App& app, Options& options) {
  app.set_help_flag("-h,--help", "print this help");
  app.set_version_flag("--version", QEX_TOOL_VERSION, "print the version");
  app.add_flag("--json", options.json, "one JSON object a line on standard output");
  app.add_flag("-q,--quiet", options.quiet, "nothing but errors and data");
  app.add_flag("-v,--verbose", options.verbose, "also what the library wrote");
  app.add_option("--color", options.color, "when to use colours; auto: on a terminal")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->type_name("WHEN");
  app.add_flag("--allow-weak", options.allowWeak, "accept SHA-1, MD5, and keys below 2048 bits");
  app.add_flag("--allow-low-exponent", options.allowLowExponent,
               "accept RSA keys with an exponent below 65537");
  app.add_flag("--force", options.force, "replace older files with the outputs");
}

}  // namespace

std::span<const Command> Commands() {
  return table();
}

const Command* FindCommand(const std::string& name) {
  for (const Command& command : table()) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

Program::Program(std::string_view only) {
  add_common_options(app, options);
  app.require_subcommand(1);
  app.allow_windows_style_options(false);  // a word with a slash is a path everywhere
  const bool one = FindCommand(std::string(only)) != nullptr;
  for (const Command& command : table()) {
    if (one && only != command.name) continue;
    CLI::App* sub = app.add_subcommand(command.name, command.summary);
    sub->fallthrough();
    entries.push_back({&command, sub, command.add(*sub)});
  }
}

const Program::Entry* Program::Chosen() const {
  for (const Entry& entry : entries) {
    if (entry.app->parsed()) return &entry;
  }
  return nullptr;
}

// The parser appends the check's own description to the label: ":{auto,always,never}", ":INT in [0 - 100]".
std::string ValueLabel(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t check = type.rfind(':');
  const std::string_view appended = std::string_view(type).substr(std::min(check, type.size()));
  const bool is_check = appended.starts_with(":{") || appended.find(" in [") != std::string_view::npos;
  return is_check ? type.substr(0, check) : type;
}

std::vector<std::string> ValueChoices(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t open = type.find(":{");
  std::vector<std::string> choices;
  if (open == std::string::npos || !type.ends_with('}')) return choices;
  std::string_view list = std::string_view(type).substr(open + 2, type.size() - open - 3);
  while (!list.empty()) {
    const size_t end = std::min(list.find(','), list.size());
    choices.emplace_back(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return choices;
}

}  // namespace qex::tool
