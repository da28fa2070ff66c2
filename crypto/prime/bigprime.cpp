// Primality: trial division and Miller-Rabin.
#include "crypto/prime/bigprime.h"

#include <algorithm>

#include "crypto/assertion.h"
#include "crypto/bignum/arithmetic.h"

namespace qex {
namespace {

constexpr uint32_t kFirstBase = 2;

// The sieve of Eratosthenes, run by the compiler.
constexpr std::array<uint32_t, kSmallPrimeCount> sieve() {
  constexpr size_t limit = 3608;
  std::array<bool, limit> crossed{};
  std::array<uint32_t, kSmallPrimeCount> primes{};
  size_t found = 0;
  for (size_t i = 2; i < limit; ++i) {
    if (crossed[i]) continue;
    primes[found++] = uint32_t(i);  // one prime too many would not compile
    for (size_t j = i * i; j < limit; j += i) crossed[j] = true;
  }
  return primes;
}

struct RoundsRow {
  uint32_t minBits;
  uint32_t rounds[3];  // by error bound
};

// By falling size; the last row takes every candidate that is left.
constexpr RoundsRow kRounds[] = {
    {4096, {1, 2, 2}},   {3072, {1, 2, 2}},   {2048, {2, 3, 3}},   {1536, {2, 3, 4}},   {1024, {3, 5, 6}},
    {512, {5, 9, 12}},   {384, {7, 12, 16}},  {256, {10, 20, 27}}, {224, {12, 24, 32}}, {192, {15, 29, 37}},
    {160, {19, 35, 43}}, {140, {22, 38, 46}}, {100, {28, 44, 52}}, {0, {39, 55, 63}},
};
static_assert(std::size(kRounds) == 14 && std::end(kRounds)[-1].minBits == 0,
              "the last row of kRounds takes every candidate");

// residue returns |n| mod d.
[[nodiscard]] uint32_t residue(const KXBN* n, uint32_t d) {
  uint64_t rest = 0;
  for (uint32_t i = n->used; i-- > 0;) rest = (rest << 32 | n->digits[i]) % d;
  return uint32_t(rest);
}

// is_small_prime is exact for numbers of one word: when no divisor up to the square root
// was in the table, the odd numbers above it are tried.
[[nodiscard]] bool is_small_prime(uint32_t n) {
  if (n < 2) return false;
  for (const uint32_t p : kSmallPrimes) {
    if (p * p > n) return true;  // p * p < 2^24
    if (n % p == 0) return false;
  }
  for (uint64_t d = kSmallPrimes.back() + 2; d * d <= n; d += 2) {
    if (n % d == 0) return false;
  }
  return true;
}

// Shared by the rounds of one test: n - 1 = 2^twos * odd, and working numbers.
class StrongTest {
 public:
  StrongTest(const KXBN* n, KXBN_Pool* pool) : n_(n), pool_(pool) {}

  [[nodiscard]] uint32_t start();
  [[nodiscard]] uint32_t draw_base(const RandomSource* random);
  void take_first_base() { KXBN_setword(base_, kFirstBase); }
  [[nodiscard]] uint32_t round();

 private:
  void fit_base(Arithmetic& compute);

