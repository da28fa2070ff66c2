// The ASN.1 texts above the types: the headers agree with the descriptors, and the comparison finds errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "asn1/all_types.h"
#include "tests/support/asn1_text_check.h"
#include "tests/support/files.h"

namespace qex::test {
namespace {

// Descriptors whose name is not that of their record: the error texts name their decoders so.
const std::map<std::string, std::string> kRecords = {
    {"Dss_Parms_BI", "Dss_Parms"},
    {"Dss_Sig_Value_BI", "Dss_Sig_Value"},
    {"SigningCertAttrParams", "SigningCertificate"},
    {"SigningCertV2AttrParams", "SigningCertificateV2"},
    {"SignaturePolicyIdentifierAttrParams", "SignaturePolicyIdentifier"},
    {"SignerAttributeAttrParams", "SignerAttribute"},
};

std::vector<NamedType> types() {
  std::vector<NamedType> all = {{"AttributeValues", &kAttributeValues}};
  for (const Type* type : kAllTypes) {
    const auto record = kRecords.find(type->name);
    all.push_back({record == kRecords.end() ? type->name : record->second, type});
  }
  return all;
}

std::vector<HeaderText> headers() {
  std::vector<HeaderText> all;
  for (const auto& entry : std::filesystem::directory_iterator(QEX_SOURCE_DIR "/asn1")) {
    if (entry.path().extension() != ".h") continue;
    const std::vector<uint8_t> octets = ReadFile(entry.path().string());
    all.push_back({"asn1/" + entry.path().filename().string(), std::string(octets.begin(), octets.end())});
  }
  std::sort(all.begin(), all.end(), [](const HeaderText& a, const HeaderText& b) { return a.path < b.path; });
  return all;
}

TEST(Asn1Text, EveryTypeHasTheTextThatItsDescriptorFollows) {
  EXPECT_EQ(AsText(CompareTexts(headers(), types())), "");
}

}  // namespace
}  // namespace qex::test
