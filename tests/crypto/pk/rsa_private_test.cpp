// The RSA private operation with keys of another program, plain and by the remainder theorem.
#include <gtest/gtest.h>

#include "crypto/pk/rsa.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFails;
using test::Pool;
using test::Vector;

struct OwnedKey {
  explicit OwnedKey(const Vector& v)
      : n(v.at("N")),
        e(v.at("E")),
        d(v.at("D")),
        p(v.at("P")),
        q(v.at("Q")),
        dmp1(v.at("DMP1")),
        dmq1(v.at("DMQ1")),
        iqmp(v.at("IQMP")) {}

  RSAKey plain() const { return {n, e, d, nullptr, nullptr, nullptr, nullptr, nullptr}; }
  RSAKey crt() const { return {nullptr, nullptr, nullptr, p, q, dmp1, dmq1, iqmp}; }
  RSAKey full() const { return {n, e, d, p, q, dmp1, dmq1, iqmp}; }

  Big n, e, d, p, q, dmp1, dmq1, iqmp;
};

std::vector<Vector> rsa_keys() {
  return test::read_vectors("rsa_keys.txt");
}

std::string in_words(uint32_t rc) {
  return "code " + std::to_string(rc);
}

// result_of is the number in hexadecimal, or the code in words; a failure gives no number.
std::string result_of(const RSAKey& key, const KXBN* input, KXBN_Pool* pool = nullptr) {
  Big unrelated("7");
  KXBN* out = unrelated;
  const uint32_t rc = rsa_private(&key, input, &out, pool);
  if (rc == KXBN_OK) {
    const std::string text = test::hex_of(out);
    KXBN_free(out);
    return text;
  }
  EXPECT_EQ(out, nullptr);
  return in_words(rc);
}

TEST(RsaPrivate, PlainAndRemainderTheoremAgreeWithOpenssl) {
  ASSERT_EQ(rsa_keys().size(), 7u);
  for (const Vector& v : rsa_keys()) {
    const OwnedKey key(v);
    const Big input(v.at("Input"));
    EXPECT_EQ(result_of(key.plain(), input), v.at("Output")) << v.at("Bits");
    EXPECT_EQ(result_of(key.crt(), input), v.at("Output")) << v.at("Bits");
    EXPECT_EQ(result_of(key.full(), input), v.at("Output")) << v.at("Bits");
  }
}

TEST(RsaPrivate, PublicOperationUndoesIt) {
  test::Random random(1);
  for (const Vector& v : rsa_keys()) {
    const OwnedKey owned(v);
    const RSAKey key = owned.full();
    const Big input(test::random_hex(random, KXBN_bits(owned.n) - 1));
    Number out, back;
    ASSERT_EQ(rsa_private(&key, input, out.out(), nullptr), KXBN_OK);
    ASSERT_EQ(rsa_public(&key, out, back.out(), nullptr), KXBN_OK);
    EXPECT_EQ(test::hex_of(back), input.hex());
  }
}

TEST(RsaPrivate, OrderOfThePrimesDoesNotMatter) {
  // With the primes exchanged m1 - m2 is negative where it was not before.
  for (const Vector& v : rsa_keys()) {
    const OwnedKey key(v);
    const Big inverse;
    ASSERT_EQ(KXBN_modinv(inverse, key.p, key.q, nullptr), KXBN_OK);
    const RSAKey exchanged{nullptr, nullptr, nullptr, key.q, key.p, key.dmq1, key.dmp1, inverse};
    EXPECT_EQ(result_of(exchanged, Big(v.at("Input"))), v.at("Output")) << v.at("Bits");
  }
}

TEST(RsaPrivate, InputNotBelowTheModulusIsReduced) {
  const OwnedKey key(rsa_keys().at(1));
  const Big above(key.n.hex());
  ASSERT_EQ(KXBN_addword(above, 1), KXBN_OK);
  for (const RSAKey& form : {key.plain(), key.crt()}) {
    EXPECT_EQ(result_of(form, key.n), "0");
    EXPECT_EQ(result_of(form, above), "1");
    EXPECT_EQ(result_of(form, Big("0")), "0");
    EXPECT_EQ(result_of(form, Big("1")), "1");
  }
}

