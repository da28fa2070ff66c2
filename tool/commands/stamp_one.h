// Stamping one file: request, exchange with the first authority that gives a good reply, and the outcome.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tool/base/bytes.h"
#include "tool/base/options.h"
#include "tool/commands/outcome.h"
#include "tool/exchange/http.h"
#include "tool/exchange/in_turn.h"
#include "tool/exchange/request.h"
#include "tool/message/trust.h"
#include "tool/worker/worker.h"

namespace qex::tool {

// Options that apply to every file of one command line.
struct StampPlan {
  RequestOptions request;
  std::vector<std::string> authorities;  // addresses, or HOST:PORT of the socket framing
  bool socket = false;
  HttpSettings http;
  Patience patience;
  std::chrono::milliseconds maxSkew{
      300000};                      // of the token's time from the clock, before a note is made of it
  std::string output;               // file, folder or -; empty: next to the stamped file
  std::vector<std::string> inputs;  // files that no output may replace
};

// The subject of a stamp: a file, a digest in place of one, or a file that is written together with its
// stamp.
struct StampSubject {
  std::string file;
  std::optional<Bytes> digest = {};
  std::optional<std::string> content = {};  // of a file that is still to be written
};

// StampOne stamps and renders the outcome; it throws no Failure.
Outcome StampOne(const StampPlan& plan, const StampSubject& subject, Worker& worker, const Trust& trust,
                 const Options& options);

}  // namespace qex::tool