  const KXBN* n_;  // above 1
  KXBN_Pool* pool_;
  Number minusOne_, odd_;
  Number base_, power_, square_;
  uint32_t twos_ = 0;
};

uint32_t StrongTest::start() {
  Arithmetic compute(pool_);
  compute.make(KXBN_bits(n_), minusOne_, odd_, base_, power_, square_);
  compute.setword(square_, 1).sub(minusOne_, n_, square_).copy(odd_, minusOne_);
  if (compute.ok()) twos_ = KXBN_strip_twos(odd_);
  return compute.code();
}

uint32_t StrongTest::draw_base(const RandomSource* random) {
  return random->fill(random->context, base_, KXBN_bits(n_));
}

// fit_base brings the base below n and above 1. Of all candidates only 2 and 3 are small enough
// to meet a base that is then not below them.
void StrongTest::fit_base(Arithmetic& compute) {
  if (KXBN_cmp(base_, n_) >= 0) compute.clearbit(base_, KXBN_bits(n_) - 1);
  if (KXBN_bits(base_) < 2) compute.addword(base_, 3);
}

// round is the strong pseudoprime test to the base: a prime n divides base^odd - 1, or
// base^(odd * 2^i) + 1 for an i below twos.
uint32_t StrongTest::round() {
  Arithmetic compute(pool_);
  fit_base(compute);
  compute.mod(square_, base_, n_);
  if (!compute.ok() || is_zero(square_)) return compute.code();  // a multiple of n says nothing about n

  compute.modexp(power_, base_, odd_, n_);
  if (!compute.ok() || is_one(power_) || KXBN_cmp(power_, minusOne_) == 0) return compute.code();
  for (uint32_t i = 1; i < twos_; ++i) {
    compute.mul(square_, power_, power_).mod(power_, square_, n_);
    if (!compute.ok() || KXBN_cmp(power_, minusOne_) == 0) return compute.code();
  }
  return KXBN_NONPRIME;
}

}  // namespace

constinit const std::array<uint32_t, kSmallPrimeCount> kSmallPrimes = sieve();
static_assert(sieve().front() == 2 && sieve().back() == 3607, "kSmallPrimeCount primes end at 3607");

uint32_t bigprime_rounds(uint32_t bits, uint32_t bound) {
  QEX_ASSERT(bound < std::size(kRounds[0].rounds), Claim::ErrorBoundIsKnown);
  const RoundsRow* row = kRounds;
  while (bits < row->minBits) ++row;
  return row->rounds[bound];
}

uint32_t bigprime_trial_division(const KXBN* n) {
  if (is_negative(n)) return KXBN_NONPRIME;
  if (KXBN_bits(n) < 32) return is_small_prime(n->digits[0]) ? KXBN_OK : KXBN_NONPRIME;

  // As many primes together as a word holds the product of: one pass over n for all of them.
  for (size_t i = 0; i < kSmallPrimeCount;) {
    const size_t first = i;
    uint64_t product = 1;
    while (i < kSmallPrimeCount && product * kSmallPrimes[i] <= UINT32_MAX) product *= kSmallPrimes[i++];
    const uint32_t rest = residue(n, uint32_t(product));
    for (size_t j = first; j < i; ++j) {
      if (rest % kSmallPrimes[j] == 0) return KXBN_NONPRIME;
    }
  }
  return KXBN_OK;
}

uint32_t bigprime_miller_rabin(const KXBN* n, int32_t rounds, const RandomSource* random, KXBN_Pool* pool) {
  if (random == nullptr) return KXBN_BADARG;
  if (is_negative(n) || KXBN_bits(n) < 2) return KXBN_NONPRIME;
  if (rounds < 1) rounds = int32_t(bigprime_rounds(KXBN_bits(n), 0));
  rounds = std::max(rounds, 2);

  StrongTest test(n, pool);
  if (const uint32_t rc = test.start()) return rc;
  test.take_first_base();
  if (const uint32_t rc = test.round()) return rc;
  for (int32_t i = 1; i < rounds; ++i) {
    if (const uint32_t rc = test.draw_base(random)) return rc;
    if (const uint32_t rc = test.round()) return rc;
  }
  return KXBN_OK;
}

uint32_t bigprime_test(const KXBN* n, uint32_t bound, const RandomSource* random, KXBN_Pool* pool) {
  if (random == nullptr) return KXBN_BADARG;
  if (const uint32_t rc = bigprime_trial_division(n)) return rc;
  return bigprime_miller_rabin(n, int32_t(bigprime_rounds(KXBN_bits(n), bound)), random, pool);
}

}  // namespace qex
