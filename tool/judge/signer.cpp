// The signer, from both readers, and the checks omitted if it is unknown.
#include <algorithm>

#include "api/qex.h"
#include "tool/judge/library_word.h"
#include "tool/judge/signer_parts.h"

namespace qex::tool {
namespace {

void skip_the_rest(Report& report, const char* reason) {
  for (const char* name : {"signer", "key_usage", "dates", "chain", "revocation"}) report.Skip(name, reason);
}

Fault mismatch(const std::string& text, const Facts& facts) {
  return WithCode({text, SubIndication::SigConstraintsFailure,
                   "the same key may have several certificates; name the one it signed with"},
                  facts);
}

// The objections of the signing-certificate attributes to the signer; empty when they name it.
[[nodiscard]] std::optional<Fault> fault_of_attributes(const Facts& facts, const Trust& trust,
                                                       const Manner& manner) {
  const std::string name = AttributeName(facts, manner);
  if (facts.strict) {
    const StrictReading& strict = *facts.strict;
    for (const auto& [match, version] : {std::pair{strict.essV1, "v1"}, {strict.essV2, "v2"}}) {
      if (manner.ess != "auto" && manner.ess != version) continue;
      if (match == EssMatch::NamesAnother) return mismatch("another certificate is named by " + name, facts);
      if (match == EssMatch::Unreadable) {
        return Fault{name + " cannot be read", SubIndication::FormatFailure,
                     "look inside with 'qex show --asn1'"};
      }
    }
    const bool v1 = manner.ess != "v2" && strict.essV1 == EssMatch::Names;
    const bool v2 = manner.ess != "v1" && strict.essV2 == EssMatch::Names;
    if (!v1 && !v2) {
      return WithCode({"the token has no attribute " + name, SubIndication::SigConstraintsFailure,
                       manner.ess == "auto" ? "nothing that is signed says which certificate signed"
                                            : "--ess auto takes the attribute that is there",
                       ExitOfCode(QEX_E_DECODE)},
                      facts);
    }
  }
  for (const LibraryCheck& check : facts.library ? facts.library->checks : std::vector<LibraryCheck>{}) {
    if (check.stop || check.code == QEX_OK) continue;
    const bool otherPin = check.ownCode == QEX_OK;  // judged as a pin
    if (check.code == QEX_E_MISMATCH && !otherPin) {
      return mismatch(
          "the certificate of --tsa-cert is not the one that " + AttributeName(facts, manner) + " names",
          facts);
    }
    if (check.code == QEX_E_DECODE && !trust.signers.empty()) {
      return WithCode({"the token has no attribute " + name, SubIndication::SigConstraintsFailure,
                       "--ess auto takes the attribute that is there", ExitOfCode(QEX_E_DECODE)},
                      facts);
    }
  }
  return std::nullopt;
}

[[nodiscard]] bool is_pinned(const Facts& facts, const Trust& trust) {
  if (facts.strict) return facts.strict->signerIsPinned;
  const SignerCertificate* signer = SignerOf(facts);
  if (signer == nullptr) return false;
  return std::ranges::any_of(trust.signers,
                             [signer](const TrustItem& item) { return item.der == signer->der; });
}

void judge_signer(Report& report, const Facts& facts, const Trust& trust, const Manner& manner) {
  const SignerCertificate* signer = SignerOf(facts);
  const By by = facts.strict ? (LibraryWord(facts) == Word::Silent ? By::Strict : By::Both) : By::Library;
  const std::string name = AttributeName(facts, manner);
  if (signer == nullptr && facts.strict && LibraryWord(facts) == Word::Good) {
    report.Fail("signer",
                WithCode({"the signer identifier names another certificate than " + name,
                          SubIndication::SigConstraintsFailure,
                          "no certificate at hand fits both; do not rely on it"},
                         facts),
                By::Strict);
    return;
  }
  if (signer == nullptr) {
    report.Fail("signer",
                WithCode({"the token holds no certificate that its attribute " + name + " names",
                          SubIndication::NoSigningCertificateFound,
                          "name the authority's certificate with --tsa-cert, or stamp without --no-cert",
                          ExitStatus::Absent},
                         facts));
    return;
  }
  if (auto fault = fault_of_attributes(facts, trust, manner)) {
    report.Fail("signer", std::move(*fault), by);
    return;
  }
  const Bytes& sha256 = signer->sha256;
  const std::string named = "sha256:" + ToHex(sha256) + "  named by " + name;
  std::string pins;
  const auto pin = [&](bool given, bool holds, const char* option) {
    if (!given) return true;
    if (!holds) {
      report.Fail(
          "signer",
          WithCode({named + ", not the one of " + option, SubIndication::SigConstraintsFailure,
                    "another authority signed, or " + std::string(option) + " names another certificate"},
                   facts),
          by);
      return false;
    }
    pins += (pins.empty() ? ", pinned by " : " and ") + std::string(option);
    return true;
  };
  if (!pin(!trust.signers.empty(), is_pinned(facts, trust), "--tsa-cert")) return;
  if (!pin(trust.fingerprint.has_value(), trust.fingerprint == sha256, "--tsa-fingerprint")) return;
  if (trust.HasPin() || trust.chainWanted) {
    report.Pass("signer", named + pins, by);
  } else {
    report.Skip("signer", named + ": consistent in itself, authority not checked");
  }
}

// Where a reader stopped, in a line of its own.
void note_library(Report& report, const Facts& facts) {
  const std::string silence = LibrarySilence(facts);
  if (facts.strict && !silence.empty()) {
    report.Note("library", Shown(silence) + "; the strict reader decides alone");
  }
}

// After the signature, so that one that does not verify is the reason that counts.
void fail_strict(Report& report, const Facts& facts) {
  if (facts.strictStop) {
    report.Fail("strict",
                {Shown(facts.strictStop->text), SubIndication::FormatFailure,
                 "only the library reads it; --library-only leaves the strict reader out", ExitStatus::Input},
                By::Strict);
  }
}

}  // namespace

std::string AttributeName(const Facts& facts, const Manner& manner) {
  bool v2 = manner.ess == "v2";
  bool v1 = manner.ess == "v1";
  if (manner.ess == "auto") {
    v2 = facts.strict ? facts.strict->essV2 != EssMatch::Absent : facts.library && facts.library->hasEssV2;
    v1 = facts.strict ? facts.strict->essV1 != EssMatch::Absent : facts.library && facts.library->hasEssV1;
  }
  if (v1 && v2) return "signing-certificate and signing-certificate-v2";
  return v2 ? "signing-certificate-v2" : "signing-certificate";
}

void JudgeSigner(Report& report, const Facts& facts, const Trust& trust, const Manner& manner,
                 const Options& options) {
  note_library(report, facts);
  if (!manner.signatureAsked) {
    report.Skip("signature", "the authority was not asked for its certificate");
    skip_the_rest(report, "the authority was not asked for its certificate");
    return;
  }
  const bool judged = JudgeSignature(report, facts, options);
  fail_strict(report, facts);
  if (!judged) {
    skip_the_rest(report, "not judged, as the signature does not pass");
    return;
  }
  judge_signer(report, facts, trust, manner);
  if (!facts.strict) {
    const char* reason =
        manner.libraryOnly ? "left out by --library-only" : "the strict reader cannot read the token";
    for (const char* name : {"key_usage", "dates", "chain", "revocation"}) report.Skip(name, reason);
    return;
  }
  JudgeCertificate(report, *facts.strict, trust);
}

}  // namespace qex::tool
