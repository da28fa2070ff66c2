// The samples of data/bouncycastle and data/openssl_dsa. The records of their samples.txt list the contents
// of each.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/big.h"
#include "tests/support/exports.h"
#include "tests/support/files.h"

namespace qex::test {

// The policies of these samples and of those in data/samples.
inline constexpr const char* kSamplePolicy = "1.3.6.1.4.1.32473.1";
inline constexpr const char* kOtherSamplePolicy = "1.3.6.1.4.1.32473.2";

// PeerSample is a record and its folder.
struct PeerSample {
  std::string folder;
  Vector words;

  const std::string& operator[](const char* word) const { return words.at(word); }
  [[nodiscard]] bool is(const char* word, const std::string& value) const {
    const auto found = words.find(word);
    return found != words.end() && found->second == value;
  }
  [[nodiscard]] bool has(const char* word) const { return words.count(word) != 0 && !is(word, "none"); }
  Octets file(const std::string& name) const {
    const Octets octets = ReadFile(QEX_TEST_DATA "/" + folder + "/" + name);
    EXPECT_FALSE(octets.empty()) << folder << "/" << name;
    return octets;
  }
  Octets octets() const { return file((*this)["Name"]); }
  [[nodiscard]] bool in_ber() const { return (*this)["Name"].find(".ber") != std::string::npos; }
  // The token in DER, in its original encoding.
  Octets der() const {
    std::string name = (*this)["Name"];
    if (in_ber()) name.replace(name.size() - 4, 4, ".der");
    return file(name);
  }
  Octets certificate() const { return file("certificate_" + (*this)["Key"] + ".der"); }
  [[nodiscard]] bool second_version() const { return is("Version", "2"); }
  [[nodiscard]] bool with_certificate() const { return !is("Certificate", "no"); }
  [[nodiscard]] bool with_protection() const { return is("Protection", "yes"); }
};

// PeerSamples returns the records of a folder whose names begin with `kind`, and expects `count` of them.
inline std::vector<PeerSample> PeerSamples(const char* folder, const char* kind, size_t count) {
  std::vector<PeerSample> found;
  for (const Vector& words : read_vectors(std::string(folder) + "/samples.txt")) {
    PeerSample sample{folder, words};
    if (sample["Name"].compare(0, std::string(kind).size(), kind) == 0) found.push_back(sample);
  }
  EXPECT_EQ(found.size(), count) << folder << " " << kind;
  return found;
}

// AllTokens returns those of all implementations; Tokens those without the attribute CMSAlgorithmProtection,
// TokensWithProtection those with it.
inline std::vector<PeerSample> AllTokens() {
  std::vector<PeerSample> all = PeerSamples("bouncycastle", "token_", 37);
  const std::vector<PeerSample> more = PeerSamples("openssl_dsa", "token_", 12);
  all.insert(all.end(), more.begin(), more.end());
  return all;
}
inline std::vector<PeerSample> Tokens() {
  std::vector<PeerSample> some = AllTokens();
  std::erase_if(some, [](const PeerSample& one) { return one.with_protection(); });
  EXPECT_EQ(some.size(), 40u);
  return some;
}
inline std::vector<PeerSample> TokensWithProtection() {
  std::vector<PeerSample> some = AllTokens();
  std::erase_if(some, [](const PeerSample& one) { return !one.with_protection(); });
  EXPECT_EQ(some.size(), 9u);
  return some;
}

// BouncyCastleFile returns a file of the folder bouncycastle.
inline Octets BouncyCastleFile(const std::string& name) {
  return PeerSample{"bouncycastle", {}}.file(name);
}

// TacOf fetches the time attribute certificate of a token; CheckTac asks whether `tac` belongs to it.
inline Output TacOf(const Octets& token) {
  const Guarded input(token);
  return Fetch([&](uint8_t* out, uint32_t* length) {
    return QEX_GetTST_TimeAttributeCert(out, length, input.data(), input.size());
  });
}

[[nodiscard]] inline int32_t CheckTac(const Octets& tac, const Octets& token) {
  const Guarded certificate(tac), input(token);
  return QEX_CheckTAC_MatchesTST(certificate.data(), certificate.size(), input.data(), input.size());
}

}  // namespace qex::test
