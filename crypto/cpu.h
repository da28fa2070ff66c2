// Processor features beyond the baseline of its architecture.
#pragma once

#include <cstdint>

namespace qex {

// Feature is a group of instructions that a form of a routine needs, with the operating system's support for
// the registers that they use. Values are bits of a set.
enum Feature : uint32_t {
  kFeatureSha = 1u << 0,        // x86-64: SHA-1 and SHA-256, SSSE3 and SSE4.1
  kFeatureAvx2 = 1u << 1,       // x86-64: AVX2
  kFeatureBmi2 = 1u << 2,       // x86-64: BMI1 and BMI2
  kFeatureAdx = 1u << 3,        // x86-64: ADCX and ADOX
  kFeatureAvx512 = 1u << 4,     // x86-64: AVX-512 F, BW, DQ and VL
  kFeatureIfma = 1u << 5,       // x86-64: AVX-512 IFMA, products of 52-bit digits
  kFeatureArmSha1 = 1u << 6,    // aarch64: SHA-1
  kFeatureArmSha256 = 1u << 7,  // aarch64: SHA-256
  kFeatureArmSha512 = 1u << 8,  // aarch64: SHA-512
};

// CpuFeatures returns the set of features of this processor. It asks the processor on each call; Forms
// (crypto/forms.h) calls it once a routine.
[[nodiscard]] uint32_t CpuFeatures();

#if defined(__x86_64__)
// CpuRegisters is what an x86-64 processor says of itself: registers after CPUID of the leaf that ends their
// name, and the register sets that the operating system saves for each thread (0: unknown).
struct CpuRegisters {
  uint32_t ecx1;
  uint32_t ebx7;
  uint64_t xcr0;
};

// FeaturesOf returns the set of features of a processor that says so.
[[nodiscard]] uint32_t FeaturesOf(const CpuRegisters& cpu);
#endif

}  // namespace qex
