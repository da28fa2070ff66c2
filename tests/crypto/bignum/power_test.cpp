// Products of powers: each form here against Python's pow, and against Montgomery's method of KXBN_modexp.
#include "crypto/bignum/power.h"

#include <gtest/gtest.h>

#include "crypto/bignum/internal.h"
#include "tests/crypto/bignum/power_cases.h"
#include "tests/support/big.h"
#include "tests/support/forms.h"

namespace qex {
namespace {

using test::Big;
using test::Words;

Words words_of(const KXBN* n, size_t size) {
  Words x(n->digits, n->digits + KXBN_getsize(n));
  x.resize(size);
  return x;
}

TEST(BignumPower, EachFormAgreesWithPythonsPow) {
  test::ForEachFormHere("PowerOdd", kPowerForms, [](const auto& form) {
    EXPECT_GT(test::ExpectPowers(form.name, form.function, 1, 8192), 5000u);
  });
}

TEST(BignumPower, EachFormAgreesWithMontgomerysMethod) {
  test::Random random(11);
  for (int i = 0; i < 300; ++i) {
    const uint32_t bits = 32 * (1 + random() % 130);
    const Big m(test::random_hex(random, bits));
    m->digits[0] |= 1;
    Big base(test::random_hex(random, bits)), expected;
    ASSERT_EQ(KXBN_mod(base, base, m, nullptr), KXBN_OK);
    const Big e(i % 2 == 0 ? "10001" : test::random_hex(random, random() % 300));
    ASSERT_EQ(KXBN_modexp_mont(expected, base, e, m, nullptr), KXBN_OK);
    const size_t size = KXBN_getsize(m);
    test::ForEachFormHere("PowerOdd", kPowerForms, [&](const auto& form) {
      const Words result = test::PowerOf(form.function, words_of(m, size), {words_of(base, size)},
                                         {words_of(e, KXBN_getsize(e))});
      EXPECT_EQ(result, words_of(expected, size))
          << form.name << ": " << base.hex() << " ^ " << e.hex() << " mod " << m.hex();
    });
  }
}

// The next two hold for every modulus, so that no other implementation is needed.
TEST(BignumPower, ExponentsAddUp) {
  test::Random random(12);
  for (int i = 0; i < 60; ++i) {
    const uint32_t bits = 1000 + random() % 3100;
    const Big m(test::random_hex(random, bits));
    m->digits[0] |= 1;
    const Big base(test::random_hex(random, bits - 1)), e1(test::random_hex(random, 1 + random() % 256)),
        e2(test::random_hex(random, 1 + random() % 256));
    Big sum;
    ASSERT_EQ(KXBN_add(sum, e1, e2), KXBN_OK);
    const size_t size = KXBN_getsize(m);
    const Words x = words_of(base, size);
    const auto exponent = [](const Big& e) { return words_of(e, KXBN_getsize(e)); };
    test::ForEachFormHere("PowerOdd", kPowerForms, [&](const auto& form) {
      EXPECT_EQ(test::PowerOf(form.function, words_of(m, size), {x, x}, {exponent(e1), exponent(e2)}),
                test::PowerOf(form.function, words_of(m, size), {x}, {exponent(sum)}))
          << form.name << ": " << m.hex();
    });
  }
}

TEST(BignumPower, ResultMayBeAnyOperand) {
  const test::PowerCase& c = test::PowerCases().back();
  ASSERT_EQ(c.bases.size(), 2u);
  test::ForEachFormHere("PowerOdd", kPowerForms, [&](const auto& form) {
    const Words expected = test::PowerOf(form.function, c.modulus, c.bases, c.exponents);
    Words base = c.bases[1];
    const PowerTerm onto_base[] = {{c.bases[0].data(), c.exponents[0].data(), 0},
                                   {base.data(), c.exponents[1].data(), 2}};
    form.function(base.data(), onto_base, 2, c.modulus.data(), c.modulus.size());
    EXPECT_EQ(base, expected) << form.name;
    Words modulus = c.modulus;
    const PowerTerm onto_modulus[] = {onto_base[0], {c.bases[1].data(), c.exponents[1].data(), 2}};
    form.function(modulus.data(), onto_modulus, 2, modulus.data(), modulus.size());
    EXPECT_EQ(modulus, expected) << form.name;
  });
}

}  // namespace
}  // namespace qex
