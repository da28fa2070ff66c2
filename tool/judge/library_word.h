// The result of the library's checks of a signature. A signature that it cannot try has no result; the strict
// reader then decides alone.
#pragma once

#include <string>

#include "tool/judge/report.h"
#include "tool/message/facts.h"

namespace qex::tool {

enum class Word { Good, Bad, Silent };
Word LibraryWord(const Facts& facts);

// LibrarySilence describes in words what the library could not try; empty when it could try all.
std::string LibrarySilence(const Facts& facts);

// TellingCheck returns the check of the library that says no, else the first; null when none was made.
const LibraryCheck* TellingCheck(const Facts& facts);

// CodeOf returns the result code of that check, 0 when there is none. WithCode enters it into a fault, with
// the last ASN.1 error.
[[nodiscard]] int32_t CodeOf(const Facts& facts);
Fault WithCode(Fault fault, const Facts& facts);

// Shown folds and cuts a reader's text, which may contain names from certificates.
std::string Shown(const std::string& text);

}  // namespace qex::tool
