// The RSA public operation against signatures that another program made.
#include "crypto/pk/rsa.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/pool.h"

namespace qex {
namespace {

using test::Big;
using test::FailingAlloc;
using test::LiveBlocks;
using test::ones;
using test::Pool;

RSAKey public_key(const Big& n, const Big& e) {
  RSAKey key{};
  key.n = n;
  key.e = e;
  return key;
}

// stripped is a hexadecimal text without zeros in front.
std::string stripped(const std::string& hex) {
  return Big(hex).hex();
}

TEST(RsaPublic, RecoversTheBlocksOfOpensslSignatures) {
  const auto vectors = test::read_vectors("rsa_verify.txt");
  ASSERT_EQ(vectors.size(), 18u);
  for (const auto& v : vectors) {
    const Big n(v.at("N")), e(v.at("E")), signature(v.at("Signature"));
    ASSERT_EQ(std::to_string(KXBN_bits(n)), v.at("Bits"));
    const RSAKey key = public_key(n, e);
    Number out;
    ASSERT_EQ(rsa_public(&key, signature, out.out(), nullptr), KXBN_OK);
    EXPECT_EQ(test::hex_of(out), stripped(v.at("Block"))) << v.at("Bits") << " " << v.at("E");
  }
}

TEST(RsaPublic, RawVerificationDistinguishesRightFromWrong) {
  const auto vectors = test::read_vectors("rsa_verify.txt");
  ASSERT_FALSE(vectors.empty());
  for (const auto& v : vectors) {
    const Big n(v.at("N")), e(v.at("E")), block(v.at("Block")), signature(v.at("Signature"));
    const RSAKey key = public_key(n, e);
    uint32_t result = 7;
    ASSERT_EQ(rsa_verify_raw(&key, block, signature, &result), KXBN_OK);
    EXPECT_EQ(result, 1u);
    ASSERT_EQ(KXBN_addword(signature, 1), KXBN_OK);
    ASSERT_EQ(rsa_verify_raw(&key, block, signature, &result), KXBN_OK);
    EXPECT_EQ(result, 0u);
  }
}

TEST(RsaPublic, SignatureNotBelowTheModulusIsReduced) {
  const Big n(ones(521)), e("10001");
  Big above(ones(521));
  ASSERT_EQ(KXBN_addword(above, 1), KXBN_OK);
  const RSAKey key = public_key(n, e);
  Number out;
  ASSERT_EQ(rsa_public(&key, n, out.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(out), "0");
  ASSERT_EQ(rsa_public(&key, above, out.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(out), "1");
}

TEST(RsaPublic, EvenModulusGivesTheArithmeticResult) {
  const Big n("de0b6b3a7640000"), e("3");  // 10^18
  const RSAKey key = public_key(n, e);
  Number out;
  ASSERT_EQ(rsa_public(&key, Big("3b9aca07"), out.out(), nullptr), KXBN_OK);  // 10^9 + 7
  EXPECT_EQ(test::hex_of(out), "2239e1ff57");                                 // 147 * 10^9 + 343
}

TEST(RsaPublic, OutComesFromThePool) {
  const Pool pool(64);
  Number out;
  ASSERT_EQ(rsa_exp(Big("f1"), Big("3"), Big("5"), out.out(), pool), KXBN_OK);
  EXPECT_EQ(out->pool, pool);
  EXPECT_EQ(test::hex_of(out), "7d");
  EXPECT_EQ(pool->freeMask, 0xFFFFFFFFu & ~(1u << (out - pool->slots)));
}

TEST(RsaPublic, ModulusOfZeroIsRefusedAndOutIsNull) {
  KXBN marker{};
  KXBN* out = &marker;
  EXPECT_EQ(rsa_exp(Big("0"), Big("3"), Big("5"), &out, nullptr), KXBN_DIVZERO);
  EXPECT_EQ(out, nullptr);
  const Big zero("0"), e("3");
  const RSAKey key = public_key(zero, e);
  uint32_t result = 7;
  EXPECT_EQ(rsa_verify_raw(&key, Big("1"), Big("1"), &result), KXBN_DIVZERO);
  EXPECT_EQ(result, 0u);
}

TEST(RsaPublic, ModulusWithoutRoomForTheResultIsRefused) {
  // The moduli are even and the power is small, so that nothing but the room for the result can refuse them.
  const std::string zeros((kMaxBits - 64) / 4, '0');
  Number out;
  ASSERT_EQ(rsa_exp(Big("8" + zeros.substr(1)), Big("3"), Big("5"), out.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(out), "7d");
  KXBN marker{};
  KXBN* refused = &marker;
  EXPECT_EQ(rsa_exp(Big("1" + zeros), Big("3"), Big("5"), &refused, nullptr), KXBN_BADARG);
  EXPECT_EQ(refused, nullptr);
}

TEST(RsaPublic, ExponentOfAnySizeIsTaken) {
  const Big n(ones(127)), e(ones(20000)), input("3");
  Number out;
  ASSERT_EQ(rsa_exp(n, e, input, out.out(), nullptr), KXBN_OK);
  // pow(3, 2**20000 - 1, 2**127 - 1), from Python
  EXPECT_EQ(test::hex_of(out), "34c15028beae53f4b066af3f7992c37c");
}

TEST(RsaPublic, AllocationFailureIsReportedAndOutIsNull) {
  const Big n(ones(1000)), e("10001"), input(ones(999));
  const RSAKey key = public_key(n, e);
  size_t nth = 0;
  for (;; ++nth) {
    const long before = LiveBlocks();
    FailingAlloc memory(nth);
    uint32_t rc;
    {
      Number out;
      rc = rsa_public(&key, input, out.out(), nullptr);
      EXPECT_EQ(out == nullptr, rc != KXBN_OK);
    }
    EXPECT_EQ(LiveBlocks(), before) << nth;
    ASSERT_EQ(rc, memory.refused() == 0 ? KXBN_OK : KXBN_NOMEM);
    if (memory.refused() == 0) break;
  }
  EXPECT_EQ(nth, 1u);  // the result
}

TEST(RsaDeathTest, MissingModulusOrExponentIsAnAssertion) {
  const Big one("1");
  KXBN* out = nullptr;
  EXPECT_DEATH((void)rsa_exp(nullptr, one, one, &out, nullptr),
               "^Assertion failed: !!\\(mod\\), file \\.\\.\\\\rsa\\.c, line 538\n");
  EXPECT_DEATH((void)rsa_exp(one, nullptr, one, &out, nullptr),
               "^Assertion failed: !!\\(exp\\), file \\.\\.\\\\rsa\\.c, line 539\n");
  const RSAKey key{};
  EXPECT_DEATH((void)rsa_public(&key, one, &out, nullptr), "Assertion failed: !!\\(mod\\)");
}

}  // namespace
}  // namespace qex
