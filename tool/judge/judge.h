// Judging a token: what it says is held against what was asked for, and its signer against
// whom the caller trusts. Works on the worker's answer (examine.h) and calls no decoder.
#pragma once

#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/json.h"
#include "tool/base/options.h"
#include "tool/judge/report.h"

namespace qex::tool {

// What the token is to hold; parts that are absent are not checked.
struct Expected {
  std::optional<Bytes> digest;  // of the imprint, by the token's own hash
  std::string digestSource;     // file name or option
  std::optional<Bytes> nonce;
  std::string nonceSource;
  std::string noNonceReason = "no request to compare with";
  std::optional<Bytes> policy;  // contents octets
  std::string policySource;
};

// Whom the caller trusts.
struct Pins {
  std::optional<Bytes> certificate;  // given to the worker too
  std::optional<Bytes> fingerprint;  // SHA-256 of the certificate
  bool anySigner = false;

  bool Any() const { return certificate || fingerprint || anySigner; }
};

// RefusalOf returns the failure that a refused request is; nothing for a granted one or a bare token.
std::optional<Failure> RefusalOf(const Json& facts, const std::string& subject);

void JudgeStatus(Report& report, const Json& facts);
void JudgeContents(Report& report, const Json& facts, const Expected& expected, const Options& options);
// The token's imprint against that of a request that the worker read.
void JudgeRequest(Report& report, const Json& facts, const Json& request, const std::string& source);
// Signature and signer; the verification must have been asked for.
void JudgeSigner(Report& report, const Json& facts, const Pins& pins, const Options& options);

// TimeLine is the last line about a token: time, accuracy, serial number, policy.
std::string TimeLine(const Json& facts);

// CutNote names the parts of a token that did not fit the library's record; empty when all did.
std::string CutNote(const Json& facts);

// TokenHash returns the algorithm of the token's imprint; throws a Failure that names an unknown one.
const struct HashAlgorithm& TokenHash(const Json& facts, const std::string& subject);

}  // namespace qex::tool
