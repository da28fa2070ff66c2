// The result codes of qex.h with their names and a text each, for programs that explain them.
#pragma once

#include <cstdint>
#include <span>

namespace qex {

struct ResultText {
  int32_t code;
  const char* name;  // as in qex.h
  const char* text;  // one line, lower case, without a full stop
};

// ResultTexts returns all codes, 0 first, downward.
std::span<const ResultText> ResultTexts();

// FindResultText returns the row of `code`, or null when no function returns it.
const ResultText* FindResultText(int32_t code);

}  // namespace qex
