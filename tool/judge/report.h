// The outcome of the checks: one line each, the same in text and JSON, a line for each skipped check, and one
// for each note.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/base/failure.h"
#include "tool/base/json_fwd.h"
#include "tool/base/options.h"

namespace qex::tool {

enum class Verdict { Pass, Fail, Skip, Note };

// Who made a check. Of None there is one way alone.
enum class By { None, Library, Strict, Both };

// The sub-indications of ETSI EN 319 102-1, 5.1.3, that a failed check leads to. Those down to NotYetValid
// fail a token; with the others it is undecided.
enum class SubIndication {
  FormatFailure,
  HashFailure,
  SigCryptoFailure,
  Revoked,
  NotYetValid,
  SigConstraintsFailure,
  ChainConstraintsFailure,
  CertificateChainGeneralFailure,
  CryptoConstraintsFailure,
  NoSigningCertificateFound,
  NoCertificateChainFound,
  RevokedCaNoPoe,
  OutOfBoundsNotRevoked,
  TryLater,
  Generic,
};
const char* NameOf(SubIndication sub);

// Why a check says no.
struct Fault {
  std::string text;
  SubIndication sub;
  std::string hint;
  ExitStatus exit = ExitStatus::CheckFailed;
  int32_t code = 0;
  int32_t asn1Error = 0;
};

struct Check {
  Verdict verdict;
  std::string name;  // the key of the check
  std::string text;
  By by = By::None;
  std::optional<Fault> fault = {};
};

class Report {
 public:
  void Pass(std::string name, std::string text, By by = By::None);
  // A check that was skipped, with the reason.
  void Skip(std::string name, std::string text);
  void Note(std::string name, std::string text);
  // A check that says no; the first one decides the exit status.
  void Fail(std::string name, Fault fault, By by = By::None);

  // The first check that said no; null when all pass.
  const Check* FirstFault() const;
  // The same as a failure that names `subject`.
  [[nodiscard]] std::optional<Failure> FirstFailure(const std::string& subject) const;
  const Check* Find(std::string_view name) const;

  // One line a check, escaped.
  std::string Text(const Options& options) const;
  // The member "checks" of a document.
  Json Checks() const;

 private:
  std::vector<Check> checks_;
};

}  // namespace qex::tool
