// The exports that encode requests. The input is the transport mode, then a record, octet by octet; the
// expected request is built here.
#include <cstring>

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr Codes kEncodeCodes = {QEX_OK, QEX_E_ARG, QEX_E_UNSUPPORTED};

Tlv sequence(std::vector<Tlv> children) {
  return Constructed(0x30, std::move(children));
}

template <size_t kSize>
[[nodiscard]] std::optional<std::string> terminated(const char (&field)[kSize]) {
  const void* end = std::memchr(field, 0, kSize);
  if (end == nullptr) return std::nullopt;
  return std::string(field, static_cast<const char*>(end));
}

// Digests whose parameters are left out (RFC 5754, 2).
[[nodiscard]] bool is_sha(const Octets& oid) {
  static const Octets kSha1 = {0x2B, 0x0E, 0x03, 0x02, 0x1A};
  static const Octets kSha2 = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02};
  return oid == kSha1 || (oid.size() == 9 && std::equal(kSha2.begin(), kSha2.end(), oid.begin()) &&
                          oid[8] >= 1 && oid[8] <= 3);
}

// The encoding of the record; nothing when it is to be refused.
[[nodiscard]] std::optional<Octets> expected_request(const QEX_TSQ_DATA_EX& r) {
  const auto algorithm = terminated(r.hashAlgorithm);
  const auto policy = terminated(r.reqPolicy);
  if (!algorithm || !policy || r.hashedMessageLength > 128 || r.nonceLength > 40) return std::nullopt;
  const Octets oid = TextOid(*algorithm);
  std::vector<Tlv> identifier = {Primitive(0x06, oid)};
  if (!is_sha(oid)) identifier.push_back(Primitive(0x05, {}));
  std::vector<Tlv> fields = {
      Primitive(0x02, {1}),
      sequence({sequence(identifier),
                Primitive(0x04, {r.hashedMessage, r.hashedMessage + r.hashedMessageLength})})};
  if (!policy->empty()) fields.push_back(Primitive(0x06, TextOid(*policy)));
  if (r.nonceLength != 0) fields.push_back(Primitive(0x02, {r.nonce, r.nonce + r.nonceLength}));
  if (r.certReq != 0) fields.push_back(Primitive(0x01, {0xFF}));
  return Written(sequence(fields));
}

Octets framed(const Octets& request, int32_t transport) {
  Octets out;
  const size_t n = request.size();
  if (transport == QEX_TRANSPORT_SOCKET) {
    for (const int shift : {24, 16, 8, 0}) out.push_back(uint8_t((n + 1) >> shift));
    out.push_back(0);
  } else if (transport == QEX_TRANSPORT_HTTP) {
    std::string digits = std::to_string(n);
    digits.insert(0, 4 - digits.size(), '0');
    for (size_t i = 0; i < 3; ++i) {
      if (digits[i] == '0') digits[i] = ' ';
    }
    const std::string head =
        "POST /VKS/HttpTspServer HTTP/1.0\r\n"
        "Content-Type: application/timestamp-query; charset=binary\r\n"
        "Content-Length: " +
        digits + "\r\n\r\n";
    out.assign(head.begin(), head.end());
  }
  out.insert(out.end(), request.begin(), request.end());
  return out;
}

