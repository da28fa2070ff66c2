// The contents of a token: request, imprint, nonce, policy, structure and time.
#include <algorithm>

#include "tool/base/escape.h"
#include "tool/base/hash.h"
#include "tool/judge/fields.h"
#include "tool/judge/judge.h"
#include "tool/message/gen_time.h"
#include "tool/message/oid_text.h"

namespace qex::tool {
namespace {

using inspect::DecodeOid;
using inspect::NamedOid;

constexpr const char* kTstInfo = "1.2.840.113549.1.9.16.1.4";

// The parts of a request that differ from the token's. Its nonce and policy have checks of their own, unless
// options replace them there.
const char* what_differs(const RequestFacts& request, const TstInfo& info, const Expected& expected) {
  if (request.imprint != info.imprint) return "imprint";
  const bool nonceChecked = expected.nonceSource == expected.requestSource;
  if (request.nonce && !nonceChecked && request.nonce != info.nonce) return "nonce";
  const bool policyChecked = expected.policySource == expected.requestSource;
  if (request.policy && !policyChecked && request.policy != info.policy) return "policy";
  return "";
}

void judge_request(Report& report, const Facts& facts, const Expected& expected) {
  if (!expected.request) return;
  const std::string differs = what_differs(*expected.request, InfoOf(facts), expected);
  if (differs.empty()) {
    report.Pass("request", expected.requestSource + " has the same imprint");
  } else {
    report.Fail("request",
                {expected.requestSource + " has another " + differs, SubIndication::SigConstraintsFailure,
                 "the token answers another request; name the right one with --request"});
  }
}

// The fault of an imprint by itself; empty when there is none.
[[nodiscard]] std::optional<Fault> fault_of_imprint(const Imprint& imprint, const std::string& source,
                                                    const Options& options) {
  const HashAlgorithm* hash = FindHash(imprint.algorithm);
  if (hash == nullptr) return std::nullopt;
  if (imprint.digest.size() != hash->length) {
    return Fault{std::string("a ") + hash->name + " of " + std::to_string(imprint.digest.size()) +
                     " octets, not of " + std::to_string(hash->length),
                 SubIndication::HashFailure, "no " + std::string(hash->name) + " has that length"};
  }
  if (hash->strength == Strength::Weak && !options.allowWeak) {
    return Fault{std::string(hash->name) + " of " + source + ": a weak hash",
                 SubIndication::CryptoConstraintsFailure,
                 "collisions of this hash are known; --allow-weak accepts it all the same"};
  }
  return std::nullopt;
}

void judge_imprint(Report& report, const Facts& facts, const Expected& expected, const Options& options) {
  const Imprint& imprint = InfoOf(facts).imprint;
  const std::string name = HashName(imprint.algorithm);
  if (!expected.imprint) {
    auto fault = fault_of_imprint(imprint, "what was stamped", options);
    fault ? report.Fail("imprint", std::move(*fault), WhoRead(facts))
          : report.Skip("imprint", expected.noImprintReason);
    return;
  }
  if (imprint.digest.size() == expected.imprint->digest.size() &&
      imprint.algorithm != expected.imprint->algorithm) {
    report.Fail(
        "imprint",
        {name + ", not the " + HashName(expected.imprint->algorithm) + " of " + expected.imprintSource,
         SubIndication::HashFailure, "the token names another algorithm than the one that was asked for"},
        WhoRead(facts));
  } else if (!(imprint == *expected.imprint)) {
    report.Fail("imprint",
                {"not the " + name + " of " + expected.imprintSource, SubIndication::HashFailure,
                 "the file was changed, or the token belongs to another file"},
                WhoRead(facts));
  } else if (auto fault = fault_of_imprint(imprint, expected.imprintSource, options)) {
    report.Fail("imprint", std::move(*fault), WhoRead(facts));
  } else {
    report.Pass("imprint", name + " of " + expected.imprintSource, WhoRead(facts));
  }
}

void judge_nonce(Report& report, const Facts& facts, const Expected& expected) {
  const std::optional<Bytes>& nonce = InfoOf(facts).nonce;
  if (!expected.nonce) {
    report.Skip("nonce", expected.noNonceReason);
  } else if (!nonce) {
    report.Fail("nonce", {"the token has none, " + expected.nonceSource + " has one",
                          SubIndication::SigConstraintsFailure, "the token does not answer this request"});
  } else if (*nonce != MinimalInteger(*expected.nonce)) {
    report.Fail("nonce",
                {IntegerText(*nonce) + " is not that of " + expected.nonceSource,
                 SubIndication::SigConstraintsFailure, "the token answers another request"},
                WhoRead(facts));
  } else {
    report.Pass("nonce", "equals " + expected.nonceSource, WhoRead(facts));
  }
}

void judge_policy(Report& report, const Facts& facts, const Expected& expected) {
  const Bytes& policy = InfoOf(facts).policy;
  if (!expected.policy) {
    report.Skip("policy", "none was asked for");
  } else if (policy != *expected.policy) {
    report.Fail(
        "policy",
        {DecodeOid(policy) + " is not that of " + expected.policySource, SubIndication::SigConstraintsFailure,
         "the authority stamps under another policy than the one asked for"},
        WhoRead(facts));
  } else {
    report.Pass("policy", "equals " + expected.policySource, WhoRead(facts));
  }
}

std::string names_of(const std::vector<Bytes>& identifiers) {
  std::string text;
  for (const Bytes& identifier : identifiers) {
    text += (text.empty() ? "" : ", ") + NamedOid(DecodeOid(identifier));
  }
  return text;
}

// RFC 3161, 2.4.2: thousandths up to 999 of the next larger unit. It excludes zero, which some authorities
// write for absent.
[[nodiscard]] bool is_in_range(const Accuracy& accuracy) {
  const auto below = [](const std::optional<int64_t>& part, int64_t end) {
    return !part || (*part >= 0 && *part < end);
  };
  return below(accuracy.seconds, INT64_MAX) && below(accuracy.millis, 1000) && below(accuracy.micros, 1000);
}

// The first fault of a structure; empty when there is none.
std::string fault_of_structure(const Structure& structure, const TstInfo& info) {
  if (info.version != 1) return "version " + std::to_string(info.version) + " of the TSTInfo, not 1";
  if (structure.signers != 1) return std::to_string(structure.signers) + " signers, not one";
  if (DecodeOid(structure.contentType) != kTstInfo) {
    return "the content is of type " + NamedOid(DecodeOid(structure.contentType)) + ", no TSTInfo";
  }
  if (!structure.repeatedAttributes.empty()) {
    return "not one value of the signed attribute " + names_of(structure.repeatedAttributes);
  }
  if (!structure.contentTypeAttribute) return "no content-type among the signed attributes";
  if (*structure.contentTypeAttribute != structure.contentType) {
    return "the signed content-type is " + NamedOid(DecodeOid(*structure.contentTypeAttribute));
  }
  if (!structure.messageDigestPresent) return "no message-digest among the signed attributes";
  if (!structure.imprintParametersFit) return "the imprint's algorithm has parameters that no hash has";
  if (!structure.unknownCritical.empty()) return "critical extension " + names_of(structure.unknownCritical);
  if (info.accuracy && !is_in_range(*info.accuracy)) return "an accuracy out of range";
  if (structure.tsaNameFits == false) return "the tsa name is not one of the signer's";
  return "";
}

std::string disagreement(const Facts& facts) {
  if (!facts.library || !facts.strict || facts.library->info == facts.strict->info) return "";
  return "the two readers read different contents";
}

void judge_structure(Report& report, const Facts& facts) {
  std::string fault = disagreement(facts);
  if (fault.empty() && facts.strict) fault = fault_of_structure(facts.strict->structure, facts.strict->info);
  if (fault.empty() && facts.library) {
    fault = fault_of_structure(facts.library->structure, facts.library->info);
  }
  if (fault.empty() && facts.trailing != 0) {
    fault =
        std::to_string(facts.trailing) + (facts.trailing == 1 ? " octet" : " octets") + " after the message";
  }
  if (fault.empty()) {
    report.Pass("structure", "one signer, content type, version 1", WhoRead(facts));
  } else {
    report.Fail(
        "structure",
        {fault, SubIndication::FormatFailure, "no such token should be issued; look inside with 'qex show'"},
        WhoRead(facts));
  }
}

void judge_time(Report& report, const Facts& facts) {
  const TstInfo& info = InfoOf(facts);
  const auto time = ParseGenTime(info.genTime);
  if (!time) {
    report.Fail("time",
                {"genTime " + Quoted(info.genTime) + " is no time in the form of RFC 3161",
                 SubIndication::FormatFailure, "a token without a time proves nothing; ask for another one"},
                WhoRead(facts));
    return;
  }
  const std::string accuracy = AccuracyText(info);
  report.Pass("time", time->iso + (accuracy.empty() ? "" : " +/- " + accuracy), WhoRead(facts));
}

}  // namespace

By WhoRead(const Facts& facts) {
  if (facts.library && facts.strict) return By::Both;
  return facts.strict ? By::Strict : By::Library;
}

void JudgeContents(Report& report, const Facts& facts, const Expected& expected, const Options& options) {
  judge_request(report, facts, expected);
  judge_imprint(report, facts, expected, options);
  judge_nonce(report, facts, expected);
  judge_policy(report, facts, expected);
  judge_structure(report, facts);
  judge_time(report, facts);
}

}  // namespace qex::tool
