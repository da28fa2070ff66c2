// Encodings that several tests build upon: names, certificates, attribute certificates, signed
// data. Written from the modules of RFC 5280, RFC 3281 and RFC 5652, tag by tag.
#pragma once

#include "tests/support/codec.h"

namespace qex::test::sample {

inline constexpr const char* kData = "1.2.840.113549.1.7.1";
inline constexpr const char* kSignedDataId = "1.2.840.113549.1.7.2";
inline constexpr const char* kTSTInfoId = "1.2.840.113549.1.9.16.1.4";
inline constexpr const char* kSha256 = "2.16.840.1.101.3.4.2.1";
inline constexpr const char* kSha256WithRsa = "1.2.840.113549.1.1.11";
inline constexpr const char* kCommonName = "2.5.4.3";

inline Octets sha256() {
  return der::algorithm(kSha256, der::null());
}
inline Octets sha256_with_rsa() {
  return der::algorithm(kSha256WithRsa, der::null());
}

// common_name is an AttributeTypeAndValue, name a Name of one of them.
inline Octets common_name(std::string_view text) {
  return der::sequence(der::oid(kCommonName), der::utf8_string(text));
}
inline Octets name(std::string_view text) {
  return der::sequence(der::set(common_name(text)));
}
inline Octets directory_name(std::string_view text) {
  return der::context(4, name(text));
}
inline Octets general_names(std::string_view text) {
  return der::sequence(directory_name(text));
}
// issuer_serial_fields are the fields of an IssuerSerial, without the tag.
inline Octets issuer_serial_fields(std::string_view text) {
  return der::concat(general_names(text), der::integer(77));
}
inline Octets issuer_serial(std::string_view text) {
  return der::sequence(issuer_serial_fields(text));
}

inline Octets extension(std::string_view id, const Octets& critical, const Octets& value) {
  return der::sequence(der::oid(id), critical, der::octet_string(value));
}
// key_usage and basic_constraints are two extensions, one of them critical.
inline Octets extension_list() {
  return der::concat(extension("2.5.29.15", der::boolean(true), hex("030206c0")),
                     extension("2.5.29.19", {}, hex("3000")));
}

inline Octets rsa_key() {
  const Octets key = der::sequence(der::big_integer(hex("00c5d3f1")), der::integer(65537));
  return der::sequence(der::algorithm("1.2.840.113549.1.1.1", der::null()), der::bit_string(key));
}

inline Octets tbs_certificate() {
  return der::sequence(
      der::context(0, der::integer(2)), der::big_integer(hex("0102030405060708090a0b0c0d0e0f")),
      sha256_with_rsa(), name("CA"),
      der::sequence(der::utc_time("260101000000Z"), der::generalized_time("20500101000000Z")), name("TSA"),
      rsa_key(), der::context(3, der::sequence(extension_list())));
}
inline Octets certificate() {
  return der::sequence(tbs_certificate(), sha256_with_rsa(), der::bit_string(hex("a1b2c3d4")));
}

// attribute has the identifier `id` and the run of values `values`.
inline Octets attribute(std::string_view id, const Octets& values) {
  return der::sequence(der::oid(id), der::set(values));
}
inline Octets content_type_attribute() {
  return attribute("1.2.840.113549.1.9.3", der::oid(kTSTInfoId));
}

inline Octets ac_validity() {
  return der::sequence(der::generalized_time("20260101000000Z"), der::generalized_time("20270101000000Z"));
}
inline Octets object_digest_info_fields() {
  return der::concat(hex("0a0100"), sha256(), der::bit_string(hex("ff00")));
}

// ac_fields are the three fields of an RFC 3281 attribute certificate, ac_v1_fields those of the
// version-1 form: no version, a subject in EXPLICIT tags, GeneralNames as the issuer.
inline Octets ac_fields() {
  const Octets info = der::sequence(
      der::integer(1), der::sequence(der::context(0, issuer_serial_fields("holder"))),
      der::context(0, general_names("AC issuer")), sha256_with_rsa(),
      der::big_integer(hex("00fedcba9876543210")), ac_validity(), der::sequence(content_type_attribute()));
  return der::concat(info, sha256_with_rsa(), der::bit_string(hex("0badcafe")));
}
inline Octets ac_v1_fields(const Octets& version, const Octets& subject) {
  const Octets info = der::sequence(version, subject, general_names("AC issuer"), sha256_with_rsa(),
                                    der::integer(5), ac_validity(), der::sequence(content_type_attribute()));
  return der::concat(info, sha256_with_rsa(), der::bit_string(hex("0badcafe")));
}
inline Octets ac_v1_fields() {
  return ac_v1_fields({}, der::context(1, general_names("subject")));
}

inline Octets signer_info(const Octets& signed_attrs = {}, const Octets& unsigned_attrs = {}) {
  return der::sequence(der::integer(1), der::sequence(name("CA"), der::integer(9)), sha256(), signed_attrs,
                       der::algorithm("1.2.840.113549.1.1.1", der::null()), der::octet_string(hex("5167")),
                       unsigned_attrs);
}
inline Octets signed_data(const Octets& certificates = {}, const Octets& crls = {}) {
  return der::sequence(
      der::integer(3), der::set(sha256()),
      der::sequence(der::oid(kTSTInfoId), der::context(0, der::octet_string(hex("3003020101")))),
      certificates, crls, der::set(signer_info()));
}
inline Octets token(const Octets& signed_data_value) {
  return der::sequence(der::oid(kSignedDataId), der::context(0, signed_data_value));
}
// token_with_certificates has a certificate and an attribute certificate.
inline Octets token_with_certificates() {
  return token(signed_data(der::context(0, certificate(), der::context(2, ac_fields()))));
}

}  // namespace qex::test::sample

// Parts of the timing attributes.
namespace qex::test::sample::timing {

inline constexpr const char* kMetricsAttribute = "1.3.6.1.4.1.601.10.4.1";
inline constexpr const char* kPolicyAttribute = "1.3.6.1.4.1.601.10.4.2";
inline constexpr const char* kMetricsContent = "1.3.6.1.4.1.601.10.1";

inline Octets seconds(int64_t n) {
  return der::sequence(der::integer(n), der::integer(0));
}
inline Octets metrics(int64_t n) {
  return der::sequence(seconds(n), seconds(1), seconds(2), seconds(3));
}
inline Octets policy(std::string_view id) {
  return der::sequence(der::sequence(der::oid(id)));
}

}  // namespace qex::test::sample::timing
