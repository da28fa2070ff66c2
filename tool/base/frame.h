// Frames: a length of four octets, then as many octets. What a child process and its parent exchange.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qex::tool {

// One frame from a descriptor; nothing at the end of input. False when writing fails.
[[nodiscard]] std::optional<std::string> ReadFrame(int fd);
[[nodiscard]] bool WriteFrame(int fd, std::string_view frame);

// A frame of several parts, each after its length. TakePart takes the first one off; nothing when there is
// none, or not the whole of it.
void AppendPart(std::string& frame, std::string_view part);
[[nodiscard]] std::optional<std::string_view> TakePart(std::string_view& frame);

}  // namespace qex::tool
