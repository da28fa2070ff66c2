// Facts from a signer's certificate.
#include "tool/worker/strict/certificate.h"

#include <openssl/objects.h>

#include "tool/base/escape.h"
#include "tool/message/gen_time.h"
#include "tool/worker/inspect/describe.h"

namespace qex::tool::strict {
namespace {

constexpr uint32_t kSigningUsages = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION;
constexpr uint32_t kCaUsages = KU_KEY_CERT_SIGN | KU_CRL_SIGN;

// Purposes other than time-stamping, in words; empty when there are none.
std::string other_purposes(const EXTENDED_KEY_USAGE* purposes) {
  std::string others;
  for (int i = 0; i < sk_ASN1_OBJECT_num(purposes); ++i) {
    const ASN1_OBJECT* purpose = sk_ASN1_OBJECT_value(purposes, i);
    if (OBJ_obj2nid(purpose) == NID_time_stamp) continue;
    const char* name = OBJ_obj2nid(purpose) == NID_undef ? nullptr : OBJ_nid2sn(OBJ_obj2nid(purpose));
    others += (others.empty() ? "" : ", ") + (name == nullptr ? OidText(purpose) : std::string(name));
  }
  return others;
}

[[nodiscard]] bool has_time_stamping(const EXTENDED_KEY_USAGE* purposes) {
  for (int i = 0; i < sk_ASN1_OBJECT_num(purposes); ++i) {
    if (OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes, i)) == NID_time_stamp) return true;
  }
  return false;
}

// A self-signed certificate may sign tokens and its own lists; any other one signs tokens alone.
std::string key_usage_fault(X509* certificate) {
  const uint32_t usage = X509_get_key_usage(certificate);
  if (usage == UINT32_MAX) return "";  // no extension, no restriction
  if ((usage & kSigningUsages) == 0) return "the key usage lacks digitalSignature and nonRepudiation";
  const bool selfSigned = (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
  const uint32_t allowed = kSigningUsages | (selfSigned ? kCaUsages : 0);
  return (usage & ~allowed) == 0 ? "" : "the key usage allows more than signatures";
}

// Whether the private key was to sign no longer at that time (RFC 3280, 4.2.1.4).
[[nodiscard]] bool key_period_ended(const X509* certificate, int64_t time) {
  const Handle<PKEY_USAGE_PERIOD, PKEY_USAGE_PERIOD_free> period(static_cast<PKEY_USAGE_PERIOD*>(
      X509_get_ext_d2i(certificate, NID_private_key_usage_period, nullptr, nullptr)));
  const auto last = period ? SecondsOf(period->notAfter) : std::nullopt;
  return last && time > *last;
}

// The time as ISO 8601, or unchanged when it is not well formed.
std::string time_text(const ASN1_TIME* time) {
  if (const auto seconds = SecondsOf(time)) return IsoTime(*seconds);
  const ByteView octets = OctetsOf(time);
  return {octets.begin(), octets.end()};
}

}  // namespace

std::string SubjectText(const X509* certificate) {
  return inspect::NameText(Encoded<i2d_X509_NAME>(X509_get_subject_name(certificate)));
}

std::string NameForPeople(const X509_NAME* name) {
  const int at = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
  const X509_NAME_ENTRY* entry = at < 0 ? nullptr : X509_NAME_get_entry(name, at);
  if (entry == nullptr) return inspect::NameText(Encoded<i2d_X509_NAME>(name));
  unsigned char* utf8 = nullptr;
  const int length = ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(entry));
  if (length < 0) return inspect::NameText(Encoded<i2d_X509_NAME>(name));
  std::string text(reinterpret_cast<const char*>(utf8), size_t(length));
  OPENSSL_free(utf8);
  return text;
}

std::string QuotedSubject(const X509* certificate) {
  return Quoted(NameForPeople(X509_get_subject_name(certificate)));
}

SignerCertificate DescribeCertificate(X509* certificate) {
  SignerCertificate description;
  description.der = Encoded<i2d_X509>(certificate);
  const Digest* sha256 = FindDigest(NID_sha256);
  if (sha256 != nullptr) description.sha256 = DigestOf(*sha256, description.der);
  description.subject = SubjectText(certificate);
  return description;
}

Judgement JudgeUsage(X509* certificate) {
  if ((X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0) {
    return {false, "the extensions of the certificate are not valid"};
  }
  int critical = -1;
  const OwnedExtendedUsage purposes(
      static_cast<EXTENDED_KEY_USAGE*>(X509_get_ext_d2i(certificate, NID_ext_key_usage, &critical, nullptr)));
  if (!purposes) {
    return {false, critical == -1 ? "no extended key usage" : "the extended key usage cannot be read"};
  }
  if (!has_time_stamping(purposes.get())) {
    return {false, "other purposes than time-stamping: " + other_purposes(purposes.get())};
  }
  if (sk_ASN1_OBJECT_num(purposes.get()) != 1) {
    const std::string others = other_purposes(purposes.get());
    return {false, others.empty() ? "time-stamping stands more than once"
                                  : "other purposes beside time-stamping: " + others};
  }
  if (critical != 1) return {false, "time-stamping is not marked critical"};
  const std::string fault = key_usage_fault(certificate);
  if (!fault.empty()) return {false, fault};
  return {true, "time-stamping alone, critical"};
}

Validity ValidityAt(const X509* certificate, const JudgedTimes& times) {
  const ASN1_TIME* from = X509_get0_notBefore(certificate);
  const ASN1_TIME* until = X509_get0_notAfter(certificate);
  const auto first = SecondsOf(from);
  const auto last = SecondsOf(until);
  Validity validity;
  validity.notBefore = time_text(from);
  validity.notAfter = time_text(until);
  validity.expiredNow = !last || times.now > *last;
  validity.keyPeriodEnded = times.stamped && key_period_ended(certificate, *times.stamped);
  if (!first || !last) return validity;
  validity.stampedBefore = times.stamped && *times.stamped < *first;
  validity.result = times.judged < *first  ? ValidityResult::NotYet
                    : times.judged > *last ? ValidityResult::Expired
                                           : ValidityResult::Valid;
  return validity;
}

bool NamesSigner(GENERAL_NAME* name, X509* certificate) {
  if (name->type == GEN_DIRNAME &&
      X509_NAME_cmp(name->d.directoryName, X509_get_subject_name(certificate)) == 0) {
    return true;
  }
  const OwnedGeneralNames others(
      static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  for (int i = 0; i < sk_GENERAL_NAME_num(others.get()); ++i) {
    if (GENERAL_NAME_cmp(name, sk_GENERAL_NAME_value(others.get(), i)) == 0) return true;
  }
  return false;
}

}  // namespace qex::tool::strict
