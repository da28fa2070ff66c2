// Big numbers: operations on public values, which a verification consists of.
//
// Operands that PowerOdd (power.h) takes go there, and nothing is allocated. All others go to the general
// operations, with their codes.
#include <algorithm>

#include "crypto/bignum/arithmetic.h"
#include "crypto/bignum/internal.h"
#include "crypto/bignum/power.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

// store_words sets r to the value of words[0..n). Codes: KXBN_NOMEM.
[[nodiscard]] uint32_t store_words(KXBN* r, const uint32_t* words, size_t n) {
  while (n > 1 && words[n - 1] == 0) --n;
  if (const uint32_t rc = KXBN_reserve(r, n)) return rc;
  std::copy_n(words, n, r->digits);
  r->used = uint32_t(n);
  r->sign = 0;
  return KXBN_OK;
}

// PublicPower is a product of powers as PowerOdd (power.h) computes it.
class PublicPower {
 public:
  // takes returns whether PowerOdd takes the modulus.
  [[nodiscard]] static bool takes(const KXBN* m) {
    return !is_negative(m) && KXBN_testbit(m, 0) != 0 && KXBN_getsize(m) <= kPowerMaxWords && !is_one(m);
  }

  explicit PublicPower(const KXBN* m) : m_(m), n_(KXBN_getsize(m)) {}

  // add adds a factor; false, and nothing is added, when PowerOdd does not take it.
  [[nodiscard]] bool add(const KXBN* base, const KXBN* exp) {
    if (is_negative(exp) || KXBN_getsize(exp) > kPowerMaxWords) return false;
    if (is_negative(base) || KXBN_cmp(base, m_) >= 0) return false;
    const uint32_t size = KXBN_getsize(base);
    uint32_t* const padded = bases_[count_];
    std::copy_n(base->digits, size, padded);
    std::fill(padded + size, padded + n_, 0);
    terms_[count_++] = {padded, exp->digits, KXBN_bits(exp)};
    return true;
  }

  // store computes the product into r. Codes: KXBN_NOMEM.
  [[nodiscard]] uint32_t store(KXBN* r) const {
    uint32_t words[kPowerMaxWords];
    PowerOdd(words, terms_, count_, m_->digits, n_);
    return store_words(r, words, n_);
  }

 private:
  const KXBN* m_;
  size_t n_;
  size_t count_ = 0;
  PowerTerm terms_[kPowerMaxTerms];
  uint32_t bases_[kPowerMaxTerms][kPowerMaxWords];
};

// From here on Euclid's algorithm takes less time than a power with an exponent of the modulus' length.
constexpr size_t kMaxFermatWords = 16;

// fermat computes inverse[0..n) = a^(m-2) mod m, which is 1/a when m is prime; false when it is not 1/a.
[[nodiscard]] bool fermat(uint32_t* inverse, const uint32_t* a, const KXBN* m, uint32_t n) {
  uint32_t exponent[kMaxFermatWords], two[kMaxFermatWords] = {2}, product[kMaxFermatWords];
  (void)SubWords(exponent, m->digits, two, n);
  const PowerTerm power = {a, exponent, 32 * n};
  PowerOdd(inverse, &power, 1, m->digits, n);

  constexpr uint32_t kOne = 1;
  const PowerTerm both[] = {{inverse, &kOne, 1}, {a, &kOne, 1}};
  PowerOdd(product, both, 2, m->digits, n);
  return product[0] == 1 && std::all_of(product + 1, product + n, [](uint32_t w) { return w == 0; });
}

}  // namespace

uint32_t KXBN_modexp_public(KXBN* r, const KXBN* base, const KXBN* exp, const KXBN* m, KXBN_Pool* pool) {
  if (PublicPower::takes(m)) {
    PublicPower power(m);
    if (power.add(base, exp)) return power.store(r);
  }
  return KXBN_modexp(r, base, exp, m, pool);
}

uint32_t KXBN_modexp2_public(KXBN* r, const KXBN* base1, const KXBN* exp1, const KXBN* base2,
                             const KXBN* exp2, const KXBN* m, KXBN_Pool* pool) {
  if (PublicPower::takes(m)) {
    PublicPower power(m);
    if (power.add(base1, exp1) && power.add(base2, exp2)) return power.store(r);
  }
  Arithmetic compute(pool);
  Number power1, power2, product;
  compute.make(KXBN_bits(m), power1, power2, product);
  compute.modexp(power1, base1, exp1, m).modexp(power2, base2, exp2, m);
  return compute.mul(product, power1, power2).mod(r, product, m).code();
}

uint32_t KXBN_modinv_public(KXBN* r, const KXBN* a, const KXBN* m, KXBN_Pool* pool) {
  const uint32_t n = KXBN_getsize(m);
  if (PublicPower::takes(m) && n <= kMaxFermatWords && !is_negative(a) && KXBN_cmp(a, m) < 0) {
    uint32_t padded[kMaxFermatWords] = {}, inverse[kMaxFermatWords];
    std::copy_n(a->digits, KXBN_getsize(a), padded);
    if (fermat(inverse, padded, m, n)) return store_words(r, inverse, n);
  }
  return KXBN_modinv(r, a, m, pool);
}

}  // namespace qex
