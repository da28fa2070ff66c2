// Products of powers with MULX, ADCX and ADOX.
//
// Products of two values are formed whole, row by row, and then reduced row by row. A square adds each
// product of two different digits once, doubles the sum and adds the squares of the digits.
#if defined(__x86_64__)

#include <cstring>

#include "crypto/bignum/adx.h"
#include "crypto/bignum/digits.h"
#include "crypto/bignum/power_forms.h"
#include "crypto/bignum/power_steps.h"
#include "crypto/bignum/scale.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

// AdxKernel has R = 2^(64d) for a modulus of d digits.
class AdxKernel {
 public:
  using Digit = uint64_t;
  static constexpr size_t kMaxDigits = kPowerMaxWords / 2;

  AdxKernel(const uint32_t* m, size_t n) : n_(n), d_((n + 1) / 2) {
    plain(m_, m);
    inverse_ = digits::mont_inverse<uint64_t>(m_[0], MontInverse(m[0]));
  }

  [[nodiscard]] size_t size() const { return d_; }

  void enter(uint64_t* r, const uint32_t* x) {
    plain(r, x);
    digits::scale<uint64_t>(words(r), words(r), 64 * d_, words(m_), d_, words(area_), MulAddAdx);
  }
  void plain(uint64_t* r, const uint32_t* x) const {
    r[d_ - 1] = 0;
    std::memcpy(r, x, n_ * sizeof *x);
  }
  void product(uint64_t* r, const uint64_t* a, const uint64_t* b) {
    std::memset(area_, 0, d_ * sizeof *area_);
    for (size_t i = 0; i < d_; ++i) area_[i + d_] = row(area_ + i, a, d_, b[i]);
    reduce(r);
  }
  void square(uint64_t* r, const uint64_t* a);
  void leave(uint32_t* r, const uint64_t* a) const { std::memcpy(r, a, n_ * sizeof *r); }

 private:
  static uint32_t* words(uint64_t* digits) { return reinterpret_cast<uint32_t*>(digits); }
  static const uint32_t* words(const uint64_t* digits) { return reinterpret_cast<const uint32_t*>(digits); }
  static uint64_t row(uint64_t* r, const uint64_t* a, size_t n, uint64_t w) {
    return MulAddAdx(words(r), words(a), n, w, 0);
  }
  void reduce(uint64_t* r);

  size_t n_, d_;  // words and digits of the modulus
  uint64_t inverse_;
  uint64_t m_[kMaxDigits];
  uint64_t area_[digits::scale_digits<uint64_t>(kMaxDigits, 64 * kMaxDigits)];
};

// reduce: r = area / R mod m, for an area of 2d digits below m * R. Row i adds the multiple of m that clears
// digit i. The sum stays below 2 * m * R, so what is above digit i + d after row i is 0 or 1: `top`.
void AdxKernel::reduce(uint64_t* r) {
  uint64_t top = 0;
  for (size_t i = 0; i < d_; ++i) {
    const uint64_t carry = row(area_ + i, m_, d_, area_[i] * inverse_);
    const auto t = digits::DoubleOf<uint64_t>{area_[i + d_]} + carry + top;
    area_[i + d_] = uint64_t(t);
    top = digits::high<uint64_t>(t);
  }
  digits::mont_subtract<uint64_t>(words(r), words(area_ + d_), top, words(m_), d_);
}

void AdxKernel::square(uint64_t* r, const uint64_t* a) {
  using Wide = digits::DoubleOf<uint64_t>;
  std::memset(area_, 0, d_ * sizeof *area_);
  area_[2 * d_ - 1] = 0;
  for (size_t i = 0; i + 1 < d_; ++i) area_[i + d_] = row(area_ + 2 * i + 1, a + i + 1, d_ - 1 - i, a[i]);
  uint64_t bit = 0;  // shifted out of the digit below
  uint64_t carry = 0;
  for (size_t i = 0; i < d_; ++i) {
    const uint64_t low = area_[2 * i];
    const uint64_t up = area_[2 * i + 1];
    const Wide own = Wide{a[i]} * a[i];
    const Wide t = Wide{low << 1 | bit} + uint64_t(own) + carry;  // below 2^65
    const Wide u = Wide{up << 1 | low >> 63} + digits::high<uint64_t>(own) + digits::high<uint64_t>(t);
    area_[2 * i] = uint64_t(t);
    area_[2 * i + 1] = uint64_t(u);
    bit = up >> 63;
    carry = digits::high<uint64_t>(u);
  }
  reduce(r);
}

}  // namespace

void PowerAdx(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n) {
  // Rows of few digits cost more to start than they save.
  constexpr size_t kLeastWords = 14;
  if (n < kLeastWords) return PowerPortable(r, terms, count, m, n);
  PowerSteps<AdxKernel>(m, n).compute(r, terms, count);
}

}  // namespace qex

#endif
