// qex_peers: libqex beside other libraries, in one process.
//
// usage: qex_peers FOLDER [--once] [--seconds N] [--only TEXT] [--json FILE]
//   FOLDER     where make_material.py left its files
//   --once     compare the results of every row, and measure nothing
//   --seconds  processor time for each way of a row, by default 0.4
//   --only     the rows whose group or name contains TEXT
//   --json     write all figures to FILE
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "bench/peers/makers.h"
#include "bench/peers/measure.h"
#include "bench/peers/report.h"
#include "bench/peers/subject.h"

namespace {

using namespace qex::bench;

struct Arguments {
  std::string folder;
  std::string only;
  std::string json;
  Effort effort;
};

Arguments parse(const std::vector<std::string>& words) {
  Arguments arguments;
  for (size_t i = 0; i < words.size(); ++i) {
    const auto value = [&]() -> const std::string& {
      if (++i == words.size()) throw std::runtime_error(words[i - 1] + " needs a value");
      return words[i];
    };
    if (words[i] == "--once") {
      arguments.effort.once = true;
    } else if (words[i] == "--seconds") {
      arguments.effort.seconds = std::stod(value());
    } else if (words[i] == "--only") {
      arguments.only = value();
    } else if (words[i] == "--json") {
      arguments.json = value();
    } else if (arguments.folder.empty()) {
      arguments.folder = words[i];
    } else {
      throw std::runtime_error("unknown argument " + words[i]);
    }
  }
  if (arguments.folder.empty()) {
    throw std::runtime_error("usage: qex_peers FOLDER [--once] [--seconds N] [--only TEXT] [--json FILE]");
  }
  return arguments;
}

std::vector<Row> chosen_rows(const std::string& only) {
  std::vector<Row> rows;
  for (const auto& some : {DigestRows(), TokenRows(), RequestRows(), ScalingRows()}) {
    for (const Row& row : some) {
      if ((row.group + ": " + row.name).find(only) != std::string::npos) rows.push_back(row);
    }
  }
  if (rows.empty()) throw std::runtime_error("no row contains " + only);
  return rows;
}

void run(const Arguments& arguments) {
  const std::vector<Maker> makers = Makers();
  std::vector<Measured> measured;
  for (const Row& row : chosen_rows(arguments.only)) {
    measured.push_back(Measure(row, ReadSubject(arguments.folder, row), makers, arguments.effort));
    WriteTableLine(std::cout, measured.back());
  }
  if (arguments.json.empty()) return;
  std::ofstream file(arguments.json);
  WriteJson(file, makers, measured);
  if (!file.flush()) throw std::runtime_error(arguments.json + " cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  // The tokens have the second version of the signing-certificate attribute.
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  try {
    run(parse({argv + 1, argv + argc}));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "qex_peers: " << error.what() << "\n";
    return 1;
  }
}
