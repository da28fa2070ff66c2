// Suggestions for misspelt commands and options.
#include "tool/commands/usage.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tool/base/escape.h"
#include "tool/commands/program.h"

namespace qex::tool {
namespace {

// The number of letters that were left out, added, changed or swapped with their neighbour.
size_t edit_distance(std::string_view one, std::string_view other) {
  std::vector<std::vector<size_t>> distance(one.size() + 1, std::vector<size_t>(other.size() + 1));
  for (size_t i = 0; i <= one.size(); ++i) {
    for (size_t j = 0; j <= other.size(); ++j) {
      if (i == 0 || j == 0) {
        distance[i][j] = i + j;
        continue;
      }
      const size_t changed = distance[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
      distance[i][j] = std::min({changed, distance[i - 1][j] + 1, distance[i][j - 1] + 1});
      if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
        distance[i][j] = std::min(distance[i][j], distance[i - 2][j - 2] + 1);
      }
    }
  }
  return distance[one.size()][other.size()];
}

// The nearest of the names; empty when none is near. A beginning is as near as one slip.
std::string nearest(std::string_view word, const std::vector<std::string>& names) {
  constexpr size_t kLongest = 40;  // no name is longer, but the typed word may be
  if (word.size() > kLongest) return "";
  std::string best;
  size_t least = 2 + word.size() / 5;
  for (const std::string& name : names) {
    const bool begins = word.size() > 1 && name.starts_with(word);
    const size_t distance = begins ? 1 : edit_distance(word, name);
    if (distance >= least || distance >= name.size()) continue;
    least = distance;
    best = name;
  }
  return best;
}

std::vector<std::string> long_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    const std::vector<std::string>& own = option->get_lnames();
    names.insert(names.end(), own.begin(), own.end());
  }
  return names;
}

[[nodiscard]] bool has_option(const CLI::App& app, const std::string& option) {
  return app.get_option_no_throw(option) != nullptr;
}

// The commands that take an option, as a list for people.
std::string takers_of(const std::string& option) {
  const Program all;
  std::string takers;
  for (const Program::Entry& entry : all.entries) {
    if (has_option(*entry.app, option)) takers += (takers.empty() ? "" : ", ") + entry.app->get_name();
  }
  return takers;
}

Failure unknown_option(const std::string& word, const Program& program) {
  const std::string option = word.substr(0, word.find('='));
  const Program::Entry* chosen = program.Chosen();
  const std::string command = chosen == nullptr ? "" : chosen->app->get_name();
  if (chosen != nullptr && has_option(*chosen->app, option)) {
    return UsageFailure("option " + option + " stands before its command",
                        "write it after '" + command + "'");
  }
  std::vector<std::string> names = long_names(program.app);
  if (chosen != nullptr) {
    const std::vector<std::string> own = long_names(*chosen->app);
    names.insert(names.begin(), own.begin(), own.end());
  }
  const std::string list =
      chosen == nullptr ? "'qex help' lists the commands" : "'qex help " + command + "' lists what it takes";
  std::string hint = list;
  const std::string_view letters =
      std::string_view(option).substr(std::min(option.find_first_not_of('-'), option.size()));
  if (const std::string takers = takers_of(option); !takers.empty()) {
    hint = "it is an option of: " + takers;
  } else if (const std::string meant = nearest(letters, names); !meant.empty()) {
    hint = "did you mean '--" + meant + "'? " + list;
  }
  return UsageFailure("there is no option " + Quoted(option) + (command.empty() ? "" : " of " + command),
                      hint);
}

// The parser's message, as part of a line: a sentence begins in lower case; names of arguments, which are all
// capitals, stay.
std::string parser_text(const CLI::ParseError& error) {
  std::string text = error.what();
  const auto is_capital = [&text](size_t at) {
    return at < text.size() && text[at] >= 'A' && text[at] <= 'Z';
  };
  if (is_capital(0) && text.size() > 1 && text[1] != ' ' && !is_capital(1)) {
    text[0] = char(text[0] - 'A' + 'a');
  }
  return text;
}

}  // namespace

Failure UnknownCommand(const std::string& name) {
  std::vector<std::string> names;
  for (const Command& command : Commands()) names.emplace_back(command.name);
  const std::string meant = nearest(name, names);
  return UsageFailure(
      "there is no command " + Quoted(name),
      (meant.empty() ? "" : "did you mean '" + meant + "'? ") + "'qex help' lists the commands");
}

Failure UnreadCommandLine(const CLI::ParseError& error, const Program& program) {
  std::vector<std::string> rest = program.app.remaining(/*recurse=*/true);
  const auto is_option = [](const std::string& word) {
    return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
  };
  const auto option = std::find_if(rest.begin(), rest.end(), is_option);
  const Program::Entry* chosen = program.Chosen();
  if (chosen == nullptr) {
    const auto word = std::find_if_not(rest.begin(), rest.end(), is_option);
    if (word != rest.end()) return UnknownCommand(*word);
    if (option != rest.end()) return unknown_option(*option, program);
    return UsageFailure("no command is named", "'qex help' lists the commands");
  }
  const std::string hint = "'qex help " + chosen->app->get_name() + "' lists what it takes";
  // Name a misspelt option before the option that is missing because of it.
  if (option != rest.end()) return unknown_option(*option, program);
  if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr || rest.empty()) {
    return UsageFailure(parser_text(error), hint);
  }
  return UsageFailure("argument " + Quoted(rest.front()) + " is one too many", hint);
}

}  // namespace qex::tool
