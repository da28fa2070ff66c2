// Text that a file or an authority supplied, made fit to be shown. The sinks escape (output.h), so nobody
// else needs to; foreign text that is put into a line is quoted besides.
#pragma once

#include <string>
#include <string_view>

namespace qex::tool {

// Escaped returns `text` as well-formed UTF-8 without characters that steer or hide: control characters, the
// line and paragraph separators, those that turn the direction of writing, invisible ones (zero-width, soft
// hyphen, tags, fillers, variation selectors, interlinear marks), and octets that are no UTF-8 are written as
// \x1b or \u202e. A backslash stays as it is, so that a second pass changes nothing.
std::string Escaped(std::string_view text);

// EscapedLines is Escaped that keeps line feeds.
std::string EscapedLines(std::string_view text);

// IsUtf8 returns whether `text` is well-formed UTF-8.
bool IsUtf8(std::string_view text);

// Folded returns `text` with every run of blanks, line breaks included, as one space, and cut after `most`
// characters.
std::string Folded(std::string_view text, size_t most = std::string::npos);

// Quoted returns foreign text folded, cut to a width that fits a line, and between quotation marks.
std::string Quoted(std::string_view text);

}  // namespace qex::tool
