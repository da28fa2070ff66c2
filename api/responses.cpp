// The response exports: the framing of a reply, its status and its token (RFC 3161, 2.4.2).
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "api/frame.h"
#include "api/framing.h"
#include "api/qex.h"
#include "asn1/cms.h"
#include "asn1/timestamp.h"
#include "crypto/octets.h"
#include "ground/scratch_octets.h"

namespace qex {
namespace {

constexpr uint8_t kReplyFlag = 5;
constexpr uint32_t kHttpOk = 200;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

uint32_t saturated(uint64_t n) {
  return uint32_t(std::min<uint64_t>(n, UINT32_MAX));
}

[[nodiscard]] int32_t unpack_socket(uint8_t* buffer, uint32_t* length, uint32_t* transportStatus) {
  if (*length < kSocketHeadLength) return QEX_E_ARG;
  *transportStatus = buffer[4];
  const uint64_t announced = uint64_t{LoadBE32(buffer)} + 4;  // it counts from the flag byte on
  if (*length != announced) {
    *length = saturated(announced);
    return QEX_E_LENGTH;
  }
  if (buffer[4] != kReplyFlag) return QEX_E_FRAMING;
  *length -= uint32_t(kSocketHeadLength);
  std::memmove(buffer, buffer + kSocketHeadLength, *length);
  return QEX_OK;
}

// --- HTTP ----------------------------------------------------------------------

// A reply head, lower-cased, every CR and LF replaced by a zero: a row of zero-terminated lines.
class HttpLines {
 public:
  HttpLines(const char* text, size_t length) : rest_(text, length) {}

  // line returns the current line; the last one may end with the head.
  std::string_view line() const { return rest_.substr(0, rest_.find('\0')); }

  // next moves to the next line, over empty ones; false at the end of the head.
  [[nodiscard]] bool next() {
    rest_.remove_prefix(line().size());
    rest_.remove_prefix(std::min(rest_.find_first_not_of('\0'), rest_.size()));
    return !rest_.empty();
  }

  void skip(size_t n) { rest_.remove_prefix(n); }

