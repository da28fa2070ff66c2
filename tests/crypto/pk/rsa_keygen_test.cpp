// RSA key generation: checked by openssl, and by the definition of a key.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "crypto/pk/rsa.h"
#include "crypto/prime/bigprime.h"
#include "tests/support/big.h"
#include "tests/support/der.h"
#include "tests/support/each_failure.h"
#include "tests/support/files.h"
#include "tests/support/pool.h"
#include "tests/support/random_source.h"

namespace qex {
namespace {

using test::Big;
using test::ConstantSource;
using test::EachAllocationFails;
using test::HaveProgram;
using test::Octets;
using test::Pool;
using test::SeededSource;
namespace der = test::der;

// GeneratedKey owns a key; `code` is the result of its generation.
struct GeneratedKey {
  GeneratedKey(uint32_t bits, const char* e, uint32_t seed) : source(seed) {
    code = rsa_generate_key(&key, bits, Big(e), &source, nullptr);
  }
  GeneratedKey(const GeneratedKey&) = delete;
  GeneratedKey& operator=(const GeneratedKey&) = delete;
  ~GeneratedKey() { rsa_free_key(&key); }

  SeededSource source;
  RSAKey key;
  uint32_t code;
};

bool is_empty(const RSAKey& key) {
  return !key.n && !key.e && !key.d && !key.p && !key.q && !key.dmp1 && !key.dmq1 && !key.iqmp;
}

Octets der_integer(const KXBN* n) {
  Octets contents(KXBN_bits(n) / 8 + 1);  // the top bit stays 0
  EXPECT_EQ(KXBN_tobytes(n, contents.data(), contents.size()), KXBN_OK);
  return der::element(0x02, contents);
}

// openssl_check returns the verdict of `openssl rsa -check` on the RSAPrivateKey (RFC 8017 A.1.2).
std::string openssl_check(const RSAKey& key, const std::string& path) {
  const Octets all = der::sequence(Octets{2, 1, 0}, der_integer(key.n), der_integer(key.e),
                                   der_integer(key.d), der_integer(key.p), der_integer(key.q),
                                   der_integer(key.dmp1), der_integer(key.dmq1), der_integer(key.iqmp));
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return "no file";
  std::fwrite(all.data(), 1, all.size(), file);
  std::fclose(file);

  std::string said;
  const std::string command = "openssl rsa -inform DER -check -noout -in '" + path + "' 2>&1";
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "no pipe";
  for (char line[200]; std::fgets(line, sizeof line, pipe) != nullptr;) said += line;
  const int status = pclose(pipe);
  std::remove(path.c_str());
  return status == 0 ? said : "failed: " + said;
}

TEST(RsaKeygen, OpensslFindsNothingWrongWithTheKeys) {
  if (!HaveProgram("openssl")) GTEST_SKIP() << "openssl is not installed";
  const std::string path = testing::TempDir() + "qex_rsa_keygen_test.der";
  const struct {
    uint32_t bits;
    const char* e;
  } cases[] = {{1024, "10001"}, {1024, "3"}, {1030, "10001"}, {2048, "10001"}};
  uint32_t seed = 1;
  for (const auto& c : cases) {
    const GeneratedKey made(c.bits, c.e, seed++);
    ASSERT_EQ(made.code, KXBN_OK);
    EXPECT_EQ(openssl_check(made.key, path), "RSA key ok\n") << c.bits << " " << c.e;
  }
  // The question itself can be answered with no.
  GeneratedKey broken(1024, "10001", 1);
  ASSERT_EQ(broken.code, KXBN_OK);
  ASSERT_EQ(KXBN_addword(broken.key.d, 2), KXBN_OK);
  EXPECT_NE(openssl_check(broken.key, path), "RSA key ok\n");
}

TEST(RsaKeygen, ModulusAndPrimesHaveTheirSizes) {
  for (const uint32_t bits : {1024u, 1026u, 1100u}) {
    for (uint32_t seed = 10; seed < 13; ++seed) {
      const GeneratedKey made(bits, "10001", seed);
      ASSERT_EQ(made.code, KXBN_OK);
      EXPECT_EQ(KXBN_bits(made.key.n), bits);
      EXPECT_EQ(KXBN_bits(made.key.p), bits / 2);
      EXPECT_EQ(KXBN_bits(made.key.q), bits / 2);
      EXPECT_GT(KXBN_bits(made.key.d), bits / 2);
      EXPECT_LT(KXBN_bits(made.key.d), bits);  // below lcm(p - 1, q - 1), at most half of (p - 1)(q - 1)
      EXPECT_EQ(KXBN_cmp(made.key.p, made.key.q), 1);
    }
  }
}

TEST(RsaKeygen, TheLargerPrimeIsPWhicheverWasDrawnFirst) {
  struct Log {
    SeededSource source;
    std::string first;  // the first number that a prime is sought above
  };
  int first_is[2] = {0, 0};  // how often the first prime became p, and how often q
  for (const uint32_t seed : {10u, 13u, 15u}) {
    Log log{SeededSource(seed), ""};
    const RandomSource source{[](void* context, KXBN* n, uint32_t bits) -> uint32_t {
                                auto* const self = static_cast<Log*>(context);
                                const uint32_t rc = self->source.fill(&self->source, n, bits);
                                if (bits == 512 && self->first.empty()) self->first = test::hex_of(n);
                                return rc;
                              },
                              &log};
    RSAKey key;
    ASSERT_EQ(rsa_generate_key(&key, 1024, Big("10001"), &source, nullptr), KXBN_OK);
    EXPECT_EQ(KXBN_cmp(key.p, key.q), 1) << seed;

    // A prime is a few times 2^204 above the start of its search, and 2^412 from the other prime.
    const Big start(log.first), distance;
    ASSERT_EQ(KXBN_setbit(start, 511, 1), KXBN_OK);
    ASSERT_EQ(KXBN_setbit(start, 510, 1), KXBN_OK);
    const KXBN* const pair[2] = {key.p, key.q};
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(KXBN_sub(distance, pair[i], start), KXBN_OK);
      first_is[i] += int(KXBN_bits(distance) < 300);
    }
    rsa_free_key(&key);
  }
  EXPECT_EQ(first_is[0], 1);
  EXPECT_EQ(first_is[1], 2);
}

TEST(RsaKeygen, KeysSignAndVerify) {
  const GeneratedKey made(1024, "10001", 20);
  ASSERT_EQ(made.code, KXBN_OK);
  RSAKey plain = made.key;
  plain.p = nullptr;
  const Big input("123456789abcdef123456789abcdef");
  Number crt, direct, back;
  ASSERT_EQ(rsa_private(&made.key, input, crt.out(), nullptr), KXBN_OK);
  ASSERT_EQ(rsa_private(&plain, input, direct.out(), nullptr), KXBN_OK);
  ASSERT_EQ(rsa_public(&made.key, crt, back.out(), nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(crt), test::hex_of(direct));
  EXPECT_EQ(test::hex_of(back), input.hex());
}

TEST(RsaKeygen, DifferentNumbersGiveDifferentKeysTheSameGiveTheSame) {
  const GeneratedKey a(1024, "10001", 30), b(1024, "10001", 30), c(1024, "10001", 31);
  EXPECT_EQ(test::hex_of(a.key.n), test::hex_of(b.key.n));
  EXPECT_NE(test::hex_of(a.key.p), test::hex_of(c.key.p));
  EXPECT_NE(test::hex_of(a.key.q), test::hex_of(c.key.q));
}

TEST(RsaKeygen, AuxiliaryPrimesHaveTheSizeOfTheStandard) {
  // The first number that is drawn is the start of an auxiliary prime; the first failure shows its length.
  const struct {
    uint32_t bits, drawn;
  } cases[] = {{1024, 101}, {2046, 101}, {2048, 141}, {3070, 141}, {3072, 171}, {8192, 171}};
  for (const auto& c : cases) {
    uint32_t drawn = 0;
    const RandomSource source{[](void* context, KXBN*, uint32_t bits) -> uint32_t {
                                *static_cast<uint32_t*>(context) = bits;
                                return 77;
                              },
                              &drawn};
    RSAKey key;
    EXPECT_EQ(rsa_generate_key(&key, c.bits, Big("10001"), &source, nullptr), 77u);
    EXPECT_EQ(drawn, c.drawn) << c.bits;
    EXPECT_TRUE(is_empty(key));
  }
}

TEST(RsaKeygen, EachPrimeHasItsAuxiliaryPrimes) {
  // Each auxiliary prime is the first one from a number that was drawn.
  struct Log {
    SeededSource source{35};
    std::vector<std::string> drawn;
  } log;
  const RandomSource source{[](void* context, KXBN* n, uint32_t bits) -> uint32_t {
                              auto* const self = static_cast<Log*>(context);
                              const uint32_t rc = self->source.fill(&self->source, n, bits);
                              if (bits == 101) self->drawn.push_back(test::hex_of(n));
                              return rc;
                            },
                            &log};
  RSAKey key;
  ASSERT_EQ(rsa_generate_key(&key, 1024, Big("10001"), &source, nullptr), KXBN_OK);

  const Big one("1"), product, rest;
  int below[2] = {0, 0}, above[2] = {0, 0};
  SeededSource bases(36);
  for (const std::string& start : log.drawn) {
    const Big prime(start);
    ASSERT_EQ(KXBN_setbit(prime, 100, 1), KXBN_OK);
    ASSERT_EQ(KXBN_setbit(prime, 0, 1), KXBN_OK);
    while (bigprime_trial_division(prime) != KXBN_OK ||
           bigprime_miller_rabin(prime, 2, &bases, nullptr) != KXBN_OK) {
      ASSERT_EQ(KXBN_addword(prime, 2), KXBN_OK);
    }
    const KXBN* const pair[2] = {key.p, key.q};
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(KXBN_sub(product, pair[i], one), KXBN_OK);
      ASSERT_EQ(KXBN_mod(rest, product, prime, nullptr), KXBN_OK);
      below[i] += int(KXBN_test(rest, KXBN_IS_ZERO));
      ASSERT_EQ(KXBN_add(product, pair[i], one), KXBN_OK);
      ASSERT_EQ(KXBN_mod(rest, product, prime, nullptr), KXBN_OK);
      above[i] += int(KXBN_test(rest, KXBN_IS_ZERO));
    }
  }
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(below[i], 1) << i;
    EXPECT_EQ(above[i], 1) << i;
  }
  rsa_free_key(&key);
}

