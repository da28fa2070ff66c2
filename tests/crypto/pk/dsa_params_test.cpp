// DSA domain parameters against seeds of other implementations.
#include "crypto/pk/dsa_params.h"

#include <gtest/gtest.h>

#include "crypto/prime/bigprime.h"
#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"
#include "tests/support/random_source.h"

namespace qex {
namespace {

using test::Big;
using test::ConstantSource;
using test::EachAllocationFails;
using test::ListSource;
using test::Pool;
using test::SeededSource;
using test::Vector;

std::vector<Vector> dsa_parameters() {
  return test::read_vectors("dsa_params.txt");
}

uint32_t number(const Vector& v, const char* name) {
  return uint32_t(std::stoul(v.at(name)));
}

const HashInfo* digest_named(const std::string& name) {
  return name == "SHA1"     ? &kSHA1Info
         : name == "SHA256" ? &kSHA256Info
         : name == "SHA384" ? &kSHA384Info
                            : &kSHA512Info;
}

// A demand that is met: that of a vector, its seed given.
struct Demand {
  explicit Demand(const Vector& v) : seed(v.at("Seed")) {
    params.L = number(v, "L");
    params.N = number(v, "N");
    params.seedBits = uint32_t(v.at("Seed").size() * 4);
    params.seed = seed;
    params.counterLimit = 0;
    params.h = number(v, "H");
    params.qhf = digest_named(v.at("Digest"));
  }
  Big seed;
  DSAParams params;
};

Demand fips_demand() {
  return Demand(dsa_parameters().at(0));
}

// Output owns what a generation makes.
struct Output {
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() { KXBN_free4(key.p, key.q, key.g, evidence.seed); }

  DSAKey key{};
  DSAEvidence evidence{};
};

// Result is the output of a generation, and its code.
struct Result : Output {
  Result(const DSAParams& params, const RandomSource* random, KXBN_Pool* pool = nullptr) {
    const Big rubbish("7");
    key = {rubbish, rubbish, rubbish, rubbish, rubbish};  // earlier contents are not read
    evidence = {rubbish, 99, 99};
    code = dsa_generate_params(&key, &evidence, &params, random, pool);
  }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  ~Result() {
    EXPECT_EQ(key.x, nullptr);
    EXPECT_EQ(key.y, nullptr);
  }
  bool is_empty() const { return !key.p && !key.q && !key.g && !evidence.seed; }

