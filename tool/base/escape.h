// Text that a file or an authority supplied, made fit to be shown.
#pragma once

#include <string>
#include <string_view>

namespace qex::tool {

// Escaped returns `text` as well-formed UTF-8 without control characters: those of C0 and C1,
// DEL, the line and paragraph separators, the characters that turn the direction of writing, and
// octets that are no UTF-8 are written as \x1b or \u202e. A backslash stands for itself.
std::string Escaped(std::string_view text);

// EscapedLines is Escaped that keeps line feeds.
std::string EscapedLines(std::string_view text);

}  // namespace qex::tool
