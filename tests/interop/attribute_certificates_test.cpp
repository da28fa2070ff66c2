// Tokens and attribute certificates written by the library's encoders, read by other implementations.
//
// The values that asn1crypto reads are compared with the original ones, written as text in the same form.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <sstream>
#include <string>

#include "tests/support/files.h"
#include "tests/support/octets.h"
#include "tests/support/token_samples.h"

namespace qex::test {
namespace {

std::string joined(const std::vector<std::string>& parts, const char* between = " ") {
  std::string all;
  for (const std::string& part : parts) all += (all.empty() ? "" : between) + part;
  return all;
}

template <class Parts, class F>
std::string each(const std::vector<Parts>& parts, F text, const char* between = " ") {
  std::vector<std::string> all;
  for (const Parts& part : parts) all.push_back(text(part));
  return joined(all, between);
}

std::string text_of(const TimeParts& time) {
  return ToHex(time.major) + "." + ToHex(time.fraction) +
         (time.sign.has_value() ? "*" + std::to_string(*time.sign) : "");
}

std::string text_of(const MetricsParts& parts) {
  std::string leaps;
  if (parts.leaps.has_value()) {
    for (const LeapParts& leap : *parts.leaps) {
      leaps += " leap " + text_of(leap.time) + " " + std::to_string(leap.action);
    }
    leaps += " .";
  }
  return "metrics(" + text_of(parts.ntp_time) + " " + text_of(parts.offset) + " " + text_of(parts.delay) +
         " " + text_of(parts.expiration) + leaps + ")";
}

std::string text_of(const PolicyParts& parts) {
  std::vector<std::string> words;
  if (parts.identifiers.has_value()) {
    for (const PolicyIdParts& id : *parts.identifiers) {
      words.push_back((id.bare ? "bare " : "") + id.identifier);
    }
    words.emplace_back(".");
  }
  if (parts.max_offset.has_value()) words.push_back("max_offset " + text_of(*parts.max_offset));
  if (parts.max_delay.has_value()) words.push_back("max_delay " + text_of(*parts.max_delay));
  return "policy(" + joined(words) + ")";
}

template <class Parts>
std::string shaped(Shape shape, const std::vector<std::vector<Parts>>& sets) {
  std::vector<std::string> values;
  for (const std::vector<Parts>& set : sets) {
    if (shape == Shape::kInPlace) return "<" + text_of(set.at(0)) + ">";
    const std::string inner = each(set, [](const Parts& parts) { return text_of(parts); });
    values.push_back(shape == Shape::kNested ? "{" + inner + "}" : inner);
  }
  return "[" + joined(values) + "]";
}

std::string text_of(const AttributeParts& parts) {
  if (!parts.identifier.empty()) return parts.type + "[" + ToHex(der::oid(parts.identifier)) + "]";
  return parts.type +
         (parts.policies.empty() ? shaped(parts.shape, parts.metrics) : shaped(parts.shape, parts.policies));
}

std::string text_of(const NameParts& name) {
  if (name.choice == GeneralName::kDirectoryName) {
    return "dn " + each(
                       name.directory, [](const auto& rdn) { return rdn.first + "=" + rdn.second; }, ";");
  }
  return ToHex(name.choice == GeneralName::kRegisteredID ? der::oid_content(name.text)
                                                         : der::octets(name.text));
}

std::string text_of(const std::optional<std::vector<NameParts>>& names) {
  return names.has_value() ? "(" + each(*names, [](const NameParts& name) { return text_of(name); }) + ")"
                           : "absent";
}

std::string text_of(const AttrCertParts& parts) {
  const std::string digest = parts.object_digest.has_value()
                                 ? parts.object_digest->algorithm + " 00" + ToHex(parts.object_digest->digest)
                                 : "absent";
  const std::string attributes =
      each(parts.attributes, [](const AttributeParts& attribute) { return text_of(attribute); });
  return "version " + ToHex(der::integer_content(parts.version)) + " holder " + text_of(parts.holder) +
         " digest " + digest + (parts.v1_form ? " v1_form " : " v2_form ") + text_of(parts.issuer) +
         " algorithms " + parts.inner_algorithm + " " + parts.outer_algorithm + " serial " +
         ToHex(parts.serial) + " from " + parts.not_before + " to " + parts.not_after + " signature 00" +
         ToHex(parts.signature) + " attributes " + attributes;
}

std::string text_of(const SignerAttributeParts& parts) {
  return parts.certified.has_value() ? "certified(" + text_of(*parts.certified) + ")" : "claimed";
}

// text_of a signer lacks its signature, which comes before the next part.
std::string text_of(const SignerParts& parts, const std::string& signature) {
  std::string text = "{version " + ToHex(der::integer_content(parts.version)) + " " + parts.digest + " " +
                     parts.signature_algorithm + " " + signature;
  if (!parts.signed_attributes) return text + "}";
  if (parts.certificate_ids.has_value()) {
    text += " signing_certificate " +
            each(*parts.certificate_ids, [](const Octets& hash) { return ToHex(hash); });
  }
  if (parts.certificate_ids_v2.has_value()) {
    text += " signing_certificate_v2 " +
            each(*parts.certificate_ids_v2, [](const CertificateIdV2& id) { return ToHex(id.hash); });
  }
  if (parts.signer_attributes.has_value()) {
    for (const auto& value : *parts.signer_attributes) {
      text += " value " + each(value, [](const SignerAttributeParts& element) { return text_of(element); });
    }
  }
  return text + "}";
}

std::string text_of(const TokenParts& parts, const std::vector<std::string>& signatures) {
  static const char* const kKinds[] = {"certificate", "v1_attr_cert", "v1_attr_cert", "v2_attr_cert",
                                       "other"};
  const std::string certificates =
      parts.certificates.has_value()
          ? each(*parts.certificates, [](const CertificateParts& part) { return kKinds[part.kind]; })
          : "absent";
  std::vector<std::string> signers;
  for (size_t i = 0; i < parts.signers.size(); ++i) {
    signers.push_back(text_of(parts.signers[i], signatures[i]));
  }
  return "version " + ToHex(der::integer_content(parts.version)) + " type " + parts.encapsulated_type +
         " content " + ToHex(parts.tst_info) + " certificates " + certificates + " signers " +
         joined(signers);
}

std::string without_end(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

// peer_reads returns the lines that the peer prints about these encodings.
std::vector<std::string> peer_reads(const char* kind, const std::vector<Octets>& encodings) {
  const Folder folder;
  std::string command = std::string(QEX_ASN1CRYPTO_PYTHON) +
                        " -B " QEX_SOURCE_DIR "/tests/interop/peer_attribute_certificates.py " + kind;
  for (size_t i = 0; i < encodings.size(); ++i) {
    command += " " + folder.write(std::to_string(i), encodings[i]);
  }
  std::string output;
  EXPECT_EQ(RunShell(command, &output), 0) << output;
  std::vector<std::string> lines;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(AttributeCertificates, AreReadByAsn1crypto) {
  if (std::string(QEX_ASN1CRYPTO_PYTHON).empty()) GTEST_SKIP() << "asn1crypto is not installed";
  const auto samples = SampleAttributeCertificates();
  std::vector<Octets> encodings;
  for (const auto& [name, parts] : samples) encodings.push_back(ByEncoders(parts));
  const std::vector<std::string> lines = peer_reads("certificate", encodings);
  ASSERT_EQ(lines.size(), samples.size());
  for (size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ(lines[i], without_end(text_of(samples[i].second))) << samples[i].first;
  }
}

TEST(Tokens, AreReadByAsn1crypto) {
  if (std::string(QEX_ASN1CRYPTO_PYTHON).empty()) GTEST_SKIP() << "asn1crypto is not installed";
  const auto samples = SampleTokens();
  std::vector<Octets> encodings;
  for (const auto& [name, parts] : samples) encodings.push_back(ByEncoders(parts));
  const std::vector<std::string> lines = peer_reads("token", encodings);
  ASSERT_EQ(lines.size(), samples.size());
  for (size_t i = 0; i < samples.size(); ++i) {
    // The signatures are those of the hand-made token, whose signer is tested against openssl.
    Records records;
    const ContentInfo* const token = Build(records, samples[i].second);
    std::vector<std::string> signatures;
    for (const SignerInfo* signer :
         ElementsOf<SignerInfo>(static_cast<SignedData*>(token->content.value)->signerInfos)) {
      signatures.push_back(ToHex(signer->signature));
    }
    EXPECT_EQ(lines[i], without_end(text_of(samples[i].second, signatures))) << samples[i].first;
  }
}

TEST(AttributeCertificates, AreParsedByOpenssl) {
  const Folder folder;
  for (const auto& [name, parts] : SampleAttributeCertificates()) {
    std::string output;
    EXPECT_EQ(
        RunShell("openssl asn1parse -inform DER -in " + folder.write("tac", ByEncoders(parts)), &output), 0)
        << name << "\n"
        << output;
    for (const AttributeParts& attribute : parts.attributes) {
      const bool known = attribute.type == "1.2.840.113549.1.9.3";
      EXPECT_NE(output.find(known ? ":contentType" : ":" + attribute.type), std::string::npos)
          << name << output;
    }
  }
}

TEST(Tokens, ArePrintedByOpenssl) {
  const Folder folder;
  for (const auto& [name, parts] : SampleTokens()) {
    std::string output;
    EXPECT_EQ(
        RunShell("openssl cms -cmsout -print -inform DER -in " + folder.write("token", ByEncoders(parts)),
                 &output),
        0)
        << name << "\n"
        << output;
    const auto count = [&output](const std::string& text) {
      size_t n = 0;
      for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) ++n;
      return n;
    };
    std::map<CertificateParts::Kind, size_t> kinds;
    for (const CertificateParts& part : parts.certificates.value_or(std::vector<CertificateParts>())) {
      ++kinds[part.kind];
    }
    EXPECT_EQ(count("d.certificate:"), kinds[CertificateParts::kPlain]) << name << output;
    EXPECT_EQ(count("d.v1AttrCert:"), kinds[CertificateParts::kV1] + kinds[CertificateParts::kPublishedV1])
        << name;
    EXPECT_EQ(count("d.v2AttrCert:"), kinds[CertificateParts::kV2]) << name;
    EXPECT_EQ(count("d.other:"), kinds[CertificateParts::kOther]) << name;
    EXPECT_EQ(count("d.issuerAndSerialNumber:"), parts.signers.size()) << name;
  }
}

}  // namespace
}  // namespace qex::test
