// qex completion: a script that makes a shell complete commands, options and their choices. It is derived
// from the parser, so it offers exactly what the parser accepts.
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/program.h"

namespace qex::tool {
namespace {

using Words = std::vector<std::string>;

// Types of values that are not files; every other value is completed as a file name.
constexpr std::string_view kNoFiles[] = {"URL",        "HEX", "ALG:HEX", "[ALG:]HEX",
                                         "sha256:HEX", "OID", "NAME",    "NAME[:PASSWORD]",
                                         "TIME",       "N",   "CODE",    "HOST:PORT"};

enum class Values { None, Choices, Files, Unknown };

struct Item {
  Words names;  // -o, --hash; of a positional none
  std::string text;
  std::string label;  // how help calls the value
  Values values;
  Words choices;
  bool repeated;
};

Words command_names() {
  Words names;
  for (const Command& command : Commands()) names.emplace_back(command.name);
  return names;
}

// The choices for a value: the set that a check allows, or a list that the tool has.
Words choices_of(const CLI::Option& option) {
  if (ValueLabel(option) == "COMMAND") return command_names();
  if (!option.check_lname("hash")) return ValueChoices(option);
  Words names;
  for (const HashAlgorithm& hash : HashAlgorithms()) names.emplace_back(hash.name);
  return names;
}

Item item_of(const CLI::Option& option) {
  Item item{{}, option.get_description(), ValueLabel(option), Values::None, choices_of(option), false};
  for (const std::string& name : option.get_snames()) item.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) item.names.push_back("--" + name);
  if (option.get_positional()) item.label = option.get_name(true, false);
  item.repeated = option.get_items_expected_max() > 1;
  if (option.get_items_expected_max() == 0) return item;
  const bool unknown =
      std::find(std::begin(kNoFiles), std::end(kNoFiles), ValueLabel(option)) != std::end(kNoFiles);
  item.values = !item.choices.empty() ? Values::Choices : unknown ? Values::Unknown : Values::Files;
  return item;
}

std::vector<Item> items_of(const CLI::App& app, bool positional) {
  std::vector<Item> items;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional() == positional) items.push_back(item_of(*option));
  }
  return items;
}

// A command with all that it takes, the options of every command among it.
struct Grammar {
  std::string command;
  std::string summary;
  std::vector<Item> options;
  std::vector<Item> positionals;
};

std::vector<Grammar> grammars() {
  const Program program;
  const std::vector<Item> common = items_of(program.app, false);
  std::vector<Grammar> all;
  for (const Program::Entry& entry : program.entries) {
    Grammar grammar{entry.command->name, entry.command->summary, items_of(*entry.app, false),
                    items_of(*entry.app, true)};
    for (const Item& item : common) {
      const auto is_same = [&](const Item& own) { return own.names == item.names; };
      if (std::none_of(grammar.options.begin(), grammar.options.end(), is_same)) {
        grammar.options.push_back(item);
      }
    }
    all.push_back(std::move(grammar));
  }
  return all;
}

std::string joined(const Words& words, std::string_view between = " ") {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : std::string(between)) + word;
  return text;
}

Words option_names(const std::vector<Item>& items) {
  Words names;
  for (const Item& item : items) names.insert(names.end(), item.names.begin(), item.names.end());
  return names;
}

bool takes_files(const Grammar& grammar) {
  return std::any_of(grammar.positionals.begin(), grammar.positionals.end(),
                     [](const Item& item) { return item.values == Values::Files; });
}

// The words that follow an option, or a command itself.
std::string bash_case(const std::string& pattern, const Item& item) {
  const std::string head = "    '" + pattern + "') ";
  switch (item.values) {
    case Values::Choices: return head + "_qex_words '" + joined(item.choices) + "'; return ;;\n";
    case Values::Files: return head + "_qex_files; return ;;\n";
    case Values::Unknown: return head + "return ;;\n";
    case Values::None: break;
  }
  return "";
}

std::string bash_script() {
  const Program program;
  const std::vector<Item> common = items_of(program.app, false);
  std::string values;
  std::string options;
  std::string arguments;
  for (const Item& item : common) {
    for (const std::string& name : item.names) values += bash_case(" " + name, item);
  }
  for (const Grammar& grammar : grammars()) {
    for (const Item& item : grammar.options) {
      for (const std::string& name : item.names) values += bash_case(grammar.command + " " + name, item);
    }
    options +=
        "    '" + grammar.command + "') _qex_words '" + joined(option_names(grammar.options)) + "' ;;\n";
    const std::vector<Item>& positionals = grammar.positionals;
    if (!positionals.empty() && positionals[0].values == Values::Choices) {
      arguments += bash_case(grammar.command + " " + grammar.command, positionals[0]);
    }
    if (takes_files(grammar)) arguments += "    '" + grammar.command + " '*) _qex_files ;;\n";
  }
  return R"(# Completion of qex for bash 4 and later: source <(qex completion bash)
_qex_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }
_qex_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}
_qex() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command='' i
  COMPREPLY=()
  # bash takes --color=never for three words.
  if [[ $cur == = ]]; then
    cur=''
  elif [[ $prev == = && $COMP_CWORD -gt 2 ]]; then
    prev=${COMP_WORDS[COMP_CWORD-2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case ${COMP_WORDS[i]} in
    )" + joined(command_names(), "|") +
         R"() command=${COMP_WORDS[i]}; break ;;
    esac
  done
  case "$command $prev" in
)" + values +
         R"(  esac
  if [[ $cur == -* ]]; then
    case $command in
    '') _qex_words ')" +
         joined(option_names(common)) + "' ;;\n" + options + R"(    esac
    return
  fi
  case "$command $prev" in
    ' '*) _qex_words ')" +
         joined(command_names()) + "' ;;\n" + arguments + R"(  esac
}
complete -F _qex qex
)";
}

