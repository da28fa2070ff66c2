// The outcome of checks: one line each, in text and JSON alike, and a line for what was not checked.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/base/failure.h"
#include "tool/base/json.h"
#include "tool/base/options.h"

namespace qex::tool {

class Report {
 public:
  void Pass(std::string name, std::string text);
  // What was not checked.
  void Skip(std::string name, std::string text);
  // A check that says no; the first one decides the exit status.
  void Fail(std::string name, std::string text, ExitStatus exit, std::string hint, int32_t code = 0,
            int32_t asn1Error = 0);

  // The first check that said no, as a failure that names `subject`; nothing when all pass.
  std::optional<Failure> FirstFailure(const std::string& subject) const;

  // One line a check.
  std::string Text(const Options& options) const;
  // The member "checks" of a document.
  Json Checks() const;

 private:
  enum class Verdict { Pass, Fail, Skip };
  struct Check {
    Verdict verdict;
    std::string name;
    std::string text;
    Failure failure;
  };

  static const char* name_of(Verdict verdict);
  std::vector<Check> checks_;
};

}  // namespace qex::tool
