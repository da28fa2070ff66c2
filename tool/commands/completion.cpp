// qex completion: a script that makes a shell complete commands, options and their choices. It is derived
// from the parser, so it offers exactly what the parser accepts.
#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/grammar.h"

namespace qex::tool {
namespace {

// A command with all that it takes, the options of every command among it.
std::vector<Grammar> whole_grammars() {
  const Program program;
  const std::vector<Parameter> common = OptionsOf(program.app);
  std::vector<Grammar> all;
  for (const Program::Entry& entry : program.entries) {
    Grammar grammar = GrammarOf(entry);
    grammar.options.insert(grammar.options.end(), common.begin(), common.end());
    all.push_back(std::move(grammar));
  }
  return all;
}

Words option_names(const std::vector<Parameter>& parameters) {
  Words names;
  for (const Parameter& parameter : parameters) {
    names.insert(names.end(), parameter.names.begin(), parameter.names.end());
  }
  return names;
}

// The first argument that is a file, null when there is none.
const Parameter* file_argument(const Grammar& grammar) {
  for (const Parameter& parameter : grammar.arguments) {
    if (parameter.kind == ValueKind::Files) return &parameter;
  }
  return nullptr;
}

// What offers the values of an option or an argument.
std::string bash_values(const Parameter& parameter) {
  switch (parameter.kind) {
    case ValueKind::Choices: return "_qex_words '" + Joined(parameter.choices) + "'; ";
    case ValueKind::Files: return "_qex_files " + Joined(parameter.suffixes) + "; ";
    case ValueKind::Folders: return "_qex_folders; ";
    case ValueKind::Free:
    case ValueKind::None: break;
  }
  return "";
}

// The words that follow an option, or a command itself.
std::string bash_case(const std::string& pattern, const Parameter& parameter) {
  if (parameter.kind == ValueKind::None) return "";
  return "    '" + pattern + "') " + bash_values(parameter) + "return ;;\n";
}

std::string bash_script() {
  const Program program;
  const std::vector<Parameter> common = OptionsOf(program.app);
  std::string values;
  std::string options;
  std::string arguments;
  for (const Parameter& parameter : common) {
    for (const std::string& name : parameter.names) values += bash_case(" " + name, parameter);
  }
  for (const Grammar& grammar : whole_grammars()) {
    const std::string command = grammar.command->name;
    const std::string after = command + " ";
    for (const Parameter& parameter : grammar.options) {
      for (const std::string& name : parameter.names) values += bash_case(after + name, parameter);
    }
    options += "    '" + command + "') _qex_words '" + Joined(option_names(grammar.options)) + "' ;;\n";
    if (!grammar.arguments.empty() && grammar.arguments[0].kind == ValueKind::Choices) {
      arguments += bash_case(after + command, grammar.arguments[0]);
    }
    if (const Parameter* file = file_argument(grammar)) {
      arguments += "    '" + command + " '*) " + bash_values(*file) + ";;\n";
    }
  }
  return R"(# Completion of qex for bash 4 and later: source <(qex completion bash)
_qex_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }
# Files with one of the suffixes, and folders; all files where no file has one.
_qex_files() {
  local suffix
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(for suffix; do compgen -f -X "!*.$suffix" -- "$cur"; done)
  if [[ ${#COMPREPLY[@]} -gt 0 ]]; then
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "$cur")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  fi
}
_qex_folders() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$cur")
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
    )" + Joined(CommandNames(), "|") +
         R"() command=${COMP_WORDS[i]}; break ;;
    esac
  done
  case "$command $prev" in
)" + values +
         R"(  esac
  if [[ $cur == -* ]]; then
    case $command in
    '') _qex_words ')" +
         Joined(option_names(common)) + "' ;;\n" + options + R"(    esac
    return
  fi
  case "$command $prev" in
    ' '*) _qex_words ')" +
         Joined(CommandNames()) + "' ;;\n" + arguments + R"(  esac
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

