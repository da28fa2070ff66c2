// Hostile inputs of the exports for time attribute certificates.
#include "api/qex.h"
#include "api/signing_certificate.h"
#include "bench/hostile_parts.h"

namespace qex::bench {
namespace {

// --- In tokens ---------------------------------------------------------------------

Octets numbered_certificates(size_t size) {
  return many_of(
      [](uint32_t i) {
        TacPieces tac;
        tac.serial = {uint8_t(i >> 16), uint8_t(i >> 8), uint8_t(i)};
        return der::context(2, tac.content());
      },
      size);
}

// identifier is one of no certificate; its hash differs from those before it in the last octets alone.
Octets identifier(uint32_t i, const Octets& algorithm, uint8_t hash_length) {
  Octets hash(hash_length, 0x11);
  // Multiplied, so that the hashes are not in ascending order.
  const uint32_t scattered = i * 2654435761u;
  for (size_t k = 0; k < 4; ++k) hash[hash_length - 1 - k] = uint8_t(scattered >> 8 * k);
  return der::sequence(algorithm, der::octet_string(hash));
}

HostileInput certificates_and_identifiers(size_t size) {
  TokenPieces token;
  token.signed_attributes =
      signing_certificate(many_of([](uint32_t i) { return identifier(i, {}, 20); }, size * 3 / 7));
  token.certificates = numbered_certificates(size * 4 / 7);
  return input_of(token.encode());
}
HostileInput certificates_and_identifiers_v2(size_t size) {
  TokenPieces token;
  const Octets sha384 = der::algorithm("2.16.840.1.101.3.4.2.2"),
               sha512 = der::algorithm("2.16.840.1.101.3.4.2.3");
  const auto unit = [&](uint32_t i) {
    return der::concat(identifier(i, {}, 32), identifier(i, sha384, 48), identifier(i, sha512, 64));
  };
  token.signed_attributes = signing_certificate_v2(many_of(unit, size * 2 / 3));
  token.certificates = numbered_certificates(size / 3);
  return input_of(token.encode());
}
HostileInput signer_attributes(size_t size) {
  TokenPieces token;
  const Octets claimed = {0xA0, 0x02, 0x30, 0x00};
  token.signed_attributes =
      der::concat(signing_certificate(identifier(0, {}, 20)),
                  attribute("1.2.840.113549.1.9.16.2.18", der::sequence(many(claimed, size))));
  return input_of(token.encode());
}
HostileInput certificate_and_identifiers(size_t size) {
  HostileInput input = certificates_and_identifiers(size / 2);
  TacPieces tac;
  tac.issuer_names = many({0x82, 0x00}, size / 2);
  input.other = tac.encode();
  return input;
}

[[nodiscard]] int32_t find_certificate(HostileInput& input, uint32_t v2) {
  essCertIdV2Switch = v2;
  uint32_t length = length_of(input.out);
  const int32_t code =
      QEX_GetTST_TimeAttributeCert(input.out.data(), &length, input.main.data(), length_of(input.main));
  essCertIdV2Switch = 0;
  return code;
}
[[nodiscard]] int32_t find_certificate_v1(HostileInput& input) {
  return find_certificate(input, 0);
}
[[nodiscard]] int32_t find_certificate_v2(HostileInput& input) {
  return find_certificate(input, 1);
}
[[nodiscard]] int32_t match_certificate(HostileInput& input) {
  return QEX_CheckTAC_MatchesTST(input.other.data(), length_of(input.other), input.main.data(),
                                 length_of(input.main));
}

// --- Alone -------------------------------------------------------------------------

HostileInput holder_of_a_long_name(size_t size) {
  TacPieces tac;
  tac.holder_names = der::context(4, der::sequence(many(kCommonName, size)));
  return input_of(tac.encode());
}
HostileInput issuer_of_addresses(size_t size) {
  TacPieces tac;
  tac.issuer_names = many(kShortX400Name, size);
  return input_of(tac.encode());
}
// Names inside names, as deep as open types may nest, repeated.
HostileInput holder_of_nested_names(size_t size) {
  Octets name = kEmptySequence;
  for (int depth = 0; depth < 64; ++depth) {
    name = der::sequence(der::set(der::sequence(der::oid("2.5.4.49"), name)));
  }
  TacPieces tac;
  tac.holder_names = many(der::context(4, name), size);
  return input_of(tac.encode());
}
// A SET may bring a field again and again; the last one stays.
HostileInput issuer_of_repeated_fields(size_t size) {
  const Octets person = der::context(5, many({0x80, 0x00}, size));
  TacPieces tac;
  tac.issuer_names = der::context(3, der::sequence(person));
  return input_of(tac.encode());
}
HostileInput signature_in_pieces(size_t size) {
  TacPieces tac;
  tac.signature = pieces(0x23, {0x03, 0x02, 0x00, 0x5A}, size);
  return input_of(tac.encode());
}

constexpr const char* kMetrics = "1.3.6.1.4.1.601.10.4.1";
// 2024-01-01 in seconds from 1900, which shows as a date.
const Octets kNewYear2024 = {0xE9, 0x3C, 0x7F, 0x00};
constexpr const char* kPolicy = "1.3.6.1.4.1.601.10.4.2";

HostileInput with_attributes(Octets attributes) {
  TacPieces tac;
  tac.attributes = std::move(attributes);
  return input_of(tac.encode());
}

Octets metrics(const Octets& leaps = {}) {
  const Octets now = der::sequence(der::unsigned_integer(kNewYear2024), kNoInteger);
  return der::sequence(now, kShortTimeValue, kShortTimeValue, now, leaps);
}
HostileInput many_metrics(size_t size) {
  return with_attributes(attribute(kMetrics, many(metrics(), size)));
}
HostileInput set_of_metrics(size_t size) {
  return with_attributes(attribute(kMetrics, der::set(many(metrics(), size))));
}
HostileInput many_leaps(size_t size) {
  const Octets time = der::sequence(der::unsigned_integer(kNewYear2024), kNoInteger);
  const Octets leap = der::sequence(time, der::integer(1));
  return with_attributes(attribute(kMetrics, metrics(der::set(many(leap, size)))));
}
HostileInput attributes_before_metrics(size_t size) {
  return with_attributes(der::concat(many(kShortAttribute, size), attribute(kMetrics, metrics())));
}
HostileInput many_policies(size_t size) {
  return with_attributes(attribute(kPolicy, many(kEmptySequence, size)));
}
HostileInput policy_of_identifiers(size_t size) {
  const Octets policy = der::sequence(der::sequence(many({0x06, 0x00}, size)));
  return with_attributes(attribute(kPolicy, policy));
}

[[nodiscard]] int32_t read_identity(HostileInput& input) {
  QEX_TACINFO_EX record{};
  record.size = sizeof record;
  return QEX_GetTAC_CertInfoEx(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t read_short_identity(HostileInput& input) {
  QEX_TACINFO record{};
  return QEX_GetTAC_CertInfo(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t read_metrics(HostileInput& input) {
  QEX_TIMING_METRICS_EX record{};
  return QEX_GetTAC_TimingMetricsEx(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t read_short_metrics(HostileInput& input) {
  QEX_TIMING_METRICS record{};
  return QEX_GetTAC_TimingMetrics(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t read_policy(HostileInput& input) {
  QEX_TIMING_POLICY record{};
  return QEX_GetTAC_TimingPolicy(&record, input.main.data(), length_of(input.main));
}

}  // namespace

std::vector<HostileCase> HostileCertificates() {
  return {
      {"GetTST_TimeAttributeCert, certificates and identifiers", certificates_and_identifiers,
       find_certificate_v1, QEX_E_NOTAC},
      {"GetTST_TimeAttributeCert, the same, second version", certificates_and_identifiers_v2,
       find_certificate_v2, QEX_E_NOTAC},
      {"GetTST_TimeAttributeCert, signer attributes", signer_attributes, find_certificate_v1, QEX_E_NOTAC},
      {"CheckTAC_MatchesTST, certificate and identifiers", certificate_and_identifiers, match_certificate,
       QEX_E_MISMATCH},
      {"GetTAC_CertInfoEx, name of many parts", holder_of_a_long_name, read_identity, QEX_OK},
      {"GetTAC_CertInfoEx, X.400 addresses", issuer_of_addresses, read_identity, QEX_OK},
      {"GetTAC_CertInfoEx, nested names", holder_of_nested_names, read_identity, QEX_OK},
      {"GetTAC_CertInfoEx, repeated fields of a SET", issuer_of_repeated_fields, read_identity, QEX_OK},
      {"GetTAC_CertInfo, signature in pieces", signature_in_pieces, read_short_identity, QEX_E_SIZE},
      {"GetTAC_TimingMetricsEx, metrics", many_metrics, read_metrics, QEX_OK},
      {"GetTAC_TimingMetricsEx, metrics in a set", set_of_metrics, read_metrics, QEX_OK},
      {"GetTAC_TimingMetricsEx, leap events", many_leaps, read_metrics, QEX_OK},
      {"GetTAC_TimingMetrics, attributes", attributes_before_metrics, read_short_metrics, QEX_OK},
      {"GetTAC_TimingPolicy, policies of nothing", many_policies, read_policy, QEX_OK},
      {"GetTAC_TimingPolicy, policy identifiers", policy_of_identifiers, read_policy, QEX_OK},
  };
}

std::vector<HostileCase> HostileCases() {
  std::vector<HostileCase> all = HostileMessages();
  for (const auto& family : {HostileTokens(), HostileCertificates()}) {
    all.insert(all.end(), family.begin(), family.end());
  }
  return all;
}

}  // namespace qex::bench
