// libcrypto processes the lists: issuer, scope, signature, dates, entries. Each list is asked on its own, for
// of several it would heed the one in force at the time of the check alone, while a revocation in a later one
// counts as well: a key that was found stolen afterwards may have been so before (RFC 3161, 4).
#include "tool/worker/strict/revocation.h"

#include <algorithm>
#include <iterator>

#include <openssl/objects.h>

#include "tool/base/escape.h"
#include "tool/message/gen_time.h"
#include "tool/worker/strict/certificate.h"
#include "tool/worker/strict/chain.h"

namespace qex::tool::strict {
namespace {

// What libcrypto reported about one certificate and one list. Plain, for it is filled between C frames.
struct Seen {
  bool missing = false;  // the list is not about this certificate
  bool stale = false;
  bool early = false;
  int fault = X509_V_OK;
  X509_REVOKED* entry = nullptr;
};

struct Observer {
  X509_CRL* list;  // the one that is asked; libcrypto does not always name it
  std::vector<Seen> seen;
};

int observe(int ok, X509_STORE_CTX* context) {
  if (ok != 0) return ok;
  const int error = X509_STORE_CTX_get_error(context);
  // The issuer of an indirect list has a chain of its own, for which no list is demanded.
  if (X509_STORE_CTX_get0_parent_ctx(context) != nullptr)
    return error == X509_V_ERR_UNABLE_TO_GET_CRL ? 1 : 0;
  auto* observer = static_cast<Observer*>(X509_STORE_CTX_get_app_data(context));
  const auto depth = static_cast<size_t>(X509_STORE_CTX_get_error_depth(context));
  if (depth >= observer->seen.size()) return 0;
  Seen& seen = observer->seen[depth];
  switch (error) {
    case X509_V_ERR_UNABLE_TO_GET_CRL:
    case X509_V_ERR_DIFFERENT_CRL_SCOPE: seen.missing = true; break;
    case X509_V_ERR_CRL_HAS_EXPIRED: seen.stale = true; break;
    case X509_V_ERR_CRL_NOT_YET_VALID: seen.early = true; break;
    case X509_V_ERR_CERT_REVOKED:
      X509_CRL_get0_by_cert(observer->list, &seen.entry, X509_STORE_CTX_get_current_cert(context));
      break;
    default: seen.fault = error;
  }
  return 1;
}

// A reason of revocation (RFC 5280, 5.3.1), and whether tokens from before the revocation stand (RFC 3161,
// 4).
struct Reason {
  long code;
  const char* name;
  bool lenient;
};

constexpr Reason kReasons[] = {
    {CRL_REASON_UNSPECIFIED, "unspecified", true},
    {CRL_REASON_KEY_COMPROMISE, "keyCompromise", false},
    {CRL_REASON_CA_COMPROMISE, "cACompromise", false},
    {CRL_REASON_AFFILIATION_CHANGED, "affiliationChanged", true},
    {CRL_REASON_SUPERSEDED, "superseded", true},
    {CRL_REASON_CESSATION_OF_OPERATION, "cessationOfOperation", true},
    {CRL_REASON_CERTIFICATE_HOLD, "certificateHold", false},
    {CRL_REASON_PRIVILEGE_WITHDRAWN, "privilegeWithdrawn", false},
    {CRL_REASON_AA_COMPROMISE, "aACompromise", false},
};
constexpr Reason kNoReason{-1, "without a reason", false};

Reason reason_of(const X509_REVOKED* entry) {
  const OwnedEnumerated code(
      static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
  if (!code) return kNoReason;
  const auto* row = std::ranges::find(kReasons, ASN1_ENUMERATED_get(code.get()), &Reason::code);
  return row == std::end(kReasons) ? Reason{-1, "for an unknown reason", false} : *row;
}

std::string moment_of(const ASN1_TIME* time) {
  const auto seconds = SecondsOf(time);
  return seconds ? IsoTime(*seconds) : "an unreadable time";
}

std::string list_name(const X509_CRL* list) {
  return "the list of " + Quoted(NameForPeople(X509_CRL_get_issuer(list))) + " of " +
         moment_of(X509_CRL_get0_lastUpdate(list));
}

// Why a list cannot be used.
struct ListFault {
  int error;
  const char* words;
};

constexpr ListFault kListFaults[] = {
    {X509_V_ERR_CRL_SIGNATURE_FAILURE, "its signature does not verify"},
    {X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER, "the certificate of its issuer is not at hand"},
    {X509_V_ERR_KEYUSAGE_NO_CRL_SIGN, "the key usage of its issuer does not allow lists"},
    {X509_V_ERR_UNHANDLED_CRITICAL_CRL_EXTENSION, "it has a critical extension that is not known"},
    {X509_V_ERR_INVALID_EXTENSION, "its extensions are not valid"},
    {X509_V_ERR_CRL_PATH_VALIDATION_ERROR, "its issuer has no chain to the same root"},
    {X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD, "its dates cannot be read"},
    {X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD, "its dates cannot be read"},
};

std::string fault_words(int error) {
  const auto* row = std::ranges::find(kListFaults, error, &ListFault::error);
  return row == std::end(kListFaults) ? X509_verify_cert_error_string(error) : row->words;
}

// What one list says of one certificate, the gravest last.
enum class Verdict : uint8_t { None, Bad, Stale, Good, Stands, Revoked };

struct Finding {
  Verdict verdict = Verdict::None;
  const X509_CRL* list = nullptr;
  int64_t issued = 0;  // when the list was
  bool hold = false;   // revoked for the time being
  std::string text;
};

void judge_entry(Finding& finding, const Seen& seen, const RevocationQuestion& question) {
  const Reason reason = reason_of(seen.entry);
  const auto date = SecondsOf(X509_REVOKED_get0_revocationDate(seen.entry));
  const bool older = date && question.genTime && *question.genTime < *date;
  finding.verdict = older && reason.lenient ? Verdict::Stands : Verdict::Revoked;
  finding.hold = reason.code == CRL_REASON_CERTIFICATE_HOLD;
  finding.text = "revoked " + moment_of(X509_REVOKED_get0_revocationDate(seen.entry)) + ", " + reason.name;
  if (finding.verdict == Verdict::Stands) finding.text += "; the token is older";
}

Finding finding_of(const Seen& seen, const X509_CRL* list, const RevocationQuestion& question) {
  Finding finding;
  finding.list = list;
  finding.issued = SecondsOf(X509_CRL_get0_lastUpdate(list)).value_or(0);
  if (seen.missing) return finding;
  if (seen.fault != X509_V_OK) {
    finding.verdict = Verdict::Bad;
    finding.text = list_name(list) + " cannot be used: " + fault_words(seen.fault);
  } else if (seen.entry != nullptr) {
    judge_entry(finding, seen, question);
  } else if (seen.early && finding.issued > question.latestIssue) {
    finding.verdict = Verdict::Bad;
    finding.text = list_name(list) + " is from a later time";
  } else if (seen.stale) {
    finding.verdict = Verdict::Stale;
    finding.text = list_name(list) + " ended " + moment_of(X509_CRL_get0_nextUpdate(list));
  } else {
    finding.verdict = Verdict::Good;
    finding.text = "not in " + list_name(list);
  }
  return finding;
}

// A hold is over when a later list leaves the certificate out.
bool is_released(const Finding& finding, const std::vector<Finding>& all) {
  return finding.hold && std::ranges::any_of(all, [&](const Finding& other) {
           return other.verdict == Verdict::Good && other.issued > finding.issued;
         });
}

// What counts of all that the lists say of one certificate: the gravest, and of equals the latest.
Finding gravest(const std::vector<Finding>& all) {
  Finding result;
  for (const Finding& finding : all) {
    if (is_released(finding, all)) continue;
    const bool graver = finding.verdict > result.verdict;
    if (graver || (finding.verdict == result.verdict && finding.issued > result.issued)) result = finding;
  }
  return result;
}

// Findings by certificate of the path.
std::vector<std::vector<Finding>> ask_all(const RevocationQuestion& question) {
  const int length = sk_X509_num(question.path);
  std::vector<std::vector<Finding>> findings(static_cast<size_t>(length));
  const OwnedStore store(Needed(X509_STORE_new()));
  if (X509_STORE_add_cert(store.get(), sk_X509_value(question.path, length - 1)) != 1) throw std::bad_alloc();
  for (const OwnedCrl& list : *question.lists) {
    const OwnedStoreContext context(Needed(X509_STORE_CTX_new()));
    if (X509_STORE_CTX_init(context.get(), store.get(), sk_X509_value(question.path, 0), question.path) != 1)
      throw std::bad_alloc();
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    SetJudgedTime(parameters, question.time);  // the chain was judged at the same time
    X509_VERIFY_PARAM_set_flags(
        parameters, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL | X509_V_FLAG_EXTENDED_CRL_SUPPORT);
    const CrlRow row(Needed(sk_X509_CRL_new_null()));
    if (sk_X509_CRL_push(row.get(), list.get()) <= 0) throw std::bad_alloc();
    X509_STORE_CTX_set0_crls(context.get(), row.get());
    X509_STORE_CTX_set0_verified_chain(context.get(), Needed(X509_chain_up_ref(question.path)));
    Observer observer{list.get(), std::vector<Seen>(findings.size())};
    if (X509_STORE_CTX_set_app_data(context.get(), &observer) != 1) throw std::bad_alloc();
    X509_STORE_CTX_set_verify_cb(context.get(), observe);
    X509_STORE_CTX_get_check_revocation(context.get())(context.get());
    ThrowIfMemoryFailed();
    for (size_t i = 0; i < findings.size(); ++i)
      findings[i].push_back(finding_of(observer.seen[i], list.get(), question));
  }
  return findings;
}

RevocationResult result_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::None: return RevocationResult::NoList;
    case Verdict::Bad: return RevocationResult::ListBad;
    case Verdict::Stale: return RevocationResult::ListStale;
    case Verdict::Good: return RevocationResult::Good;
    case Verdict::Stands: return RevocationResult::Stands;
    case Verdict::Revoked: break;
  }
  return RevocationResult::Revoked;
}

// What a result weighs for the token as a whole: a revocation most, then a list that fails.
int weight_of(RevocationResult result) {
  switch (result) {
    case RevocationResult::Good: return 0;
    case RevocationResult::Stands: return 1;
    case RevocationResult::Revoked: return 3;
    default: return 2;
  }
}

}  // namespace

Revocation JudgeRevocation(const RevocationQuestion& question) {
  const auto findings = ask_all(question);
  Revocation worst;
  std::string uncovered;
  for (size_t i = 0; i < findings.size(); ++i) {
    const X509* certificate = sk_X509_value(question.path, static_cast<int>(i));
    const Finding finding = gravest(findings[i]);
    const bool root = i + 1 == findings.size() && i > 0;
    if (i > 0 && finding.verdict == Verdict::None) {
      if (!root) uncovered += "; no list covers " + QuotedSubject(certificate);
      continue;
    }
    if (root && finding.verdict != Verdict::Revoked) continue;  // trusted by decision, not by lists
    Revocation revocation{result_of(finding.verdict), finding.text, i > 0};
    if (revocation.result == RevocationResult::NoList)
      revocation.text = "none covers " + QuotedSubject(certificate);
    if (i > 0 || weight_of(revocation.result) == 3)
      revocation.text = QuotedSubject(certificate) + ": " + revocation.text;
    if (i == 0 || weight_of(revocation.result) > weight_of(worst.result)) worst = revocation;
  }
  worst.text += uncovered;
  return worst;
}

}  // namespace qex::tool::strict
