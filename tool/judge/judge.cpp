// The checks, one function each.
#include "tool/judge/judge.h"

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/message/oid_text.h"
#include "tool/worker/inspect/code_texts.h"

namespace qex::tool {
namespace {

std::string text_at(const Json& object, const char* name) {
  return object.value(name, std::string());
}

Bytes octets_at(const Json& object, const char* name) {
  return FromHex(text_at(object, name)).value_or(Bytes{});
}

const char* hint_of_failure(int failInfo) {
  switch (failInfo) {
    case 0: return "another --hash may be accepted";
    case 15: return "leave --policy out, or ask for one of the authority's policies";
    case 14:
    case 25: return "the fault lies with the authority; try again later or ask another one";
    default: return "ask the authority's operator, or another authority";
  }
}

// rsa 2048, sha256
std::string signature_text(const Json& facts, const Json& key) {
  const std::string digest = text_at(facts["raw"], "digest_algorithm");
  const char* name = inspect::OidName(digest);
  const int bits = key.value("bits", 0);
  return text_at(key, "type") + (bits == 0 ? "" : ' ' + std::to_string(bits)) + ", " +
         (name == nullptr ? digest : name);
}

std::string pair_text(const Json& facts, const Json& key) {
  const Json& raw = facts["raw"];
  return text_at(key, "type") + " with digest " + inspect::NamedOid(text_at(raw, "digest_algorithm")) +
         " and signature " + inspect::NamedOid(text_at(raw, "signature_algorithm"));
}

std::string attribute_name(const Json& facts) {
  return text_at(facts, "ess") == "v2" ? "signing-certificate-v2" : "signing-certificate";
}

// A signature that verifies still fails when its key or digest gives no assurance.
void judge_strength(Report& report, const Json& facts, const Json& key, const Options& options) {
  const std::string text = signature_text(facts, key);
  const HashAlgorithm* digest = FindHash(text_at(facts["raw"], "digest_algorithm"));
  if (key.value("low_exponent", false) && !options.allowLowExponent) {
    report.Fail("signature",
                text + ", public exponent 0x" + text_at(key, "exponent") + ": below 65537, can be forged",
                ExitStatus::CheckFailed,
                "do not rely on such a key; --allow-low-exponent accepts it all the same");
  } else if (digest != nullptr && digest->weak && !options.allowWeak) {
    report.Fail("signature", text + ": a weak digest", ExitStatus::CheckFailed,
                "collisions of this digest are known; --allow-weak accepts it all the same");
  } else {
    report.Pass("signature", text);
  }
}

// Failures of the signature itself, by result code.
void fail_signature(Report& report, const Json& facts, int32_t code, int32_t asn1Error, const Json& key) {
  switch (code) {
    case QEX_E_SIGNATURE:
      report.Fail("signature", "does not verify", ExitStatus::CheckFailed,
                  "the token was changed, or was not signed with this certificate's key", code, asn1Error);
      break;
    case QEX_E_UNSUPPORTED:
      report.Fail("signature", pair_text(facts, key) + ": not supported", ExitStatus::Unsupported,
                  "ask for tokens that are signed with RSA or DSA and a supported hash", code, asn1Error);
      break;
    case QEX_E_MISSING:
      report.Fail("signature", "the certificate's key cannot be read", ExitOfCode(code),
                  "look at the certificate with 'qex show'", code, asn1Error);
      break;
    default:
      report.Fail("signature", inspect::CodeMeaning(code), ExitOfCode(code),
                  "look inside with 'qex show --asn1'", code, asn1Error);
      break;
  }
  report.Skip("signer", "not judged, as the signature does not pass");
}

std::string named_signer(const Json& facts) {
  return "sha256:" + text_at(facts["signer"], "sha256") + "  named by " + attribute_name(facts);
}

void judge_pins(Report& report, const Json& facts, const Pins& pins) {
  const Json& verification = facts["verification"];
  const std::string own = text_at(facts["signer"], "sha256");
  // The certificate that the verification was made with: the given one, or the token's own.
  const std::string used = pins.certificate ? text_at(verification, "given_sha256") : own;
  const std::string named = "sha256:" + used + "  named by " + attribute_name(facts);
  if (pins.fingerprint && ToHex(*pins.fingerprint) != used) {
    report.Fail("signer", named + ", not the one of --tsa-fingerprint", ExitStatus::CheckFailed,
                "another authority signed, or the fingerprint is that of another certificate");
  } else if (pins.certificate || pins.fingerprint) {
    report.Pass("signer",
                named + ", pinned by " +
                    (pins.certificate ? (pins.fingerprint ? "--tsa-cert and --tsa-fingerprint" : "--tsa-cert")
                                      : "--tsa-fingerprint"));
  } else {
    report.Skip("signer", named + ": consistent in itself, authority not checked");
  }
}

}  // namespace

std::optional<Failure> RefusalOf(const Json& facts, const std::string& subject) {
  if (!facts.contains("status")) return std::nullopt;
  const Json& status = facts["status"];
  const int value = status["status"].get<int>();
  if (value == 0 || value == 1) {
    if (facts.contains("token")) return std::nullopt;
    return Failure{ExitStatus::Input, subject + ": the request is granted, but the reply carries no token",
                   "the authority is at fault; ask its operator, or another authority", QEX_E_NOTOKEN};
  }
  std::string text = subject + ": the authority refused: " + text_at(status, "name");
  text += " (" + std::to_string(value) + "), " + text_at(status, "failure");
  if (status.contains("text")) text += ": \"" + text_at(status, "text") + "\"";
  return Failure{ExitStatus::Refused, text, hint_of_failure(status.value("fail_info", -1)), QEX_E_REJECTED};
}

void JudgeStatus(Report& report, const Json& facts) {
  if (facts.contains("status")) {
    const Json& status = facts["status"];
    report.Pass("status",
                text_at(status, "name") + (status.contains("text") ? ": " + text_at(status, "text") : ""));
  } else {
    report.Skip("status", "a token without its reply");
  }
}

void JudgeContents(Report& report, const Json& facts, const Expected& expected, const Options& options) {
  const Json& raw = facts["raw"];
  const std::string hashName = text_at(facts["info"], "hash");
  const HashAlgorithm* hash = FindHash(hashName);
  if (!expected.digest) {
    report.Skip("imprint", "no file or digest to compare with");
  } else if (octets_at(raw, "imprint") != *expected.digest) {
    report.Fail("imprint", "not the " + hashName + " of " + expected.digestSource, ExitStatus::CheckFailed,
                "the file was changed, or the token belongs to another file", 0, 0);
  } else if (hash != nullptr && hash->weak && !options.allowWeak) {
    report.Fail("imprint", hashName + " of " + expected.digestSource + ": a weak hash",
                ExitStatus::CheckFailed,
                "collisions of this hash are known; --allow-weak accepts it all the same");
  } else {
    report.Pass("imprint", hashName + " of " + expected.digestSource);
  }

  if (!expected.nonce) {
    report.Skip("nonce", expected.noNonceReason);
  } else if (text_at(raw, "nonce").empty()) {
    report.Fail("nonce", "the token has none, " + expected.nonceSource + " has one", ExitStatus::CheckFailed,
                "the token does not answer this request");
  } else if (raw.value("nonce_cut", false) ||
             MinimalInteger(octets_at(raw, "nonce")) != MinimalInteger(*expected.nonce)) {
    report.Fail("nonce", text_at(facts["info"], "nonce") + " is not that of " + expected.nonceSource,
                ExitStatus::CheckFailed, "the token answers another request");
  } else {
    report.Pass("nonce", "equals " + expected.nonceSource);
  }

  if (!expected.policy) {
    report.Skip("policy", "none was asked for");
  } else if (octets_at(raw, "policy") != *expected.policy) {
    report.Fail("policy", text_at(facts["info"], "policy") + " is not that of " + expected.policySource,
                ExitStatus::CheckFailed, "the authority stamps under another policy than the one asked for");
  } else {
    report.Pass("policy", "equals " + expected.policySource);
  }
}

void JudgeRequest(Report& report, const Json& facts, const Json& request, const std::string& source) {
  const Json& asked = request["raw"];
  const Json& raw = facts["raw"];
  if (octets_at(asked, "hash") == octets_at(raw, "hash") &&
      octets_at(asked, "imprint") == octets_at(raw, "imprint")) {
    report.Pass("request", source + " has the same imprint");
  } else {
    report.Fail("request", source + " has another imprint", ExitStatus::CheckFailed,
                "the token answers another request; name the right one with --request");
  }
}

void JudgeSigner(Report& report, const Json& facts, const Pins& pins, const Options& options) {
  const Json& verification = facts["verification"];
  const auto code = verification.value("code", int32_t{QEX_OK});
  const auto asn1Error = verification.value("asn1_error", int32_t{0});
  const Json key = verification.contains("key") ? verification["key"] : Json::object();
  if (!verification.contains("code")) {
    report.Fail("signature",
                text_at(key, "type") + " key with " + text_at(key, "excess") + ": too large, not checked",
                ExitStatus::CheckFailed,
                "one check of such a key may take hours; ask for tokens under a key of the usual size");
    report.Skip("signer", "not judged, as the signature does not pass");
  } else if (code == QEX_OK) {
    judge_strength(report, facts, key, options);
    judge_pins(report, facts, pins);
  } else if (pins.certificate && verification.value("own", -1) == QEX_OK) {
    // The token is in order, and somebody else's.
    judge_strength(report, facts, facts["signer"]["key"], options);
    report.Fail(
        "signer",
        named_signer(facts) + ", not the one of --tsa-cert, sha256:" + text_at(verification, "given_sha256"),
        ExitStatus::CheckFailed, "another authority signed, or --tsa-cert names another certificate", code,
        asn1Error);
  } else if (code == QEX_E_MISMATCH) {
    judge_strength(report, facts, key, options);
    report.Fail("signer",
                "the certificate of --tsa-cert is not the one that " + attribute_name(facts) + " names",
                ExitStatus::CheckFailed,
                "the same key may have several certificates; name the one it signed with", code, asn1Error);
  } else if (code == QEX_E_DECODE && pins.certificate) {
    judge_strength(report, facts, key, options);
    report.Fail("signer", "the token has no attribute " + attribute_name(facts), ExitOfCode(code),
                "--ess auto takes the attribute that is there", code, asn1Error);
  } else if (code == QEX_E_NOCERT) {
    report.Skip("signature", "no certificate to check it with");
    report.Fail(
        "signer", "the token holds no certificate that its attribute " + attribute_name(facts) + " names",
        ExitStatus::Absent, "name the authority's certificate with --tsa-cert, or stamp without --no-cert",
        code, asn1Error);
  } else {
    fail_signature(report, facts, code, asn1Error, key);
  }
  report.Skip("chain, certificate dates, revocation", "not asked for");
}

std::string TimeLine(const Json& facts) {
  const Json& info = facts["info"];
  std::string line = "time  " + text_at(info, "time");
  if (info.contains("accuracy")) line += " +/- " + text_at(info, "accuracy");
  return line + "   serial " + text_at(info, "serial") + "   policy " + text_at(info, "policy") + "\n";
}

std::string CutNote(const Json& facts) {
  const Json& info = facts["info"];
  if (!info.contains("cut")) return "";
  std::string parts;
  for (const Json& part : info["cut"]) parts += (parts.empty() ? "" : ", ") + part.get<std::string>();
  return "note  cut, as longer than the library's record: " + parts + "\n";
}

const HashAlgorithm& TokenHash(const Json& facts, const std::string& subject) {
  const std::string name = text_at(facts["info"], "hash");
  if (const HashAlgorithm* hash = FindHash(name)) return *hash;
  throw Failure{ExitStatus::Unsupported, subject + ": the imprint's hash " + name + " is not supported",
                "compare a digest of your own with --digest"};
}

}  // namespace qex::tool