  uint32_t code;
};

TEST(DsaParams, SeedsGiveTheParametersOfOtherImplementations) {
  const auto all = dsa_parameters();
  ASSERT_EQ(all.size(), 12u);
  for (const Vector& v : all) {
    const Demand demand(v);
    SeededSource random(1);
    const Result made(demand.params, &random);
    ASSERT_EQ(made.code, KXBN_OK) << v.at("Seed");
    EXPECT_EQ(test::hex_of(made.key.p), v.at("P"));
    EXPECT_EQ(test::hex_of(made.key.q), v.at("Q"));
    EXPECT_EQ(test::hex_of(made.key.g), v.at("G"));
    EXPECT_EQ(test::hex_of(made.evidence.seed), demand.seed.hex());
    EXPECT_EQ(made.evidence.counter, number(v, "Counter"));
    EXPECT_EQ(made.evidence.h, number(v, "H"));

    // With a given seed numbers are drawn for bases alone: one less than the rounds, for q and for p.
    const uint32_t L = number(v, "L"), N = number(v, "N");
    const uint32_t p_bound = L >= 3072 ? 2 : L >= 2048 ? 1 : 0;
    const uint32_t q_bound = N >= 256 ? 2 : N >= 224 ? 1 : 0;
    EXPECT_EQ(uint32_t(random.calls), bigprime_rounds(N, q_bound) - 1 + bigprime_rounds(L, p_bound) - 1)
        << L << "/" << N;
  }
}

TEST(DsaParams, DefaultsAreSha1AndItsLengthAndTwoAndTheLastCounter) {
  const Vector v = dsa_parameters().at(0);
  Demand demand(v);
  demand.params.N = 0;
  demand.params.h = 0;
  demand.params.qhf = nullptr;
  SeededSource random(2);
  const Result made(demand.params, &random);
  ASSERT_EQ(made.code, KXBN_OK);
  EXPECT_EQ(test::hex_of(made.key.p), v.at("P"));
  EXPECT_EQ(test::hex_of(made.key.g), v.at("G"));
  EXPECT_EQ(made.evidence.h, 2u);
}

TEST(DsaParams, NOfZeroIsTheLengthOfTheDigest) {
  const Vector v = dsa_parameters().at(10);
  ASSERT_EQ(v.at("N"), "512");
  Demand demand(v);
  demand.params.N = 0;
  SeededSource random(3);
  const Result made(demand.params, &random);
  ASSERT_EQ(made.code, KXBN_OK);
  EXPECT_EQ(test::hex_of(made.key.q), v.at("Q"));
}

TEST(DsaParams, CounterLimitIsTheLastCounterTried) {
  Demand demand = fips_demand();
  SeededSource random(4);
  demand.params.counterLimit = 105;
  EXPECT_EQ(Result(demand.params, &random).code, KXBN_OK);
  demand.params.counterLimit = 104;
  const Result none(demand.params, &random);
  EXPECT_EQ(none.code, KXBN_NONPRIME);
  EXPECT_TRUE(none.is_empty());
}

TEST(DsaParams, GivenSeedWithoutAPrimeQGivesNonprime) {
  Demand demand = fips_demand();
  ASSERT_EQ(KXBN_addword(demand.seed, 1), KXBN_OK);
  SeededSource random(5);
  const Result none(demand.params, &random);
  EXPECT_EQ(none.code, KXBN_NONPRIME);
  EXPECT_TRUE(none.is_empty());
}

TEST(DsaParams, DrawnSeedsLeadToParametersThatTheirSeedLeadsToAgain) {
  const struct {
    uint32_t L, N;
    const HashInfo* qhf;
  } cases[] = {
      {512, 160, &kSHA1Info}, {1024, 160, &kSHA1Info}, {768, 224, &kSHA256Info}, {1024, 256, &kSHA512Info}};
  SeededSource random(7);
  for (const auto& c : cases) {
    DSAParams params{c.L, c.N, 256, nullptr, 0, 0, c.qhf};
    const Result made(params, &random);
    ASSERT_EQ(made.code, KXBN_OK) << c.L << "/" << c.N;
    EXPECT_EQ(KXBN_bits(made.key.p), c.L);
    EXPECT_EQ(KXBN_bits(made.key.q), c.N);

    // q divides p - 1, and g has the order q.
    const Big rest, one("1"), less;
    ASSERT_EQ(KXBN_sub(less, made.key.p, one), KXBN_OK);
    ASSERT_EQ(KXBN_mod(rest, less, made.key.q, nullptr), KXBN_OK);
    EXPECT_EQ(rest.hex(), "0");
    ASSERT_EQ(KXBN_modexp(rest, made.key.g, made.key.q, made.key.p, nullptr), KXBN_OK);
    EXPECT_EQ(rest.hex(), "1");
    EXPECT_NE(test::hex_of(made.key.g), "1");

    params.seed = made.evidence.seed;
    const Result again(params, &random);
    ASSERT_EQ(again.code, KXBN_OK);
    EXPECT_EQ(test::hex_of(again.key.p), test::hex_of(made.key.p));
    EXPECT_EQ(again.evidence.counter, made.evidence.counter);
  }
}

TEST(DsaParams, GeneratedParametersMakeAKeyThatSigns) {
  SeededSource random(8);
  const DSAParams params{1024, 160, 160, nullptr, 0, 0, nullptr};
  const Result made(params, &random);
  ASSERT_EQ(made.code, KXBN_OK);
  const Big x("123456789abcdef0123456789abcdef"), y;
  ASSERT_EQ(KXBN_modexp(y, made.key.g, x, made.key.p, nullptr), KXBN_OK);
  const DSAKey key{made.key.p, made.key.q, made.key.g, x, y};
  EXPECT_EQ(dsa_check_key(&key, nullptr), KXBN_OK);
  DigestBuf digest{};
  digest.octets[0] = 0xa9;
  digest.length = 20;
  const Big r, s;
  DSASig sig{r, s};
  ASSERT_EQ(dsa_sign(&digest, &key, &random, nullptr, &sig), KXBN_OK);
  uint32_t result = 99;
  EXPECT_EQ(dsa_verify(&digest, &key, &sig, nullptr, &result), KXBN_OK);
  EXPECT_EQ(result, DSA_VALID);
}

TEST(DsaParams, GIsAPowerOfTheHAskedFor) {
  Demand demand = fips_demand();
  demand.params.h = 0x7fffffff;
  SeededSource random(10);
  const Result made(demand.params, &random);
  ASSERT_EQ(made.code, KXBN_OK);
  EXPECT_EQ(made.evidence.h, 0x7fffffffu);
  const Big exponent, dividend(test::hex_of(made.key.p)), g;
  ASSERT_EQ(KXBN_divrem(exponent, dividend, made.key.q),
            KXBN_OK);  // p - 1 is a multiple, p is rounded down to it
  ASSERT_EQ(KXBN_modexp(g, Big("7fffffff"), exponent, made.key.p, nullptr), KXBN_OK);
  EXPECT_EQ(test::hex_of(made.key.g), g.hex());
}

TEST(DsaParams, DemandsOutOfRangeAreRefused) {
  const auto refused = [](void (*change)(DSAParams*)) {
    Demand demand = fips_demand();
    change(&demand.params);
    SeededSource random(11);
    const Result made(demand.params, &random);
    EXPECT_TRUE(made.is_empty());
    EXPECT_EQ(random.calls, 0);
    return made.code == KXBN_BADARG;
  };
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = 152; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = 0; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = 164; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = 161; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = kMaxBits + 8; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->seedBits = UINT32_MAX - 7; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->counterLimit = 4096; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->counterLimit = UINT32_MAX; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->h = 1; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->h = 0x80000000; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->L = 448; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->L = 0; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->L = 520; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->L = 1000; }));
  EXPECT_TRUE(refused([](DSAParams* p) { p->L = UINT32_MAX - 63; }));
  for (uint32_t N = 1; N <= 600; ++N) {
    if (N == 160 || N == 224 || N == 256 || N == 384 || N == 512) continue;
    Demand demand = fips_demand();
    demand.params.N = N;
    SeededSource random(12);
    EXPECT_EQ(Result(demand.params, &random).code, KXBN_BADARG) << N;
  }
  EXPECT_TRUE(refused([](DSAParams* p) {
    p->N = 0;  // 128
    p->qhf = &kMD5Info;
  }));
  EXPECT_TRUE(refused([](DSAParams* p) {
    p->N = 512;  // as long as L
    p->qhf = &kSHA512Info;
  }));
}

