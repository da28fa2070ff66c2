// The exports that read a TimeStampResp: its status, and its token, encoded again.
#include <cstring>

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr uint8_t kFill = 0x6B;

struct Status {
  int32_t status;
  std::string text;
  std::optional<uint32_t> failInfo;  // nothing: a form that is not judged
  bool hasToken;
};

[[nodiscard]] std::optional<uint32_t> fail_info(const Tlv* bits) {
  if (bits == nullptr) return 0;
  if (bits->constructed() || bits->content.empty()) return std::nullopt;
  const size_t octets = 8 * (bits->content.size() - 1);
  const size_t n = octets < bits->content[0] ? 0 : octets - bits->content[0];
  return n == 8 ? bits->content[1] : uint32_t(n) - 1;
}

[[nodiscard]] std::optional<Status> read_status(View in) {
  const auto tlv = SequenceIn(in);
  if (!tlv) return std::nullopt;
  Fields fields(&*tlv);
  Fields info(fields.take(0x30));
  const auto status = IntegerOf(info.take(0x02));
  const Tlv* texts = info.take(0x30);
  const Tlv* bits = info.take(0x03);
  const Tlv* token = fields.take(0x30);
  if (!status || !info.done() || !fields.done()) return std::nullopt;
  Status s{*status, {}, fail_info(bits), token != nullptr};
  if (texts == nullptr) return s;
  for (const Tlv& element : texts->children) {
    const auto text = OctetsOf(&element);
    if (!element.is(0x0C) || !text) return std::nullopt;
    if (&element == &texts->children.front()) s.text.assign(text->begin(), text->end());
  }
  return s;
}

void check_status(const Input& in, const std::optional<Status>& s) {
  Record<QEX_TSR_STATUS> record(kFill);
  ResetProcess();
  const int32_t code = QEX_GetTSR_Status(record.get(), in.data(), in.size());
  CheckCode(code, {QEX_OK, QEX_E_DECODE}, "QEX_GetTSR_Status");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  if (code != QEX_OK) {
    FUZZ_CHECK(record.untouched(kFill), code);
    if (s && !s->hasToken && s->failInfo) Fail(__FILE__, __LINE__, "a status decodes", QEX_GetLastAsnError());
    return;
  }
  TextOf(record->statusText, 80);
  if (!s) return;
  FUZZ_CHECK(record->status == s->status, record->status);
  const std::string text =
      s->text.substr(0, 79) + std::string(80 - std::min<size_t>(s->text.size(), 79), '\0');
  FUZZ_CHECK(std::memcmp(record->statusText, text.data(), 80) == 0, text.size());
  if (s->failInfo) FUZZ_CHECK(record->failInfo == *s->failInfo, record->failInfo);
}

void check_token(const Input& in, const std::optional<Status>& s) {
  int32_t code = 0;
  const auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* length) {
        ResetProcess();
        return QEX_GetTSR_EncodedToken(to, length, in.data(), in.size());
      },
      &code);
  CheckCode(code, {QEX_OK, QEX_E_DECODE, QEX_E_REJECTED, QEX_E_NOTOKEN}, "QEX_GetTSR_EncodedToken");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  if (s && code != QEX_E_DECODE) {
    const int32_t right = s->status != 0 && s->status != 1 ? QEX_E_REJECTED
                          : s->hasToken                    ? QEX_OK
                                                           : QEX_E_NOTOKEN;
    FUZZ_CHECK(code == right, code);
  }
  if (!out) return;
  FUZZ_CHECK(IsDefinite(*out), out->size());
  // In a response of its own the token is encoded to the same octets.
  const uint8_t granted[] = {0x30, 0x03, 0x02, 0x01, 0x00};
  Octets content(std::begin(granted), std::end(granted));
  content.insert(content.end(), out->begin(), out->end());
  Octets again = {0x30};
  for (const uint8_t octet : LengthOctets(content.size())) again.push_back(octet);
  again.insert(again.end(), content.begin(), content.end());
  Block room(out->size());
  auto length = uint32_t(room.size());
  ResetProcess();
  const int32_t second = QEX_GetTSR_EncodedToken(room.data(), &length, again.data(), uint32_t(again.size()));
  FUZZ_CHECK(second == QEX_OK, second);
  FUZZ_CHECK(std::ranges::equal(room.view(), *out), length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input in({data, size});
  const auto status = read_status(in.view());
  check_status(in, status);
  check_token(in, status);
  return 0;
}

}  // namespace qex::fuzz
