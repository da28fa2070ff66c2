// Hostile inputs of the exports that read, verify and rewrite tokens.
#include "api/qex.h"
#include "api/signing_certificate.h"
#include "bench/hostile_parts.h"
#include "ber/open_types.h"

namespace qex::bench {
namespace {

// --- TSTInfo -----------------------------------------------------------------------

HostileInput token_of(const TokenPieces& pieces) {
  return input_of(pieces.encode());
}
HostileInput token_around(const TstInfoPieces& info) {
  TokenPieces token;
  token.content = der::octet_string(info.encode());
  return token_of(token);
}

HostileInput info_of_extensions(size_t size) {
  TstInfoPieces info;
  info.extensions = many(kShortExtension, size);
  return token_around(info);
}
HostileInput info_of_a_long_name(size_t size) {
  TstInfoPieces info;
  info.tsa = der::context(4, der::sequence(many(kCommonName, size)));
  return token_around(info);
}
HostileInput info_of_a_name_of_nothing(size_t size) {
  TstInfoPieces info;
  info.tsa = der::context(4, der::sequence(many(kEmptySet, size)));
  return token_around(info);
}
HostileInput info_of_a_long_policy(size_t size) {
  TstInfoPieces info;
  info.policy = der::element(0x06, Octets(size, 0x2A));
  return token_around(info);
}
HostileInput content_of_nested_strings(size_t size) {
  TokenPieces token;
  token.content = nested(0x24, size);
  return token_of(token);
}
HostileInput content_in_pieces(size_t size) {
  TokenPieces token;
  token.content = pieces(0x24, {0x04, 0x01, 0x30}, size);
  return token_of(token);
}

[[nodiscard]] int32_t read_info(HostileInput& input) {
  QEX_TSTINFO_EX record{};
  record.size = sizeof record;
  return QEX_GetTST_TSTInfoEx(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t read_short_info(HostileInput& input) {
  QEX_TSTINFO record{};
  return QEX_GetTST_TSTInfo(&record, input.main.data(), length_of(input.main));
}

// --- The authority's certificate and the signature ------------------------------------

// The first identifier names a certificate that is not there.
Octets naming_nothing() {
  return signing_certificate(der::sequence(der::octet_string(Octets(20, 7))));
}

HostileInput certificates_not_named(size_t size) {
  TokenPieces token;
  token.signed_attributes =
      der::concat(attribute("1.2.840.113549.1.9.4", der::octet_string(Octets(32, 1))), naming_nothing());
  token.certificates = many_of([](uint32_t i) { return certificate(serial_number(i)); }, size);
  return token_of(token);
}
HostileInput attributes_before_the_one(size_t size) {
  TokenPieces token;
  token.signed_attributes = der::concat(many(kShortAttribute, size), naming_nothing());
  token.certificates = certificate(der::integer(1));
  return token_of(token);
}

Octets rsa_certificate(size_t modulusOctets = 64, const Octets& exponent = {1, 0, 1}) {
  const Octets modulus(modulusOctets, 0xC5);
  const Octets key = der::sequence(der::unsigned_integer(modulus), der::unsigned_integer(exponent));
  return certificate(der::integer(1), der::sequence(der::algorithm("1.2.840.113549.1.1.1", der::null()),
                                                    der::bit_string(key)));
}

// A token of many signed attributes whose digest is right.
HostileInput attributes_that_are_signed(size_t size) {
  TokenPieces token;
  const Octets hash = sha256_of(TstInfoPieces().encode());
  token.signed_attributes =
      der::concat(many(kShortAttribute, size), attribute("1.2.840.113549.1.9.4", der::octet_string(hash)));
  return input_of(token.encode(), rsa_certificate());
}

// colliding_identifier returns contents octets, nearly `size` of them, that collide with `oid` in the lookup
// of open types: it compares only a hash of 32 bits of identifiers.
Octets colliding_identifier(const Octets& oid, size_t size) {
  constexpr uint32_t kFactor = 65587;
  const uint32_t wanted = AnyKeyHash(oid.data(), oid.size());
  Octets octets(size, 0x2A);
  const uint32_t start = AnyKeyHash(octets.data(), octets.size());
  for (uint32_t i = 0;; ++i) {
    const Octets tail = {uint8_t(i), uint8_t(i >> 8), uint8_t(i >> 16)};
    uint32_t hash = start;
    for (const uint8_t octet : tail) hash = hash * kFactor + uint32_t(int32_t{int8_t(octet)});
    // Two more octets, a and b: hash * f^2 + a * f + b is the wanted value.
    const uint32_t rest = wanted - hash * kFactor * kFactor;
    for (int32_t a = -128; a < 128; ++a) {
      const uint32_t b = rest - uint32_t(a) * kFactor + 128;
      if (b >= 256) continue;
      octets.insert(octets.end(), tail.begin(), tail.end());
      octets.push_back(uint8_t(a));
      octets.push_back(uint8_t(b - 128));
      return octets;
    }
  }
}

HostileInput values_under_a_long_identifier(size_t size) {
  TokenPieces token;
  const Octets type = colliding_identifier(der::oid_content(kSha1Digest), size / 2);
  token.signed_attributes = der::sequence(der::element(0x06, type), der::set(many({0x05, 0x00}, size / 2)));
  return token_of(token);
}
HostileInput values_that_are_null(size_t size) {
  TokenPieces token;
  token.signed_attributes = attribute(kSha1Digest, many({0x05, 0x00}, size));
  return token_of(token);
}
HostileInput values_of_no_octets(size_t size) {
  TokenPieces token;
  token.signed_attributes = attribute("2.5.4.3", many({0x13, 0x00}, size));
  return token_of(token);
}
HostileInput content_that_is_signed(size_t size) {
  TokenPieces token;
  token.content = der::octet_string(Octets(size, 0x5A));
  token.signed_attributes = attribute("1.2.840.113549.1.9.4", der::octet_string(Octets(32, 1)));
  return input_of(token.encode(), rsa_certificate());
}

// Keys of 96,000 bits, for any requested size: the work of a public key is not linear, its memory is.
constexpr size_t kKeyOctets = 12000;

TokenPieces token_of_right_digest() {
  TokenPieces token;
  token.signed_attributes =
      attribute("1.2.840.113549.1.9.4", der::octet_string(sha256_of(TstInfoPieces().encode())));
  return token;
}
HostileInput large_rsa_key(size_t) {
  const TokenPieces token = token_of_right_digest();
  return input_of(token.encode(), rsa_certificate(kKeyOctets, Octets(40, 0xC5)));
}
HostileInput large_dsa_key(size_t) {
  TokenPieces token = token_of_right_digest();
  token.signature_algorithm = "2.16.840.1.101.3.4.3.2";
  token.signature = der::sequence(der::integer(1), der::integer(1));
  const Octets parameters = der::sequence(der::unsigned_integer(Octets(kKeyOctets, 0xC5)),
                                          der::unsigned_integer(Octets(40, 0xC5)), der::integer(2));
  const Octets info =
      der::sequence(der::algorithm("1.2.840.10040.4.1", parameters), der::bit_string(der::integer(3)));
  return input_of(token.encode(), certificate(der::integer(1), info));
}

[[nodiscard]] int32_t find_authority(HostileInput& input) {
  uint32_t length = length_of(input.out);
  return QEX_GetTST_TSACert(input.out.data(), &length, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t verify(HostileInput& input) {
  return QEX_VerifyTST_Signature(input.main.data(), length_of(input.main),
                                 input.other.empty() ? nullptr : input.other.data(), length_of(input.other));
}

// --- Rewriting ---------------------------------------------------------------------

HostileInput signer_of_a_long_name(size_t size) {
  TokenPieces token;
  token.signer_name = many(kEmptySet, size);
  return token_of(token);
}
HostileInput signer_of_open_ends(size_t size) {
  TokenPieces token;
  token.signer_name = many({0x31, 0x80, 0x00, 0x00}, size);
  return token_of(token);
}
// Every other certificate of the set is an attribute certificate, of version 1 and 2 in turn.
HostileInput certificates_of_all_kinds(size_t size) {
  TokenPieces token;
  const Octets content = TacPieces().content();
  const Octets plain = certificate(der::integer(1));
  const Octets four = der::concat(plain, der::context(1, content), plain, der::context(2, content));
  token.certificates = many(four, size);
  return token_of(token);
}
HostileInput list_of_revoked(size_t size) {
  const Octets revoked = {0x30, 0x04, 0x02, 0x00, 0x17, 0x00};
  const Octets body =
      der::sequence(kShortAlgorithm, kEmptySequence, Octets{0x17, 0x00}, der::sequence(many(revoked, size)));
  TokenPieces token;
  token.lists = der::sequence(body, kShortAlgorithm, kShortBits);
  return token_of(token);
}

// The end of the input makes the decoder leave everything that it has built.
HostileInput cut_off(size_t size) {
  HostileInput input = signer_of_a_long_name(size);
  input.main.pop_back();
  return input;
}

[[nodiscard]] int32_t write_as_data(HostileInput& input) {
  uint32_t length = length_of(input.out);
  return QEX_TSTInfoToIDData(input.main.data(), length_of(input.main), input.out.data(), &length);
}
[[nodiscard]] int32_t remove_certificates(HostileInput& input) {
  uint32_t length = length_of(input.out);
  return QEX_RemoveAttrCerts(input.main.data(), length_of(input.main), input.out.data(), &length);
}

}  // namespace

std::vector<HostileCase> HostileKeys() {
  return {
      {"VerifyTST_Signature, RSA key of 96,000 bits", large_rsa_key, verify, QEX_E_SIGNATURE},
      {"VerifyTST_Signature, DSA key of 96,000 bits", large_dsa_key, verify, QEX_E_SIGNATURE},
  };
}

std::vector<HostileCase> HostileTokens() {
  return {
      {"GetTST_TSTInfoEx, extensions", info_of_extensions, read_info, QEX_OK},
      {"GetTST_TSTInfoEx, name of many parts", info_of_a_long_name, read_info, QEX_OK},
      {"GetTST_TSTInfoEx, content in nested strings", content_of_nested_strings, read_info, QEX_E_DECODE},
      {"GetTST_TSTInfoEx, content in one-octet pieces", content_in_pieces, read_info, QEX_E_DECODE},
      {"GetTST_TSTInfo, name of empty parts", info_of_a_name_of_nothing, read_short_info, QEX_OK},
      {"GetTST_TSTInfo, policy of many arcs", info_of_a_long_policy, read_short_info, QEX_E_SIZE},
      {"GetTST_TSACert, certificates", certificates_not_named, find_authority, QEX_E_NOCERT},
      {"GetTST_TSACert, signed attributes", attributes_before_the_one, find_authority, QEX_E_NOCERT},
      {"VerifyTST_Signature, certificates", certificates_not_named, verify, QEX_E_NOCERT},
      {"VerifyTST_Signature, signed attributes", attributes_that_are_signed, verify, QEX_E_SIGNATURE},
      {"VerifyTST_Signature, content", content_that_is_signed, verify, QEX_E_SIGNATURE},
      {"VerifyTST_Signature, values under a long identifier", values_under_a_long_identifier, verify,
       QEX_E_BADTOKEN},
      {"TSTInfoToIDData, name of empty parts", signer_of_a_long_name, write_as_data, QEX_OK},
      {"TSTInfoToIDData, indefinite lengths", signer_of_open_ends, write_as_data, QEX_OK},
      {"TSTInfoToIDData, values that are NULL", values_that_are_null, write_as_data, QEX_OK},
      {"TSTInfoToIDData, values of no octets", values_of_no_octets, write_as_data, QEX_OK},
      {"RemoveAttrCerts, certificates", certificates_of_all_kinds, remove_certificates, QEX_OK},
      {"RemoveAttrCerts, revoked certificates", list_of_revoked, remove_certificates, QEX_OK},
      {"RemoveAttrCerts, cut off at the end", cut_off, remove_certificates, QEX_E_DECODE},
  };
}

}  // namespace qex::bench
