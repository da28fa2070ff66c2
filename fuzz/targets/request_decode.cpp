// The exports that decode requests, bare and framed; the record is compared with the elements of the request.
#include <cstring>

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr Codes kDecodeCodes = {QEX_OK, QEX_E_SIZE, QEX_E_DECODE};
constexpr uint8_t kFill = 0x6B;

// The octets before the request, by the rule for the end of an HTTP head: a line feed, at most one carriage
// return, another line feed.
size_t head_length(View in) {
  if (in.size() <= 5) return 0;
  if (std::memcmp(in.data(), "POST ", 5) != 0) {
    return in[0] == 0 && in[4] == 0 && in[5] == 0x30 ? 5 : 0;
  }
  size_t i = 0;
  for (;;) {
    while (i < in.size() && in[i] != '\n') ++i;
    if (i == in.size()) return 0;
    if (i + 1 < in.size()) ++i;
    if (in[i] == '\r' && i + 1 < in.size()) ++i;
    if (in[i] == '\n') return i + 1;
  }
}

struct Request {
  Octets algorithm, hash, policy, nonce;
  bool certReq = false;
  bool mustDecode = false;  // nothing in it depends on the table of open types
};

[[nodiscard]] std::optional<Request> read_request(View in) {
  const auto tlv = SequenceIn(in);
  if (!tlv) return std::nullopt;
  Fields fields(&*tlv);
  const auto version = IntegerOf(fields.take(0x02));
  Fields imprint(fields.take(0x30));
  Fields algorithm(imprint.take(0x30));
  const Tlv* oid = algorithm.take(0x06);
  const auto hash = OctetsOf(imprint.take(0x04));
  const Tlv* policy = fields.take(0x06);
  const auto nonce = OptionalOctetsOf(fields.take(0x02));
  const Tlv* certReq = fields.take(0x01);
  const Tlv* extensions = fields.take(0xA0);
  if (!version || oid == nullptr || oid->nested || !hash || !nonce) return std::nullopt;
  if (!fields.done() || !imprint.done() || (policy != nullptr && policy->nested)) return std::nullopt;
  if (certReq != nullptr && (certReq->nested || certReq->content.size() != 1)) return std::nullopt;
  Request r;
  r.algorithm = oid->content;
  r.hash = *hash;
  if (policy != nullptr) r.policy = policy->content;
  r.nonce = *nonce;
  r.certReq = certReq != nullptr && certReq->content[0] != 0;
  r.mustDecode = algorithm.done() && extensions == nullptr;
  return r;
}

template <class R>
void check_texts(const R& record, const Request& r) {
  FUZZ_CHECK(TextOf(record.hashAlgorithm, 128) == OidText(r.algorithm).substr(0, 127), 0);
  FUZZ_CHECK(TextOf(record.reqPolicy, 128) == OidText(r.policy).substr(0, 127), 0);
}

void check_octets(const uint8_t* field, size_t room, const Octets& octets) {
  for (size_t i = 0; i < room; ++i) FUZZ_CHECK(field[i] == (i < octets.size() ? octets[i] : 0), i);
}

}  // namespace

size_t NotEncodings(View in) {
  return head_length(in);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input in({data, size});
  Record<QEX_TSQ_DATA_EX> record(kFill);
  record->size = sizeof *record.get();
  ResetProcess();
  const int32_t code = QEX_DecodeTSQ_Ex(record.get(), in.data(), in.size());
  CheckCode(code, kDecodeCodes, "QEX_DecodeTSQ_Ex");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  FUZZ_CHECK(record->size == sizeof *record.get(), record->size);
  if (code == QEX_E_DECODE) FUZZ_CHECK(record.untouched(kFill, 4), code);

  Record<QEX_TSQ_DATA> brief(0);
  ResetProcess();
  const int32_t briefCode = QEX_DecodeTSQ(brief.get(), in.data(), in.size());
  CheckCode(briefCode, kDecodeCodes, "QEX_DecodeTSQ");
  if (code != QEX_OK) {
    FUZZ_CHECK(briefCode == code, briefCode);
    FUZZ_CHECK(brief.untouched(0), briefCode);
  }

  const auto r = read_request(in.view().subspan(head_length(in.view())));
  if (!r) return 0;
  if (r->mustDecode) FUZZ_CHECK(code != QEX_E_DECODE, QEX_GetLastAsnError());
  if (code == QEX_E_DECODE) return 0;
  check_texts(*record.get(), *r);
  check_octets(record->hashedMessage, 128, r->hash);
  check_octets(record->nonce, 40, r->nonce);
  FUZZ_CHECK(record->hashedMessageLength == r->hash.size(), r->hash.size());
  FUZZ_CHECK(record->nonceLength == r->nonce.size(), r->nonce.size());
  FUZZ_CHECK(record->certReq == (r->certReq ? 1u : 0u), record->certReq);
  const bool fits = r->hash.size() <= 128 && r->nonce.size() <= 40 && OidText(r->algorithm).size() <= 127 &&
                    OidText(r->policy).size() <= 127;
  FUZZ_CHECK((code == QEX_OK) == fits, code);
  if (!fits) return 0;

  check_texts(*brief.get(), *r);
  check_octets(brief->hashedMessage, 40, r->hash);
  FUZZ_CHECK(brief->hashedMessageLength == r->hash.size(), r->hash.size());
  const auto nonce = U64Of(r->nonce);
  FUZZ_CHECK((briefCode == QEX_OK) == nonce.has_value(), briefCode);
  FUZZ_CHECK(brief->nonce.high == (nonce ? nonce->high : 0), brief->nonce.high);
  FUZZ_CHECK(brief->nonce.low == (nonce ? nonce->low : 0), brief->nonce.low);
  return 0;
}

}  // namespace qex::fuzz
