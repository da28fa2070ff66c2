// The library's word.
#include "tool/judge/library_word.h"

#include <algorithm>

#include "api/qex.h"
#include "tool/base/escape.h"

namespace qex::tool {
namespace {

[[nodiscard]] bool is_good(const LibraryCheck& check) {
  // QEX_E_MISMATCH and QEX_E_DECODE are about the signing-certificate attribute: by then the signature has
  // verified.
  return check.code == QEX_OK || check.code == QEX_E_MISMATCH || check.code == QEX_E_DECODE ||
         check.ownCode == QEX_OK;
}

}  // namespace

Word LibraryWord(const Facts& facts) {
  if (!facts.library) return Word::Silent;
  Word word = Word::Silent;
  for (const LibraryCheck& check : facts.library->checks) {
    if (check.stop || check.code == QEX_E_NOCERT) continue;
    if (!is_good(check)) return Word::Bad;
    word = Word::Good;
  }
  return word;
}

const LibraryCheck* TellingCheck(const Facts& facts) {
  if (!facts.library || facts.library->checks.empty()) return nullptr;
  const auto& checks = facts.library->checks;
  const auto bad =
      std::ranges::find_if(checks, [](const LibraryCheck& check) { return check.code != QEX_OK; });
  return bad == checks.end() ? &checks.front() : &*bad;
}

int32_t CodeOf(const Facts& facts) {
  const LibraryCheck* check = TellingCheck(facts);
  return check == nullptr ? 0 : check->code;
}

Fault WithCode(Fault fault, const Facts& facts) {
  fault.code = CodeOf(facts);
  fault.asn1Error = TellingCheck(facts) == nullptr ? 0 : TellingCheck(facts)->asn1Error;
  return fault;
}

std::string LibrarySilence(const Facts& facts) {
  if (facts.libraryStop) return facts.libraryStop->text;
  for (const LibraryCheck& check : facts.library ? facts.library->checks : std::vector<LibraryCheck>{}) {
    if (check.stop) return check.stop->text;
  }
  return "";
}

std::string Shown(const std::string& text) {
  constexpr size_t kWidest = 400;
  return Folded(text, kWidest);
}

}  // namespace qex::tool
