// Result codes and ASN.1 errors as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qex::inspect {

struct CodeText {
  int32_t code;
  std::string name;  // QEX_E_SIGNATURE
  std::string text;
};

// FindCode returns the result code of a number or name; nothing when there is none.
[[nodiscard]] std::optional<CodeText> FindCode(int32_t code);
[[nodiscard]] std::optional<CodeText> FindCode(std::string_view name);

// Codes returns all result codes, 0 first.
std::vector<CodeText> Codes();

// CodeMeaning returns the text of a result code, or its number in words.
std::string CodeMeaning(int32_t code);

// Asn1ErrorMeaning returns the meaning of a last ASN.1 error; nothing for an unknown number.
[[nodiscard]] std::optional<std::string> Asn1ErrorMeaning(int32_t error);

// A run of ASN.1 errors that share a text: from `first` down to `last`, which mostly is the same.
struct Asn1ErrorText {
  int32_t first;
  int32_t last;
  std::string text;
};

// Asn1Errors returns all of them: those of the runtime, then a run for each type.
std::vector<Asn1ErrorText> Asn1Errors();

}  // namespace qex::inspect
