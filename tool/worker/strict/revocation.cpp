// Revocation of the certificates of a chain. Each list is consulted separately, and every entry counts. A
// revocation counts even in a list that has expired, is partial, or is later than the time of the check: a
// key found stolen later may have been stolen before (RFC 3161, 4). Absence from a list counts only if the
// list would name the certificate, and is in force.
#include "tool/worker/strict/revocation.h"

#include <algorithm>
#include <iterator>

#include <openssl/objects.h>

#include "tool/message/gen_time.h"
#include "tool/worker/strict/certificate.h"
#include "tool/worker/strict/revocation_list.h"

namespace qex::tool::strict {
namespace {

// What becomes of tokens from before the revocation (RFC 3161, 4).
enum class EarlierTokens { LoseValidity, StayValid };

// A reason of revocation (RFC 5280, 5.3.1).
struct Reason {
  long code;
  const char* name;
  EarlierTokens earlier;
};

constexpr Reason kReasons[] = {
    {CRL_REASON_UNSPECIFIED, "unspecified", EarlierTokens::StayValid},
    {CRL_REASON_KEY_COMPROMISE, "keyCompromise", EarlierTokens::LoseValidity},
    {CRL_REASON_CA_COMPROMISE, "cACompromise", EarlierTokens::LoseValidity},
    {CRL_REASON_AFFILIATION_CHANGED, "affiliationChanged", EarlierTokens::StayValid},
    {CRL_REASON_SUPERSEDED, "superseded", EarlierTokens::StayValid},
    {CRL_REASON_CESSATION_OF_OPERATION, "cessationOfOperation", EarlierTokens::StayValid},
    {CRL_REASON_CERTIFICATE_HOLD, "certificateHold", EarlierTokens::LoseValidity},
    {CRL_REASON_REMOVE_FROM_CRL, "removeFromCRL", EarlierTokens::LoseValidity},
    {CRL_REASON_PRIVILEGE_WITHDRAWN, "privilegeWithdrawn", EarlierTokens::LoseValidity},
    {CRL_REASON_AA_COMPROMISE, "aACompromise", EarlierTokens::LoseValidity},
};
constexpr Reason kNoReason{-1, "without a reason", EarlierTokens::LoseValidity};

Reason reason_of(const X509_REVOKED* entry) {
  const OwnedEnumerated code(
      static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
  if (!code) return kNoReason;
  const auto* row = std::ranges::find(kReasons, ASN1_ENUMERATED_get(code.get()), &Reason::code);
  return row == std::end(kReasons) ? Reason{-1, "for an unknown reason", EarlierTokens::LoseValidity} : *row;
}

// The answer of one list about one certificate, the gravest last.
enum class Verdict : uint8_t { None, Bad, Weak, Stale, Good, StillValid, Revoked };

struct Finding {
  Verdict verdict = Verdict::None;
  int64_t issued = 0;  // when the list was
  bool hold = false;   // revoked for the time being
  std::string text;
};

// The moment from which an entry says not to rely on the certificate: the revocation, or an earlier one that
// it names. Nothing when it cannot be read.
[[nodiscard]] std::optional<int64_t> invalid_from(const X509_REVOKED* entry) {
  const auto revoked = SecondsOf(X509_REVOKED_get0_revocationDate(entry));
  if (X509_REVOKED_get_ext_by_NID(entry, NID_invalidity_date, -1) < 0) return revoked;
  const OwnedTime invalid(static_cast<ASN1_GENERALIZEDTIME*>(
      X509_REVOKED_get_ext_d2i(entry, NID_invalidity_date, nullptr, nullptr)));
  const auto since = SecondsOf(invalid.get());
  return revoked && since ? std::optional(std::min(*revoked, *since)) : std::nullopt;
}

Finding finding_of(const X509_REVOKED* entry, const RevocationQuestion& question) {
  const Reason reason = reason_of(entry);
  const ASN1_TIME* revoked = X509_REVOKED_get0_revocationDate(entry);
  const auto since = invalid_from(entry);
  const bool older = since && question.genTime && *question.genTime < *since;
  Finding finding;
  finding.verdict =
      older && reason.earlier == EarlierTokens::StayValid ? Verdict::StillValid : Verdict::Revoked;
  finding.hold = reason.code == CRL_REASON_CERTIFICATE_HOLD;
  finding.text = "revoked " + MomentOf(revoked) + ", " + reason.name;
  if (since && since != SecondsOf(revoked)) finding.text += ", invalid since " + IsoTime(*since);
  if (finding.verdict == Verdict::StillValid) finding.text += "; the token is older";
  return finding;
}

// The fault of a list as proof that the token remains valid. A revocation in it counts regardless.
void judge_proof(Finding& finding, const RevocationList& list, const RevocationQuestion& question) {
  const ASN1_TIME* end = X509_CRL_get0_nextUpdate(list.crl);
  if (list.issued > question.time && list.issued > question.latestIssue) {
    finding.verdict = Verdict::Bad;
    finding.text = list.Name() + " is from a later time";
  } else if (list.IsWeak() && !question.allowWeak) {
    finding.verdict = Verdict::Weak;
    finding.text = list.Name() + " is signed with a weak digest";
  } else if (end == nullptr && list.issued < question.time) {
    finding.verdict = Verdict::Stale;
    finding.text = list.Name() + " has no end, and was issued before";
  } else if (end != nullptr && SecondsOf(end).value_or(0) <= question.time) {
    finding.verdict = Verdict::Stale;
    finding.text = list.Name() + " ended " + MomentOf(end);
  }
}

// One finding for each entry about a certificate; without entries one of the list as a whole.
std::vector<Finding> findings_of(const RevocationList& list, int place, const RevocationQuestion& question) {
  Finding whole;
  whole.issued = list.issued;
  X509* issuer = IssuerOnPath(list, question.path, place);
  if (issuer == nullptr) return {};
  if (const char* fault = FaultOfList(list, issuer)) {
    whole.verdict = Verdict::Bad;
    whole.text = list.Name() + " cannot be used: " + fault;
    return {whole};
  }
  std::vector<Finding> findings;
  for (const X509_REVOKED* entry : list.entries[size_t(place)]) {
    if (list.isDelta && reason_of(entry).code == CRL_REASON_REMOVE_FROM_CRL) continue;  // a hold that is over
    findings.push_back(finding_of(entry, question));
  }
  if (findings.empty()) {
    const char* gap = GapOfList(list, sk_X509_value(question.path, place));
    whole.verdict = gap == nullptr ? Verdict::Good : Verdict::None;
    whole.text = gap == nullptr ? "not in " + list.Name() : list.Name() + " " + gap;
    findings.push_back(whole);
  }
  for (Finding& finding : findings) {
    if (finding.verdict == Verdict::StillValid && list.IsOfSomeReasons()) {
      // A list of other reasons may name a graver one.
      finding.verdict = Verdict::None;
      finding.text = list.Name() + " names it, and is of some reasons only";
    }
    if (finding.verdict == Verdict::Good || finding.verdict == Verdict::StillValid) {
      judge_proof(finding, list, question);
    }
    finding.issued = list.issued;
  }
  return findings;
}

// A hold is over when a later list leaves the certificate out.
[[nodiscard]] bool is_released(const Finding& finding, const std::vector<Finding>& all) {
  return finding.hold && std::ranges::any_of(all, [&](const Finding& other) {
           return other.verdict == Verdict::Good && other.issued > finding.issued;
         });
}

// The decisive answer of all lists about one certificate: the gravest, and of equals the latest.
Finding gravest(const std::vector<Finding>& all) {
  Finding result;
  for (const Finding& finding : all) {
    if (is_released(finding, all)) continue;
    const bool graver = finding.verdict > result.verdict;
    const bool later = finding.issued > result.issued || result.text.empty();
    if (graver || (finding.verdict == result.verdict && later)) result = finding;
  }
  return result;
}

// The result of all lists.
struct Answers {
  std::vector<std::vector<Finding>> findings;  // by certificate of the path
  std::string unused;                          // lists that nothing was looked for in, in words
};

Answers ask_all(const RevocationQuestion& question) {
  Answers answers;
  answers.findings.resize(size_t(sk_X509_num(question.path)));
  for (const OwnedCrl& crl : *question.lists) {
    const RevocationList list = ReadRevocationList(crl.get(), question.path);
    for (size_t i = 0; i < answers.findings.size(); ++i) {
      std::ranges::move(findings_of(list, int(i), question), std::back_inserter(answers.findings[i]));
    }
    if (list.IsIndirect() && IssuerOnPath(list, question.path, 0) == nullptr) {
      answers.unused += "; " + list.Name() + " was used for certificates of its own issuer alone";
    }
    ThrowIfMemoryFailed();
  }
  return answers;
}

RevocationResult result_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::None: return RevocationResult::NoList;
    case Verdict::Bad: return RevocationResult::ListBad;
    case Verdict::Weak: return RevocationResult::ListWeak;
    case Verdict::Stale: return RevocationResult::ListStale;
    case Verdict::Good: return RevocationResult::Good;
    case Verdict::StillValid: return RevocationResult::StillValid;
    case Verdict::Revoked: break;
  }
  return RevocationResult::Revoked;
}

std::string reason_after(const Finding& finding) {
  return finding.text.empty() ? "" : ": " + finding.text;
}

// The weight of a result for the whole token: a revocation most, then a list that fails.
[[nodiscard]] int weight_of(RevocationResult result) {
  switch (result) {
    case RevocationResult::Good: return 0;
    case RevocationResult::StillValid: return 1;
    case RevocationResult::Revoked: return 3;
    default: return 2;
  }
}

}  // namespace

