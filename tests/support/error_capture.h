// Captures the codec's error texts, so that a test can compare code and text.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "ber/error_hook.h"
#include "ber/tag_length.h"

namespace qex::test {

// ErrorCapture replaces AsnErrorHandler while it lives. One at a time.
class ErrorCapture {
 public:
  ErrorCapture() : before_(std::exchange(AsnErrorHandler, &record)) { reports().clear(); }
  ~ErrorCapture() { AsnErrorHandler = before_; }
  ErrorCapture(const ErrorCapture&) = delete;
  ErrorCapture& operator=(const ErrorCapture&) = delete;

  // text returns all that was reported, joined.
  std::string text() const {
    std::string all;
    for (const Report& report : reports()) all += report.text;
    return all;
  }
  size_t count() const { return reports().size(); }
  [[nodiscard]] int severity() const { return reports().empty() ? 0 : reports().back().severity; }

 private:
  struct Report {
    std::string text;
    int severity;
  };
  static std::vector<Report>& reports() {
    static std::vector<Report> all;
    return all;
  }
  static void record(const char* text, int severity) { reports().push_back({text, severity}); }

  void (*before_)(const char*, int);
};

// The outcome of a decoding: the code raised (0: none) and the text reported.
struct Outcome {
  AsnInt code = 0;
  std::string text;
  bool operator==(const Outcome&) const = default;
};

inline const Outcome kDecoded{};

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.code << " \"" << outcome.text << "\"";
}

// OutcomeOf runs `decode` under a recovery point of its own.
template <class F>
Outcome OutcomeOf(F decode) {
  ErrorCapture capture;
  const AsnInt code = AsnCatch(decode);
  return {code, capture.text()};
}

}  // namespace qex::test
