// The public operation of RSA, and its kernels, next to OpenSSL's BN_mod_exp where it is installed.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "crypto/bignum/number.h"
#include "crypto/bignum/words.h"
#include "crypto/pk/rsa.h"

#if defined(QEX_BENCH_OPENSSL)
#include <openssl/bn.h>
#endif

namespace {

using qex::Number;

// octets returns the same pseudo-random number of `bits` bits on every call, odd when `seed` is.
std::vector<uint8_t> octets(int64_t bits, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes(size_t(bits + 7) / 8);
  for (uint8_t& b : bytes) b = uint8_t(random());
  const int top = int((bits - 1) % 8);
  bytes[0] = uint8_t((bytes[0] & ((2 << top) - 1)) | 1 << top);
  bytes.back() = uint8_t((bytes.back() & ~1) | int(seed & 1));
  return bytes;
}

Number number(const std::vector<uint8_t>& bytes) {
  Number n;
  if (n.frombytes(bytes.data(), bytes.size()) != qex::KXBN_OK) std::abort();
  return n;
}

// The last octet of the modulus decides the method: seed 1 gives an odd one, 2 an even one.
void power(benchmark::State& state, const std::vector<uint8_t>& exponent, uint32_t seed) {
  const Number m = number(octets(state.range(0), seed));
  const Number e = number(exponent);
  const Number input = number(octets(state.range(0) - 1, 4));
  qex::RSAKey key{};
  key.n = m;
  key.e = e;
  for (auto _ : state) {
    Number out;
    if (qex::rsa_public(&key, input, out.out(), nullptr) != qex::KXBN_OK) state.SkipWithError("rsa_public");
    benchmark::DoNotOptimize(out->digits[0]);
  }
}

void RsaPublic65537(benchmark::State& state) {
  power(state, {1, 0, 1}, 1);
}
void RsaPublic3(benchmark::State& state) {
  power(state, {3}, 1);
}
void ModexpFullExponent(benchmark::State& state) {
  power(state, octets(state.range(0), 5), 1);
}
void ModexpEven65537(benchmark::State& state) {
  power(state, {1, 0, 1}, 2);
}

BENCHMARK(RsaPublic65537)->Arg(1000)->Arg(1024)->Arg(1056)->Arg(2047)->Arg(2048)->Arg(3072)->Arg(4096);
BENCHMARK(RsaPublic3)->Arg(2048);
BENCHMARK(ModexpFullExponent)->Arg(1024)->Arg(2048);
BENCHMARK(ModexpEven65537)->Arg(2048);

enum class Kernel { Product, Square };

void MontKernel(benchmark::State& state, Kernel kernel) {
  const Number m = number(octets(state.range(0), 1));
  const Number a = number(octets(state.range(0) - 1, 4));
  const size_t n = qex::KXBN_getsize(m);
  const uint32_t inverse = qex::MontInverse(m->digits[0]);
  std::vector<uint32_t> work(qex::MontWorkWords(n)), r(a->digits, a->digits + n);
  for (auto _ : state) {
    if (kernel == Kernel::Square) {
      qex::MontSquare(r.data(), r.data(), m->digits, n, inverse, work.data());
    } else {
      qex::MontProduct(r.data(), r.data(), r.data(), m->digits, n, inverse, work.data());
    }
    benchmark::DoNotOptimize(r.data());
  }
}

void MontProduct(benchmark::State& state) {
  MontKernel(state, Kernel::Product);
}
void MontSquare(benchmark::State& state) {
  MontKernel(state, Kernel::Square);
}
BENCHMARK(MontProduct)->Arg(1024)->Arg(2048);
BENCHMARK(MontSquare)->Arg(1024)->Arg(2048);

#if defined(QEX_BENCH_OPENSSL)
void openssl_power(benchmark::State& state, const std::vector<uint8_t>& exponent, uint32_t seed) {
  const auto number = [](const std::vector<uint8_t>& b) {
    return BN_bin2bn(b.data(), int(b.size()), nullptr);
  };
  BIGNUM* const m = number(octets(state.range(0), seed));
  BIGNUM* const e = number(exponent);
  BIGNUM* const input = number(octets(state.range(0) - 1, 4));
  BIGNUM* const r = BN_new();
  BN_CTX* const context = BN_CTX_new();
  for (auto _ : state) {
    if (BN_mod_exp(r, input, e, m, context) != 1) state.SkipWithError("BN_mod_exp");
  }
  BN_CTX_free(context);
  for (BIGNUM* b : {m, e, input, r}) BN_free(b);
}

void OpensslRsaPublic65537(benchmark::State& state) {
  openssl_power(state, {1, 0, 1}, 1);
}
void OpensslModexpFullExponent(benchmark::State& state) {
  openssl_power(state, octets(state.range(0), 5), 1);
}
BENCHMARK(OpensslRsaPublic65537)->Arg(1000)->Arg(1024)->Arg(2047)->Arg(2048)->Arg(3072)->Arg(4096);
BENCHMARK(OpensslModexpFullExponent)->Arg(1024)->Arg(2048);
#endif

}  // namespace
