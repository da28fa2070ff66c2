// qex help: the commands; of one, its arguments and options, the options of all, two examples and its exit
// statuses. All of it is read off the parser and the tables, so that none can be forgotten.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/grammar.h"
#include "tool/commands/usage.h"

namespace qex::tool {
namespace {

constexpr size_t kWidth = 80;   // of a terminal
constexpr size_t kColumn = 28;  // where explanations begin

// A name and its description, broken at blanks and indented.
std::string row(const std::string& name, std::string_view text) {
  std::string lines = "  " + name;
  size_t at = lines.size();
  if (at + 2 > kColumn) {
    lines += '\n';
    at = 0;
  }
  lines.append(kColumn - at, ' ');
  at = kColumn;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    if (at > kColumn && at + 1 + word.size() > kWidth) {
      lines += '\n' + std::string(kColumn, ' ');
      at = kColumn;
    } else if (at > kColumn) {
      lines += ' ';
      ++at;
    }
    lines += word;
    at += word.size();
  }
  return lines + '\n';
}

[[nodiscard]] bool is_repeated(const CLI::Option& option) {
  return option.get_items_expected_max() > 1;
}

// --tsa URL, or FILE for an argument without dashes.
std::string name_of(const CLI::Option& option) {
  if (option.get_positional()) return option.get_name(true, false) + (is_repeated(option) ? "..." : "");
  std::string name;
  for (const std::string& letter : option.get_snames()) name += "-" + letter + ", ";
  for (const std::string& word : option.get_lnames()) name += "--" + word + ", ";
  name.resize(name.size() - 2);
  if (option.get_items_expected_max() == 0) return name;
  std::string choices;
  for (const std::string& choice : ValueChoices(option)) choices += (choices.empty() ? "" : "|") + choice;
  return name + " " + (choices.empty() ? ValueLabel(option) : choices);
}

// The rows of the options that `wanted` selects. Every command has its own --help, listed with the options of
// every command.
template <class Wanted>
std::string rows_of(const CLI::App& app, Wanted wanted) {
  std::string rows;
  for (const CLI::Option* option : app.get_options()) {
    const bool help = option == app.get_help_ptr() && app.get_parent() != nullptr;
    if (!help && wanted(*option)) rows += row(name_of(*option), option->get_description());
  }
  return rows;
}

std::string section(std::string title, const std::string& rows) {
  if (rows.empty()) return "";
  if (title[0] >= 'A' && title[0] <= 'Z') title[0] = char(title[0] - 'A' + 'a');
  return "\n" + title + ":\n" + rows;
}

std::string argument_rows(const CLI::App& app) {
  return rows_of(app, [](const CLI::Option& option) { return option.get_positional(); });
}

// The options, a section for each group.
std::string option_sections(const CLI::App& app, const std::string& title) {
  std::string text;
  for (const std::string& group : app.get_groups()) {
    const std::string rows = rows_of(app, [&group](const CLI::Option& option) {
      return !option.get_positional() && option.get_group() == group;
    });
    text += section(group == "Options" ? title : group, rows);
  }
  return text;
}

std::string usage_line(const CLI::App& app) {
  std::string line = "usage: qex " + app.get_name();
  if (!option_sections(app, "options").empty()) line += " [OPTION...]";
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) continue;
    line += option->get_required() ? " " + name_of(*option) : " [" + name_of(*option) + "]";
  }
  return line + '\n';
}

std::string exit_rows(const Command& command) {
  std::string rows;
  for (const ExitText& text : ExitTexts()) {
    if (std::find(command.exits.begin(), command.exits.end(), text.status) == command.exits.end()) continue;
    rows += row(std::to_string(int(text.status)), text.text);
  }
  return rows;
}

std::string command_help(const Program& program, const Program::Entry& entry) {
  const Command& command = *entry.command;
  const std::string title = std::string("qex ") + command.name + ": " + command.summary + "\n\n";
  if (!entry.app->get_footer().empty()) return title + entry.app->get_footer() + "\n";  // it is left out
  std::string examples;
  for (const Example& example : command.examples) {
    examples += std::string("  ") + example.line + "\n      " + example.text + "\n";
  }
  return title + usage_line(*entry.app) + section("arguments", argument_rows(*entry.app)) +
         option_sections(*entry.app, "options") + option_sections(program.app, "options of every command") +
         section("examples", examples) + section("exit status", exit_rows(command));
}

std::string program_help(const Program& program) {
  std::string commands;
  for (const auto& [command, app, run] : program.entries) {
    commands += row(command->name, app->get_footer().empty() ? command->summary : app->get_footer());
  }
  return "qex: time-stamping by RFC 3161\n\nusage: qex COMMAND [OPTION...] [ARGUMENT...]\n" +
         section("commands", commands) + option_sections(program.app, "options of every command") +
         "\n'qex help COMMAND' explains one of them, 'qex explain' the exit statuses.\n";
}

// The row of a command's name, null for the empty name.
const Program::Entry* entry_of(const Program& program, const std::string& command) {
  if (command.empty()) return nullptr;
  for (const Program::Entry& entry : program.entries) {
    if (command == entry.command->name) return &entry;
  }
  throw UnknownCommand(command);
}

Json parameter_rows(const std::vector<Parameter>& parameters) {
  Json rows = Json::array();
  for (const Parameter& parameter : parameters) {
    rows.push_back({{"names", parameter.names},
                    {"value", parameter.value.empty() ? Json() : Json(parameter.value)},
                    {"text", parameter.text},
                    {"group", parameter.group},
                    {"repeated", parameter.repeated},
                    {"required", parameter.required}});
  }
  return rows;
}

// The help in parts, for programs.
void add_parts(Json& document, const Program& program, const Program::Entry* entry) {
  document["common_options"] = parameter_rows(OptionsOf(program.app));
  if (entry == nullptr) {
    for (const Command& command : Commands()) {
      document["commands"].push_back({{"name", command.name}, {"summary", command.summary}});
    }
    return;
  }
  const Grammar grammar = GrammarOf(*entry);
  document["summary"] = entry->command->summary;
  document["arguments"] = parameter_rows(grammar.arguments);
  document["options"] = parameter_rows(grammar.options);
  for (const Example& example : entry->command->examples) {
    document["examples"].push_back({{"line", example.line}, {"text", example.text}});
  }
  for (const ExitText& text : ExitTexts()) {
    if (std::ranges::find(entry->command->exits, text.status) == entry->command->exits.end()) continue;
    document["exit_statuses"].push_back({{"number", int(text.status)}, {"meaning", text.text}});
  }
}

}  // namespace

ExitStatus PrintHelp(const std::string& command, const Options& options) {
  // A parser that has read a command line holds its values; a fresh one shows the possible words.
  const Program fresh;
  const Program::Entry* entry = entry_of(fresh, command);
  const std::string text = entry == nullptr ? program_help(fresh) : command_help(fresh, *entry);
  if (options.json) {
    Json document = NewDocument("help", command);
    document["text"] = text;
    add_parts(document, fresh, entry);
    WriteJson(document);
  } else {
    WriteText(text);
  }
  return ExitStatus::Ok;
}

Run AddHelp(CLI::App& app) {
  auto command = std::make_shared<std::string>();
  app.add_option("COMMAND", *command, "the command to explain; without it they are listed")
      ->type_name("COMMAND");
  return [command](const Options& options) { return PrintHelp(*command, options); };
}

}  // namespace qex::tool
