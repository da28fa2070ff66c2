// Octets as hexadecimal text and as integers.
#include "tool/base/bytes.h"

namespace qex::tool {
namespace {

[[nodiscard]] int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string hex_text(ByteView octets, const char* digits) {
  std::string text;
  text.reserve(octets.size() * 2);
  for (const uint8_t octet : octets) {
    text += digits[octet >> 4];
    text += digits[octet & 15];
  }
  return text;
}

}  // namespace

std::string ToHex(ByteView octets) {
  return hex_text(octets, "0123456789abcdef");
}

std::optional<Bytes> FromHex(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  Bytes octets;
  octets.reserve(text.size() / 2);
  for (size_t i = 0; i < text.size(); i += 2) {
    if (text[i] == ':' && i > 0) ++i;
    if (text.size() - i < 2) return std::nullopt;
    const int high = digit_value(text[i]);
    const int low = digit_value(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    octets.push_back(uint8_t(high * 16 + low));
  }
  return octets;
}

Bytes MinimalInteger(ByteView contents) {
  if (contents.empty()) return {0};
  while (contents.size() > 1) {
    const bool nextIsNegative = (contents[1] & 0x80) != 0;
    if (contents[0] != (nextIsNegative ? 0xFF : 0x00)) break;
    contents = contents.subspan(1);
  }
  return {contents.begin(), contents.end()};
}

std::string IntegerText(ByteView contents) {
  Bytes magnitude = MinimalInteger(contents);
  const bool negative = (magnitude[0] & 0x80) != 0;
  if (negative) {
    // The two's complement; of 80 00 .. 00 it is the same octets, now without a sign.
    unsigned carry = 1;
    for (auto octet = magnitude.rbegin(); octet != magnitude.rend(); ++octet) {
      const unsigned sum = 0xFFu - *octet + carry;
      *octet = uint8_t(sum);
      carry = sum >> 8;
    }
  }
  if (magnitude.size() > 1 && magnitude[0] == 0) magnitude.erase(magnitude.begin());
  return (negative ? "-0x" : "0x") + hex_text(magnitude, "0123456789ABCDEF");
}

}  // namespace qex::tool
