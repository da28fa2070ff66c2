// Facts, jobs and failures on their way through the pipe: an absent or misspelt member, or one of another
// type, is refused.
#include "tool/message/facts_json.h"

#include <gtest/gtest.h>

#include <functional>

#include "tool/base/json.h"

namespace qex::tool {
namespace {

SignerCertificate full_certificate() {
  SignerCertificate certificate;
  certificate.der = {0x30, 0x00};
  certificate.sha256 = Bytes(32, 0xAB);
  certificate.subject = "CN=signer";
  certificate.key = {"rsa", "rsa 2048", 2048, {1, 0, 1}, false, ""};
  return certificate;
}

TstInfo full_info() {
  TstInfo info;
  info.version = 1;
  info.policy = {0x2A, 3};
  info.imprint = {{0x60, 0x86}, Bytes(32, 7)};
  info.serial = {0x01, 0x00};
  info.genTime = "20260918101112Z";
  info.accuracy = Accuracy{1, 500, 100};
  info.ordering = true;
  info.nonce = Bytes{0x7F};
  return info;
}

Structure full_structure() {
  Structure structure;
  structure.signers = 1;
  structure.contentType = {0x2A};
  structure.contentTypeAttribute = Bytes{0x2A};
  structure.messageDigestPresent = true;
  structure.repeatedAttributes = {{0x2A, 1}};
  structure.imprintParametersFit = true;
  structure.unknownCritical = {{0x2A, 2}};
  structure.tsaNameFits = true;
  return structure;
}

// Every member has a value, so that every one can be taken away.
Facts full_facts() {
  Facts facts;
  facts.kind = inspect::Kind::Reply;
  facts.trailing = 3;
  facts.request = RequestFacts{Bytes{0x2A}, {{1}, {2}}, Bytes{3}, true, 1};
  facts.requestFailure = Failure{ExitStatus::Input, "m", "h", -2, -27, ""};
  facts.status = Status{0, {"fine"}, std::vector<uint32_t>{0, 25}};
  facts.token = Bytes{0x30, 0x00};
  facts.tokenCode = 0;
  LibraryReading library;
  library.info = full_info();
  library.structure = full_structure();
  library.digestAlgorithm = {1};
  library.signatureAlgorithm = {2};
  library.hasEssV2 = true;
  library.cut = {"nonce"};
  library.signer = full_certificate();
  library.checks = {LibraryCheck{"v2", -8, -1, "no", 0, Stop{"here", "name (1.2)", true, -13, 0}}};
  library.tooLarge = full_certificate().key;
  facts.library = library;
  facts.libraryStop = Stop{"there", "", false, -6, -44};
  StrictReading strict;
  strict.info = full_info();
  strict.structure = full_structure();
  strict.essV1 = EssMatch::Names;
  strict.essV2 = EssMatch::NamesAnother;
  strict.signature = {SignatureResult::Valid, "reason", "sha256", "rsa", 256};
  strict.signer = full_certificate();
  strict.signerIsPinned = true;
  strict.keyUsage = Judgement{true, "time-stamping"};
  strict.validity = Validity{ValidityResult::Valid, "a", "b", true};
  strict.chain = Chain{ChainResult::Trusted, "", "Root", 2};
  strict.revocation = Revocation{RevocationResult::Good, "good", true};
  facts.strict = strict;
  facts.strictStop = Stop{};
  facts.tsaName = "CN=authority";
  facts.certificate = full_certificate();
  facts.tac =
      TacFacts{-15, -1, "none", {1}, {2}, Failure{ExitStatus::Input, "m", "h", -6, -44, "l"}, "{}", -5, -17};
  facts.tacMatch = TacMatch{-16, 0, "other", "v1"};
  facts.rewritten = Bytes{9};
  facts.asn1 = "text";
  facts.description = "{}";
  return facts;
}

// Calls `visit` with a copy of `json` for each member of each object in it, and the pointer to the member.
void for_each_member(const Json& json, const std::function<void(const Json::json_pointer&)>& visit,
                     const Json::json_pointer& at = Json::json_pointer()) {
  const Json& here = json.at(at);
  if (here.is_object()) {
    for (const auto& [name, value] : here.items()) {
      visit(at / name);
      for_each_member(json, visit, at / name);
    }
  } else if (here.is_array()) {
    for (size_t i = 0; i < here.size(); ++i) for_each_member(json, visit, at / i);
  }
}

void erase(Json& json, const Json::json_pointer& member) {
  json.at(member.parent_pointer()).erase(member.back());
}

TEST(FactsJson, EveryPartComesBack) {
  const Json json = ToJson(full_facts());
  EXPECT_EQ(ToJson(FactsFrom(json)), json);
  const Json empty = ToJson(Facts{});
  EXPECT_EQ(ToJson(FactsFrom(empty)), empty);
  EXPECT_FALSE(FactsFrom(empty).library.has_value());
}

TEST(FactsJson, EveryPartComesBackThroughCbor) {
  const Json json = ToJson(full_facts());
  EXPECT_EQ(ToJson(FactsFrom(Json::from_cbor(Json::to_cbor(json)))), json);
}

TEST(FactsJson, AnAbsentMemberIsRefused) {
  const Json json = ToJson(full_facts());
  size_t count = 0;
  for_each_member(json, [&](const Json::json_pointer& member) {
    Json less = json;
    erase(less, member);
    EXPECT_THROW(FactsFrom(less), std::exception) << member.to_string();
    ++count;
  });
  EXPECT_GT(count, 120u);
}

TEST(FactsJson, AMisspeltMemberIsRefused) {
  const Json json = ToJson(full_facts());
  for_each_member(json, [&](const Json::json_pointer& member) {
    Json other = json;
    const Json value = other.at(member);
    erase(other, member);
    other[member.parent_pointer() / (member.back() + "x")] = value;
    EXPECT_THROW(FactsFrom(other), std::exception) << member.to_string();
  });
}

TEST(FactsJson, AnUnknownMemberIsRefused) {
  const Json json = ToJson(full_facts());
  for_each_member(json, [&](const Json::json_pointer& member) {
    if (!json.at(member).is_object()) return;
    Json more = json;
    more[member / "unknown"] = 1;
    EXPECT_THROW(FactsFrom(more), std::exception) << member.to_string();
  });
}

TEST(FactsJson, AValueOfAnotherTypeIsRefused) {
  const Json json = ToJson(full_facts());
  for_each_member(json, [&](const Json::json_pointer& member) {
    for (const Json& value : {Json(1.5), Json::array({Json::object()}), Json::object({{"a", 1}})}) {
      Json other = json;
      other[member] = value;
      EXPECT_THROW(FactsFrom(other), std::exception) << member.to_string() << " " << value.dump();
    }
  });
}

TEST(FactsJson, ANumberThatDoesNotFitIsRefused) {
  const Json json = ToJson(full_facts());
  const auto refused = [&](const char* member, const Json& value) {
    Json other = json;
    other[Json::json_pointer(member)] = value;
    EXPECT_THROW(FactsFrom(other), std::exception) << member;
  };
  refused("/token_code", int64_t{1} << 31);
  refused("/trailing", -1);
  refused("/kind", 6);
  refused("/kind", -1);
  refused("/strict/signature/result", 5);
  refused("/strict/chain/result", 8);
  refused("/status/failures/0", int64_t{1} << 32);
}

TEST(FactsJson, JobsAndFailuresComeBack) {
  Job job;
  job.name = "a";
  job.message = {1, 2};
  job.verify = job.takeTac = job.allowWeak = true;
  job.tac = {3};
  job.request = {4};
  job.rewriting = Rewriting::IdData;
  job.ess = "v1";
  EXPECT_EQ(ToJson(JobFrom(ToJson(job))), ToJson(job));
  const Json failure = ToJson(Failure{ExitStatus::Internal, "m", "h", -2, -27, "l"});
  EXPECT_EQ(ToJson(FailureFrom(failure)), failure);
  for (const Json& json : {ToJson(job), failure}) {
    for_each_member(json, [&](const Json::json_pointer& member) {
      Json less = json;
      erase(less, member);
      EXPECT_THROW(json == failure ? void(FailureFrom(less)) : void(JobFrom(less)), std::exception)
          << member.to_string();
    });
  }
}

}  // namespace
}  // namespace qex::tool
