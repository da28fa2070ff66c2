// The choice of the form.
#include "crypto/bignum/power.h"

#include "crypto/bignum/power_forms.h"
#include "ground/expect.h"

namespace qex {

void PowerOdd(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n) {
  QEX_EXPECT(n >= 1 && n <= kPowerMaxWords && count >= 1 && count <= kPowerMaxTerms);
  QEX_EXPECT(m[n - 1] != 0 && (m[0] & 1) != 0 && (n > 1 || m[0] > 1));
  kPowerForms.best()(r, terms, count, m, n);
}

}  // namespace qex
