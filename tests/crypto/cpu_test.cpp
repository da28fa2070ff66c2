// The features of the processor, against the list of the operating system.
#include "crypto/cpu.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/instrumentation.h"

namespace {

struct NamedFeature {
  qex::Feature feature;
  const char* flags;  // in /proc/cpuinfo, all of which it needs
};

// Other processors have no features.
#if defined(__x86_64__) || defined(__aarch64__)
constexpr bool kHasFeatures = true;
#else
constexpr bool kHasFeatures = false;
#endif

#if defined(__x86_64__)
constexpr const char* kFlagsLine = "flags";
constexpr NamedFeature kNamedFeatures[] = {
    {qex::kFeatureSha, "sha_ni ssse3 sse4_1"},
    {qex::kFeatureAvx2, "avx2"},
    {qex::kFeatureBmi2, "bmi1 bmi2"},
    {qex::kFeatureAdx, "adx"},
    {qex::kFeatureAvx512, "avx512f avx512bw avx512dq avx512vl"},
    {qex::kFeatureIfma, "avx512f avx512bw avx512dq avx512vl avx512ifma"},
};
#else
constexpr const char* kFlagsLine = "Features";
constexpr NamedFeature kNamedFeatures[] = {
    {qex::kFeatureArmSha1, "sha1"},
    {qex::kFeatureArmSha256, "sha2"},
    {qex::kFeatureArmSha512, "sha512"},
};
#endif

std::set<std::string> words_of(std::istream& text) {
  std::set<std::string> words;
  for (std::string word; text >> word;) words.insert(word);
  return words;
}

// flags_here returns the flags of the first processor that /proc/cpuinfo lists.
std::set<std::string> flags_here() {
  std::ifstream list("/proc/cpuinfo");
  for (std::string line; std::getline(list, line);) {
    if (line.rfind(kFlagsLine, 0) != 0) continue;
    std::istringstream flags(line.substr(line.find(':') + 1));
    return words_of(flags);
  }
  return {};
}

TEST(Cpu, FeaturesAreThoseThatTheSystemLists) {
  if (!kHasFeatures) {
    EXPECT_EQ(qex::CpuFeatures(), 0u);
    return;
  }
  if (qex::test::Emulated() || qex::test::UnderValgrind()) {
    GTEST_SKIP() << "the list is that of another processor";
  }
  const std::set<std::string> flags = flags_here();
  if (flags.empty()) GTEST_SKIP() << "no list";
  for (const NamedFeature& named : kNamedFeatures) {
    std::istringstream text(named.flags);
    bool listed = true;
    for (const std::string& flag : words_of(text)) listed = listed && flags.count(flag) != 0;
    EXPECT_EQ((qex::CpuFeatures() & named.feature) != 0, listed) << named.flags;
  }
}

TEST(Cpu, FeaturesDoNotChange) {
  EXPECT_EQ(qex::CpuFeatures(), qex::CpuFeatures());
}

}  // namespace
