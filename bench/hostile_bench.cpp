// Every export on inputs built to hurt, doubled from 64 KiB to 16 MiB: the time per octet stays the same.
#include <benchmark/benchmark.h>

#include "bench/hostile.h"
#include "ber/error_hook.h"

namespace {

constexpr int64_t kSmallest = int64_t{64} << 10;
constexpr int64_t kLargest = int64_t{16} << 20;

void run(benchmark::State& state, const qex::bench::HostileCase& one) {
  qex::bench::HostileInput input = one.build(size_t(state.range(0)));
  for (auto _ : state) {
    if (one.call(input) != one.code) state.SkipWithError("another code than expected");
  }
  using benchmark::Counter;
  state.counters["per_octet"] =
      Counter(double(input.size()), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

const bool registered = [] {
  qex::AsnErrorHandler = [](const char*, int) {};
  for (const qex::bench::HostileCase& one : qex::bench::HostileCases()) {
    benchmark::RegisterBenchmark(("Hostile/" + one.name).c_str(), run, one)
        ->RangeMultiplier(2)
        ->Range(kSmallest, kLargest)
        ->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
