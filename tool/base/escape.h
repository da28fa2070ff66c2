// Escaping of text from a file or an authority. The sinks escape (output.h), so no other code needs to;
// foreign text that becomes part of a line is also quoted.
#pragma once

#include <string>
#include <string_view>

namespace qex::tool {

// Escaped returns `text` as well-formed UTF-8 without characters that steer or hide. It writes as \x1b or
// \u202e: control characters, the line and paragraph separators, changes of writing direction, invisible
// characters (zero-width, soft hyphen, tags, fillers, variation selectors, interlinear marks), and octets
// that are not UTF-8. It keeps backslashes, so a second pass changes nothing.
std::string Escaped(std::string_view text);

// EscapedLines is Escaped that keeps line feeds.
std::string EscapedLines(std::string_view text);

// IsUtf8 returns whether `text` is well-formed UTF-8.
[[nodiscard]] bool IsUtf8(std::string_view text);

// Folded returns `text` with every run of blanks, line breaks included, as one space, and cut after `most`
// characters.
std::string Folded(std::string_view text, size_t most = std::string::npos);

// Quoted returns foreign text folded, cut to a width that fits a line, and between quotation marks.
std::string Quoted(std::string_view text);

}  // namespace qex::tool
