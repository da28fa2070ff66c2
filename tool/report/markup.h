// Text for the report. Everything that comes from a message, a file name or a check goes through Markup: it
// is the only way of text onto the page, and only into the content of elements, never into a tag.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qex::tool {

// The longest text that the page shows, in characters: wider than any digest or number.
inline constexpr size_t kLongestText = 600;

// Markup returns foreign text as content of an element: escaped for people (escape.h), with runs of blanks
// folded, cut after `most` characters, and for HTML. Of stacked combining characters those after the fourth
// are written as escapes, since they would cover the lines above and below.
std::string Markup(std::string_view text, size_t most = kLongestText);

// Abridged cuts text that is wider than `most` columns and ends it with an ellipsis. East Asian characters
// take two columns. The result is not markup.
std::string Abridged(std::string_view text, size_t most);

// LabelOf returns the name of a member for people: "time_as_received" as "time as received".
std::string LabelOf(std::string name);

// WithCount returns "1 certificate", "2 certificates".
std::string WithCount(size_t count, const std::string& noun);

}  // namespace qex::tool