std::string replaced(std::string text, std::string_view what, std::string_view by) {
  for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
  return text;
}

// Text inside a specification of _arguments, inside single quotes.
std::string zsh_text(std::string text) {
  for (const char* special : {"\\", "[", "]", ":"}) {
    text = replaced(text, special, std::string("\\") + special);
  }
  return replaced(text, "'", "'\\''");
}

std::string zsh_values(const Item& item) {
  const std::string label = ":" + zsh_text(item.label) + ":";
  switch (item.values) {
    case Values::Choices: return label + "(" + joined(item.choices) + ")";
    case Values::Files: return label + "_files";
    case Values::Unknown: return label + " ";
    case Values::None: break;
  }
  return "";
}

std::string zsh_arguments(const Grammar& grammar) {
  std::string text;
  for (const Item& item : grammar.options) {
    for (const std::string& name : item.names) {
      text += std::string(" \\\n        '") + (item.repeated ? "*" : "") + name + "[" + zsh_text(item.text) +
              "]" + zsh_values(item) + "'";
    }
  }
  for (const Item& item : grammar.positionals) {
    text += std::string(" \\\n        '") + (item.repeated ? "*" : "") + zsh_values(item) + "'";
  }
  return text;
}

std::string zsh_script() {
  std::string commands;
  std::string cases;
  for (const Grammar& grammar : grammars()) {
    commands += "    '" + grammar.command + ":" + zsh_text(grammar.summary) + "'\n";
    cases += "      " + grammar.command + ") _arguments -s" + zsh_arguments(grammar) + " ;;\n";
  }
  Grammar common{"", "", {}, {}};
  const Program program;
  common.options = items_of(program.app, false);
  return "#compdef qex\n"
         "# Completion of qex for zsh: source <(qex completion zsh), or keep it as _qex in a folder of "
         "$fpath\n"
         "_qex() {\n"
         "  local curcontext=\"$curcontext\" state line\n"
         "  typeset -A opt_args\n"
         "  local -a commands=(\n" +
         commands +
         "  )\n"
         "  _arguments -C -s" +
         zsh_arguments(common) +
         " \\\n"
         "        '1:command:->command' '*::argument:->argument'\n"
         "  case $state in\n"
         "    command) _describe command commands ;;\n"
         "    argument)\n"
         "      case $line[1] in\n" +
         cases +
         "      esac ;;\n"
         "  esac\n"
         "}\n"
         "if [[ $funcstack[1] == _qex ]]; then _qex \"$@\"; else compdef _qex qex; fi\n";
}

std::string fish_text(std::string text) {
  return "'" + replaced(replaced(std::move(text), "\\", "\\\\"), "'", "\\'") + "'";
}

std::string fish_values(const Item& item) {
  switch (item.values) {
    case Values::Choices: return " -x -a '" + joined(item.choices) + "'";
    case Values::Files: return " -r -F";
    case Values::Unknown: return " -x";
    case Values::None: break;
  }
  return "";
}

std::string fish_option(const std::string& condition, const Item& item) {
  std::string line = "complete -c qex" + condition;
  for (const std::string& name : item.names) {
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return line + fish_values(item) + " -d " + fish_text(item.text) + "\n";
}

std::string fish_script() {
  const Program program;
  std::string text =
      "# Completion of qex for fish: qex completion fish > ~/.config/fish/completions/qex.fish\n"
      "complete -c qex -f\n";
  for (const Item& item : items_of(program.app, false)) text += fish_option("", item);
  for (const Grammar& grammar : grammars()) {
    text += "complete -c qex -n __fish_use_subcommand -a " + grammar.command + " -d " +
            fish_text(grammar.summary) + "\n";
  }
  for (const Program::Entry& entry : program.entries) {
    const std::string condition = " -n '__fish_seen_subcommand_from " + entry.app->get_name() + "'";
    for (const Item& item : items_of(*entry.app, false)) {
      if (item.names != Words{"-h", "--help"}) text += fish_option(condition, item);
    }
    for (const Item& item : items_of(*entry.app, true)) {
      if (item.values == Values::Choices) {
        text += "complete -c qex" + condition + " -a '" + joined(item.choices) + "'\n";
      }
      if (item.values == Values::Files) text += "complete -c qex" + condition + " -F\n";
    }
  }
  return text;
}

struct Shell {
  const char* name;
  std::string (*script)();
};

constexpr Shell kShells[] = {{"bash", bash_script}, {"zsh", zsh_script}, {"fish", fish_script}};

Words shell_names() {
  Words names;
  for (const Shell& shell : kShells) names.emplace_back(shell.name);
  return names;
}

ExitStatus print_script(const std::string& name, const Options& options) {
  const auto is_named = [&](const Shell& shell) { return name == shell.name; };
  const std::string script = std::find_if(std::begin(kShells), std::end(kShells), is_named)->script();
  if (options.json) {
    Json document = NewDocument("completion", name);
    document["script"] = script;
    WriteJson(document);
  } else {
    WriteText(script);
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddCompletion(CLI::App& app) {
  auto shell = std::make_shared<std::string>();
  app.add_option("SHELL", *shell, "bash, zsh or fish")->check(CLI::IsMember(shell_names()))->required();
  return [shell](const Options& options) { return print_script(*shell, options); };
}

}  // namespace qex::tool
