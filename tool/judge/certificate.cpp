// The signer's certificate: its purpose, dates, chain and revocation. Only the strict reader provides these
// facts.
#include "tool/judge/library_word.h"
#include "tool/judge/signer_parts.h"

namespace qex::tool {
namespace {

void judge_usage(Report& report, const StrictReading& strict) {
  if (!strict.keyUsage) {
    report.Skip("key_usage", "the signer's certificate is not at hand");
  } else if (strict.keyUsage->good) {
    report.Pass("key_usage", Shown(strict.keyUsage->text), By::Strict);
  } else {
    report.Fail("key_usage",
                {Shown(strict.keyUsage->text), SubIndication::ChainConstraintsFailure,
                 "this certificate is not meant for time-stamping, or for other things too"},
                By::Strict);
  }
}

std::string time_of(const Trust& trust) {
  return trust.time == TrustTime::GenTime ? "at genTime"
         : trust.time == TrustTime::Now   ? "now"
                                          : "at the given time";
}

// Whatever the time that is judged: no certificate signs before it exists.
void pass_dates(Report& report, const Validity& validity, const Trust& trust) {
  if (validity.stampedBefore) {
    report.Fail(
        "dates",
        {"the token is older than the certificate, which is valid from " + validity.notBefore + " on",
         SubIndication::NotYetValid, "the clock of the authority was wrong, or the token was made up"},
        By::Strict);
    return;
  }
  report.Pass("dates", "valid " + time_of(trust) + ", until " + validity.notAfter, By::Strict);
  if (validity.expiredNow) {
    report.Note("dates",
                "the certificate has expired since: the stamp now rests on its key having stayed safe");
  }
  if (validity.keyPeriodEnded) {
    report.Note("dates", "by the certificate, its key was to sign no longer at genTime");
  }
}

void judge_dates(Report& report, const StrictReading& strict, const Trust& trust) {
  if (!strict.validity) {
    report.Skip("dates", strict.signer ? "the token has no time" : "the signer's certificate is not at hand");
    return;
  }
  const Validity& validity = *strict.validity;
  switch (validity.result) {
    case ValidityResult::Valid: pass_dates(report, validity, trust); break;
    case ValidityResult::NotYet:
      report.Fail(
          "dates",
          {"not valid " + time_of(trust) + ": only from " + validity.notBefore + " on",
           SubIndication::NotYetValid, "the clock of the authority was wrong, or the token was made up"},
          By::Strict);
      break;
    case ValidityResult::Expired:
      report.Fail(
          "dates",
          {"not valid " + time_of(trust) + ": expired at " + validity.notAfter,
           SubIndication::OutOfBoundsNotRevoked, "the authority signed with a certificate that had expired"},
          By::Strict);
      break;
    case ValidityResult::Unreadable:
      report.Fail("dates",
                  {"the certificate's dates " + Shown(validity.notBefore) + " and " +
                       Shown(validity.notAfter) + " are not both times",
                   SubIndication::FormatFailure, "ask the authority for a certificate in order"},
                  By::Strict);
      break;
  }
}

SubIndication sub_of(ChainResult result) {
  switch (result) {
    case ChainResult::NotFound: return SubIndication::NoCertificateChainFound;
    case ChainResult::NotYetValid: return SubIndication::NotYetValid;
    case ChainResult::Expired: return SubIndication::OutOfBoundsNotRevoked;
    case ChainResult::Constraints: return SubIndication::ChainConstraintsFailure;
    case ChainResult::Weak: return SubIndication::CryptoConstraintsFailure;
    default: return SubIndication::CertificateChainGeneralFailure;
  }
}

// Returns whether the chain holds.
[[nodiscard]] bool judge_chain(Report& report, const StrictReading& strict, const Trust& trust) {
  if (!trust.chainWanted) {
    report.Skip("chain", "no roots were named (--ca-file, --ca-path, --system-ca)");
    return false;
  }
  if (!strict.chain) {
    report.Fail("chain", {"the signer's certificate is not at hand", SubIndication::NoSigningCertificateFound,
                          "name it with --untrusted or --tsa-cert", ExitStatus::Absent});
    return false;
  }
  const Chain& chain = *strict.chain;
  if (chain.result == ChainResult::Trusted) {
    report.Pass("chain",
                Shown(chain.anchor) + ", " + std::to_string(chain.length) +
                    (chain.length == 1 ? " certificate, " : " certificates, ") + time_of(trust),
                By::Strict);
    return true;
  }
  report.Fail("chain",
              {Shown(chain.text), sub_of(chain.result),
               chain.result == ChainResult::NotFound
                   ? "name the root with --ca-file, certificates between with --untrusted"
                   : "look at the certificates with 'qex show'"},
              By::Strict);
  return false;
}

void judge_revocation(Report& report, const StrictReading& strict, const Trust& trust, bool chainStands) {
  if (trust.crls.empty()) {
    report.Skip("revocation", "no list given (--crl)");
    return;
  }
  if (!chainStands || !strict.revocation) {
    report.Skip("revocation", "not judged, as no chain was found");
    return;
  }
  const Revocation& revocation = *strict.revocation;
  switch (revocation.result) {
    case RevocationResult::Good:
    case RevocationResult::StillValid: report.Pass("revocation", Shown(revocation.text), By::Strict); break;
    case RevocationResult::Revoked:
      report.Fail(
          "revocation",
          {Shown(revocation.text), revocation.ofCa ? SubIndication::RevokedCaNoPoe : SubIndication::Revoked,
           "do not rely on the time-stamp"},
          By::Strict);
      break;
    case RevocationResult::NoList:
      report.Fail(
          "revocation",
          {Shown(revocation.text), SubIndication::TryLater,
           "name a whole list of the signer's issuer with --crl; of an expired signer, one from before",
           ExitStatus::Absent},
          By::Strict);
      break;
    case RevocationResult::ListWeak:
      report.Fail("revocation",
                  {Shown(revocation.text), SubIndication::CryptoConstraintsFailure,
                   "fetch a newer list; --allow-weak accepts this one all the same"},
                  By::Strict);
      break;
    case RevocationResult::ListStale:
    case RevocationResult::ListBad:
      report.Fail(
          "revocation",
          {Shown(revocation.text), SubIndication::TryLater, "fetch a newer list, and name it with --crl"},
          By::Strict);
      break;
  }
}

}  // namespace

void JudgeCertificate(Report& report, const StrictReading& strict, const Trust& trust) {
  judge_usage(report, strict);
  judge_dates(report, strict, trust);
  const bool chainStands = judge_chain(report, strict, trust);
  judge_revocation(report, strict, trust, chainStands);
}

}  // namespace qex::tool
