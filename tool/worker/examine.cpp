// The worker's job: every call into the library that reads foreign octets.
#include "tool/worker/examine.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/exchange/request.h"
#include "tool/message/oid_text.h"
#include "tool/worker/examine_tac.h"
#include "tool/worker/inspect/describe.h"
#include "tool/worker/library_call.h"

namespace qex::tool {
namespace {

using inspect::Kind;

constexpr const char* kStatusNames[] = {"granted", "granted with modifications", "rejection",
                                        "waiting", "revocation warning",         "revocation notification"};

struct FailInfoName {
  uint32_t number;
  const char* name;
};

constexpr FailInfoName kFailInfos[] = {
    {0, "badAlg"},
    {2, "badRequest"},
    {5, "badDataFormat"},
    {14, "timeNotAvailable"},
    {15, "unacceptedPolicy"},
    {16, "unacceptedExtension"},
    {17, "addInfoNotAvailable"},
    {25, "systemFailure"},
};

Json describe_request(ByteView message) {
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  const int32_t code = QEX_DecodeTSQ_Ex(&record, message.data(), LengthOf(message));
  if (code != QEX_OK && code != QEX_E_SIZE) throw LibraryFailure("the request cannot be read", code, message);
  Json fields = RequestFields(record);
  const auto facts = inspect::InspectRequest(message);
  if (facts && !facts->policy.empty()) fields["policy"] = inspect::DecodeOid(facts->policy);
  if (facts && facts->extensions != 0) fields["extensions"] = facts->extensions;
  Json raw;
  raw["policy"] = facts ? ToHex(facts->policy) : "";
  raw["hash"] = facts ? ToHex(facts->hash) : "";
  raw["imprint"] = ToHex(FieldOf(record.hashedMessage, record.hashedMessageLength));
  raw["nonce"] = ToHex(FieldOf(record.nonce, record.nonceLength));
  raw["nonce_cut"] = record.nonceLength > sizeof record.nonce;
  return {{"request", fields}, {"raw", raw}};
}

Json describe_status(ByteView reply) {
  QEX_TSR_STATUS record{};
  const int32_t code = QEX_GetTSR_Status(&record, reply.data(), LengthOf(reply));
  if (code != QEX_OK) throw LibraryFailure("the reply cannot be read", code, reply);
  Json status;
  status["status"] = record.status;
  const bool known = record.status >= 0 && static_cast<size_t>(record.status) < std::size(kStatusNames);
  status["name"] = known ? kStatusNames[record.status] : "unknown status";
  if (record.statusText[0] != '\0') status["text"] = Escaped(record.statusText);
  const bool granted = record.status == 0 || record.status == 1;
  if (inspect::NamesFailure(reply)) {
    status["fail_info"] = record.failInfo;
    const auto* row = std::ranges::find(kFailInfos, record.failInfo, &FailInfoName::number);
    status["failure"] =
        row == std::end(kFailInfos) ? "failure " + std::to_string(record.failInfo) : std::string(row->name);
  } else if (!granted) {
    status["failure"] = "no failure named";
  }
  return status;
}

std::string accuracy_text(const QEX_TSTINFO_EX& info) {
  const uint64_t micros =
      uint64_t{info.accuracySeconds} * 1000000 + uint64_t{info.accuracyMillis} * 1000 + info.accuracyMicros;
  if (micros == 0) return "";
  std::string fraction = std::to_string(1000000 + micros % 1000000).substr(1);
  fraction.erase(fraction.find_last_not_of('0') + 1);
  return std::to_string(micros / 1000000) + (fraction.empty() ? "" : "." + fraction) + " s";
}

Json what_was_cut(const QEX_TSTINFO_EX& info) {
  Json cut = Json::array();
  if (info.serialNumberLength > sizeof info.serialNumber) cut.push_back("serial number");
  if (info.hashedMessageLength > sizeof info.hashedMessage) cut.push_back("imprint");
  if (info.nonceLength > sizeof info.nonce) cut.push_back("nonce");
  if (std::strlen(info.policy) + 1 == sizeof info.policy) cut.push_back("policy");
  if (std::strlen(info.hashAlgorithm) + 1 == sizeof info.hashAlgorithm) cut.push_back("hash algorithm");
  return cut;
}

void describe_info(Json& facts, ByteView token) {
  QEX_TSTINFO_EX info{};
  info.size = sizeof info;
  const int32_t code = QEX_GetTST_TSTInfoEx(&info, token.data(), LengthOf(token));
  if (code != QEX_OK && code != QEX_E_SIZE) throw LibraryFailure("the token cannot be read", code, token);
  const std::optional<inspect::TokenFacts> inner = inspect::InspectToken(token);
  const HashAlgorithm* hash = FindHash(info.hashAlgorithm);
  const std::string_view time = info.genTime;
  const std::string received(time);

  Json people;
  people["time"] =
      Escaped(inspect::TimeText(0x18, {reinterpret_cast<const uint8_t*>(time.data()), time.size()}));
  people["time_as_received"] = Escaped(received);
  if (const std::string accuracy = accuracy_text(info); !accuracy.empty()) people["accuracy"] = accuracy;
  people["serial"] = IntegerText(FieldOf(info.serialNumber, info.serialNumberLength));
  people["policy"] = inner ? inspect::DecodeOid(inner->policy) : std::string(info.policy);
  people["hash"] = hash == nullptr ? inspect::NamedOid(info.hashAlgorithm) : std::string(hash->name);
  people["imprint"] = ToHex(FieldOf(info.hashedMessage, info.hashedMessageLength));
  if (info.nonceLength != 0) people["nonce"] = IntegerText(FieldOf(info.nonce, info.nonceLength));
  people["ordering"] = info.ordering != 0;
  if (info.tsaName[0] != '\0') people["authority"] = Escaped(info.tsaName);
  people["version"] = info.version;
  if (code == QEX_E_SIZE) people["cut"] = what_was_cut(info);

  Json raw;
  raw["policy"] = inner ? ToHex(inner->policy) : "";
  raw["hash"] = inner ? ToHex(inner->hash) : "";
  raw["imprint"] = ToHex(FieldOf(info.hashedMessage, info.hashedMessageLength));
  raw["nonce"] = ToHex(FieldOf(info.nonce, info.nonceLength));
  raw["nonce_cut"] = info.nonceLength > sizeof info.nonce;
  raw["digest_algorithm"] = inner ? inner->digestAlgorithm : "";
  raw["signature_algorithm"] = inner ? inner->signatureAlgorithm : "";
  raw["signing_certificate"] = inner && inner->hasSigningCertificate;
  raw["signing_certificate_v2"] = inner && inner->hasSigningCertificateV2;
  facts["info"] = people;
  facts["raw"] = raw;
}

Json key_json(ByteView certificate) {
  const inspect::KeyFacts key = inspect::InspectKey(certificate);
  return {{"type", key.type},
          {"bits", key.bits},
          {"exponent", ToHex(key.exponent)},
          {"low_exponent", key.lowExponent},
          {"excess", key.excess}};
}

// Texts of a description come from the message; they are escaped here, in one place.
Json escaped(Json value) {
  if (value.is_string()) return Escaped(value.get<std::string>());
  if (value.is_structured()) {
    for (Json& part : value) part = escaped(std::move(part));
  }
  return value;
}

// The signing-certificate attribute that counts. The library reads the switch once, so this comes
// before its first check.
std::string choose_ess(const std::string& wanted, const Json& raw) {
  std::string version = wanted;
  if (wanted == "auto") version = raw.value("signing_certificate_v2", false) ? "v2" : "v1";
  if (::setenv("QEX_VERIFY_ESSCERTIDV2", version == "v2" ? "1" : "0", 1) != 0) throw std::bad_alloc();
  return version;
}

void describe_signer(Json& facts, ByteView token) {
  Bytes certificate;
  const int32_t code = FetchOutput(certificate, 0, [&](uint8_t* out, uint32_t* length) {
    return QEX_GetTST_TSACert(out, length, token.data(), LengthOf(token));
  });
  RequireMemory("the authority's certificate cannot be taken out", code);
  Json signer{{"code", code}};
  if (code == QEX_OK) {
    const Json description = escaped(inspect::DescribeCertificate(certificate));
    signer["der"] = ToHex(certificate);
    signer["sha256"] = ToHex(Sha256(certificate));
    signer["subject"] = description.is_object() ? description["subject"] : Json("");
    signer["key"] = key_json(certificate);
  }
  facts["signer"] = signer;
}

bool is_too_large(const Json& key) {
  return key.is_object() && !key["excess"].get<std::string>().empty();
}

// The library bounds neither the size of a key nor the time that it takes: a key that is too large does
// not reach it, and the answer then has no code.
void verify(Json& facts, ByteView token, const Job& job) {
  const auto check = [&](const Bytes& certificate) {
    return CallWithMemory("the signature cannot be checked", [&] {
      return QEX_VerifyTST_Signature(token.data(), LengthOf(token),
                                     certificate.empty() ? nullptr : certificate.data(),
                                     LengthOf(certificate));
    });
  };
  const Json own = facts["signer"].contains("key") ? facts["signer"]["key"] : Json();
  const bool given = !job.certificate.empty();
  const Json key = given ? key_json(job.certificate) : own;
  Json verification;
  if (!key.is_null()) verification["key"] = key;
  if (given) verification["given_sha256"] = ToHex(Sha256(job.certificate));
  if (!is_too_large(key)) {
    const int32_t code = check(job.certificate);
    verification["code"] = code;
    verification["asn1_error"] = QEX_GetLastAsnError();
    if (given && code == QEX_E_ARG) {
      const auto unknown = UnknownIdentifierFailure("the certificate does not decode", code, job.certificate);
      if (unknown) verification["unknown"] = ToJson(*unknown);
    }
    // Tells a token of another authority from a broken one.
    if (given && code != QEX_OK && !is_too_large(own)) verification["own"] = check({});
  }
  facts["verification"] = verification;
}

// The token written afresh; an output is seldom longer than what it was made from.
void rewrite(Json& facts, ByteView token, Rewriting how) {
  const auto write = how == Rewriting::IdData ? QEX_TSTInfoToIDData : QEX_RemoveAttrCerts;
  Bytes out;
  const int32_t code = FetchOutput(out, token.size(), [&](uint8_t* data, uint32_t* length) {
    return write(token.data(), LengthOf(token), data, length);
  });
  if (code != QEX_OK) throw LibraryFailure("the token cannot be written afresh", code, token);
  facts["rewritten"] = ToHex(out);
}

void describe_token(Json& facts, ByteView token, const Job& job) {
  facts["token"] = ToHex(token);
  describe_info(facts, token);
  facts["description"] = escaped(inspect::DescribeToken(token));
  facts["ess"] = choose_ess(job.ess, facts["raw"]);
  describe_signer(facts, token);
  DescribeTacOfToken(facts, token, job.tac);
  if (job.rewriting != Rewriting::None) rewrite(facts, token, job.rewriting);
  if (job.verify) verify(facts, token, job);
}

void describe_reply(Json& facts, const Job& job) {
  facts["status"] = describe_status(job.message);
  const int status = facts["status"]["status"].get<int>();
  Bytes token;
  const int32_t code = FetchOutput(token, 0, [&](uint8_t* out, uint32_t* length) {
    return QEX_GetTSR_EncodedToken(out, length, job.message.data(), LengthOf(job.message));
  });
  RequireMemory("the token cannot be taken out", code);
  facts["token_code"] = code;
  if (code == QEX_OK) {
    describe_token(facts, token, job);
  } else if (status == 0 || status == 1) {
    if (code != QEX_E_NOTOKEN) throw LibraryFailure("the token cannot be taken out", code, job.message);
  }
}

}  // namespace

Json Examine(const Job& job) {
  const Kind kind = inspect::KindOf(job.message);
  Json facts;
  facts["kind"] = inspect::KindName(kind);
  if (const size_t trailing = inspect::TrailingOctets(job.message); trailing != 0)
    facts["trailing"] = trailing;
  if (job.asn1) {
    const auto text = inspect::Asn1Text(kind, job.message);
    if (text) facts["asn1"] = EscapedLines(*text);
  }
  switch (kind) {
    case Kind::Request: facts.update(describe_request(job.message)); break;
    case Kind::Reply: describe_reply(facts, job); break;
    case Kind::Token: describe_token(facts, job.message, job); break;
    case Kind::Certificate:
      facts["description"] = escaped(inspect::DescribeCertificate(job.message));
      facts["raw"] = {{"sha256", ToHex(Sha256(job.message))}, {"key", key_json(job.message)}};
      break;
    case Kind::AttributeCertificate: facts["tac"] = DescribeTac(job.message); break;
    case Kind::Unknown: break;
  }
  if (kind == Kind::Unknown || (kind == Kind::Certificate && facts["description"].is_null())) {
    throw Failure{ExitStatus::Input, "is no time-stamp request, reply, token or certificate",
                  "look at where it came from"};
  }
  return facts;
}

}  // namespace qex::tool
