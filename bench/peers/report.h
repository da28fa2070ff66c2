// The report: a table for people, JSON for programs.
#pragma once

#include <iosfwd>

#include "bench/peers/measure.h"

namespace qex::bench {

// WriteTableLine writes one row: its name, libqex's time, the ratio, and the time of each peer, in
// parentheses where that does a part of the job. Without times it names the peers.
void WriteTableLine(std::ostream& out, const Measured& measured);

// WriteJson writes the makers with their versions, the compiler, and all rows with all figures.
void WriteJson(std::ostream& out, const std::vector<Maker>& makers, const std::vector<Measured>& rows);

}  // namespace qex::bench
