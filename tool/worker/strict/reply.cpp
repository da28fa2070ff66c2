// TimeStampResp ::= SEQUENCE { status PKIStatusInfo, timeStampToken ContentInfo OPTIONAL }
// PKIStatusInfo ::= SEQUENCE { status INTEGER, statusString SEQUENCE OF UTF8String OPTIONAL,
//                              failInfo BIT STRING OPTIONAL }
#include "tool/message/structure.h"
#include "tool/message/tags.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace {

using inspect::Element;
using inspect::Elements;
using inspect::kBitString;
using inspect::kInteger;
using inspect::kSequence;
using inspect::kUtf8String;

[[noreturn]] void stop(const char* text) {
  throw Stop{text};
}

int64_t status_value(const std::optional<Element>& status) {
  if (!status || status->content.empty()) stop("the reply has no status");
  const Bytes octets = MinimalInteger(status->content);
  if (octets.size() > sizeof(int64_t)) stop("the status of the reply is not a number of 64 bits");
  uint64_t value = (octets[0] & 0x80) != 0 ? UINT64_MAX : 0;
  for (const uint8_t octet : octets) value = value << 8 | octet;
  return int64_t(value);
}

std::vector<std::string> texts_of(ByteView content) {
  std::vector<std::string> texts;
  Elements each(content);
  while (const auto text = each.next(kUtf8String)) {
    texts.emplace_back(text->content.begin(), text->content.end());
  }
  if (!each.empty()) stop("the status text of the reply cannot be read");
  return texts;
}

// The numbers of the bits that are set; bit 0 is the highest of the first octet.
std::vector<uint32_t> bits_of(ByteView content) {
  if (content.empty() || content[0] > 7 || (content.size() == 1 && content[0] != 0)) {
    stop("the failure of the reply cannot be read");
  }
  std::vector<uint32_t> bits;
  const size_t count = (content.size() - 1) * 8 - content[0];
  for (size_t i = 0; i < count; ++i) {
    if ((content[1 + i / 8] >> (7 - i % 8) & 1) != 0) bits.push_back(uint32_t(i));
  }
  return bits;
}

Status status_of(ByteView content) {
  Elements fields(content);
  Status status;
  status.value = status_value(fields.next(kInteger));
  if (const auto texts = fields.next(kSequence)) status.texts = texts_of(texts->content);
  if (const auto failures = fields.next(kBitString)) status.failures = bits_of(failures->content);
  if (!fields.empty()) stop("the status of the reply cannot be read");
  return status;
}

}  // namespace

StrictReply ReadReplyStrictly(ByteView reply) {
  Elements outside(reply);
  const auto whole = outside.next(kSequence);
  if (!whole || !outside.empty()) stop("the reply is not one SEQUENCE");
  Elements fields(whole->content);
  const auto status = fields.next(kSequence);
  if (!status) stop("the reply has no status");
  StrictReply result;
  result.status = status_of(status->content);
  if (const auto token = fields.next(kSequence)) {
    result.token = Bytes(token->whole.begin(), token->whole.end());
  }
  if (!fields.empty()) stop("the reply has more than a status and a token");
  return result;
}

}  // namespace qex::tool
