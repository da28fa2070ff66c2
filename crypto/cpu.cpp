#include "crypto/cpu.h"

#if defined(__x86_64__)
#include <cpuid.h>
#elif defined(__aarch64__) && defined(__linux__)
#include <sys/auxv.h>
#endif

namespace qex {
namespace {

// set_of returns `feature` if `word` has all bits of `bits`.
constexpr uint32_t set_of(Feature feature, uint64_t word, uint64_t bits) {
  return (word & bits) == bits ? uint32_t{feature} : 0;
}

}  // namespace

#if defined(__x86_64__)

namespace {

// saved_registers returns the register sets that the operating system saves for each thread (XCR0). The
// processor must have the instruction.
uint64_t saved_registers() {
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return uint64_t{high} << 32 | low;
}

}  // namespace

uint32_t CpuFeatures() {
  constexpr uint32_t kSsse3 = 1u << 9, kSse41 = 1u << 19, kOsxsave = 1u << 27;  // leaf 1, ecx
  constexpr uint64_t kYmm = 0x6, kZmm = 0xe6;                                   // XCR0
  // leaf 7, ebx
  constexpr uint32_t kBmi1 = 1u << 3, kAvx2 = 1u << 5, kBmi2 = 1u << 8, kF = 1u << 16, kDq = 1u << 17,
                     kAdx = 1u << 19, kIfma = 1u << 21, kSha = 1u << 29, kBw = 1u << 30, kVl = 1u << 31;

  uint32_t a = 0, b = 0, c = 0, d = 0, one = 0;
  if (__get_cpuid(1, &a, &b, &one, &d) == 0 || __get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return 0;
  uint32_t features = set_of(kFeatureBmi2, b, kBmi1 | kBmi2) | set_of(kFeatureAdx, b, kAdx);
  if ((one & (kSsse3 | kSse41)) == (kSsse3 | kSse41)) features |= set_of(kFeatureSha, b, kSha);
  const uint64_t saved = (one & kOsxsave) != 0 ? saved_registers() : 0;
  if ((saved & kYmm) == kYmm) features |= set_of(kFeatureAvx2, b, kAvx2);
  if ((saved & kZmm) == kZmm) {
    constexpr uint32_t kAll = kF | kDq | kBw | kVl;
    features |= set_of(kFeatureAvx512, b, kAll) | set_of(kFeatureIfma, b, kAll | kIfma);
  }
  return features;
}

#elif defined(__aarch64__) && defined(__linux__)

uint32_t CpuFeatures() {
  constexpr unsigned long kSha1 = 1ul << 5, kSha2 = 1ul << 6, kSha512 = 1ul << 21;  // AT_HWCAP
  const unsigned long capabilities = getauxval(AT_HWCAP);
  return set_of(kFeatureArmSha1, capabilities, kSha1) | set_of(kFeatureArmSha256, capabilities, kSha2) |
         set_of(kFeatureArmSha512, capabilities, kSha512);
}

#else

uint32_t CpuFeatures() {
  return 0;
}

#endif

}  // namespace qex
