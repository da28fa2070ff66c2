// Samples that between them have every part in every shape.
#include "tests/support/token_samples.h"

namespace qex::test {

std::vector<std::pair<std::string, AttrCertParts>> SampleAttributeCertificates() {
  std::vector<std::pair<std::string, AttrCertParts>> all;
  const auto add = [&all](const char* name, auto change) {
    AttrCertParts parts;
    change(parts);
    all.emplace_back(name, parts);
  };
  MetricsParts leaps;
  leaps.leaps = {{{Seconds(3692217600), 1}, {Seconds(3692217601, 5, -1), -1}}};
  MetricsParts no_leaps;
  no_leaps.leaps.emplace();
  PolicyParts bare;
  bare.identifiers = {{{"1.2.3", true}, {"1.2.4", false}}};
  PolicyParts empty{std::nullopt, std::nullopt, std::nullopt};
  PolicyParts no_identifiers;
  no_identifiers.identifiers.emplace();

  add("unchanged", [](AttrCertParts&) {});
  add("v1Form", [](AttrCertParts& p) { p.v1_form = true; });
  add("v2Form without a name", [](AttrCertParts& p) { p.issuer.reset(); });
  add("no holder name", [](AttrCertParts& p) { p.holder.reset(); });
  add("no digest", [](AttrCertParts& p) { p.object_digest.reset(); });
  add("long serial number", [](AttrCertParts& p) { p.serial = Octets(41, 0x11); });
  add("long signature", [](AttrCertParts& p) { p.signature = Octets(1025, 0x11); });
  add("other names", [](AttrCertParts& p) {
    p.holder = {{{GeneralName::kDNSName, {}, "example.org"},
                 {GeneralName::kRfc822Name, {}, "tsa@example.org"},
                 {GeneralName::kUniformResourceIdentifier, {}, "http://example.org"},
                 {GeneralName::kIPAddress, {}, "abcd"},
                 {GeneralName::kRegisteredID, {}, "1.2.3.4"}}};
  });
  add("no attributes", [](AttrCertParts& p) { p.attributes.clear(); });
  add("another attribute", [](AttrCertParts& p) { p.attributes = {PlainAttribute()}; });
  add("leaps", [&](AttrCertParts& p) { p.attributes = {MetricsAttribute({{leaps, no_leaps}})}; });
  add("nested metrics", [&](AttrCertParts& p) {
    p.attributes = {MetricsAttribute({{leaps}, {MetricsParts(), no_leaps}}, Shape::kNested)};
  });
  add("no metrics", [](AttrCertParts& p) { p.attributes = {MetricsAttribute({})}; });
  add("an empty nested set",
      [](AttrCertParts& p) { p.attributes = {MetricsAttribute({{}}, Shape::kNested)}; });
  add("single metrics in the set", [&](AttrCertParts& p) {
    p.attributes = {MetricsAttribute({{leaps}}, Shape::kDirect, kSingleMetricsAttribute)};
  });
  add("single metrics in place", [&](AttrCertParts& p) {
    p.attributes = {MetricsAttribute({{leaps}}, Shape::kInPlace, kSingleMetricsAttribute)};
  });
  add("policies", [&](AttrCertParts& p) {
    p.attributes = {PolicyAttribute({{bare, empty, no_identifiers}})};
  });
  add("nested policies", [&](AttrCertParts& p) {
    p.attributes = {PolicyAttribute({{bare}, {empty, no_identifiers}}, Shape::kNested)};
  });
  return all;
}

std::vector<std::pair<std::string, TokenParts>> SampleTokens() {
  std::vector<std::pair<std::string, TokenParts>> all;
  const auto add = [&all](const char* name, auto change) {
    TokenParts parts;
    change(parts);
    all.emplace_back(name, parts);
  };
  add("unchanged", [](TokenParts&) {});
  add("another digest and key", [](TokenParts& p) {
    p.signer().digest = kSha512;
    p.signer().signature_algorithm = kSha512WithRsa;
    p.signer().sign = SignedWithRsa(TestKey("long"));
  });
  add("every certificate", [](TokenParts& p) {
    p.certificates = {{AttrCert(CertificateParts::kV1), PlainCertificate(),
                       AttrCert(CertificateParts::kPublishedV1), AttrCert(CertificateParts::kV2),
                       OtherFormat(), PlainCertificate(OtherCertificate())}};
  });
  add("no certificate set", [](TokenParts& p) { p.certificates.reset(); });
  add("several signers", [](TokenParts& p) {
    p.signers.resize(2);
    p.signers[1].version = 3;
    p.signers[1].digest = kSha1;
    p.version = 1;
    p.encapsulated_type = kData;
  });
  add("no signer", [](TokenParts& p) { p.signers.clear(); });
  add("no signed attributes", [](TokenParts& p) { p.signer().signed_attributes = false; });
  add("signing-certificate attributes", [](TokenParts& p) {
    p.signer().certificate_ids = {{Octets(20, 1), Octets(20, 2)}};
    p.signer().certificate_ids_v2 = {{{"", Octets(32, 3)}, {kSha512, Octets(64, 4)}}};
  });
  add("signer attributes", [](TokenParts& p) {
    p.signer().certificate_ids.reset();
    p.signer().signer_attributes = {{{{{PlainAttribute()}, {}}, {{}, AttrCertParts()}}, {}}};
  });
  return all;
}

}  // namespace qex::test
