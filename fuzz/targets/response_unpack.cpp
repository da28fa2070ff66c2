// QEX_UnpackTSR, compared with an independent model of the framing rules. The first octet is the transport
// mode.
#include <cstring>
#include <optional>
#include <string>

#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

struct Outcome {
  int32_t code;
  uint32_t length;
  uint32_t status;
  size_t head;  // octets removed
};

[[nodiscard]] bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

enum class Sign { None, Accepted };

// The number at the start of `s` as 32 bits, saturated.
[[nodiscard]] int32_t number(const std::string& s, Sign sign) {
  const bool withSign = sign == Sign::Accepted;
  size_t i = 0;
  while (i < s.size() && is_blank(s[i])) ++i;
  const bool negative = withSign && i < s.size() && s[i] == '-';
  if (withSign && i < s.size() && (s[i] == '-' || s[i] == '+')) ++i;
  int64_t n = 0;
  for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
    n = std::min<int64_t>(n * 10 + (s[i] - '0'), 1LL << 40);
  }
  return int32_t(negative ? std::max<int64_t>(-n, INT32_MIN) : std::min<int64_t>(n, INT32_MAX));
}

Outcome unpack_socket(View in) {
  const auto length = uint32_t(in.size());
  if (in.size() < 5) return {QEX_E_ARG, length, 0, 0};
  const uint64_t announced =
      4 + (uint64_t{in[0]} << 24 | uint64_t{in[1]} << 16 | uint64_t{in[2]} << 8 | in[3]);
  if (announced != in.size()) {
    return {QEX_E_LENGTH, uint32_t(std::min<uint64_t>(announced, UINT32_MAX)), in[4], 0};
  }
  if (in[4] != 5) return {QEX_E_FRAMING, length, in[4], 0};
  return {QEX_OK, length - 5, 5, 5};
}

// Octets up to and including the line feed that ends the head; 0 when nothing does.
size_t head_length(View in) {
  size_t i = 0;
  for (;;) {
    while (i < in.size() && in[i] != '\n') ++i;
    if (i == in.size()) return 0;
    if (i + 1 < in.size()) {
      ++i;
      if (in[i] == '\r' && i + 1 < in.size()) ++i;
    }
    if (in[i] == '\n') return i + 1;
  }
}

Outcome unpack_http(View in) {
  const auto length = uint32_t(in.size());
  if (in.size() < 6 || std::memcmp(in.data(), "HTTP/", 5) != 0) return {QEX_E_ARG, length, 0, 0};
  const size_t h = head_length(in);
  if (h == 0) return {QEX_E_ARG, length, 0, 0};
  std::string copy;
  for (const uint8_t octet : in.first(h)) {
    char c = char(octet);
    if (c >= 'A' && c <= 'Z') c = char(c + 32);
    if (c == '\r' || c == '\n') c = '\0';
    copy += c;
  }
  const auto line_at = [&](size_t at) { return std::string(copy.c_str() + at); };
  const std::string first = line_at(5);
  size_t i = 0;
  while (i < first.size() && !is_blank(first[i])) ++i;
  while (i < first.size() && is_blank(first[i])) ++i;
  if (i == first.size()) return {QEX_E_ARG, length, 0, 0};
  const auto status = uint32_t(number(first.substr(i), Sign::None));
  if (status != 200) return {QEX_E_FRAMING, length, status, 0};

  bool good = false;
  int64_t contentLength = -1;
  size_t at = 5 + first.size();
  for (;;) {
    while (at < copy.size() && copy[at] == '\0') ++at;
    if (at == copy.size()) break;
    const std::string line = line_at(at);
    at += line.size();
    if (line.starts_with("content-type:")) {
      size_t value = 13;
      while (value < line.size() && is_blank(line[value])) ++value;
      good = good || line.substr(value) == "application/timestamp-reply";
    } else if (line.starts_with("content-length:")) {
      contentLength = number(line.substr(15), Sign::Accepted);
    }
  }
  if (!good || contentLength == 0) return {QEX_E_FRAMING, length, 200, 0};
  if (contentLength > 0 && size_t(contentLength) != in.size() - h) {
    return {QEX_E_LENGTH, uint32_t(std::min<uint64_t>(uint64_t(contentLength) + h, UINT32_MAX)), 200, 0};
  }
  return {QEX_OK, uint32_t(in.size() - h), 200, h};
}

Outcome expected(View in, int32_t transport) {
  switch (transport) {
    case QEX_TRANSPORT_RAW: return {QEX_OK, uint32_t(in.size()), 0, 0};
    case QEX_TRANSPORT_SOCKET: return unpack_socket(in);
    case QEX_TRANSPORT_HTTP: return unpack_http(in);
    default:
      return {transport == QEX_TRANSPORT_RESERVED ? QEX_E_UNSUPPORTED : QEX_E_ARG, uint32_t(in.size()),
              0xABCD, 0};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto transport = int32_t(int8_t(data[0]));
  const View in(data + 1, size - 1);
  const Block buffer(in.size());
  std::copy(in.begin(), in.end(), buffer.data());
  uint32_t length = uint32_t(in.size());
  uint32_t status = 0xABCD;
  ResetProcess();
  const int32_t code = QEX_UnpackTSR(buffer.data(), &length, &status, transport);
  CheckCode(code, {QEX_OK, QEX_E_ARG, QEX_E_LENGTH, QEX_E_FRAMING, QEX_E_UNSUPPORTED}, "QEX_UnpackTSR");

  const Outcome e = expected(in, transport);
  FUZZ_CHECK(code == e.code, code);
  FUZZ_CHECK(length == e.length, length);
  FUZZ_CHECK(status == e.status, status);
  // The message is moved to the start; without success nothing has moved.
  FUZZ_CHECK(std::equal(in.begin() + std::ptrdiff_t(e.head), in.end(), buffer.data()), e.head);
  return 0;
}

}  // namespace qex::fuzz
