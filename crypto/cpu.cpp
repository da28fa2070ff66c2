// Read from CPUID and XCR0 on x86-64, from the auxiliary vector of Linux on AArch64; no feature elsewhere.
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

uint32_t FeaturesOf(const CpuRegisters& cpu) {
  constexpr uint32_t kSsse3 = 1u << 9, kSse41 = 1u << 19;  // leaf 1, ecx
  constexpr uint64_t kYmm = 0x6, kZmm = 0xe6;              // XCR0
  // leaf 7, ebx
  constexpr uint32_t kBmi1 = 1u << 3, kAvx2 = 1u << 5, kBmi2 = 1u << 8, kF = 1u << 16, kDq = 1u << 17,
                     kAdx = 1u << 19, kIfma = 1u << 21, kSha = 1u << 29, kBw = 1u << 30, kVl = 1u << 31;
  constexpr uint32_t kAvx512 = kF | kDq | kBw | kVl;

  uint32_t features = set_of(kFeatureBmi2, cpu.ebx7, kBmi1 | kBmi2) | set_of(kFeatureAdx, cpu.ebx7, kAdx);
  if ((cpu.ecx1 & (kSsse3 | kSse41)) == (kSsse3 | kSse41)) features |= set_of(kFeatureSha, cpu.ebx7, kSha);
  if ((cpu.xcr0 & kYmm) == kYmm) features |= set_of(kFeatureAvx2, cpu.ebx7, kAvx2);
  if ((cpu.xcr0 & kZmm) == kZmm) {
    features |= set_of(kFeatureAvx512, cpu.ebx7, kAvx512) | set_of(kFeatureIfma, cpu.ebx7, kAvx512 | kIfma);
  }
  return features;
}

uint32_t CpuFeatures() {
  constexpr uint32_t kOsxsave = 1u << 27;  // leaf 1, ecx
  CpuRegisters cpu{};
  uint32_t a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &cpu.ecx1, &d) == 0) return 0;
  if (__get_cpuid_count(7, 0, &a, &cpu.ebx7, &c, &d) == 0) return 0;
  if ((cpu.ecx1 & kOsxsave) != 0) cpu.xcr0 = saved_registers();
  return FeaturesOf(cpu);
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
