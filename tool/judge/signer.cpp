// Who signed, and whether the caller trusts that: signature, signer, key usage, dates, chain and revocation.
//
// Both readers must agree where both can check. The library says nothing about a signature that it cannot
// try; the strict reader decides alone then.
#include <algorithm>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/hash.h"
#include "tool/judge/judge.h"
#include "tool/message/oid_text.h"

namespace qex::tool {
namespace {

constexpr uint64_t kWeakKeyBits = 2048;    // of RSA and DSA: below only with --allow-weak
constexpr uint64_t kBrokenKeyBits = 1024;  // below never

// Names from certificates stand in the readers' texts.
std::string shown(const std::string& text) {
  constexpr size_t kWidest = 400;
  return Folded(text, kWidest);
}

// What the library's checks come to.
enum class Word { Good, Bad, Silent };

bool is_good(const LibraryCheck& check) {
  // -16 and -6 are about the signing-certificate attribute: the signature was found in order before.
  return check.code == QEX_OK || check.code == QEX_E_MISMATCH || check.code == QEX_E_DECODE ||
         check.ownCode == QEX_OK;
}

Word library_word(const Facts& facts) {
  if (!facts.library) return Word::Silent;
  Word word = Word::Silent;
  for (const LibraryCheck& check : facts.library->checks) {
    if (check.stop || check.code == QEX_E_NOCERT) continue;
    if (!is_good(check)) return Word::Bad;
    word = Word::Good;
  }
  return word;
}

// The check that says no, else the first; null when none was made.
const LibraryCheck* telling_check(const Facts& facts) {
  if (!facts.library || facts.library->checks.empty()) return nullptr;
  const auto& checks = facts.library->checks;
  const auto bad =
      std::ranges::find_if(checks, [](const LibraryCheck& check) { return check.code != QEX_OK; });
  return bad == checks.end() ? &checks.front() : &*bad;
}

int32_t code_of(const Facts& facts) {
  const LibraryCheck* check = telling_check(facts);
  return check == nullptr ? 0 : check->code;
}

int32_t asn1_error_of(const Facts& facts) {
  const LibraryCheck* check = telling_check(facts);
  return check == nullptr ? 0 : check->asn1Error;
}

std::string digest_name(const Facts& facts) {
  if (facts.strict) return facts.strict->signature.digest;
  const HashAlgorithm* hash = FindHash(facts.library->digestAlgorithm);
  return hash == nullptr ? inspect::NamedOid(inspect::DecodeOid(facts.library->digestAlgorithm)) : hash->name;
}

std::string signature_text(const Facts& facts) {
  const SignerCertificate* signer = SignerOf(facts);
  std::string text = signer == nullptr || signer->key.name.empty() ? "unknown key" : signer->key.name;
  if (facts.strict && facts.strict->signature.scheme == "rsa-pss") text += " pss";
  const std::string digest = digest_name(facts);
  return digest.empty() ? text : text + ", " + digest;
}

// A signature that verifies still fails when its key or digest gives no assurance.
std::optional<Fault> fault_of_strength(const Facts& facts, const Options& options) {
  constexpr SubIndication kWeak = SubIndication::CryptoConstraintsFailure;
  const SignerCertificate* signer = SignerOf(facts);
  const std::string text = signature_text(facts);
  if (signer == nullptr) return std::nullopt;
  const SignerKey& key = signer->key;
  const bool factoring = key.type == "rsa" || key.type == "rsa-pss" || key.type == "dsa";
  if (factoring && key.bits < kBrokenKeyBits) {
    return Fault{text + ": a key of less than 1024 bits", kWeak,
                 "such keys have been broken; no option accepts them"};
  }
  if (factoring && key.bits < kWeakKeyBits && !options.allowWeak) {
    return Fault{text + ": a key of less than 2048 bits", kWeak, "--allow-weak accepts it all the same"};
  }
  if (key.lowExponent && key.type.starts_with("rsa") && !options.allowLowExponent) {
    return Fault{
        text + ", public exponent 0x" + ToHex(key.exponent) + ": below 65537", kWeak,
        "signatures under such keys were forged; --allow-low-exponent accepts it where the padding is right"};
  }
  const HashAlgorithm* digest = FindHash(digest_name(facts));
  if (digest != nullptr && digest->weak && !options.allowWeak) {
    return Fault{text + ": a weak digest", kWeak,
                 "collisions of this digest are known; --allow-weak accepts it all the same"};
  }
  return std::nullopt;
}

void skip_the_rest(Report& report, const char* reason) {
  for (const char* name : {"signer", "key_usage", "dates", "chain", "revocation"}) report.Skip(name, reason);
}

Fault with_code(Fault fault, const Facts& facts) {
  fault.code = code_of(facts);
  fault.asn1Error = asn1_error_of(facts);
  return fault;
}

// The key that neither reader tried; null when one did.
const SignerKey* untried_key(const Facts& facts) {
  if (facts.strict) {
    const bool untried =
        facts.strict->signature.result == SignatureResult::KeyTooLarge && facts.strict->signer;
    return untried ? &facts.strict->signer->key : nullptr;
  }
  const bool untried = facts.library && facts.library->checks.empty() && facts.library->tooLarge;
  return untried ? &*facts.library->tooLarge : nullptr;
}

// What the library could not try, in words.
std::string library_silence(const Facts& facts) {
  if (facts.libraryStop) return facts.libraryStop->text;
  for (const LibraryCheck& check : facts.library ? facts.library->checks : std::vector<LibraryCheck>{}) {
    if (check.stop) return check.stop->text;
  }
  return "";
}

// The failures of a signature that no reader accepts.
Fault refused(const Facts& facts) {
  const LibraryCheck* check = telling_check(facts);
  if (check != nullptr && check->stop && !facts.strict) {
    return {check->stop->text, SubIndication::Generic, "leave --library-only out, or ask for another token",
            check->stop->algorithm ? ExitStatus::Unsupported : ExitStatus::Input};
  }
  if (check != nullptr && check->code != QEX_OK && check->code != QEX_E_SIGNATURE && !facts.strict) {
    return {check->meaning, SubIndication::FormatFailure, "look inside with 'qex show --asn1'",
            ExitOfCode(check->code)};
  }
  std::string text = "does not verify";
  if (facts.strict && !facts.strict->signature.reason.empty())
    text += ": " + shown(facts.strict->signature.reason);
  return {text, SubIndication::SigCryptoFailure,
          "the token was changed, or was not signed with this certificate's key"};
}

// The signature line. Returns whether the rest is worth judging.
bool judge_signature(Report& report, const Facts& facts, const Options& options) {
  const Word library = library_word(facts);
  const bool strictRead = facts.strict.has_value();
  const SignatureResult strict = strictRead ? facts.strict->signature.result : SignatureResult::NoCertificate;
  if (const SignerKey* key = untried_key(facts)) {
    report.Fail("signature",
                {key->type + " key with " + key->excess + ": too large, not checked",
                 SubIndication::CryptoConstraintsFailure,
                 "one check of such a key may take hours; ask for tokens under a key of the usual size"});
    return false;
  }
  const bool strictGood = strict == SignatureResult::Valid;
  const bool strictSilent =
      !strictRead || strict == SignatureResult::Unsupported || strict == SignatureResult::NoCertificate;
  const By by = strictSilent ? By::Library : library == Word::Silent ? By::Strict : By::Both;
  if (strict == SignatureResult::Unsupported && library == Word::Silent) {
    report.Fail(
        "signature",
        with_code({shown(facts.strict->signature.reason) + ": not supported by either reader",
                   SubIndication::Generic, "ask for a token with another algorithm", ExitStatus::Unsupported},
                  facts));
    return false;
  }
  // Of a certificate that the token does not name, the library's "no" says nothing.
  const bool unnamed = strictRead && library == Word::Bad && !(facts.library && facts.library->signer);
  const bool silent = library == Word::Silent && (strictRead || code_of(facts) == QEX_E_NOCERT);
  if (strict == SignatureResult::NoCertificate && (unnamed || silent)) {
    report.Skip("signature", "no certificate to check it with");
    return true;
  }
  const bool good = (strictGood && library != Word::Bad) || (strictSilent && library == Word::Good);
  if (!good) {
    if (strictGood) {
      report.Fail(
          "signature",
          with_code({"the library does not accept what the strict reader accepts: does not verify",
                     SubIndication::SigCryptoFailure, "do not rely on it, and please report this token"},
                    facts),
          By::Library);
    } else if (strictRead && !strictSilent && library == Word::Good) {
      report.Fail(
          "signature",
          {"the strict reader refuses what the library accepts: " + shown(facts.strict->signature.reason),
           SubIndication::SigCryptoFailure, "the token was forged or changed; do not rely on it"},
          By::Strict);
    } else {
      report.Fail("signature", with_code(refused(facts), facts), by);
    }
    return false;
  }
  if (auto weak = fault_of_strength(facts, options)) {
    report.Fail("signature", std::move(*weak), by);
  } else {
    report.Pass("signature", signature_text(facts), by);
  }
  return true;
}

Fault mismatch(const std::string& text, const Facts& facts) {
  return with_code({text, SubIndication::SigConstraintsFailure,
                    "the same key may have several certificates; name the one it signed with"},
                   facts);
}

// What the signing-certificate attributes say against the signer; nothing when they name it.
std::optional<Fault> fault_of_attributes(const Facts& facts, const Trust& trust, const Manner& manner) {
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
      return with_code({"the token has no attribute " + name, SubIndication::SigConstraintsFailure,
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
      return with_code({"the token has no attribute " + name, SubIndication::SigConstraintsFailure,
                        "--ess auto takes the attribute that is there", ExitOfCode(QEX_E_DECODE)},
                       facts);
    }
  }
  return std::nullopt;
}

bool is_pinned(const Facts& facts, const Trust& trust) {
  if (facts.strict) return facts.strict->signerIsPinned;
  const SignerCertificate* signer = SignerOf(facts);
  if (signer == nullptr) return false;
  return std::ranges::any_of(trust.signers,
                             [signer](const TrustItem& item) { return item.der == signer->der; });
}

void judge_signer(Report& report, const Facts& facts, const Trust& trust, const Manner& manner) {
  const SignerCertificate* signer = SignerOf(facts);
  const By by = facts.strict ? (library_word(facts) == Word::Silent ? By::Strict : By::Both) : By::Library;
  const std::string name = AttributeName(facts, manner);
  if (signer == nullptr && facts.strict && library_word(facts) == Word::Good) {
    report.Fail("signer",
                with_code({"the signer identifier names another certificate than " + name,
                           SubIndication::SigConstraintsFailure,
                           "no certificate at hand fits both; do not rely on it"},
                          facts),
                By::Strict);
    return;
  }
  if (signer == nullptr) {
    report.Fail("signer",
                with_code({"the token holds no certificate that its attribute " + name + " names",
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
          with_code({named + ", not the one of " + option, SubIndication::SigConstraintsFailure,
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

void judge_usage(Report& report, const StrictReading& strict) {
  if (!strict.keyUsage) {
    report.Skip("key_usage", "the signer's certificate is not at hand");
  } else if (strict.keyUsage->good) {
    report.Pass("key_usage", shown(strict.keyUsage->text), By::Strict);
  } else {
    report.Fail("key_usage",
                {shown(strict.keyUsage->text), SubIndication::ChainConstraintsFailure,
                 "this certificate is not meant for time-stamping, or for other things too"},
                By::Strict);
  }
}

std::string time_of(const Trust& trust) {
  return trust.time == TrustTime::GenTime ? "at genTime"
         : trust.time == TrustTime::Now   ? "now"
                                          : "at the given time";
}

void judge_dates(Report& report, const StrictReading& strict, const Trust& trust) {
  if (!strict.validity) {
    report.Skip("dates", strict.signer ? "the token has no time" : "the signer's certificate is not at hand");
    return;
  }
  const Validity& validity = *strict.validity;
  switch (validity.result) {
    case ValidityResult::Valid:
      report.Pass("dates", "valid " + time_of(trust) + ", until " + validity.notAfter, By::Strict);
      if (validity.expiredNow) {
        report.Note("dates",
                    "the certificate has expired since: the stamp now rests on its key having stayed safe");
      }
      break;
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

// Returns whether a chain stands.
bool judge_chain(Report& report, const StrictReading& strict, const Trust& trust) {
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
                shown(chain.anchor) + ", " + std::to_string(chain.length) +
                    (chain.length == 1 ? " certificate, " : " certificates, ") + time_of(trust),
                By::Strict);
    return true;
  }
  report.Fail("chain",
              {shown(chain.text), sub_of(chain.result),
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
    case RevocationResult::Stands: report.Pass("revocation", shown(revocation.text), By::Strict); break;
    case RevocationResult::Revoked:
      report.Fail(
          "revocation",
          {shown(revocation.text), revocation.ofCa ? SubIndication::RevokedCaNoPoe : SubIndication::Revoked,
           "do not rely on the time-stamp"},
          By::Strict);
      break;
    case RevocationResult::NoList:
      report.Fail("revocation",
                  {shown(revocation.text), SubIndication::TryLater,
                   "fetch the list of the signer's issuer, and name it with --crl", ExitStatus::Absent},
                  By::Strict);
      break;
    case RevocationResult::ListStale:
    case RevocationResult::ListBad:
      report.Fail(
          "revocation",
          {shown(revocation.text), SubIndication::TryLater, "fetch a newer list, and name it with --crl"},
          By::Strict);
      break;
  }
}

// Where a reader stopped, in a line of its own.
void note_library(Report& report, const Facts& facts) {
  const std::string silence = library_silence(facts);
  if (facts.strict && !silence.empty())
    report.Note("library", shown(silence) + "; the strict reader decides alone");
}

// After the signature, so that one that does not verify is the reason that counts.
void fail_strict(Report& report, const Facts& facts) {
  if (facts.strictStop) {
    report.Fail("strict",
                {shown(facts.strictStop->text), SubIndication::FormatFailure,
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
  const bool judged = judge_signature(report, facts, options);
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
  judge_usage(report, *facts.strict);
  judge_dates(report, *facts.strict, trust);
  const bool chainStands = judge_chain(report, *facts.strict, trust);
  judge_revocation(report, *facts.strict, trust, chainStands);
}

}  // namespace qex::tool
