// Verifies one token: finds its files, states the expectations, and renders the outcome.
#pragma once

#include <optional>
#include <string>

#include "tool/base/options.h"
#include "tool/commands/outcome.h"
#include "tool/judge/judge.h"
#include "tool/message/message.h"
#include "tool/message/trust.h"
#include "tool/worker/worker.h"

namespace qex::tool {

// The verdict when all checks pass and no signer is trusted.
inline constexpr const char* kUnpinned = "consistent in itself, authority not checked";

struct VerifyArguments {
  std::string file;
  std::optional<std::string> content;  // of the file, if already in memory
  Source token;
  Source request;
  std::string digest;
  std::string nonce;
  std::string policy;
  Manner manner;
  bool last = false;      // the worker has no other questions after this token
  bool lineOnly = false;  // only the line of the outcome is needed, unless it is a document
};

// VerifyOne makes all checks and renders them; no Failure leaves it.
Outcome VerifyOne(const VerifyArguments& arguments, Worker& worker, const Trust& trust,
                  const Options& options);

// ExpectDigest reads the text of --digest against the token's own algorithm: HEX, or ALG:HEX. Throws a
// Failure.
Imprint ExpectedDigest(const std::string& text, const Facts& facts);

// SetVerdict enters indication and sub-indication of the checks into a document. It returns the failure that
// follows from the checks and from the absence of trust options.
[[nodiscard]] std::optional<Failure> SetVerdict(Json& document, const Report& report, const Trust& trust,
                                                const std::string& name);

}  // namespace qex::tool
