// A row of a product with MULX, ADCX and ADOX, for x86-64 processors that have them (crypto/cpu.h).
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex {

// MulAddAdx computes r[0..n) += a[0..n) * w + carry and returns the digit carried out, digits of 64 bits.
//
// Each digit adds the low half of its product to the high half of the one before in the chain of CF, and the
// old digit in the chain of OF. What is carried out of the row is high + CF + OF at most: the row's value is
// below B^(n+1), so this is one digit. LEA and JRCXZ count without touching the flags.
inline uint64_t MulAddAdx(uint32_t* r, const uint32_t* a, size_t n, uint64_t w, uint64_t carry) {
  size_t count = n % 8;
  const size_t blocks = n / 8;
  uint64_t low, high;
  uint32_t* to = r;
  __asm__ volatile(
      "xor %k[high], %k[high]\n\t"  // clears CF and OF
      "jrcxz 2f\n"
      "1:\n\t"
      "mulx (%[a]), %[low], %[high]\n\t"
      "adcx %[carry], %[low]\n\t"
      "adox (%[to]), %[low]\n\t"
      "mov %[low], (%[to])\n\t"
      "mov %[high], %[carry]\n\t"
      "lea 8(%[a]), %[a]\n\t"
      "lea 8(%[to]), %[to]\n\t"
      "lea -1(%[count]), %[count]\n\t"
      "jrcxz 2f\n\t"
      "jmp 1b\n"
      "2:\n\t"
      "mov %[blocks], %[count]\n\t"
      "jrcxz 5f\n\t"
      "jmp 3f\n"
      "5:\n\t"
      "jmp 4f\n"  // further than JRCXZ reaches
      "3:\n\t"
      "mulx (%[a]), %[low], %[high]\n\t"
      "adcx %[carry], %[low]\n\t"
      "adox (%[to]), %[low]\n\t"
      "mov %[low], (%[to])\n\t"
      "mulx 8(%[a]), %[low], %[carry]\n\t"
      "adcx %[high], %[low]\n\t"
      "adox 8(%[to]), %[low]\n\t"
      "mov %[low], 8(%[to])\n\t"
      "mulx 16(%[a]), %[low], %[high]\n\t"
      "adcx %[carry], %[low]\n\t"
      "adox 16(%[to]), %[low]\n\t"
      "mov %[low], 16(%[to])\n\t"
      "mulx 24(%[a]), %[low], %[carry]\n\t"
      "adcx %[high], %[low]\n\t"
      "adox 24(%[to]), %[low]\n\t"
      "mov %[low], 24(%[to])\n\t"
      "mulx 32(%[a]), %[low], %[high]\n\t"
      "adcx %[carry], %[low]\n\t"
      "adox 32(%[to]), %[low]\n\t"
      "mov %[low], 32(%[to])\n\t"
      "mulx 40(%[a]), %[low], %[carry]\n\t"
      "adcx %[high], %[low]\n\t"
      "adox 40(%[to]), %[low]\n\t"
      "mov %[low], 40(%[to])\n\t"
      "mulx 48(%[a]), %[low], %[high]\n\t"
      "adcx %[carry], %[low]\n\t"
      "adox 48(%[to]), %[low]\n\t"
      "mov %[low], 48(%[to])\n\t"
      "mulx 56(%[a]), %[low], %[carry]\n\t"
      "adcx %[high], %[low]\n\t"
      "adox 56(%[to]), %[low]\n\t"
      "mov %[low], 56(%[to])\n\t"
      "lea 64(%[a]), %[a]\n\t"
      "lea 64(%[to]), %[to]\n\t"
      "lea -1(%[count]), %[count]\n\t"
      "jrcxz 4f\n\t"
      "jmp 3b\n"
      "4:\n\t"
      "mov $0, %k[low]\n\t"
      "adcx %[low], %[carry]\n\t"
      "adox %[low], %[carry]"
      : [to] "+r"(to), [a] "+r"(a), [count] "+c"(count), [carry] "+r"(carry), [low] "=&r"(low),
        [high] "=&r"(high)
      : [blocks] "r"(blocks), "d"(w)
      : "cc", "memory");
  return carry;
}

}  // namespace qex
