// qex explain: the meaning of a number. It differs from place to place, so all meanings are shown; without a
// number, the tables themselves.
#include <algorithm>
#include <charconv>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/worker/inspect/code_texts.h"

namespace qex::tool {
namespace {

Json result_code_meaning(const inspect::CodeText& code) {
  const ExitStatus exit = ExitOfCode(code.code);
  const auto row = std::ranges::find(ExitTexts(), exit, &ExitText::status);  // each has one
  return {{"as", "result code"},
          {"name", code.name},
          {"meaning", code.text},
          {"exit_status", int(exit)},
          {"what_to_do", row->advice}};
}

Json exit_status_meaning(const ExitText& row) {
  return {{"as", "exit status"}, {"meaning", row.text}, {"what_to_do", row.advice}};
}

Json meanings_of(const std::string& word) {
  Json meanings = Json::array();
  int32_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size()) {
    if (const auto code = inspect::FindCode(word)) meanings.push_back(result_code_meaning(*code));
    return meanings;
  }
  if (const auto code = inspect::FindCode(number)) meanings.push_back(result_code_meaning(*code));
  if (const auto text = inspect::Asn1ErrorMeaning(number)) {
    meanings.push_back({{"as", "ASN.1 error"}, {"meaning", *text}});
  }
  for (const ExitText& row : ExitTexts()) {
    if (int(row.status) == number) meanings.push_back(exit_status_meaning(row));
  }
  return meanings;
}

[[nodiscard]] ExitStatus explain_one(const std::string& word, const Options& options) {
  const Json meanings = meanings_of(word);
  if (meanings.empty()) {
    throw UsageFailure(Quoted(word) + " is no result code, ASN.1 error or exit status",
                       "'qex explain' lists them");
  }
  if (options.json) {
    Json document = NewDocument("explain", word);
    document["meanings"] = meanings;
    WriteJson(document);
    return ExitStatus::Ok;
  }
  for (const Json& meaning : meanings) {
    Json fields = meaning;
    WriteText(word + " as " + meaning["as"].get<std::string>() + "\n");
    fields.erase("as");
    WriteFields(fields, 2);
  }
  return ExitStatus::Ok;
}

// The tables, each row with its number in front.
Json all_meanings() {
  Json codes = Json::array();
  for (const inspect::CodeText& code : inspect::Codes()) {
    Json row = {{"number", code.code}};
    row.update(result_code_meaning(code));
    codes.push_back(row);
  }
  Json exits = Json::array();
  for (const ExitText& text : ExitTexts()) {
    Json row = {{"number", int(text.status)}};
    row.update(exit_status_meaning(text));
    exits.push_back(row);
  }
  Json errors = Json::array();
  for (const inspect::Asn1ErrorText& error : inspect::Asn1Errors()) {
    Json row = {{"number", error.first}, {"as", "ASN.1 error"}, {"meaning", error.text}};
    if (error.last != error.first) row["to"] = error.last;
    errors.push_back(row);
  }
  return {{"result_codes", codes}, {"exit_statuses", exits}, {"asn1_errors", errors}};
}

std::string table_text(const std::string& title, const Json& rows) {
  std::string text = title + "\n";
  for (const Json& row : rows) {
    std::string number = row["number"].dump();
    if (row.contains("to")) number += " to " + row["to"].dump();
    text += "  " + number + std::string(number.size() < 14 ? 14 - number.size() : 1, ' ');
    if (row.contains("name")) text += row["name"].get<std::string>() + ": ";
    text += row["meaning"].get<std::string>();
    if (row.contains("exit_status")) text += "; exit status " + row["exit_status"].dump();
    text += "\n";
    if (row.contains("what_to_do")) {
      text += std::string(16, ' ') + row["what_to_do"].get<std::string>() + "\n";
    }
  }
  return text;
}

[[nodiscard]] ExitStatus explain_all(const Options& options) {
  const Json meanings = all_meanings();
  if (options.json) {
    Json document = NewDocument("explain", "");
    document.update(meanings);
    WriteJson(document);
  } else {
    WriteText(table_text("exit statuses", meanings["exit_statuses"]) + "\n" +
              table_text("result codes of the library", meanings["result_codes"]) + "\n" +
              table_text("ASN.1 errors", meanings["asn1_errors"]));
  }
  return ExitStatus::Ok;
}

}  // namespace

Run AddExplain(CLI::App& app) {
  auto word = std::make_shared<std::string>();
  const CLI::Option* code =
      app.add_option("CODE", *word,
                     "a number such as -8 or 5, or a name such as QEX_E_SIGNATURE; without it all are listed")
          ->type_name("CODE");
  return [word, code](const Options& options) {
    return code->count() == 0 ? explain_all(options) : explain_one(*word, options);
  };
}

}  // namespace qex::tool
