// Requests: nonce, policy, encoding, and the comparison of the encoding with the intended values.
#include "tool/exchange/request.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/base/json.h"
#include "tool/base/system.h"
#include "tool/message/oid_text.h"
#include "tool/message/structure.h"
#include "tool/message/tags.h"

namespace qex::tool {
namespace {

constexpr size_t kNonceLength = 8;

// The first octet is 01 to 7F, so that the nonce is positive and has exactly these octets.
Bytes random_nonce() {
  Bytes nonce(kNonceLength);
  do {
    if (!FillRandom(nonce)) {
      throw Failure{ExitStatus::Internal,
                    std::string("the system gives no random octets: ") + std::strerror(errno),
                    "a nonce of your own can be given to 'qex request' with --nonce"};
    }
    nonce[0] &= 0x7F;
  } while (nonce[0] == 0);
  return nonce;
}

template <size_t kSize>
void set_text(char (&field)[kSize], const std::string& text) {
  if (text.size() >= kSize) {
    throw UsageFailure(
        Quoted(text) + ": the identifier is longer than " + std::to_string(kSize - 1) + " characters",
        "the library carries identifiers of at most that length");
  }
  std::copy(text.begin(), text.end(), field);
}

Failure encoding_failure(int32_t code) {
  return {ExitOfCode(code), "the request cannot be encoded (result code " + std::to_string(code) + ")",
          "this is a fault of the tool; please report it", code, QEX_GetLastAsnError()};
}

// Identifiers of a request (RFC 3161, 2.4.1) as contents octets; no octets: absent.
struct Identifiers {
  Bytes hash;
  Bytes policy;
};

Identifiers identifiers_of(const Bytes& request) {
  using inspect::Elements, inspect::kInteger, inspect::kOid, inspect::kSequence;
  const auto content = [](const std::optional<inspect::Element>& element) {
    return element ? element->content : inspect::View{};
  };
  Elements fields(content(Elements(request).next(kSequence)));
  fields.skip(kInteger);  // version
  Elements imprint(content(fields.next(kSequence)));
  const auto hash = content(Elements(content(imprint.next(kSequence))).next(kOid));
  const auto policy = content(fields.next(kOid));
  return {CopyOf(hash), CopyOf(policy)};
}

// The values in an encoded request, for comparison with the intended ones.
std::string asked_for(const Bytes& policy) {
  if (policy.empty()) return "no policy at all";
  const std::string text = inspect::DecodeOid(policy);
  return text.starts_with('?') ? "octets that are no identifier, " + text.substr(1) : "policy " + text;
}

void compare_with_what_was_meant(const Request& request, const RequestOptions& options,
                                 const HashAlgorithm& hash) {
  const Identifiers asked = identifiers_of(request.der);
  const Bytes policy = options.policy.empty() ? Bytes{} : PolicyOctets(options.policy);
  if (asked.policy == policy && asked.hash == inspect::EncodeOid(hash.identifier)) return;
  throw UsageFailure(
      "policy " + options.policy + ": the library cannot carry this identifier",
      "it would ask for " + asked_for(asked.policy) + "; ask for another policy, or leave --policy out");
}

}  // namespace

Bytes NonceFromHex(const std::string& text) {
  std::optional<Bytes> octets =
      FromHex(text.size() % 2 == 0 || text.find(':') != std::string::npos ? text : "0" + text);
  if (!octets || octets->empty()) {
    throw UsageFailure("nonce " + Quoted(text) + ": not a hexadecimal number",
                       "for example --nonce 0123456789abcdef");
  }
  octets->insert(octets->begin(), 0);  // a number is meant, so the top bit is not a sign
  Bytes nonce = MinimalInteger(*octets);
  if (nonce.size() > sizeof QEX_TSQ_DATA_EX::nonce) {
    throw UsageFailure("nonce of " + std::to_string(nonce.size()) + " octets: at most 40 can be carried",
                       "8 octets are usual");
  }
  return nonce;
}

Bytes PolicyOctets(const std::string& text) {
  const auto octets = inspect::EncodeOid(text);
  if (!octets) {
    throw UsageFailure("policy " + Quoted(text) + ": not an object identifier",
                       "for example --policy 1.3.6.1.4.1.99999.1");
  }
  return *octets;
}

Request MakeRequest(const RequestOptions& options, const HashAlgorithm& hash, ByteView digest) {
  if (!options.policy.empty()) PolicyOctets(options.policy);
  Request request{};
  QEX_TSQ_DATA_EX& record = request.record;
  record.size = sizeof record;
  set_text(record.hashAlgorithm, hash.identifier);
  std::copy(digest.begin(), digest.end(), record.hashedMessage);
  record.hashedMessageLength = uint32_t(digest.size());
  set_text(record.reqPolicy, options.policy);
  if (!options.noNonce) {
    const Bytes nonce = options.nonce.empty() ? random_nonce() : NonceFromHex(options.nonce);
    std::copy(nonce.begin(), nonce.end(), record.nonce);
    record.nonceLength = uint32_t(nonce.size());
  }
  record.certReq = options.noCertificate ? 0 : 1;
  request.der = FramedRequest(request, QEX_TRANSPORT_RAW);
  compare_with_what_was_meant(request, options, hash);
  return request;
}

Bytes FramedRequest(const Request& request, uint32_t transport) {
  uint32_t length = 0;
  int32_t code = QEX_EncodeTSQ_Ex(&request.record, nullptr, &length, transport);
  if (code != QEX_E_SIZE) throw encoding_failure(code);
  Bytes framed(length);
  code = QEX_EncodeTSQ_Ex(&request.record, framed.data(), &length, transport);
  if (code != QEX_OK) throw encoding_failure(code);
  return framed;
}

Json RequestFields(const QEX_TSQ_DATA_EX& record) {
  const HashAlgorithm* hash = FindHash(std::string_view(record.hashAlgorithm));
  const ByteView message(record.hashedMessage,
                         std::min<size_t>(record.hashedMessageLength, std::size(record.hashedMessage)));
  const ByteView nonce(record.nonce, std::min<size_t>(record.nonceLength, std::size(record.nonce)));
  Json fields;
  fields["hash"] = hash == nullptr ? inspect::NamedOid(record.hashAlgorithm) : std::string(hash->name);
  fields["imprint"] = ToHex(message);
  if (record.reqPolicy[0] != '\0') fields["policy"] = record.reqPolicy;
  if (record.nonceLength != 0) fields["nonce"] = IntegerText(nonce);
  fields["certificate_wanted"] = record.certReq != 0;
  return fields;
}

}  // namespace qex::tool
