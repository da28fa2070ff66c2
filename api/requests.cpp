// The request exports: TimeStampReq from a record and back (RFC 3161, 2.4.1), with its framing.
//
// The short record is converted to the extended one and back; the codec sees the latter alone.
#include <cstddef>
#include <cstring>

#include "api/digest_by_oid.h"
#include "api/frame.h"
#include "api/framing.h"
#include "api/oid_text.h"
#include "api/qex.h"
#include "asn1/timestamp.h"
#include "ber/memory.h"
#include "crypto/octets.h"

namespace qex {
namespace {

// The head of the HTTP request, without a terminating zero. Its four length digits are written over
// the blanks at kHttpDigitsAt.
constexpr char kHttpHead[] =
    "POST /VKS/HttpTspServer HTTP/1.0\r\n"
    "Content-Type: application/timestamp-query; charset=binary\r\n"
    "Content-Length:     \r\n\r\n";
constexpr size_t kHttpHeadLength = sizeof(kHttpHead) - 1;
constexpr size_t kHttpDigitsAt = 109;
static_assert(kHttpHeadLength == 117, "kHttpDigitsAt counts from the start of this head");

// No request is longer: two identifiers, the hash and the nonce have at most 128, 128, 128 and 40 octets.
constexpr size_t kMostRequest = 512;

constexpr uint32_t kHeadLength[] = {0, kSocketHeadLength, kHttpHeadLength};  // by transport mode

[[nodiscard]] bool has_null_parameters(const AsnOid& algorithm) {
  const DigestAlgorithm* known = FindDigestAlgorithm(algorithm);
  return known == nullptr || known->parameters == Parameters::Null;
}

// An identifier from TextToOid.
// Deliberate: a rejected text gives an identifier of no octets, which is encoded like any other.
struct TextOid {
  explicit TextOid(const char* text) : oid{TextToOid(text, octets), octets} {}
  TextOid(const TextOid&) = delete;
  TextOid& operator=(const TextOid&) = delete;

  uint8_t octets[kMaxOidOctets];
  AsnOid oid;  // of no octets when the text was rejected
};

AsnOcts borrowed(const uint8_t* data, uint32_t length) {
  return {length, const_cast<uint8_t*>(data)};
}

// encode_request encodes the request that `req` describes into `buf`; false with the last ASN.1 error set.
// The values are on the stack and point into `req`, so nothing needs to be freed.
[[nodiscard]] bool encode_request(const QEX_TSQ_DATA_EX& req, ExpBufHolder& buf) {
  const TextOid hash(req.hashAlgorithm);
  const TextOid policy(req.reqPolicy);

  AlgorithmIdentifier algorithm{};
  algorithm.algorithm = hash.oid;
  if (has_null_parameters(hash.oid)) algorithm.parameters = NullParameters();
  MessageImprint imprint{};
  imprint.hashAlgorithm = &algorithm;
  imprint.hashedMessage = borrowed(req.hashedMessage, req.hashedMessageLength);
  AsnBool certReq = 1;

  TimeStampReq value{};
  value.version = 1;
  value.messageImprint = &imprint;
  if (req.reqPolicy[0] != '\0') value.reqPolicy = policy.oid;
  if (req.nonceLength != 0) value.nonce = borrowed(req.nonce, req.nonceLength);
  if (req.certReq != 0) value.certReq = &certReq;

  const bool encoded = EncodeInto(buf, [&](ExpBuf** b) { BEncTimeStampReq(b, &value); });
  return Succeeded(encoded ? 0 : kOutOfMemoryCode);
}

// Deliberate: a digit of 0 before the last one stays a blank, also between other digits, and from 10000 on
// the first character is not a digit. Servers have always received this head.
void write_http_head(uint8_t* out, uint32_t length) {
  std::memcpy(out, kHttpHead, kHttpHeadLength);
  const uint32_t digits[] = {length / 1000, length % 1000 / 100, length % 100 / 10, length % 10};
  for (size_t i = 0; i < 4; ++i) {
    if (digits[i] != 0 || i == 3) out[kHttpDigitsAt + i] = uint8_t('0' + digits[i]);
  }
}

// skip_head returns how many bytes of framing precede the request.
size_t skip_head(const uint8_t* data, size_t length) {
  if (length <= kSocketHeadLength) return 0;
  if (std::memcmp(data, "POST ", 5) == 0) return HttpHeadLength(data, length);
  constexpr uint8_t kSequence = 0x30;
  // Deliberate: the announced length is not compared; the encoding says how long it is.
  if (data[0] == 0 && data[4] == 0 && data[5] == kSequence) return kSocketHeadLength;
  return 0;
}

// fill_record writes `value` into the cleared record; false when something did not fit.
[[nodiscard]] bool fill_record(const TimeStampReq& value, QEX_TSQ_DATA_EX* req) {
  bool fits = true;
  if (const MessageImprint* imprint = value.messageImprint) {
    fits &= CopyOctets(req->hashedMessage, imprint->hashedMessage);
    req->hashedMessageLength = imprint->hashedMessage.count;
    if (imprint->hashAlgorithm != nullptr) {
      fits &= OidField(req->hashAlgorithm, imprint->hashAlgorithm->algorithm);
    }
  }
  fits &= CopyOctets(req->nonce, value.nonce);
  req->nonceLength = value.nonce.count;
  fits &= OidField(req->reqPolicy, value.reqPolicy);
  req->certReq = value.certReq != nullptr && *value.certReq != 0 ? 1 : 0;
  return fits;
}

}  // namespace
}  // namespace qex