TEST(RsaKeygen, PrimesAreTestedWithTheBoundOfTheirSize) {
  // A source that always gives the same prime: both auxiliary primes are found at once and are equal, 64
  // times, after which the source counts as stuck. Each costs a draw for the start and, the first base being
  // 2, one less than the rounds of its size.
  const struct {
    uint32_t bits;
    uint32_t exponent, offset;  // of the prime 2^exponent + offset
    uint32_t bound;
  } cases[] = {
      {1024, 100, 0x115, 1}, {2046, 100, 0x115, 1}, {2048, 140, 0x25, 1},
      {3070, 140, 0x25, 1},  {3072, 170, 0x31, 2},  {4096, 170, 0x31, 2},
  };
  for (const auto& c : cases) {
    struct Counted {
      Big prime;
      uint32_t calls = 0;
    } counted{Big(test::power_of_two(c.exponent))};
    ASSERT_EQ(KXBN_addword(counted.prime, c.offset), KXBN_OK);
    const RandomSource source{[](void* context, KXBN* n, uint32_t) -> uint32_t {
                                auto* const self = static_cast<Counted*>(context);
                                ++self->calls;
                                return KXBN_copy(n, self->prime);
                              },
                              &counted};
    RSAKey key;
    EXPECT_EQ(rsa_generate_key(&key, c.bits, Big("10001"), &source, nullptr), KXBN_NONPRIME);
    EXPECT_EQ(counted.calls, 64 * 2 * bigprime_rounds(c.exponent + 1, c.bound)) << c.bits;
  }
}

