// A sample lasts at least a millisecond and has two times: by the thread's own clock, and by the wall clock.
#include "bench/peers/measure.h"

#include <time.h>

#include <algorithm>
#include <barrier>
#include <stdexcept>
#include <thread>

#include "bench/peers/subject.h"

namespace qex::bench {
namespace {

struct Times {
  double processor;
  double clock;
};

struct Entrant {
  const Way* way;
  Figure figure;
  uint64_t runs = 1;  // of one sample
  std::vector<double> processor = {};
  std::vector<double> clock = {};
};

double now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return double(time.tv_sec) * 1e9 + double(time.tv_nsec);
}

// The time of one of `runs` runs. A thread's own processor time does not contain what other programs take.
Times time_of(const Way& way, const Subject& subject, uint64_t runs) {
  const double clock = now(CLOCK_MONOTONIC);
  const double processor = now(CLOCK_THREAD_CPUTIME_ID);
  for (uint64_t i = 0; i < runs; ++i) way.run(subject, nullptr);
  const auto count = double(runs);
  return {(now(CLOCK_THREAD_CPUTIME_ID) - processor) / count, (now(CLOCK_MONOTONIC) - clock) / count};
}

// Several threads begin together; the slowest counts.
Times time_on_threads(const Way& way, const Subject& subject, uint64_t runs, int threads) {
  auto times = std::vector<Times>(size_t(threads));
  std::barrier start(threads);
  std::vector<std::thread> running;
  running.reserve(times.size());
  for (Times& place : times) {
    running.emplace_back([&] {
      start.arrive_and_wait();
      place = time_of(way, subject, runs);
    });
  }
  for (std::thread& thread : running) thread.join();
  Times slowest{0, 0};
  for (const Times& one : times) {
    slowest = {std::max(slowest.processor, one.processor), std::max(slowest.clock, one.clock)};
  }
  return slowest;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + ptrdiff_t(values.size() / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

std::string place_of(const Row& row, const Maker& maker, const Way& way) {
  return row.group + ", " + row.name + ": " + maker.name + " (" + way.does + ")";
}

// The ways that can do the row's job, each with the same result as the first.
std::vector<Entrant> entrants_of(const Row& row, const Subject& subject, const std::vector<Maker>& makers,
                                 Measured& measured) {
  std::vector<Entrant> entrants;
  Octets expected;
  const Subject damaged = row.job == Job::VerifyToken ? Damaged(subject) : Subject{};
  for (const Maker& maker : makers) {
    for (const Way& way : maker.ways) {
      if (way.job != row.job || (way.share == Share::Part && subject.parts.empty())) continue;
      Octets result;
      if (!way.run(subject, &result)) {
        if (entrants.empty()) throw std::runtime_error(place_of(row, maker, way) + " fails");
        measured.notAble.push_back(maker.name + ": " + way.does);
        continue;
      }
      if (entrants.empty()) expected = result;
      if (way.share == Share::Whole && result != expected) {
        throw std::runtime_error(place_of(row, maker, way) + " has another result");
      }
      if (row.job == Job::VerifyToken && way.run(damaged, nullptr)) {
        throw std::runtime_error(place_of(row, maker, way) + " accepts a damaged token");
      }
      entrants.push_back({&way, {maker.name, way.does, way.share}});
    }
  }
  if (entrants.empty()) throw std::runtime_error(row.group + ", " + row.name + ": nobody does this");
  return entrants;
}

// Doubles the runs of a sample until it takes a millisecond: long for the clock, short beside the time for
// which other programs get the processor.
void calibrate(Entrant& entrant, const Subject& subject) {
  constexpr double kSample = 1e6;
  while (time_of(*entrant.way, subject, entrant.runs).processor * double(entrant.runs) < kSample) {
    entrant.runs *= 2;
  }
}

void take_samples(std::vector<Entrant>& entrants, const Row& row, const Subject& subject,
                  const Effort& effort) {
  constexpr size_t kFewest = 7;
  for (Entrant& entrant : entrants) calibrate(entrant, subject);
  const double end = now(CLOCK_THREAD_CPUTIME_ID) + effort.seconds * 1e9 * double(entrants.size());
  for (size_t round = 0; round < kFewest || now(CLOCK_THREAD_CPUTIME_ID) < end; ++round) {
    if (row.threads > 1 && round >= 40 * kFewest) break;  // other threads' time is not seen here
    for (size_t i = 0; i < entrants.size(); ++i) {
      // Another one goes first in each round, so that nobody has the same neighbour's traces in the caches.
      Entrant& entrant = entrants[(i + round) % entrants.size()];
      const Times times = row.threads == 1
                              ? time_of(*entrant.way, subject, entrant.runs)
                              : time_on_threads(*entrant.way, subject, entrant.runs, row.threads);
      entrant.processor.push_back(times.processor);
      entrant.clock.push_back(times.clock);
    }
  }
}

// The ratio of two ways round by round: what slows the processor for a while slows both.
double ratio_of(const Entrant& one, const Entrant& other) {
  std::vector<double> ratios;
  for (size_t i = 0; i < one.processor.size(); ++i) ratios.push_back(one.processor[i] / other.processor[i]);
  return median(ratios);
}

void compare_times(const std::vector<Entrant>& entrants, Measured& measured) {
  const Entrant* fastest = nullptr;
  const Entrant& own = entrants.front();
  for (const Entrant& entrant : entrants) {
    if (entrant.figure.maker == own.figure.maker || entrant.figure.share == Share::Part) continue;
    if (fastest == nullptr || entrant.figure.processor < fastest->figure.processor) fastest = &entrant;
  }
  if (fastest == nullptr) return;
  measured.ratio = ratio_of(own, *fastest);
  measured.fastest = fastest->figure.maker;
}

}  // namespace

Measured Measure(const Row& row, const Subject& subject, const std::vector<Maker>& makers,
                 const Effort& effort) {
  Measured measured{.row = row};
  std::vector<Entrant> entrants = entrants_of(row, subject, makers, measured);
  if (!effort.once) take_samples(entrants, row, subject, effort);
  for (Entrant& entrant : entrants) {
    if (!effort.once) {
      entrant.figure.processor = median(entrant.processor);
      entrant.figure.least = *std::ranges::min_element(entrant.processor);
      entrant.figure.leastClock = *std::ranges::min_element(entrant.clock);
    }
    measured.figures.push_back(entrant.figure);
  }
  if (!effort.once) compare_times(entrants, measured);
  return measured;
}

}  // namespace qex::bench
