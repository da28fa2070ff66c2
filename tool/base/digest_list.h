// Lists of digests: the lines that sha256sum and its relatives write and read.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tool/base/bytes.h"
#include "tool/base/hash.h"

namespace qex::tool {

struct DigestEntry {
  const HashAlgorithm* hash;  // a tagged line names its own
  Bytes digest;
  std::string name;
};

// DigestLine returns "HEX  NAME" with its line feed. A name that holds a backslash, line feed or carriage
// return is written with \\, \n and \r in their place, and the line then starts with a backslash.
std::string DigestLine(ByteView digest, std::string_view name);

// TaggedDigestLine is DigestLine in the form "SHA256 (NAME) = HEX".
std::string TaggedDigestLine(const HashAlgorithm& hash, ByteView digest, std::string_view name);

// ParseDigestLine reads a line of either form; `line` has lost its line feed, and may end in a carriage
// return. A line without a tag holds a digest by `hash`. Nothing for any other text: among it names that
// hold a NUL octet, which no file has.
[[nodiscard]] std::optional<DigestEntry> ParseDigestLine(std::string_view line, const HashAlgorithm& hash);

// IsDigestComment returns whether a line is a comment or blank.
[[nodiscard]] bool IsDigestComment(std::string_view line);

}  // namespace qex::tool
