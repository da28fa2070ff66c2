// The report of `qex show --html`: one page for all files, complete in itself. It runs no script, loads
// nothing, and its policy (CSP) forbids both.
#pragma once

#include <cstdint>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/json.h"

namespace qex::tool {

// What the page shows of one file.
struct ReportSubject {
  Json shown;     // the document of `qex show --json --asn1`, also of a failure
  Json verified;  // that of `qex verify --json`; null for a message that holds no token
  Bytes octets;   // the message, for what the library cannot print
};

class ReportPage {
 public:
  // `now` is when the report is made, in seconds since 1970.
  explicit ReportPage(int64_t now) : now_(now) {}

  // Add renders a file. When the page is full, the file gets its row of contents alone.
  void Add(const ReportSubject& subject);

  std::string Html() const;

 private:
  int64_t now_;
  size_t files_ = 0;
  size_t unshown_ = 0;
  std::string title_;
  std::string contents_;
  std::string sections_;
};

}  // namespace qex::tool
