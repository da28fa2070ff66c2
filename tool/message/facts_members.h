// The names of the members of facts and jobs, each type once: facts_json.cpp writes and reads by them.
#pragma once

#include "tool/message/facts_json.h"

namespace qex::tool {

// Members, each type once. `visit(name, member)` is called in order.
template <class V>
void members(V& visit, Imprint& v) {
  visit("algorithm", v.algorithm);
  visit("digest", v.digest);
}

template <class V>
void members(V& visit, Accuracy& v) {
  visit("seconds", v.seconds);
  visit("millis", v.millis);
  visit("micros", v.micros);
}

template <class V>
void members(V& visit, TstInfo& v) {
  visit("version", v.version);
  visit("policy", v.policy);
  visit("imprint", v.imprint);
  visit("serial", v.serial);
  visit("gen_time", v.genTime);
  visit("accuracy", v.accuracy);
  visit("ordering", v.ordering);
  visit("nonce", v.nonce);
}

template <class V>
void members(V& visit, Structure& v) {
  visit("signers", v.signers);
  visit("content_type", v.contentType);
  visit("content_type_attribute", v.contentTypeAttribute);
  visit("message_digest_present", v.messageDigestPresent);
  visit("repeated_attributes", v.repeatedAttributes);
  visit("imprint_parameters_fit", v.imprintParametersFit);
  visit("unknown_critical", v.unknownCritical);
  visit("tsa_name_fits", v.tsaNameFits);
}

template <class V>
void members(V& visit, SignerKey& v) {
  visit("type", v.type);
  visit("name", v.name);
  visit("bits", v.bits);
  visit("exponent", v.exponent);
  visit("low_exponent", v.lowExponent);
  visit("excess", v.excess);
}

template <class V>
void members(V& visit, SignerCertificate& v) {
  visit("der", v.der);
  visit("sha256", v.sha256);
  visit("subject", v.subject);
  visit("key", v.key);
}

template <class V>
void members(V& visit, LibraryCheck& v) {
  visit("ess", v.ess);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("own_code", v.ownCode);
  visit("stop", v.stop);
}

template <class V>
void members(V& visit, LibraryReading& v) {
  visit("info", v.info);
  visit("structure", v.structure);
  visit("digest_algorithm", v.digestAlgorithm);
  visit("signature_algorithm", v.signatureAlgorithm);
  visit("has_ess_v1", v.hasEssV1);
  visit("has_ess_v2", v.hasEssV2);
  visit("ess_hash", v.essHash);
  visit("cut", v.cut);
  visit("signer", v.signer);
  visit("checks", v.checks);
  visit("too_large", v.tooLarge);
}

template <class V>
void members(V& visit, Stop& v) {
  visit("text", v.text);
  visit("identifier", v.identifier);
  visit("algorithm", v.algorithm);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
}

template <class V>
void members(V& visit, StrictSignature& v) {
  visit("result", v.result);
  visit("reason", v.reason);
  visit("digest", v.digest);
  visit("scheme", v.scheme);
  visit("digest_bits", v.digestBits);
}

template <class V>
void members(V& visit, Judgement& v) {
  visit("good", v.good);
  visit("text", v.text);
}

template <class V>
void members(V& visit, Validity& v) {
  visit("result", v.result);
  visit("not_before", v.notBefore);
  visit("not_after", v.notAfter);
  visit("expired_now", v.expiredNow);
  visit("stamped_before", v.stampedBefore);
  visit("key_period_ended", v.keyPeriodEnded);
}

template <class V>
void members(V& visit, Chain& v) {
  visit("result", v.result);
  visit("text", v.text);
  visit("anchor", v.anchor);
  visit("length", v.length);
}

template <class V>
void members(V& visit, Revocation& v) {
  visit("result", v.result);
  visit("text", v.text);
  visit("of_ca", v.ofCa);
}

template <class V>
void members(V& visit, StrictReading& v) {
  visit("info", v.info);
  visit("structure", v.structure);
  visit("ess_v1", v.essV1);
  visit("ess_v2", v.essV2);
  visit("signature", v.signature);
  visit("signer", v.signer);
  visit("signer_is_pinned", v.signerIsPinned);
  visit("key_usage", v.keyUsage);
  visit("validity", v.validity);
  visit("chain", v.chain);
  visit("revocation", v.revocation);
}

template <class V>
void members(V& visit, Status& v) {
  visit("value", v.value);
  visit("texts", v.texts);
  visit("failures", v.failures);
}

template <class V>
void members(V& visit, RequestFacts& v) {
  visit("policy", v.policy);
  visit("imprint", v.imprint);
  visit("nonce", v.nonce);
  visit("certificate_wanted", v.certificateWanted);
  visit("extensions", v.extensions);
}

template <class V>
void members(V& visit, Failure& v) {
  visit("exit", v.exit);
  visit("message", v.message);
  visit("hint", v.hint);
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("library_messages", v.libraryMessages);
}

template <class V>
void members(V& visit, TacFacts& v) {
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("der", v.der);
  visit("sha256", v.sha256);
  visit("failure", v.failure);
  visit("info", v.info);
  visit("metrics_code", v.metricsCode);
  visit("policy_code", v.policyCode);
}

template <class V>
void members(V& visit, TacMatch& v) {
  visit("code", v.code);
  visit("asn1_error", v.asn1Error);
  visit("meaning", v.meaning);
  visit("ess", v.ess);
}

template <class V>
void members(V& visit, Facts& v) {
  visit("kind", v.kind);
  visit("trailing", v.trailing);
  visit("request", v.request);
  visit("request_failure", v.requestFailure);
  visit("status", v.status);
  visit("token", v.token);
  visit("token_code", v.tokenCode);
  visit("library", v.library);
  visit("library_stop", v.libraryStop);
  visit("strict", v.strict);
  visit("strict_stop", v.strictStop);
  visit("tsa_name", v.tsaName);
  visit("certificate", v.certificate);
  visit("tac", v.tac);
  visit("tac_match", v.tacMatch);
  visit("rewritten", v.rewritten);
  visit("asn1", v.asn1);
  visit("description", v.description);
}

template <class V>
void members(V& visit, Job& v) {
  visit("name", v.name);
  visit("message", v.message);
  visit("verify", v.verify);
  visit("describe", v.describe);
  visit("asn1", v.asn1);
  visit("take_tac", v.takeTac);
  visit("tac", v.tac);
  visit("request", v.request);
  visit("rewriting", v.rewriting);
  visit("ess", v.ess);
  visit("library_only", v.libraryOnly);
  visit("allow_weak", v.allowWeak);
}

}  // namespace qex::tool
