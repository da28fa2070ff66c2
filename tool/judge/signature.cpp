// Whether the signature verifies and is strong enough. Both readers must agree where both can check.
#include "api/qex.h"
#include "tool/base/hash.h"
#include "tool/judge/library_word.h"
#include "tool/judge/signer_parts.h"
#include "tool/message/oid_text.h"

namespace qex::tool {
namespace {

constexpr uint64_t kWeakKeyBits = 2048;    // of RSA and DSA: below only with --allow-weak
constexpr uint64_t kBrokenKeyBits = 1024;  // below never
constexpr uint64_t kWeakCurveBits =
    224;  // the same for elliptic curves: 112 bits of security, as for RSA 2048
constexpr uint64_t kBrokenCurveBits = 160;
constexpr uint64_t kWeakDigestBits = 224;

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

[[nodiscard]] bool has_weak_digest(const Facts& facts) {
  const HashAlgorithm* digest = FindHash(digest_name(facts));
  const uint64_t bits = facts.strict ? facts.strict->signature.digestBits : 0;
  return (digest != nullptr && digest->strength == Strength::Weak) || (bits != 0 && bits < kWeakDigestBits);
}

// A signature that verifies still fails when its key or digest gives no assurance.
[[nodiscard]] std::optional<Fault> fault_of_strength(const Facts& facts, const Options& options) {
  constexpr SubIndication kWeak = SubIndication::CryptoConstraintsFailure;
  const SignerCertificate* signer = SignerOf(facts);
  const std::string text = signature_text(facts);
  if (signer == nullptr) return std::nullopt;
  const SignerKey& key = signer->key;
  const bool curve = key.type == "ec";
  const bool measured = curve || key.type == "rsa" || key.type == "rsa-pss" || key.type == "dsa";
  const uint64_t broken = curve ? kBrokenCurveBits : kBrokenKeyBits;
  const uint64_t weak = curve ? kWeakCurveBits : kWeakKeyBits;
  if (measured && key.bits < broken) {
    return Fault{text + ": a key of less than " + std::to_string(broken) + " bits", kWeak,
                 "such keys are broken; no option accepts them"};
  }
  if (measured && key.bits < weak && !options.allowWeak) {
    return Fault{text + ": a key of less than " + std::to_string(weak) + " bits", kWeak,
                 "--allow-weak accepts it all the same"};
  }
  if (key.lowExponent && key.type.starts_with("rsa") && !options.allowLowExponent) {
    return Fault{
        text + ", public exponent 0x" + ToHex(key.exponent) + ": below 65537", kWeak,
        "signatures under such keys were forged; --allow-low-exponent accepts it where the padding is right"};
  }
  if (has_weak_digest(facts) && !options.allowWeak) {
    return Fault{text + ": a weak digest", kWeak,
                 "collisions of such a digest can be made; --allow-weak accepts it all the same"};
  }
  return std::nullopt;
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

// The failures of a signature that no reader accepts.
Fault refused(const Facts& facts) {
  const LibraryCheck* check = TellingCheck(facts);
  if (check != nullptr && check->stop && !facts.strict) {
    return {check->stop->text, SubIndication::Generic, "leave --library-only out, or ask for another token",
            check->stop->algorithm ? ExitStatus::Unsupported : ExitStatus::Input};
  }
  if (check != nullptr && check->code != QEX_OK && check->code != QEX_E_SIGNATURE && !facts.strict) {
    return {check->meaning, SubIndication::FormatFailure, "look inside with 'qex show --asn1'",
            ExitOfCode(check->code)};
  }
  std::string text = "does not verify";
  if (facts.strict && !facts.strict->signature.reason.empty()) {
    text += ": " + Shown(facts.strict->signature.reason);
  }
  return {text, SubIndication::SigCryptoFailure,
          "the token was changed, or was not signed with this certificate's key"};
}

}  // namespace

bool JudgeSignature(Report& report, const Facts& facts, const Options& options) {
  const Word library = LibraryWord(facts);
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
        WithCode({Shown(facts.strict->signature.reason) + ": not supported by either reader",
                  SubIndication::Generic, "ask for a token with another algorithm", ExitStatus::Unsupported},
                 facts));
    return false;
  }
  // Of a certificate that the token does not name, the library's "no" says nothing.
  const bool unnamed = strictRead && library == Word::Bad && !(facts.library && facts.library->signer);
  const bool silent = library == Word::Silent && (strictRead || CodeOf(facts) == QEX_E_NOCERT);
  if (strict == SignatureResult::NoCertificate && (unnamed || silent)) {
    report.Skip("signature", "no certificate to check it with");
    return true;
  }
  const bool good = (strictGood && library != Word::Bad) || (strictSilent && library == Word::Good);
  if (!good) {
    if (strictGood) {
      report.Fail(
          "signature",
          WithCode({"the library does not accept what the strict reader accepts: does not verify",
                    SubIndication::SigCryptoFailure, "do not rely on it, and please report this token"},
                   facts),
          By::Library);
    } else if (strictRead && !strictSilent && library == Word::Good) {
      report.Fail(
          "signature",
          {"the strict reader refuses what the library accepts: " + Shown(facts.strict->signature.reason),
           SubIndication::SigCryptoFailure, "the token was forged or changed; do not rely on it"},
          By::Strict);
    } else {
      report.Fail("signature", WithCode(refused(facts), facts), by);
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

}  // namespace qex::tool