TEST(DsaParams, SeedLongerThanItsLengthOrNegativeIsRefused) {
  SeededSource random(13);
  for (const std::string& text : {test::power_of_two(160), test::power_of_two(2000), std::string("-1")}) {
    const Big seed(text);
    const DSAParams params{512, 160, 160, seed, 0, 0, nullptr};
    EXPECT_EQ(Result(params, &random).code, KXBN_BADARG) << text;
  }
}

TEST(DsaParams, WithoutARandomSourceIsRefused) {
  EXPECT_EQ(Result(fips_demand().params, nullptr).code, KXBN_BADARG);
}

TEST(DsaParams, CodeOfTheRandomSourceIsPassedUp) {
  ListSource at_once({}, 77);
  const DSAParams drawn{512, 160, 160, nullptr, 0, 0, nullptr};
  EXPECT_EQ(Result(drawn, &at_once).code, 77u);
  // Six bases are not enough for q, twenty not for p.
  for (const size_t count : {6u, 20u}) {
    ListSource later(std::deque<std::string>(count, "123456789"), 78);
    EXPECT_EQ(Result(fips_demand().params, &later).code, 78u);
  }
}

TEST(DsaParams, StuckSourceEndsInACode) {
  const ConstantSource random("1");
  const DSAParams params{512, 160, 160, nullptr, 1, 0, nullptr};
  EXPECT_EQ(Result(params, &random).code, KXBN_NONPRIME);
  // Here the seed has a prime q, and p is out of reach every time.
  const Vector v = dsa_parameters().at(0);
  const ConstantSource prime(v.at("Seed"));
  EXPECT_EQ(Result(params, &prime).code, KXBN_NONPRIME);
}

