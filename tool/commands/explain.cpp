// qex explain CODE: numbers mean different things in different places, so all meanings are shown.
#include <charconv>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/output.h"
#include "tool/commands/command.h"
#include "tool/worker/inspect/code_texts.h"

namespace qex::tool {
namespace {

Json result_code_meaning(const inspect::CodeText& code) {
  const ExitStatus exit = ExitOfCode(code.code);
  const ExitText* row = nullptr;
  for (const ExitText& text : ExitTexts()) {
    if (text.status == exit) row = &text;
  }
  return {{"as", "result code"},
          {"name", code.name},
          {"meaning", code.text},
          {"exit_status", static_cast<int>(exit)},
          {"what_to_do", row->advice}};
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
    if (static_cast<int>(row.status) == number) {
      meanings.push_back({{"as", "exit status"}, {"meaning", row.text}, {"what_to_do", row.advice}});
    }
  }
  return meanings;
}

}  // namespace

Run AddExplain(CLI::App& app) {
  auto word = std::make_shared<std::string>();
  app.add_option("CODE", *word, "a number such as -8 or 5, or a name such as QEX_E_SIGNATURE");
  // A negative number looks like an option, and is left over.
  app.allow_extras();
  return [&app, word](const Options& options) {
    std::vector<std::string> words = app.remaining();
    std::erase(words, "--");
    if (!word->empty()) words.push_back(*word);
    if (words.size() != 1) throw UsageFailure("explain takes one code", "for example 'qex explain -8'");
    const Json meanings = meanings_of(words[0]);
    if (meanings.empty()) {
      throw UsageFailure(Escaped(words[0]) + " is no result code, ASN.1 error or exit status",
                         "result codes run from 0 to -17, exit statuses from 0 to 8, and 70");
    }
    if (options.json) {
      Json document = NewDocument("explain", words[0]);
      document["meanings"] = meanings;
      WriteJson(document);
      return ExitStatus::Ok;
    }
    for (const Json& meaning : meanings) {
      Json fields = meaning;
      WriteText(words[0] + " as " + meaning["as"].get<std::string>() + "\n");
      fields.erase("as");
      WriteFields(fields, 2);
    }
    return ExitStatus::Ok;
  };
}

}  // namespace qex::tool
