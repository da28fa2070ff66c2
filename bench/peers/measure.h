// The loop: results compared, then the ways of a row in turn, many times over.
#pragma once

#include "bench/peers/row.h"

namespace qex::bench {

// One way of a row, measured. Times are of one run, in nanoseconds: medians, and the smallest of all rounds.
// The smallest time by the clock has the least of other programs in it.
struct Figure {
  std::string maker;
  std::string does;
  Share share = Share::Whole;
  double processor = 0;  // of the thread that runs it
  double least = 0;
  double leastClock = 0;  // on the wall
};

struct Measured {
  Row row;
  std::vector<Figure> figures = {};       // libqex first
  std::vector<std::string> notAble = {};  // peers that failed on this subject, as "wolfSSL: CALLS"
  double ratio = 0;  // libqex to the fastest that does the whole job, median of all rounds; 0 without one
  std::string fastest = {};  // who that is
};

struct Effort {
  bool once = false;     // run each way once, and measure nothing
  double seconds = 0.4;  // for each way
};

// Measure compares the results of all ways of a row, and then measures them. Throws std::runtime_error when
// libqex fails, when a result differs from libqex's, or when a verification accepts a damaged subject.
Measured Measure(const Row& row, const Subject& subject, const std::vector<Maker>& makers,
                 const Effort& effort);

}  // namespace qex::bench