std::string zsh_values(const Parameter& parameter) {
  const std::string label = ":" + zsh_text(parameter.label) + ":";
  switch (parameter.kind) {
    case ValueKind::Choices: return label + "(" + Joined(parameter.choices) + ")";
    case ValueKind::Files:
      if (parameter.suffixes.empty()) return label + "_files";
      return label + "_files -g \"*.(" + Joined(parameter.suffixes, "|") + ")\"";
    case ValueKind::Folders: return label + "_files -/";
    case ValueKind::Free: return label + " ";
    case ValueKind::None: break;
  }
  return "";
}

std::string zsh_arguments(const Grammar& grammar) {
  std::string text;
  for (const Parameter& parameter : grammar.options) {
    for (const std::string& name : parameter.names) {
      text += std::string(" \\\n        '") + (parameter.repeated ? "*" : "") + name + "[" +
              zsh_text(parameter.text) + "]" + zsh_values(parameter) + "'";
    }
  }
  for (const Parameter& parameter : grammar.arguments) {
    text += std::string(" \\\n        '") + (parameter.repeated ? "*" : "") + zsh_values(parameter) + "'";
  }
  return text;
}

std::string zsh_script() {
  std::string commands;
  std::string cases;
  for (const Grammar& grammar : whole_grammars()) {
    const std::string command = grammar.command->name;
    commands += "    '" + command + ":" + zsh_text(grammar.command->summary) + "'\n";
    cases += "      " + command + ") _arguments -s" + zsh_arguments(grammar) + " ;;\n";
  }
  const Program program;
  const Grammar common{nullptr, OptionsOf(program.app), {}};
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

std::string fish_files(const Parameter& parameter) {
  return " -k -a '(__qex_files " + Joined(parameter.suffixes) + ")'";
}

std::string fish_values(const Parameter& parameter) {
  switch (parameter.kind) {
    case ValueKind::Choices: return " -x -a '" + Joined(parameter.choices) + "'";
    case ValueKind::Files: return parameter.suffixes.empty() ? " -r -F" : " -x" + fish_files(parameter);
    case ValueKind::Folders: return " -x -a '(__fish_complete_directories)'";
    case ValueKind::Free: return " -x";
    case ValueKind::None: break;
  }
  return "";
}

std::string fish_option(const std::string& condition, const Parameter& parameter) {
  std::string line = "complete -c qex" + condition;
  for (const std::string& name : parameter.names) {
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return line + fish_values(parameter) + " -d " + fish_text(parameter.text) + "\n";
}

std::string fish_script() {
  const Program program;
  std::string text =
      "# Completion of qex for fish: qex completion fish > ~/.config/fish/completions/qex.fish\n"
      "# Files with one of the suffixes, and folders; all files where no file has one.\n"
      "function __qex_files\n"
      "    set -l files (complete -C\"__fish_command_without_completions \"(commandline -ct))\n"
      "    set -l meant (string match -r -- '^.*\\.(?:'(string join '|' $argv)')$' $files)\n"
      "    if set -q meant[1]\n"
      "        set files $meant (string match -r -- '^.*/$' $files)\n"
      "    end\n"
      "    printf '%s\\n' $files\n"
      "end\n"
      "complete -c qex -f\n";
  for (const Parameter& parameter : OptionsOf(program.app)) text += fish_option("", parameter);
  for (const Command& command : Commands()) {
    text += std::string("complete -c qex -n __fish_use_subcommand -a ") + command.name + " -d " +
            fish_text(command.summary) + "\n";
  }
  for (const Program::Entry& entry : program.entries) {
    const Grammar grammar = GrammarOf(entry);
    const std::string condition =
        std::string(" -n '__fish_seen_subcommand_from ") + entry.command->name + "'";
    for (const Parameter& parameter : grammar.options) text += fish_option(condition, parameter);
    for (const Parameter& parameter : grammar.arguments) {
      if (parameter.kind == ValueKind::Choices) {
        text += "complete -c qex" + condition + " -a '" + Joined(parameter.choices) + "'\n";
      } else if (parameter.kind == ValueKind::Files) {
        text += "complete -c qex" + condition;
        text += (parameter.suffixes.empty() ? " -F" : fish_files(parameter)) + "\n";
      }
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

[[nodiscard]] ExitStatus print_script(const std::string& name, const Options& options) {
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
