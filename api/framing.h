// Shared by the transport framing of requests and replies.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

inline constexpr size_t kSocketHeadLength = 5;  // a 32-bit big-endian length and a flag byte

// HttpHeadLength returns the length of the HTTP head at the start of the `length` bytes at `data`, including
// the empty line that ends it; 0 when it has no end. Lines end with LF, or CR LF.
// Deliberate: a lone line feed that is the last byte of the data ends the head.
[[nodiscard]] size_t HttpHeadLength(const uint8_t* data, size_t length);

}  // namespace qex
