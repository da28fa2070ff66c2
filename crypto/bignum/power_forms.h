// The forms of PowerOdd (power.h), for it and for their tests.
#pragma once

#include "crypto/bignum/power.h"
#include "crypto/forms.h"

namespace qex {

using PowerFunction = void (*)(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m,
                               size_t n);

// PowerPortable takes every modulus, on every machine.
void PowerPortable(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n);

#if defined(__x86_64__)
// PowerAdx takes every modulus.
void PowerAdx(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n);

// PowerIfma takes every modulus; those outside kIfmaMinBits to kIfmaMaxBits it hands to PowerAdx.
void PowerIfma(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n);
#endif

inline constinit const Forms kPowerForms({
#if defined(__x86_64__)
  Form<PowerFunction>{"ifma", kFeatureIfma | kFeatureBmi2 | kFeatureAdx, PowerIfma},
      Form<PowerFunction>{"adx", kFeatureBmi2 | kFeatureAdx, PowerAdx},
#endif
      Form<PowerFunction>{"portable", 0, PowerPortable},
});

}  // namespace qex