TEST(DsaParamsDeathTest, DigestThatDoesNotFitIsABrokenPrecondition) {
  SeededSource random(14);
  Demand demand = fips_demand();
  demand.params.qhf = &kSHA256Info;
  EXPECT_DEATH(Result(demand.params, &random),
               "Assertion failed: params->N == 0 \\|\\| params->N == params->qhf->hashsz \\* 8, "
               "file \\.\\.\\\\dsa\\.c, line ");
  demand.params.qhf = &kSHA1Info;
  demand.params.N = 224;
  EXPECT_DEATH(Result(demand.params, &random),
               "Assertion failed: params->qhf->hashsz >= Nbytes, file \\.\\.\\\\dsa\\.c, line 582");
}

TEST(DsaParamsDeathTest, ContextThatDoesNotFitIsABrokenPrecondition) {
  SeededSource random(15);
  HashInfo wide = kSHA1Info;
  Demand demand = fips_demand();
  demand.params.qhf = &wide;
  wide.ctxsz = 250;
  EXPECT_EQ(Result(demand.params, &random).code, KXBN_OK);
  wide.ctxsz = 251;
  EXPECT_DEATH(Result(demand.params, &random),
               "Assertion failed: sizeof\\(hashctx\\) >= hi->ctxsz, file \\.\\.\\\\dsa\\.c, line 61");
}

TEST(DsaParams, NumbersComeFromThePool) {
  const Pool pool(1024);
  SeededSource random(16);
  {
    const Result made(fips_demand().params, &random, pool);
    ASSERT_EQ(made.code, KXBN_OK);
    EXPECT_EQ(made.key.p->pool, pool);
    EXPECT_EQ(made.evidence.seed->pool, pool);
  }
  EXPECT_TRUE(pool.all_free());
}

TEST(DsaParams, EvidenceMayBeLeftOut) {
  SeededSource random(17);
  const Demand demand = fips_demand();
  const long before = test::LiveBlocks();
  {
    Output made;
    ASSERT_EQ(dsa_generate_params(&made.key, nullptr, &demand.params, &random, nullptr), KXBN_OK);
  }
  EXPECT_EQ(test::LiveBlocks(), before);
}

TEST(DsaParams, AllocationFailuresAreReportedAndLeaveNothing) {
  const Demand demand = fips_demand();
  EachAllocationFails(
      [&] {
        SeededSource random(18);
        Output made;
        const uint32_t rc = dsa_generate_params(&made.key, &made.evidence, &demand.params, &random, nullptr);
        EXPECT_EQ(made.key.p == nullptr, rc != KXBN_OK);
        EXPECT_EQ(made.evidence.seed == nullptr, rc != KXBN_OK);
        return rc;
      },
      {.stride = 3});
}

}  // namespace
}  // namespace qex
