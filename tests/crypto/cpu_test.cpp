// The features of the processor, against the list of the operating system.
#include "crypto/cpu.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

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

#if defined(__x86_64__)
// What a feature needs of each register, as the manual of the instruction CPUID has it.
struct NeededBits {
  qex::Feature feature;
  std::vector<unsigned> ecx1;
  std::vector<unsigned> ebx7;
  std::vector<unsigned> xcr0;
};

const NeededBits kNeededBits[] = {
    {qex::kFeatureSha, {9, 19}, {29}, {}},
    {qex::kFeatureAvx2, {}, {5}, {1, 2}},
    {qex::kFeatureBmi2, {}, {3, 8}, {}},
    {qex::kFeatureAdx, {}, {19}, {}},
    {qex::kFeatureAvx512, {}, {16, 17, 30, 31}, {1, 2, 5, 6, 7}},
    {qex::kFeatureIfma, {}, {16, 17, 21, 30, 31}, {1, 2, 5, 6, 7}},
};

TEST(Cpu, FeatureNeedsNothingButItsBits) {
  for (const NeededBits& needed : kNeededBits) {
    qex::CpuRegisters cpu{};
    for (const unsigned bit : needed.ecx1) cpu.ecx1 |= 1u << bit;
    for (const unsigned bit : needed.ebx7) cpu.ebx7 |= 1u << bit;
    for (const unsigned bit : needed.xcr0) cpu.xcr0 |= uint64_t{1} << bit;
    EXPECT_NE(qex::FeaturesOf(cpu) & needed.feature, 0u) << "feature " << needed.feature;
  }
}

TEST(Cpu, FeatureNeedsEachOfItsBits) {
  const qex::CpuRegisters all = {UINT32_MAX, UINT32_MAX, UINT64_MAX};
  for (const NeededBits& needed : kNeededBits) {
    const auto has_it = [&](const qex::CpuRegisters& cpu) {
      return (qex::FeaturesOf(cpu) & needed.feature) != 0;
    };
    EXPECT_TRUE(has_it(all));
    for (const unsigned bit : needed.ecx1) EXPECT_FALSE(has_it({~(1u << bit), all.ebx7, all.xcr0})) << bit;
    for (const unsigned bit : needed.ebx7) EXPECT_FALSE(has_it({all.ecx1, ~(1u << bit), all.xcr0})) << bit;
    for (const unsigned bit : needed.xcr0) {
      EXPECT_FALSE(has_it({all.ecx1, all.ebx7, ~(uint64_t{1} << bit)})) << bit;
    }
  }
}
#endif

}  // namespace