using namespace qex;

int32_t QEX_EncodeTSQ_Ex(const QEX_TSQ_DATA_EX* req, uint8_t* out, uint32_t* outLength,
                         uint32_t transport) noexcept {
  if (transport > QEX_TRANSPORT_RESERVED) return QEX_E_ARG;
  if (transport == QEX_TRANSPORT_RESERVED) return QEX_E_UNSUPPORTED;
  if (req == nullptr || outLength == nullptr || req->size != sizeof *req) return QEX_E_ARG;
  // Unsigned, so that a negative length is above the room too.
  if (req->hashedMessageLength > sizeof req->hashedMessage || req->nonceLength > sizeof req->nonce) {
    return QEX_E_ARG;
  }
  if (!IsTerminated(req->hashAlgorithm) || !IsTerminated(req->reqPolicy)) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;

  ExpBufHolder buf(kMostRequest);
  if (!encode_request(*req, buf)) return QEX_E_DECODE;

  const uint32_t length = EncodedLength(buf);
  const uint32_t head = kHeadLength[transport];
  const uint32_t capacity = *outLength;
  *outLength = head + length;
  if (out == nullptr || capacity < head + length) return QEX_E_SIZE;
  ExpBufCopyOut(out + head, buf.handle(), length);
  if (transport == QEX_TRANSPORT_SOCKET) {
    StoreBE32(out, length + 1);  // the flag byte counts
    out[4] = 0;
  } else if (transport == QEX_TRANSPORT_HTTP) {
    write_http_head(out, length);
  }
  return QEX_OK;
}

int32_t QEX_EncodeTSQ(const QEX_TSQ_DATA* req, uint8_t* out, uint32_t* outLength,
                      int32_t transport) noexcept {
  if (req == nullptr || req->hashedMessageLength > sizeof req->hashedMessage) return QEX_E_ARG;
  if (!IsTerminated(req->hashAlgorithm) || !IsTerminated(req->reqPolicy)) return QEX_E_ARG;

  QEX_TSQ_DATA_EX full{};
  full.size = sizeof full;
  std::memcpy(full.hashAlgorithm, req->hashAlgorithm, sizeof full.hashAlgorithm);
  std::memcpy(full.hashedMessage, req->hashedMessage, sizeof req->hashedMessage);
  full.hashedMessageLength = req->hashedMessageLength;
  std::memcpy(full.reqPolicy, req->reqPolicy, sizeof full.reqPolicy);
  full.certReq = req->certReq;
  AsnOcts nonce;
  if (U64ToAsnInt(req->nonce, &nonce) != 0) return QEX_E_NOMEM;
  (void)CopyOctets(full.nonce, nonce);  // no more than 9 octets
  full.nonceLength = nonce.count;       // 0, and so no nonce, for the value 0
  AsnFree(nonce.octs);
  return QEX_EncodeTSQ_Ex(&full, out, outLength, uint32_t(transport));
}

int32_t QEX_DecodeTSQ_Ex(QEX_TSQ_DATA_EX* req, const uint8_t* data, uint32_t length) noexcept {
  if (req == nullptr || data == nullptr || req->size != sizeof *req) return QEX_E_ARG;
  if (!EnsureAsnInit()) return QEX_E_NOMEM;

  const size_t head = skip_head(data, length);
  Decoded<TimeStampReq> request;
  AsnLen bytes = 0;
  if (!Succeeded(request.decode(BDecTimeStampReq, data + head, length - head, &bytes))) return QEX_E_DECODE;

  std::memset(req, 0, sizeof *req);
  req->size = sizeof *req;
  if (bytes == 0) return QEX_E_MISSING;
  return fill_record(request.value, req) ? QEX_OK : QEX_E_SIZE;
}

int32_t QEX_DecodeTSQ(QEX_TSQ_DATA* req, const uint8_t* data, uint32_t length) noexcept {
  if (req == nullptr || data == nullptr) return QEX_E_ARG;
  QEX_TSQ_DATA_EX full{};
  full.size = sizeof full;
  const int32_t code = QEX_DecodeTSQ_Ex(&full, data, length);
  if (code != QEX_OK) return code;

  // Deliberate: the caller's own texts are tested, before they are overwritten.
  bool fits = IsTerminated(req->hashAlgorithm) && IsTerminated(req->reqPolicy);
  std::memcpy(req->hashAlgorithm, full.hashAlgorithm, sizeof req->hashAlgorithm);
  // Deliberate: a longer hash is cut without a report.
  std::memcpy(req->hashedMessage, full.hashedMessage, sizeof req->hashedMessage);
  req->hashedMessageLength = full.hashedMessageLength;
  std::memcpy(req->reqPolicy, full.reqPolicy, sizeof req->reqPolicy);
  req->certReq = full.certReq;
  fits &= AsnIntToU64({full.nonceLength, full.nonce}, &req->nonce) == 0;
  return fits ? QEX_OK : QEX_E_SIZE;
}
