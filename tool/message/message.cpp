// Taking the armour off messages (RFC 7468, leniently), and putting it on.
#include "tool/message/message.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "tool/base/failure.h"
#include "tool/base/files.h"
#include "tool/message/tags.h"

namespace qex::tool {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

constexpr std::array<int8_t, 256> make_values() {
  std::array<int8_t, 256> values{};
  values.fill(-1);
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    values[uint8_t(kAlphabet[i])] = int8_t(i);
  }
  return values;
}

constexpr std::array<int8_t, 256> kValues = make_values();

[[nodiscard]] bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Decodes base64 with white space anywhere; nothing if it contains any other character.
[[nodiscard]] std::optional<Bytes> from_base64(std::string_view text) {
  Bytes octets;
  octets.reserve(text.size() / 4 * 3);
  uint32_t group = 0;
  unsigned bits = 0;
  size_t padding = 0;
  for (const char c : text) {
    if (is_space(c)) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const int8_t value = kValues[uint8_t(c)];
    if (value < 0 || padding != 0) return std::nullopt;
    group = (group << 6 | uint32_t(value)) & 0xFFFFFF;
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      octets.push_back(uint8_t(group >> bits));
    }
  }
  if (bits == 6 || padding > 2) return std::nullopt;
  return octets;
}

struct PemBlock {
  std::string_view label;
  std::string_view body;  // base64
  bool whole;             // its end is there
};

// The next PEM block of `text`, which then begins after it.
[[nodiscard]] std::optional<PemBlock> take_block(std::string_view& text) {
  const size_t begin = text.find(kBegin);
  if (begin == std::string_view::npos) return std::nullopt;
  const size_t name = begin + kBegin.size();
  const size_t label = text.find(kDashes, name);
  if (label == std::string_view::npos) return std::nullopt;
  const size_t body = label + kDashes.size();
  const size_t end = text.find(kEnd, body);
  const PemBlock block{text.substr(name, label - name), text.substr(body, end - body),
                       end != std::string_view::npos};
  text.remove_prefix(std::min(end, text.size()));
  return block;
}

std::string_view text_of(ByteView data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

[[nodiscard]] bool is_token_or_reply(ByteView octets) {
  const inspect::Kind kind = inspect::KindOf(octets);
  return kind == inspect::Kind::Token || kind == inspect::Kind::Reply;
}

// The first PEM block's octets. The contents of further blocks follow the token as they would without armour,
// so that nothing after the one message goes unnoticed.
[[nodiscard]] std::optional<Bytes> from_pem(std::string_view text) {
  const auto first = take_block(text);
  if (!first || !first->whole) return std::nullopt;
  std::optional<Bytes> octets = from_base64(first->body);
  if (!octets || !is_token_or_reply(*octets)) return octets;
  while (const auto block = take_block(text)) {
    const Bytes more = from_base64(block->body).value_or(Bytes{});
    octets->insert(octets->end(), more.begin(), more.end());
  }
  return octets;
}

Bytes without_armour(Bytes data) {
  if (!data.empty() && data[0] == inspect::kSequence && inspect::KindOf(data) != inspect::Kind::Unknown) {
    return data;
  }
  const std::string_view text = text_of(data);
  const bool armoured = HoldsPem(data);
  std::optional<Bytes> plain = armoured ? from_pem(text) : from_base64(text);
  return plain && !plain->empty() ? std::move(*plain) : std::move(data);
}

}  // namespace

Message ParseMessage(std::string path, Bytes data) {
  Bytes octets = without_armour(std::move(data));
  const inspect::Kind kind = inspect::KindOf(octets);
  return {std::move(path), std::move(octets), kind};
}

Message ReadAnyMessage(const Source& source) {
  Message message = ParseMessage(source.path, source.data ? *source.data : ReadMessage(source.path));
  if (message.kind != inspect::Kind::Unknown) return message;
  const std::string name = ShownPath(source.path);
  if (message.octets.empty()) {
    throw Failure{ExitStatus::Input, name + ": is empty",
                  "the file was cut off, or never written; fetch it again"};
  }
  throw Failure{ExitStatus::Input, name + ": is no time-stamp request, reply, token or certificate",
                "it may be DER, PEM or base64; was it cut off, or is it the stamped file itself?"};
}

Message ReadMessageOf(const Source& source, inspect::Kind kind) {
  Message message = ReadAnyMessage(source);
  if (message.kind == kind) return message;
  throw Failure{ExitStatus::Input,
                ShownPath(source.path) + ": is a " + inspect::KindName(message.kind) + ", where a " +
                    inspect::KindName(kind) + " is needed",
                "name the file that holds the " + std::string(inspect::KindName(kind))};
}

Message AsTokenOrReply(Message message) {
  if (message.kind == inspect::Kind::Token || message.kind == inspect::Kind::Reply) return message;
  throw Failure{
      ExitStatus::Input,
      ShownPath(message.path) + ": is a " + inspect::KindName(message.kind) + ", where a token is needed",
      "name a token, or the reply that holds it"};
}

Message ReadTokenOrReply(const std::string& path) {
  return AsTokenOrReply(ReadAnyMessage(path));
}

std::vector<Bytes> PemBlocks(ByteView data, std::span<const std::string_view> labels) {
  std::vector<Bytes> found;
  std::string_view text = text_of(data);
  while (const auto block = take_block(text)) {
    if (std::ranges::find(labels, block->label) == labels.end()) continue;
    found.push_back(block->whole ? from_base64(block->body).value_or(Bytes{}) : Bytes{});
  }
  return found;
}

bool HoldsPem(ByteView data) {
  return text_of(data).find(kBegin) != std::string_view::npos;
}

std::string ToBase64(ByteView octets) {
  std::string text;
  for (size_t i = 0; i < octets.size(); i += 3) {
    const size_t count = octets.size() - i < 3 ? octets.size() - i : 3;
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) group = group << 8 | (j < count ? octets[i + j] : 0u);
    for (size_t j = 0; j < 4; ++j) text += j <= count ? kAlphabet[group >> (18 - 6 * j) & 63] : '=';
  }
  return text;
}

std::string ToPem(ByteView der, const std::string& label) {
  constexpr size_t kLine = 64;
  std::string text = std::string(kBegin) + label + "-----\n";
  const std::string body = ToBase64(der);
  for (size_t i = 0; i < body.size(); i += kLine) text += body.substr(i, kLine) + '\n';
  return text + std::string(kEnd) + label + "-----\n";
}

}  // namespace qex::tool