TEST(RsaKeygenDeathTest, PrimesBelow512BitsAreABrokenPrecondition) {
  SeededSource source(50);
  RSAKey key;
  for (const uint32_t bits : {0u, 2u, 512u, 1022u}) {
    EXPECT_DEATH(static_cast<void>(rsa_generate_key(&key, bits, Big("10001"), &source, nullptr)),
                 "Assertion failed: !\"invalid rsa prime size\", file \\.\\.\\\\rsa\\.c, line 141");
  }
}

TEST(RsaKeygen, ArgumentsThatCannotBeAreRefused) {
  SeededSource source(60);
  RSAKey key;
  key.n = reinterpret_cast<KXBN*>(&source);  // earlier contents of the record are not read
  EXPECT_EQ(rsa_generate_key(&key, 1024, Big("10001"), nullptr, nullptr), KXBN_BADARG);
  EXPECT_TRUE(is_empty(key));
  for (const uint32_t bits : {1025u, kMaxBits + 2, UINT32_MAX - 1}) {
    EXPECT_EQ(rsa_generate_key(&key, bits, Big("10001"), &source, nullptr), KXBN_BADARG) << bits;
  }
  for (const std::string& e : {std::string("0"), std::string("1"), std::string("2"), std::string("10000"),
                               std::string("-3"), test::ones(257)}) {
    EXPECT_EQ(rsa_generate_key(&key, 1024, Big(e), &source, nullptr), KXBN_BADARG) << e;
  }
  EXPECT_EQ(source.calls, 0);
  EXPECT_TRUE(is_empty(key));
}

