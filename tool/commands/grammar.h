// The grammar of the command line as data: what completion offers, what help lists and what the manual pages
// are made from. It is read off the parser, so none of them can differ from what the parser accepts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/commands/program.h"

namespace qex::tool {

using Words = std::vector<std::string>;

// What completion offers for a value.
enum class ValueKind { None, Choices, Files, Folders, Free };

// An option, or an argument without dashes.
struct Parameter {
  Words names;        // -o, --hash; of an argument none
  std::string value;  // how help names the value; of an option without one empty
  std::string label;  // the same without the choices
  std::string text;
  std::string group;  // the heading under which help lists it
  ValueKind kind;
  Words choices;   // words that are offered; more may be accepted
  Words suffixes;  // of the files that are meant, where they have a usual one
  bool repeated;
  bool required;
};

// The options of `app`, or its arguments, in their order.
std::vector<Parameter> OptionsOf(const CLI::App& app);
std::vector<Parameter> ArgumentsOf(const CLI::App& app);

// A command with its own options and its arguments.
struct Grammar {
  const Command* command;
  std::vector<Parameter> options;
  std::vector<Parameter> arguments;
};

// GrammarOf returns the grammar of one command of a fresh program; its own --help is left out, as that is an
// option of every command.
Grammar GrammarOf(const Program::Entry& entry);

// CommandNames returns the names of all commands.
Words CommandNames();

// Joined returns the words as one text.
std::string Joined(const Words& words, std::string_view between = " ");

}  // namespace qex::tool
