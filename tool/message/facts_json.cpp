// One visitor a type names its members; Writer and Reader go through it.
#include "tool/message/facts_json.h"

#include <stdexcept>
#include <type_traits>
#include <utility>

#include "tool/base/json.h"

namespace qex::tool {
namespace {

template <class T>
concept Scalar = std::is_same_v<T, std::string> || std::is_same_v<T, bool> || std::is_integral_v<T>;

// Types with members of their own and without an overload that reads or writes them as a whole.
template <class T>
concept Record = std::is_class_v<T> && std::is_aggregate_v<T>;

// Members, each type once. `visit(name, member)` is called in order.
template <class V>
void members(V& visit, Imprint& v) {
  visit("algorithm", v.algorithm);
  visit("digest", v.digest);
}

template <class V>
void members(V& visit, Accuracy& v) {
  visit("seconds", v.seconds);
  visit("millis", v.millis);
  visit("micros", v.micros);
}

template <class V>
void members(V& visit, TstInfo& v) {
  visit("version", v.version);
  visit("policy", v.policy);
  visit("imprint", v.imprint);
  visit("serial", v.serial);
  visit("gen_time", v.genTime);
  visit("accuracy", v.accuracy);
  visit("ordering", v.ordering);
  visit("nonce", v.nonce);
}

template <class V>
void members(V& visit, Structure& v) {
  visit("signers", v.signers);
  visit("content_type", v.contentType);
  visit("content_type_attribute", v.contentTypeAttribute);
  visit("message_digest_present", v.messageDigestPresent);
  visit("repeated_attributes", v.repeatedAttributes);
  visit("imprint_parameters_fit", v.imprintParametersFit);
  visit("unknown_critical", v.unknownCritical);
  visit("tsa_name_fits", v.tsaNameFits);
}

template <class V>
void members(V& visit, SignerKey& v) {
  visit("type", v.type);
  visit("name", v.name);
  visit("bits", v.bits);
  visit("exponent", v.exponent);
  visit("low_exponent", v.lowExponent);
  visit("excess", v.excess);
}

template <class V>
void members(V& visit, SignerCertificate& v) {
  visit("der", v.der);
  visit("sha256", v.sha256);
  visit("subject", v.subject);
  visit("key", v.key);
}

template <class V>
void members(V& visit, LibraryCheck& v) {
  visit("ess", v.ess);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("own_code", v.ownCode);
  visit("stop", v.stop);
}

template <class V>
void members(V& visit, LibraryReading& v) {
  visit("info", v.info);
  visit("structure", v.structure);
  visit("digest_algorithm", v.digestAlgorithm);
  visit("signature_algorithm", v.signatureAlgorithm);
  visit("has_ess_v1", v.hasEssV1);
  visit("has_ess_v2", v.hasEssV2);
  visit("ess_hash", v.essHash);
  visit("cut", v.cut);
  visit("signer", v.signer);
  visit("checks", v.checks);
  visit("too_large", v.tooLarge);
}

template <class V>
void members(V& visit, Stop& v) {
  visit("text", v.text);
  visit("identifier", v.identifier);
  visit("algorithm", v.algorithm);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
}

template <class V>
void members(V& visit, StrictSignature& v) {
  visit("result", v.result);
  visit("reason", v.reason);
  visit("digest", v.digest);
  visit("scheme", v.scheme);
  visit("digest_bits", v.digestBits);
}

template <class V>
void members(V& visit, Judgement& v) {
  visit("good", v.good);
  visit("text", v.text);
}

template <class V>
void members(V& visit, Validity& v) {
  visit("result", v.result);
  visit("not_before", v.notBefore);
  visit("not_after", v.notAfter);
  visit("expired_now", v.expiredNow);
  visit("stamped_before", v.stampedBefore);
  visit("key_period_ended", v.keyPeriodEnded);
}

template <class V>
void members(V& visit, Chain& v) {
  visit("result", v.result);
  visit("text", v.text);
  visit("anchor", v.anchor);
  visit("length", v.length);
}

template <class V>
void members(V& visit, Revocation& v) {
  visit("result", v.result);
  visit("text", v.text);
  visit("of_ca", v.ofCa);
}

template <class V>
void members(V& visit, StrictReading& v) {
  visit("info", v.info);
  visit("structure", v.structure);
  visit("ess_v1", v.essV1);
  visit("ess_v2", v.essV2);
  visit("signature", v.signature);
  visit("signer", v.signer);
  visit("signer_is_pinned", v.signerIsPinned);
  visit("key_usage", v.keyUsage);
  visit("validity", v.validity);
  visit("chain", v.chain);
  visit("revocation", v.revocation);
}

template <class V>
void members(V& visit, Status& v) {
  visit("value", v.value);
  visit("texts", v.texts);
  visit("failures", v.failures);
}

template <class V>
void members(V& visit, RequestFacts& v) {
  visit("policy", v.policy);
  visit("imprint", v.imprint);
  visit("nonce", v.nonce);
  visit("certificate_wanted", v.certificateWanted);
  visit("extensions", v.extensions);
}

template <class V>
void members(V& visit, Failure& v) {
  visit("exit", v.exit);
  visit("message", v.message);
  visit("hint", v.hint);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("library_messages", v.libraryMessages);
}

template <class V>
void members(V& visit, TacFacts& v) {
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("der", v.der);
  visit("sha256", v.sha256);
  visit("failure", v.failure);
  visit("info", v.info);
  visit("metrics_code", v.metricsCode);
  visit("policy_code", v.policyCode);
}

template <class V>
void members(V& visit, TacMatch& v) {
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("ess", v.ess);
}

template <class V>
void members(V& visit, Facts& v) {
  visit("kind", v.kind);
  visit("trailing", v.trailing);
  visit("request", v.request);
  visit("request_failure", v.requestFailure);
  visit("status", v.status);
  visit("token", v.token);
  visit("token_code", v.tokenCode);
  visit("library", v.library);
  visit("library_stop", v.libraryStop);
  visit("strict", v.strict);
  visit("strict_stop", v.strictStop);
  visit("tsa_name", v.tsaName);
  visit("certificate", v.certificate);
  visit("tac", v.tac);
  visit("tac_match", v.tacMatch);
  visit("rewritten", v.rewritten);
  visit("asn1", v.asn1);
  visit("description", v.description);
}

template <class V>
void members(V& visit, Job& v) {
  visit("name", v.name);
  visit("message", v.message);
  visit("verify", v.verify);
  visit("describe", v.describe);
  visit("asn1", v.asn1);
  visit("take_tac", v.takeTac);
  visit("tac", v.tac);
  visit("request", v.request);
  visit("rewriting", v.rewriting);
  visit("ess", v.ess);
  visit("library_only", v.libraryOnly);
  visit("allow_weak", v.allowWeak);
}

// The values of an enumeration; any other number is invalid.
template <class E>
constexpr int kLast = -1;
template <>
constexpr int kLast<inspect::Kind> = int(inspect::Kind::AttributeCertificate);
template <>
constexpr int kLast<SignatureResult> = int(SignatureResult::NoCertificate);
template <>
constexpr int kLast<EssMatch> = int(EssMatch::Unreadable);
template <>
constexpr int kLast<ValidityResult> = int(ValidityResult::Unreadable);
template <>
constexpr int kLast<ChainResult> = int(ChainResult::NoTime);
template <>
constexpr int kLast<RevocationResult> = int(RevocationResult::ListBad);
template <>
constexpr int kLast<Rewriting> = int(Rewriting::IdData);
template <>
constexpr int kLast<ExitStatus> = int(ExitStatus::Internal);

// A growing object copies its members, so reserve room for most of them.
Json roomy_object() {
  constexpr size_t kMembers = 18;
  Json json = Json::object();
  json.get_ref<Json::object_t&>().reserve(kMembers);
  return json;
}

struct Writer {
  Json json = roomy_object();

