// Result codes come from the library's own table. Of ASN.1 errors those below -99 belong to a
// type each, by the table of code runs; the others are places of the runtime.
#include "tool/worker/inspect/code_texts.h"

#include "api/result_texts.h"
#include "asn1/codes.h"

namespace qex::inspect {
namespace {

struct RuntimeError {
  int32_t error;
  const char* text;
};

// clang-format off
constexpr RuntimeError kRuntimeErrors[] = {
    {0,   "no error: the last decoding or encoding succeeded"},
    {100, "the token is well formed but lacks a part that its verification needs"},
    {-1,  "a component of a constructed BIT STRING that is not the last has unused bits"},
    {-2,  "the data end inside a constructed BIT STRING"},
    {-3,  "a component of a constructed BIT STRING is none itself"},
    {-4,  "a BIT STRING has no octets or ends early"},
    {-5,  "a BOOLEAN is not one octet long"},
    {-6,  "the data end inside a BOOLEAN"},
    {-7,  "an INTEGER is longer than 32 bits"},
    {-8,  "the data end inside an INTEGER"},
    {-9,  "an unsigned INTEGER is longer than 32 bits"},
    {-10, "an unsigned INTEGER is negative"},
    {-11, "an unsigned INTEGER is longer than 32 bits"},
    {-12, "the data end inside an unsigned INTEGER"},
    {-13, "the data end where a length should stand"},
    {-14, "a length takes more than four octets"},
    {-15, "the data end inside a length"},
    {-16, "an end-of-contents marker is expected and missing"},
    {-17, "a NULL has content"},
    {-18, "the data end inside a constructed OCTET STRING"},
    {-19, "a component of a constructed OCTET STRING is none itself"},
    {-20, "the data end inside an OCTET STRING or character string"},
    {-21, "the data end inside an OBJECT IDENTIFIER"},
    {-26, "the data end where a tag should stand"},
    {-27, "memory ran out"},
    {-28, "an end-of-contents marker is broken"},
    {-29, "open types are nested too deep"},
    {-40, "a primitive value has another tag than its type"},
    {-44, "a value belongs to an identifier that the library has no type for"},
};
// clang-format on

CodeText text_of(const ResultText& row) {
  return {row.code, row.name, row.text};
}

}  // namespace

std::optional<CodeText> FindCode(int32_t code) {
  const ResultText* row = FindResultText(code);
  if (row == nullptr) return std::nullopt;
  return text_of(*row);
}

std::optional<CodeText> FindCode(std::string_view name) {
  for (const ResultText& row : ResultTexts()) {
    if (name == row.name) return text_of(row);
  }
  return std::nullopt;
}

std::vector<CodeText> Codes() {
  std::vector<CodeText> codes;
  for (const ResultText& row : ResultTexts()) codes.push_back(text_of(row));
  return codes;
}

std::string CodeMeaning(int32_t code) {
  const ResultText* row = FindResultText(code);
  return row == nullptr ? "unknown result code " + std::to_string(code) : row->text;
}

std::optional<std::string> Asn1ErrorMeaning(int32_t error) {
  for (const RuntimeError& row : kRuntimeErrors) {
    if (row.error == error) return row.text;
  }
  for (const CodeRun& run : kCodeRuns) {
    if (error <= run.first && error > run.first - run.count()) {
      return "the decoding failed at place " + std::to_string(run.first - error + 1) + " of " +
             std::to_string(run.count()) + " in the type " + std::string(run.type);
    }
  }
  return std::nullopt;
}

std::vector<Asn1ErrorText> Asn1Errors() {
  std::vector<Asn1ErrorText> errors;
  for (const RuntimeError& row : kRuntimeErrors) errors.push_back({row.error, row.error, row.text});
  for (const CodeRun& run : kCodeRuns) {
    errors.push_back({run.first, run.first - run.count() + 1,
                      "the decoding failed in the type " + std::string(run.type) + ", at one of its places"});
  }
  return errors;
}

}  // namespace qex::inspect