Revocation JudgeRevocation(const RevocationQuestion& question) {
  const Answers answers = ask_all(question);
  const auto& findings = answers.findings;
  Revocation worst;
  std::string uncovered;
  for (size_t i = 0; i < findings.size(); ++i) {
    const X509* certificate = sk_X509_value(question.path, int(i));
    const Finding finding = gravest(findings[i]);
    const bool root = i + 1 == findings.size() && i > 0;
    if (i > 0 && finding.verdict == Verdict::None) {
      if (!root) uncovered += "; no list covers " + QuotedSubject(certificate) + reason_after(finding);
      continue;
    }
    if (root && finding.verdict != Verdict::Revoked) continue;  // trusted by decision, not by lists
    Revocation revocation{result_of(finding.verdict), finding.text, i > 0};
    if (revocation.result == RevocationResult::NoList) {
      revocation.text = "none covers " + QuotedSubject(certificate) + reason_after(finding);
    }
    if (i > 0 || weight_of(revocation.result) == 3) {
      revocation.text = QuotedSubject(certificate) + ": " + revocation.text;
    }
    if (i == 0 || weight_of(revocation.result) > weight_of(worst.result)) worst = revocation;
  }
  worst.text += uncovered + answers.unused;
  return worst;
}

}  // namespace qex::tool::strict