 private:
  std::string_view rest_;
};

std::string_view without_blanks_in_front(std::string_view s) {
  s.remove_prefix(std::min(s.find_first_not_of(kBlanks), s.size()));
  return s;
}

// signed_number reads the number at the start of `s`, which may have a minus sign; no digits are 0. A number
// outside 32 bits becomes the nearest value inside.
[[nodiscard]] int32_t signed_number(std::string_view s) {
  int32_t value = 0;
  const auto read = std::from_chars(s.data(), s.data() + s.size(), value);
  if (read.ec == std::errc::result_out_of_range) return s.starts_with('-') ? INT32_MIN : INT32_MAX;
  return value;
}

[[nodiscard]] int32_t unsigned_number(std::string_view s) {
  return s.starts_with('-') ? 0 : signed_number(s);
}

[[nodiscard]] int32_t content_length(std::string_view s) {
  s = without_blanks_in_front(s);
  return s.starts_with('+') ? unsigned_number(s.substr(1)) : signed_number(s);
}

struct HttpHead {
  uint32_t status = 0;
  bool isTimeStampReply = false;
  int32_t contentLength = -1;  // unknown
};

// status_line reads the status code; false when the line ends before it.
[[nodiscard]] bool status_line(HttpLines lines, HttpHead* head) {
  constexpr size_t kVersionAt = 5;  // after "HTTP/"
  lines.skip(kVersionAt);
  std::string_view line = lines.line();
  line.remove_prefix(std::min(line.find_first_of(kBlanks), line.size()));
  line = without_blanks_in_front(line);
  if (line.empty()) return false;
  head->status = uint32_t(unsigned_number(line));
  return true;
}

void header_lines(HttpLines lines, HttpHead* head) {
  constexpr std::string_view kContentType = "content-type:";
  constexpr std::string_view kContentLength = "content-length:";
  while (lines.next()) {
    const std::string_view line = lines.line();
    if (line.starts_with(kContentType)) {
      const std::string_view type = without_blanks_in_front(line.substr(kContentType.size()));
      head->isTimeStampReply = head->isTimeStampReply || type == "application/timestamp-reply";
    } else if (line.starts_with(kContentLength)) {
      head->contentLength = content_length(line.substr(kContentLength.size()));
    }
  }
}

char lower_cased(uint8_t c) {
  if (c == '\r' || c == '\n') return '\0';
  return char(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

[[nodiscard]] int32_t unpack_http(uint8_t* buffer, uint32_t* length, uint32_t* transportStatus) {
  if (*length < 6 || std::memcmp(buffer, "HTTP/", 5) != 0) return QEX_E_ARG;
  const size_t headLength = HttpHeadLength(buffer, *length);
  if (headLength == 0) return QEX_E_ARG;
  const ScratchOctets copy(headLength);
  if (!copy) return QEX_E_NOMEM;
  auto* const text = reinterpret_cast<char*>(copy.octets());
  std::transform(buffer, buffer + headLength, text, lower_cased);

  HttpHead head;
  const HttpLines lines(text, headLength);
  if (!status_line(lines, &head)) return QEX_E_ARG;
  *transportStatus = head.status;
  if (head.status != kHttpOk) return QEX_E_FRAMING;
  header_lines(lines, &head);
  if (!head.isTimeStampReply || head.contentLength == 0) return QEX_E_FRAMING;

  const auto bodyLength = uint32_t(*length - headLength);
  if (head.contentLength > 0 && uint32_t(head.contentLength) != bodyLength) {
    *length = saturated(uint64_t(head.contentLength) + headLength);
    return QEX_E_LENGTH;
  }
  *length = bodyLength;
  std::memmove(buffer, buffer + headLength, bodyLength);
  return QEX_OK;
}

// --- TimeStampResp ---------------------------------------------------------------

using DecodedResponse = Decoded<TimeStampResp>;

[[nodiscard]] bool decode_response(const uint8_t* tsr, uint32_t length, DecodedResponse* response) {
  return Succeeded(response->decode(BDecTimeStampResp, tsr, length));
}

// Deliberate: 8 bits yield the octet, any other number n the bit number n - 1, which is that of
// the single failure bit when trailing zero bits are not encoded; no bits yield 4294967295.
uint32_t fail_info(const AsnBits& bits) {
  if (bits.octs == nullptr) return 0;
  return bits.count == 8 ? bits.octs[0] : bits.count - 1;
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_UnpackTSR(uint8_t* buffer, uint32_t* length, uint32_t* transportStatus,
                      int32_t transport) noexcept {
  if (transport == QEX_TRANSPORT_RESERVED) return QEX_E_UNSUPPORTED;
  if (transport < QEX_TRANSPORT_RAW || transport > QEX_TRANSPORT_RESERVED) return QEX_E_ARG;
  if (buffer == nullptr || length == nullptr || transportStatus == nullptr) return QEX_E_ARG;
  *transportStatus = 0;
  switch (transport) {
    case QEX_TRANSPORT_SOCKET: return unpack_socket(buffer, length, transportStatus);
    case QEX_TRANSPORT_HTTP: return unpack_http(buffer, length, transportStatus);
    default: return QEX_OK;
  }
}

int32_t QEX_GetTSR_Status(QEX_TSR_STATUS* status, const uint8_t* tsr, uint32_t tsrLength) noexcept {
  if (status == nullptr || tsr == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedResponse response;
  if (!decode_response(tsr, tsrLength, &response)) return QEX_E_DECODE;
  const PKIStatusInfo* info = response.value.status;
  if (info == nullptr) return QEX_E_MISSING;

  std::memset(status, 0, sizeof *status);
  status->status = info->status;
  if (const auto* text = FirstOf<AsnOcts>(info->statusString)) CopyText(status->statusText, *text);
  status->failInfo = fail_info(info->failInfo);
  return QEX_OK;
}

int32_t QEX_GetTSR_EncodedToken(uint8_t* out, uint32_t* outLength, const uint8_t* tsr,
                                uint32_t tsrLength) noexcept {
  if (tsr == nullptr || outLength == nullptr) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;
  DecodedResponse response;
  if (!decode_response(tsr, tsrLength, &response)) return QEX_E_DECODE;
  const PKIStatusInfo* info = response.value.status;
  if (info == nullptr) return QEX_E_MISSING;
  constexpr AsnInt kGranted = 0;
  constexpr AsnInt kGrantedWithMods = 1;
  if (info->status != kGranted && info->status != kGrantedWithMods) return QEX_E_REJECTED;
  const ContentInfo* token = response.value.timeStampToken;
  if (token == nullptr) return QEX_E_NOTOKEN;

  ExpBufHolder buf;
  if (!EncodeInto(buf, [&](ExpBuf** b) { BEncContentInfo(b, token); })) return QEX_E_NOMEM;
  if (EncodedLength(buf) == 0) return QEX_E_MISSING;
  return CopyOut(buf, out, *outLength, outLength);
}
