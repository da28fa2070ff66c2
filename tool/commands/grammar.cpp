// Reads the grammar off the parser.
#include "tool/commands/grammar.h"

#include <algorithm>
#include <iterator>

#include "tool/base/hash.h"

namespace qex::tool {
namespace {

// Labels of values that are neither files nor folders; every other value is completed as a file name.
constexpr std::string_view kFreeLabels[] = {"URL",        "HEX", "ALG:HEX", "[ALG:]HEX",
                                            "sha256:HEX", "OID", "NAME",    "NAME[:PASSWORD]",
                                            "TIME",       "N",   "CODE",    "HOST:PORT"};

struct SuffixRow {
  std::string_view name;  // of an option that takes a value, or of an argument
  std::string_view suffixes;
};

constexpr SuffixRow kSuffixes[] = {
    {"TSR", "tsr"},
    {"TOKEN", "tsr token"},
    {"token", "tsr token"},
    {"request", "tsq"},
    {"manifest", "sha256 sha384 sha512"},
    {"check", "sha256 sha384 sha512 sha1 md5"},
    {"tsa-cert", "pem crt cer der"},
    {"ca-file", "pem crt cer der"},
    {"untrusted", "pem crt cer der"},
    {"crl", "crl pem der"},
    {"cacert", "pem crt cer"},
    {"client-cert", "pem crt cer"},
    {"client-key", "key pem"},
};

Words split(std::string_view text) {
  Words words;
  while (!text.empty()) {
    const size_t end = std::min(text.find(' '), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

Words suffixes_of(const CLI::Option& option) {
  const std::string name = option.get_lnames().empty()
                               ? option.get_name(/*positional=*/true, /*all_options=*/false)
                               : option.get_lnames().front();
  for (const SuffixRow& row : kSuffixes) {
    if (row.name == name) return split(row.suffixes);
  }
  return {};
}

// The words to offer for a value: the set that a check allows, or a list that the tool has.
Words choices_of(const CLI::Option& option) {
  if (ValueLabel(option) == "COMMAND") return CommandNames();
  if (option.check_lname("at")) return {"gentime", "now"};
  if (!option.check_lname("hash")) return ValueChoices(option);
  Words names;
  for (const HashAlgorithm& hash : HashAlgorithms()) names.emplace_back(hash.name);
  return names;
}

ValueKind kind_of(const CLI::Option& option, const Words& choices) {
  if (option.get_items_expected_max() == 0) return ValueKind::None;
  if (!choices.empty()) return ValueKind::Choices;
  const std::string label = ValueLabel(option);
  if (label == "DIR") return ValueKind::Folders;
  const bool isFree =
      std::find(std::begin(kFreeLabels), std::end(kFreeLabels), label) != std::end(kFreeLabels);
  return isFree ? ValueKind::Free : ValueKind::Files;
}

Parameter parameter_of(const CLI::Option& option) {
  const Words choices = choices_of(option);
  Parameter parameter{{},
                      "",
                      ValueLabel(option),
                      option.get_description(),
                      option.get_group(),
                      kind_of(option, choices),
                      choices,
                      suffixes_of(option),
                      option.get_items_expected_max() > 1,
                      option.get_required()};
  for (const std::string& name : option.get_snames()) parameter.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) parameter.names.push_back("--" + name);
  if (option.get_positional()) {
    parameter.label = parameter.value = option.get_name(/*positional=*/true, /*all_options=*/false);
  } else if (parameter.kind != ValueKind::None) {
    const Words allowed = ValueChoices(option);
    parameter.value = allowed.empty() ? parameter.label : Joined(allowed, "|");
  }
  return parameter;
}

std::vector<Parameter> parameters_of(const CLI::App& app, bool positional) {
  std::vector<Parameter> parameters;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional() == positional) parameters.push_back(parameter_of(*option));
  }
  return parameters;
}

}  // namespace

std::vector<Parameter> OptionsOf(const CLI::App& app) {
  return parameters_of(app, /*positional=*/false);
}

std::vector<Parameter> ArgumentsOf(const CLI::App& app) {
  return parameters_of(app, /*positional=*/true);
}

Grammar GrammarOf(const Program::Entry& entry) {
  Grammar grammar{entry.command, OptionsOf(*entry.app), ArgumentsOf(*entry.app)};
  std::erase_if(grammar.options, [](const Parameter& own) { return own.names == Words{"-h", "--help"}; });
  return grammar;
}

Words CommandNames() {
  Words names;
  for (const Command& command : Commands()) names.emplace_back(command.name);
  return names;
}

std::string Joined(const Words& words, std::string_view between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : std::string(between)) + word;
  return text;
}

}  // namespace qex::tool