  template <class T>
  void operator()(const char* name, const T& value) {
    json[name] = write(value);
  }

  template <Scalar T>
  static Json write(const T& value) {
    return value;
  }
  static Json write(const Bytes& value) { return Json::binary(value); }
  template <class T>
  static Json write(const std::optional<T>& value) {
    return value ? write(*value) : Json();
  }
  template <class T>
  static Json write(const std::vector<T>& values) {
    Json list = Json::array();
    for (const T& value : values) list.push_back(write(value));
    return list;
  }
  template <class T>
  requires std::is_enum_v<T>
  static Json write(const T& value) { return int(value); }
  template <Record T>
  static Json write(const T& value) {
    Writer writer;
    members(writer, const_cast<T&>(value));  // one list works in both directions; the writer changes nothing
    return std::move(writer.json);
  }
};

[[noreturn]] void refuse(const char* what) {
  throw std::invalid_argument(what);
}

struct Reader {
  const Json& json;
  size_t read = 0;

  template <class T>
  void operator()(const char* name, T& value) {
    const auto found = json.find(name);
    if (found == json.end()) refuse(name);
    into(*found, value);
    ++read;
  }

  static void into(const Json& json, std::string& value) {
    if (!json.is_string()) refuse("a text is needed");
    value = json.get_ref<const std::string&>();
  }
  static void into(const Json& json, bool& value) {
    if (!json.is_boolean()) refuse("true or false is needed");
    value = json.get<bool>();
  }
  template <class T>
  requires std::is_integral_v<T>
  static void into(const Json& json, T& value) {
    if (!json.is_number_integer()) refuse("an integer is needed");
    const bool fits = json.is_number_unsigned() ? std::in_range<T>(json.get<uint64_t>())
                                                : std::in_range<T>(json.get<int64_t>());
    if (!fits) refuse("the integer is too large");
    value = json.get<T>();
  }
  static void into(const Json& json, Bytes& value) {
    if (!json.is_binary()) refuse("octets are needed");
    value = json.get_binary();
  }
  template <class T>
  static void into(const Json& json, std::optional<T>& value) {
    value.reset();
    if (!json.is_null()) into(json, value.emplace());
  }
  template <class T>
  static void into(const Json& json, std::vector<T>& values) {
    if (!json.is_array()) refuse("a list is needed");
    values.clear();
    for (const Json& element : json) into(element, values.emplace_back());
  }
  template <class T>
  requires std::is_enum_v<T>
  static void into(const Json& json, T& value) {
    static_assert(kLast<T> >= 0, "an enumeration names its last value");
    int number = 0;
    into(json, number);
    if (number < 0 || number > kLast<T>) refuse("no value of the enumeration");
    value = static_cast<T>(number);
  }
  template <class T>
  requires std::is_class_v<T>
  static void into(const Json& json, T& value) {
    if (!json.is_object()) refuse("an object is needed");
    Reader reader{json};
    members(reader, value);
    if (reader.read != json.size()) refuse("a member that nobody knows");
  }
};

template <class T>
Json to_json(const T& value) {
  return Writer::write(value);
}

template <class T>
T read_from(const Json& json) {
  T value{};
  Reader::into(json, value);
  return value;
}

}  // namespace

Json ToJson(const Facts& facts) {
  return to_json(facts);
}

Facts FactsFrom(const Json& json) {
  return read_from<Facts>(json);
}

Json ToJson(const Job& job) {
  return to_json(job);
}

Job JobFrom(const Json& json) {
  return read_from<Job>(json);
}

Json ToJson(const Failure& failure) {
  return to_json(failure);
}

Failure FailureFrom(const Json& json) {
  return read_from<Failure>(json);
}

}  // namespace qex::tool