void check_extended(const QEX_TSQ_DATA_EX& record, int32_t transport) {
  const Input in({reinterpret_cast<const uint8_t*>(&record), sizeof record});
  const auto* req = reinterpret_cast<const QEX_TSQ_DATA_EX*>(in.data());
  int32_t code = 0;
  const auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* length) {
        ResetProcess();
        return QEX_EncodeTSQ_Ex(req, to, length, uint32_t(transport));
      },
      &code);
  CheckCode(code, kEncodeCodes, "QEX_EncodeTSQ_Ex");
  FUZZ_CHECK(QEX_GetLastAsnError() == 0, QEX_GetLastAsnError());
  if (transport == QEX_TRANSPORT_RESERVED) {
    FUZZ_CHECK(code == QEX_E_UNSUPPORTED, code);
    return;
  }
  const auto request = expected_request(*req);
  const bool accepted = transport >= 0 && transport < 3 && req->size == sizeof *req && request.has_value();
  FUZZ_CHECK(accepted == out.has_value(), code);
  if (!accepted) {
    FUZZ_CHECK(code == QEX_E_ARG, code);
    return;
  }
  FUZZ_CHECK(*out == framed(*request, transport), out->size());
  if (record.hashAlgorithm[0] == 0) return;

  // And back, when the algorithm's parameters are not examined.
  if (!is_sha(TextOid(req->hashAlgorithm))) return;
  Record<QEX_TSQ_DATA_EX> back;
  back->size = sizeof(QEX_TSQ_DATA_EX);
  ResetProcess();
  const int32_t decoded = QEX_DecodeTSQ_Ex(back.get(), out->data(), uint32_t(out->size()));
  FUZZ_CHECK(decoded == QEX_OK || decoded == QEX_E_SIZE, decoded);
  FUZZ_CHECK(back->hashedMessageLength == req->hashedMessageLength, back->hashedMessageLength);
  FUZZ_CHECK(std::memcmp(back->hashedMessage, req->hashedMessage, req->hashedMessageLength) == 0, 0);
  FUZZ_CHECK(back->nonceLength == req->nonceLength, back->nonceLength);
  FUZZ_CHECK(std::memcmp(back->nonce, req->nonce, req->nonceLength) == 0, 0);
  FUZZ_CHECK(back->certReq == (req->certReq != 0 ? 1u : 0u), back->certReq);
}

void check_short(const QEX_TSQ_DATA& record, int32_t transport) {
  const Input in({reinterpret_cast<const uint8_t*>(&record), sizeof record});
  const auto* req = reinterpret_cast<const QEX_TSQ_DATA*>(in.data());
  int32_t code = 0;
  const auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* length) {
        ResetProcess();
        return QEX_EncodeTSQ(req, to, length, transport);
      },
      &code);
  CheckCode(code, kEncodeCodes, "QEX_EncodeTSQ");

  QEX_TSQ_DATA_EX full{};
  full.size = sizeof full;
  std::memcpy(full.hashAlgorithm, req->hashAlgorithm, sizeof full.hashAlgorithm);
  std::memcpy(full.reqPolicy, req->reqPolicy, sizeof full.reqPolicy);
  full.certReq = req->certReq;
  full.hashedMessageLength = req->hashedMessageLength;
  std::memcpy(full.hashedMessage, req->hashedMessage, sizeof req->hashedMessage);
  uint64_t nonce = uint64_t{req->nonce.high} << 32 | req->nonce.low;
  Octets octets;
  for (; nonce != 0; nonce >>= 8) octets.insert(octets.begin(), uint8_t(nonce));
  if (!octets.empty() && octets[0] >= 0x80) octets.insert(octets.begin(), 0);
  std::copy(octets.begin(), octets.end(), full.nonce);
  full.nonceLength = uint32_t(octets.size());

  const bool accepted =
      transport >= 0 && transport < 3 && full.hashedMessageLength <= 40 && expected_request(full);
  FUZZ_CHECK(accepted == out.has_value(), code);
  if (accepted) FUZZ_CHECK(*out == framed(*expected_request(full), transport), out->size());
}

// Half of all records get texts that end and lengths that fit, so that they are not all refused.
template <class R>
R record_of(View in) {
  R record{};
  std::memcpy(&record, in.data(), std::min(in.size(), sizeof record));
  return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const auto transport = int32_t(int8_t(data[0]));
  const View rest(data + 2, size - 2);
  auto extended = record_of<QEX_TSQ_DATA_EX>(rest);
  auto brief = record_of<QEX_TSQ_DATA>(rest);
  if ((data[1] & 1) == 0) {
    extended.size = sizeof extended;
    extended.hashedMessageLength %= 129;
    extended.nonceLength %= 41;
    brief.hashedMessageLength %= 41;
  }
  if ((data[1] & 2) == 0) {
    extended.hashAlgorithm[127] = extended.reqPolicy[127] = 0;
    brief.hashAlgorithm[127] = brief.reqPolicy[127] = 0;
  }
  if ((data[1] & 4) == 0) {
    check_extended(extended, transport);
  } else {
    check_short(brief, transport);
  }
  return 0;
}

}  // namespace qex::fuzz
