// The exports that read and rewrite a token: TSTInfo, the authority's certificate, content typed as
// data, attribute certificates taken out.
#include <cstring>

#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {
namespace {

constexpr uint8_t kFill = 0x6B;

struct Info {
  int32_t version = 0, seconds = 0, millis = 0, micros = 0;
  Octets policy, algorithm, hash, serial, genTime, nonce;
  bool ordering = false;
  bool hasName = false;
  std::string name;
};

[[nodiscard]] bool read_accuracy(const Tlv* accuracy, Info* info) {
  if (accuracy == nullptr) return true;
  Fields fields(accuracy);
  const auto part = [&](uint8_t tag, int32_t* out) {
    const Tlv* field = fields.take(tag);
    if (field == nullptr) return true;
    const auto n = IntegerOf(field);
    *out = n.value_or(0);
    return n.has_value();
  };
  return part(0x02, &info->seconds) && part(0x80, &info->millis) && part(0x81, &info->micros) &&
         fields.done();
}

[[nodiscard]] std::optional<Info> read_info(View in) {
  const auto tlv = SequenceIn(in);
  if (!tlv) return std::nullopt;
  Info info;
  Fields fields(&*tlv);
  const auto version = IntegerOf(fields.take(0x02));
  const Tlv* policy = fields.take(0x06);
  Fields imprint(fields.take(0x30));
  Fields algorithm(imprint.take(0x30));
  const Tlv* oid = algorithm.take(0x06);
  const auto hash = OctetsOf(imprint.take(0x04));
  const auto serial = OctetsOf(fields.take(0x02));
  const auto genTime = OctetsOf(fields.take(0x18));
  const bool accuracy = read_accuracy(fields.take(0x30), &info);
  const Tlv* ordering = fields.take(0x01);
  const auto nonce = OptionalOctetsOf(fields.take(0x02));
  const Tlv* tsa = fields.take(0xA0);
  fields.take(0xA1);
  if (!version || policy == nullptr || policy->nested || oid == nullptr || oid->nested || !hash || !serial ||
      !genTime || !accuracy || !nonce || !imprint.done() || !fields.done()) {
    return std::nullopt;
  }
  if (ordering != nullptr && ordering->content.size() != 1) return std::nullopt;
  info.version = *version;
  info.policy = policy->content;
  info.algorithm = oid->content;
  info.hash = *hash;
  info.serial = *serial;
  info.genTime = *genTime;
  info.ordering = ordering != nullptr && ordering->content[0] != 0;
  info.nonce = *nonce;
  if (tsa == nullptr) return info;
  const Tlv* name = OnlyChild(tsa);
  if (name == nullptr) return std::nullopt;
  if (!name->is(0xA4)) return info;
  const Tlv* rdns = OnlyChild(name);
  if (rdns == nullptr) return std::nullopt;
  bool fitted;
  info.hasName = true;
  const auto text = NameText(*rdns, 512, &fitted);
  if (!text) return std::nullopt;
  info.name = *text;
  return info;
}

template <size_t kSize>
void check_octets(const uint8_t (&field)[kSize], const Octets& octets) {
  for (size_t i = 0; i < kSize; ++i) FUZZ_CHECK(field[i] == (i < octets.size() ? octets[i] : 0), i);
}

template <class R>
void check_shared(const R& record, const Info& info) {
  FUZZ_CHECK(int32_t(record.version) == info.version, record.version);
  FUZZ_CHECK(TextOf(record.policy, 128) == OidText(info.policy).substr(0, 127), 0);
  FUZZ_CHECK(TextOf(record.hashAlgorithm, 128) == OidText(info.algorithm).substr(0, 127), 0);
  check_octets(record.hashedMessage, info.hash);
  FUZZ_CHECK(record.hashedMessageLength == info.hash.size(), record.hashedMessageLength);
  const std::string time(info.genTime.begin(),
                         info.genTime.begin() + std::ptrdiff_t(std::min<size_t>(info.genTime.size(), 31)));
  FUZZ_CHECK(std::memcmp(record.genTime, (time + std::string(32 - time.size(), '\0')).data(), 32) == 0,
             time.size());
  FUZZ_CHECK(int32_t(record.accuracySeconds) == info.seconds, record.accuracySeconds);
  FUZZ_CHECK(int32_t(record.accuracyMillis) == info.millis, record.accuracyMillis);
  FUZZ_CHECK(int32_t(record.accuracyMicros) == info.micros, record.accuracyMicros);
  FUZZ_CHECK(record.ordering == (info.ordering ? 1u : 0u), record.ordering);
}

// check_info returns the code of the extended export, with its record in `record`.
[[nodiscard]] int32_t check_info(View token, const std::optional<Info>& info,
                                 Record<QEX_TSTINFO_EX>* record) {
  (*record)->size = sizeof(QEX_TSTINFO_EX);
  ResetProcess();
  const int32_t code = QEX_GetTST_TSTInfoEx(record->get(), token.data(), uint32_t(token.size()));
  CheckCode(code, {QEX_OK, QEX_E_SIZE, QEX_E_MISSING, QEX_E_DECODE}, "QEX_GetTST_TSTInfoEx");
  FUZZ_CHECK((code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  if (code != QEX_OK && code != QEX_E_SIZE) {
    FUZZ_CHECK(record->untouched(kFill, 4), code);
    return code;
  }
  const QEX_TSTINFO_EX& r = *record->get();
  FUZZ_CHECK(r.size == 880, r.size);
  TextOf(r.tsaName, sizeof r.tsaName);
  if (!info) return code;
  check_shared(r, *info);
  check_octets(r.serialNumber, info->serial);
  check_octets(r.nonce, info->nonce);
  FUZZ_CHECK(r.serialNumberLength == info->serial.size(), r.serialNumberLength);
  FUZZ_CHECK(r.nonceLength == info->nonce.size(), r.nonceLength);
  FUZZ_CHECK(TextOf(r.tsaName, sizeof r.tsaName) == info->name, info->name.size());
  if (!info->hasName) FUZZ_CHECK(record->untouched(kFill, 880), code);
  const bool fits = info->serial.size() <= 40 && info->hash.size() <= 128 && info->nonce.size() <= 40 &&
                    OidText(info->policy).size() <= 127 && OidText(info->algorithm).size() <= 127;
  FUZZ_CHECK((code == QEX_OK) == fits, code);
  return code;
}

void check_short_info(View token, int32_t fullCode, const std::optional<Info>& info) {
  Record<QEX_TSTINFO> record(kFill);
  ResetProcess();
  const int32_t code = QEX_GetTST_TSTInfo(record.get(), token.data(), uint32_t(token.size()));
  if (fullCode != QEX_OK) {
    FUZZ_CHECK(code == fullCode, code);
    FUZZ_CHECK(record.untouched(kFill), code);
    return;
  }
  CheckCode(code, {QEX_OK, QEX_E_SIZE}, "QEX_GetTST_TSTInfo");
  if (!info) return;
  check_shared(*record.get(), *info);
  const auto serial = U64Of(info->serial);
  const auto nonce = U64Of(info->nonce);
  FUZZ_CHECK((code == QEX_OK) == (serial && nonce), code);
  FUZZ_CHECK(record->serialNumber.high == (serial ? serial->high : 0), record->serialNumber.high);
  FUZZ_CHECK(record->serialNumber.low == (serial ? serial->low : 0), record->serialNumber.low);
  FUZZ_CHECK(record->nonce.high == (nonce ? nonce->high : 0), record->nonce.high);
  FUZZ_CHECK(record->nonce.low == (nonce ? nonce->low : 0), record->nonce.low);
  const std::string name = info->name + std::string(512 - info->name.size(), '\0');
  if (!info->hasName) FUZZ_CHECK(std::memcmp(record->tsaName, name.data(), 512) == 0, 0);
}

void check_certificate(View token, SigningCertificate which) {
  int32_t code = 0;
  const auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* length) {
        ResetProcess(which);
        return QEX_GetTST_TSACert(to, length, token.data(), uint32_t(token.size()));
      },
      &code);
  CheckCode(code, {QEX_OK, QEX_E_BADTOKEN, QEX_E_NOCERT}, "QEX_GetTST_TSACert");
  if (code == QEX_OK) FUZZ_CHECK(QEX_GetLastAsnError() == 0, QEX_GetLastAsnError());
  if (out) FUZZ_CHECK(IsDefinite(*out) && (*out)[0] == 0x30, out->size());
}

using Rewrite = int32_t (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t*);

[[nodiscard]] std::optional<Octets> rewritten(Rewrite rewrite, View token, const char* name, int32_t* code) {
  uint32_t length = 12345;
  ResetProcess();
  const int32_t without = rewrite(token.data(), uint32_t(token.size()), nullptr, &length);
  FUZZ_CHECK(length == 12345, length);
  auto out = CheckOutputRule(
      [&](uint8_t* to, uint32_t* room) {
        ResetProcess();
        return rewrite(token.data(), uint32_t(token.size()), to, room);
      },
      code, NoOutput::IsRefused);
  CheckCode(*code, {QEX_OK, QEX_E_DECODE}, name);
  FUZZ_CHECK(without == (*code == QEX_OK ? QEX_E_MISSING : *code), without);
  FUZZ_CHECK((*code == QEX_E_DECODE) == (QEX_GetLastAsnError() < 0), QEX_GetLastAsnError());
  return out;
}

// The rewritten token gives the same TSTInfo.
void check_same_info(View before, const Octets& after) {
  Record<QEX_TSTINFO_EX> a(kFill), b(kFill);
  a->size = b->size = sizeof(QEX_TSTINFO_EX);
  ResetProcess();
  const int32_t code = QEX_GetTST_TSTInfoEx(a.get(), before.data(), uint32_t(before.size()));
  ResetProcess();
  const int32_t again = QEX_GetTST_TSTInfoEx(b.get(), after.data(), uint32_t(after.size()));
  FUZZ_CHECK(code == again, again);
  FUZZ_CHECK(std::memcmp(a.get(), b.get(), sizeof(QEX_TSTINFO_EX)) == 0, code);
}

void check_id_data(View token) {
  int32_t code = 0;
  const auto out = rewritten(QEX_TSTInfoToIDData, token, "QEX_TSTInfoToIDData", &code);
  if (!out) return;
  FUZZ_CHECK(IsDefinite(*out), out->size());
  check_same_info(token, *out);
  const auto twice = rewritten(QEX_TSTInfoToIDData, *out, "QEX_TSTInfoToIDData", &code);
  FUZZ_CHECK(twice == out, out->size());
  Tlv tlv;
  (void)ReadTlv(*out, &tlv);
  Fields fields(SignedDataIn(tlv));
  fields.take(0x02);
  fields.take(0x31);
  Fields content(fields.take(0x30));
  const Tlv* type = content.take(0x06);
  const Octets idData = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
  if (type != nullptr) FUZZ_CHECK(type->content == idData, type->content.size());
}

[[nodiscard]] bool has_attribute_certificates(const Tlv& token) {
  Fields fields(SignedDataIn(token));
  fields.take(0x02);
  fields.take(0x31);
  fields.take(0x30);
  const Tlv* certificates = fields.take(0xA0);
  return certificates != nullptr && std::any_of(certificates->children.begin(), certificates->children.end(),
                                                [](const Tlv& c) { return c.is(0xA1) || c.is(0xA2); });
}

void check_remove(View token) {
  int32_t code = 0;
  const auto out = rewritten(QEX_RemoveAttrCerts, token, "QEX_RemoveAttrCerts", &code);
  Block inPlace(token.size());
  std::copy(token.begin(), token.end(), inPlace.data());
  uint32_t length = uint32_t(token.size());
  ResetProcess();
  const int32_t codeInPlace = QEX_RemoveAttrCerts(inPlace.data(), length, inPlace.data(), &length);
  if (!out) {
    FUZZ_CHECK(codeInPlace == code, codeInPlace);
    return;
  }
  const bool unchanged = codeInPlace == QEX_E_MISSING;
  if (unchanged) FUZZ_CHECK(std::ranges::equal(*out, token) && length == token.size(), length);
  if (codeInPlace == QEX_OK) FUZZ_CHECK(std::ranges::equal(inPlace.view().first(length), *out), length);
  if (codeInPlace == QEX_E_SIZE) FUZZ_CHECK(length > token.size() && length == out->size(), length);
  check_same_info(token, *out);
  Tlv tlv;
  if (ReadTlv(*out, &tlv)) FUZZ_CHECK(!has_attribute_certificates(tlv), out->size());
  FUZZ_CHECK(rewritten(QEX_RemoveAttrCerts, *out, "QEX_RemoveAttrCerts", &code) == out, out->size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Input in({data, size});
  std::optional<Info> info;
  if (const auto token = SequenceIn(in.view())) {
    if (const auto content = EContentIn(*token)) info = read_info(*content);
  }
  Record<QEX_TSTINFO_EX> record(kFill);
  const int32_t code = check_info(in.view(), info, &record);
  check_short_info(in.view(), code, info);
  check_certificate(in.view(), SigningCertificate::V1);
  check_certificate(in.view(), SigningCertificate::V2);
  check_id_data(in.view());
  check_remove(in.view());
  return 0;
}

}  // namespace qex::fuzz