TEST(RsaKeygen, StuckSourceEndsInACode) {
  // The same number for ever makes equal auxiliary primes.
  const ConstantSource source("5");
  RSAKey key;
  EXPECT_EQ(rsa_generate_key(&key, 1024, Big("10001"), &source, nullptr), KXBN_NONPRIME);
  EXPECT_TRUE(is_empty(key));
}

TEST(RsaKeygen, SourceThatEndsIsPassedUpFromEveryPlace) {
  GeneratedKey whole(1024, "10001", 70);
  ASSERT_EQ(whole.code, KXBN_OK);
  const int draws = whole.source.calls;
  ASSERT_GT(draws, 100);
  for (int allowed = 0; allowed < draws; allowed += 7) {
    struct Limited {
      SeededSource source{70};
      int left;
    } limited{.left = allowed};
    const RandomSource source{[](void* context, KXBN* n, uint32_t bits) -> uint32_t {
                                auto* const self = static_cast<Limited*>(context);
                                return self->left-- == 0 ? 77 : self->source.fill(&self->source, n, bits);
                              },
                              &limited};
    RSAKey key;
    const long before = test::LiveBlocks();
    EXPECT_EQ(rsa_generate_key(&key, 1024, Big("10001"), &source, nullptr), 77u);
    EXPECT_EQ(test::LiveBlocks(), before);
    EXPECT_TRUE(is_empty(key));
  }
}

TEST(RsaKeygen, NumbersComeFromThePool) {
  const Pool pool(2048);
  SeededSource source(80);
  RSAKey key;
  ASSERT_EQ(rsa_generate_key(&key, 1024, Big("10001"), &source, pool), KXBN_OK);
  const GeneratedKey same(1024, "10001", 80);
  EXPECT_EQ(test::hex_of(key.d), test::hex_of(same.key.d));
  rsa_free_key(&key);
  EXPECT_TRUE(is_empty(key));
  EXPECT_TRUE(pool.all_free());
}

TEST(RsaKeygen, AllocationFailuresAreReportedAndLeaveNothing) {
  const Big e("10001");
  // A key takes some ten thousand allocations; the stride is a prime, so that all kinds are met.
  EachAllocationFails(
      [&] {
        SeededSource source(90);
        RSAKey key;
        const uint32_t rc = rsa_generate_key(&key, 1024, e, &source, nullptr);
        EXPECT_EQ(is_empty(key), rc != KXBN_OK);
        rsa_free_key(&key);
        return rc;
      },
      {.stride = 211});
}

}  // namespace
}  // namespace qex
