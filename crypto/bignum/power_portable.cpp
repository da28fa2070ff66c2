// Products of powers with the kernels of words.h.
#include <cstring>

#include "crypto/bignum/digits.h"
#include "crypto/bignum/power_forms.h"
#include "crypto/bignum/power_steps.h"
#include "crypto/bignum/scale.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

// PortableKernel has R = B^d for a modulus of d digits, of 64 bits where the machine multiplies them.
class PortableKernel {
 public:
  using Digit = uint32_t;  // values are vectors of words, as digits.h has them
  static constexpr size_t kMaxDigits = kPowerMaxWords;

  PortableKernel(const uint32_t* m, size_t n) : n_(n), words_(MontWords(n)), inverse_(MontInverse(m[0])) {
    plain(m_, m);
  }

  [[nodiscard]] size_t size() const { return words_; }

  void enter(uint32_t* r, const uint32_t* x) {
    plain(r, x);
    digits::scale<Wide>(r, r, words_ * 32, m_, words_ / kStep, area_, digits::mul_add<Wide>);
  }
  void plain(uint32_t* r, const uint32_t* x) const {
    r[words_ - 1] = 0;
    std::memcpy(r, x, n_ * sizeof *r);
  }
  void product(uint32_t* r, const uint32_t* a, const uint32_t* b) {
    MontProduct(r, a, b, m_, words_, inverse_, area_);
  }
  void square(uint32_t* r, const uint32_t* a) { MontSquare(r, a, m_, words_, inverse_, area_); }
  void leave(uint32_t* r, const uint32_t* a) const { std::memcpy(r, a, n_ * sizeof *r); }

 private:
#if defined(__SIZEOF_INT128__)
  using Wide = std::conditional_t<digits::kWide, uint64_t, uint32_t>;
#else
  using Wide = uint32_t;
#endif
  static constexpr size_t kStep = digits::kWords<Wide>;

  size_t n_, words_;  // words of the modulus and of a value
  uint32_t inverse_;
  uint32_t m_[kPowerMaxWords];
  uint32_t area_[digits::scale_digits<Wide>(kPowerMaxWords / kStep, kPowerMaxWords * 32) * kStep];
};

}  // namespace

void PowerPortable(uint32_t* r, const PowerTerm* terms, size_t count, const uint32_t* m, size_t n) {
  PowerSteps<PortableKernel>(m, n).compute(r, terms, count);
}

}  // namespace qex
