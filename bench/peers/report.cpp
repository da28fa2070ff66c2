// A figure is printed in the largest unit in which it is at least 1.
#include "bench/peers/report.h"

#include <iomanip>
#include <ostream>
#include <sstream>

namespace qex::bench {
namespace {

std::string shown(double nanoseconds) {
  struct Unit {
    double size;
    const char* name;
  };
  constexpr Unit kUnits[] = {{1e6, " ms"}, {1e3, " us"}, {1, " ns"}};
  std::ostringstream text;
  for (const Unit& unit : kUnits) {
    const double value = nanoseconds / unit.size;
    if (value < 1 && unit.size > 1) continue;
    text << std::fixed << std::setprecision(value < 10 ? 2 : value < 100 ? 1 : 0) << value << unit.name;
    break;
  }
  return text.str();
}

// Names and calls are plain ASCII without quotes; versions come from other libraries.
std::string quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (uint8_t(c) >= 0x20) quoted += c;
  }
  return quoted + '"';
}

void write_figure(std::ostream& out, const Figure& figure) {
  out << "{\"maker\": " << quoted(figure.maker) << ", \"does\": " << quoted(figure.does)
      << ", \"whole\": " << (figure.share == Share::Whole ? "true" : "false")
      << ", \"ns\": " << figure.processor << ", \"least_ns\": " << figure.least
      << ", \"least_clock_ns\": " << figure.leastClock << "}";
}

void write_row(std::ostream& out, const Measured& measured) {
  out << "    {\"group\": " << quoted(measured.row.group) << ", \"row\": " << quoted(measured.row.name)
      << ", \"threads\": " << measured.row.threads << ", \"ratio\": " << measured.ratio
      << ", \"fastest\": " << quoted(measured.fastest) << ",\n     \"figures\": [";
  const char* between = "";
  for (const Figure& figure : measured.figures) {
    out << between << "\n      ";
    write_figure(out, figure);
    between = ",";
  }
  out << "],\n     \"not_able\": [";
  between = "";
  for (const std::string& one : measured.notAble) {
    out << between << quoted(one);
    between = ", ";
  }
  out << "]}";
}

}  // namespace

void WriteTableLine(std::ostream& out, const Measured& measured) {
  const Figure& own = measured.figures.front();
  const bool timed = own.processor > 0;
  out << std::left << std::setw(24) << measured.row.group << std::setw(36) << measured.row.name;
  if (timed) {
    out << std::right << std::setw(9) << shown(own.processor) << "  ratio " << std::fixed
        << std::setprecision(2) << measured.ratio << " ";
  } else {
    out << "same results:";
  }
  for (size_t i = 1; i < measured.figures.size(); ++i) {
    const Figure& peer = measured.figures[i];
    const bool part = peer.share == Share::Part;
    out << "  " << (part ? "(" : "") << peer.maker << (timed ? " " + shown(peer.processor) : "")
        << (part ? ")" : "");
  }
  for (const std::string& one : measured.notAble) out << "  [not able: " << one << "]";
  out << std::endl;
}

void WriteJson(std::ostream& out, const std::vector<Maker>& makers, const std::vector<Measured>& rows) {
  out << std::setprecision(6) << "{\n  \"compiler\": " << quoted(QEX_BENCH_COMPILER) << ",\n  \"makers\": {";
  const char* between = "";
  for (const Maker& maker : makers) {
    out << between << quoted(maker.name) << ": " << quoted(maker.version);
    between = ", ";
  }
  out << "},\n  \"rows\": [\n";
  between = "";
  for (const Measured& row : rows) {
    out << between;
    write_row(out, row);
    between = ",\n";
  }
  out << "\n  ]\n}\n";
}

}  // namespace qex::bench
