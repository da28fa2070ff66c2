// Frames over descriptors.
#include "tool/base/frame.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tool/base/bytes.h"
#include "tool/base/system.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxFrame = size_t{512} << 20;

[[nodiscard]] bool read_all(int fd, void* data, size_t length) {
  auto* at = static_cast<char*>(data);
  while (length > 0) {
    const ptrdiff_t n = ReadSome(fd, at, length);
    if (n <= 0) return false;
    at += n;
    length -= size_t(n);
  }
  return true;
}

}  // namespace

std::optional<std::string> ReadFrame(int fd) {
  uint32_t length = 0;
  if (!read_all(fd, &length, sizeof length) || length > kMaxFrame) return std::nullopt;
  std::string frame(length, '\0');
  if (!read_all(fd, frame.data(), frame.size())) return std::nullopt;
  return frame;
}

bool WriteFrame(int fd, std::string_view frame) {
  if (frame.size() > kMaxFrame) return false;
  const auto length = uint32_t(frame.size());
  std::string whole(sizeof length, '\0');
  std::memcpy(whole.data(), &length, sizeof length);
  whole += frame;
  return WriteAll(fd, OctetsOf(whole));
}

void AppendPart(std::string& frame, std::string_view part) {
  const uint64_t length = part.size();
  char octets[sizeof length];
  std::memcpy(octets, &length, sizeof length);
  frame.append(octets, sizeof octets) += part;
}

std::optional<std::string_view> TakePart(std::string_view& frame) {
  uint64_t length = 0;
  if (frame.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, frame.data(), sizeof length);
  if (frame.size() - sizeof length < length) return std::nullopt;
  const std::string_view part = frame.substr(sizeof length, length);
  frame.remove_prefix(sizeof length + length);
  return part;
}

}  // namespace qex::tool