TEST(RsaPrivate, PrimeOfZeroGivesDivzero) {
  const OwnedKey key(rsa_keys().at(1));
  const Big zero("0");
  RSAKey broken = key.crt();
  broken.p = zero;
  EXPECT_EQ(result_of(broken, Big("5")), in_words(KXBN_DIVZERO));
  broken = key.crt();
  broken.q = zero;
  EXPECT_EQ(result_of(broken, Big("5")), in_words(KXBN_DIVZERO));
  broken = key.plain();
  broken.n = zero;
  EXPECT_EQ(result_of(broken, Big("5")), in_words(KXBN_DIVZERO));
}

TEST(RsaPrivate, PrimeTooLongForTheResultGivesBadarg) {
  // Exponents of 1 and powers of two for p: nothing but the room for the result, twice p and 64 bits, can
  // refuse.
  const std::string zeros(262112 / 4, '0');
  const Big fits("8" + zeros.substr(1)), longer("1" + zeros), one("1");
  EXPECT_EQ(result_of({nullptr, nullptr, nullptr, fits, one, one, one, one}, Big("5")), "5");
  EXPECT_EQ(result_of({nullptr, nullptr, nullptr, longer, one, one, one, one}, Big("5")),
            in_words(KXBN_BADARG));
}

TEST(RsaPrivateDeathTest, MissingValuesAreBrokenPreconditionsInTheirOrder) {
  const OwnedKey owned(rsa_keys().at(1));
  const Big input("5");
  RSAKey key = owned.full();
  const struct {
    KXBN** field;
    const char* message;
  } cases[] = {
      {&key.iqmp, "Assertion failed: !!\\(key->iqmp\\), file \\.\\.\\\\rsa\\.c, line 557"},
      {&key.dmq1, "Assertion failed: !!\\(key->dmq1\\), file \\.\\.\\\\rsa\\.c, line 556"},
      {&key.dmp1, "Assertion failed: !!\\(key->dmp1\\), file \\.\\.\\\\rsa\\.c, line 555"},
      {&key.q, "Assertion failed: !!\\(key->q\\), file \\.\\.\\\\rsa\\.c, line 554"},
  };
  for (const auto& c : cases) {
    *c.field = nullptr;  // and those before it stay null: the assertion names the first missing one
    KXBN* out = nullptr;
    EXPECT_DEATH(static_cast<void>(rsa_private(&key, input, &out, nullptr)), c.message);
  }
}

TEST(RsaPrivateDeathTest, PlainOperationNeedsModulusAndExponent) {
  const OwnedKey owned(rsa_keys().at(1));
  const Big input("5");
  KXBN* out = nullptr;
  RSAKey key = owned.plain();
  key.d = nullptr;
  EXPECT_DEATH(static_cast<void>(rsa_private(&key, input, &out, nullptr)),
               "Assertion failed: !!\\(exp\\), file \\.\\.\\\\rsa\\.c, line 539");
  key.n = nullptr;
  EXPECT_DEATH(static_cast<void>(rsa_private(&key, input, &out, nullptr)),
               "Assertion failed: !!\\(mod\\), file \\.\\.\\\\rsa\\.c, line 538");
}

TEST(RsaPrivate, ResultComesFromThePool) {
  const OwnedKey owned(rsa_keys().at(1));
  const RSAKey key = owned.crt();
  const Pool pool(1024);
  {
    Number out;
    ASSERT_EQ(rsa_private(&key, Big("5"), out.out(), pool), KXBN_OK);
    EXPECT_EQ(out->pool, pool);
  }
  EXPECT_EQ(pool->freeMask, UINT32_MAX);
}

TEST(RsaPrivate, AllocationFailuresAreReportedAndLeaveNothing) {
  const OwnedKey owned(rsa_keys().at(1));
  const Big input(rsa_keys().at(1).at("Input"));
  for (const RSAKey& key : {owned.plain(), owned.crt()}) {
    EachAllocationFails([&] {
      Number out;
      const uint32_t rc = rsa_private(&key, input, out.out(), nullptr);
      EXPECT_EQ(out == nullptr, rc != KXBN_OK);
      return rc;
    });
  }
}

}  // namespace
}  // namespace qex
