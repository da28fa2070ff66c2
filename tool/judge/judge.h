// Judges a token: compares its contents with what was asked for, and its signer with the trust options. Works
// on facts (message/facts.h) and decodes nothing.
#pragma once

#include <optional>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/options.h"
#include "tool/judge/report.h"
#include "tool/message/facts.h"
#include "tool/message/trust.h"

namespace qex::tool {

// The values that the token must hold; absent parts are not checked.
struct Expected {
  std::optional<Imprint> imprint;
  std::string imprintSource;                                          // file name or option
  std::string noImprintReason = "no file or digest to compare with";  // shown when there is none
  std::optional<RequestFacts> request;
  std::string requestSource;
  std::optional<Bytes> nonce;
  std::string nonceSource;
  std::string noNonceReason = "no request to compare with";
  std::optional<Bytes> policy;  // contents octets
  std::string policySource;
};

// The manner of judging, in addition to the options of every command.
struct Manner {
  std::string ess = "auto";
  bool libraryOnly = false;
  bool signatureAsked =
      true;  // false: the authority was not asked for its certificate, and no signer is trusted
};

// JudgeToken makes every check of a token, in the order of the manual.
Report JudgeToken(const Facts& facts, const Expected& expected, const Trust& trust, const Manner& manner,
                  const Options& options);

// InfoOf returns the TSTInfo that was judged: the strict reader's where it has one.
const TstInfo& InfoOf(const Facts& facts);

// SignerOf returns the certificate that signed; null when it is not known.
const SignerCertificate* SignerOf(const Facts& facts);

// AttributeName names the signing-certificate attribute that counts: "signing-certificate-v2".
std::string AttributeName(const Facts& facts, const Manner& manner);

// RefusalOf returns the failure for a refused request; nothing for a granted one or a bare token.
[[nodiscard]] std::optional<Failure> RefusalOf(const Facts& facts, const std::string& subject);

// The parts of JudgeToken in sources of their own.
void JudgeContents(Report& report, const Facts& facts, const Expected& expected, const Options& options);
void JudgeSigner(Report& report, const Facts& facts, const Trust& trust, const Manner& manner,
                 const Options& options);

// WhoRead says which of the readers have the token's contents.
By WhoRead(const Facts& facts);

}  // namespace qex::tool
