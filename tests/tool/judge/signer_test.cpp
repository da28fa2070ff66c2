// The rules by which two readers agree on a signature and its signer, case by case.
#include <gtest/gtest.h>

#include "tool/judge/judge.h"

namespace qex::tool {
namespace {

constexpr int32_t kBadSignature = -8;
constexpr int32_t kNoCertificate = -14;
constexpr int32_t kMismatch = -16;

SignerCertificate signer_with(SignerKey key) {
  return {{0x30}, Bytes(32, 0xAB), "CN=signer", std::move(key)};
}

SignerKey rsa_key() {
  return {"rsa", "rsa 2048", 2048, {1, 0, 1}, false, ""};
}

TstInfo some_info() {
  TstInfo info;
  info.version = 1;
  info.genTime = "20260918101112Z";
  return info;
}

StrictReading strict_reading(SignatureResult result) {
  StrictReading reading;
  reading.info = some_info();
  reading.essV2 = EssMatch::Names;
  reading.signature = {result, result == SignatureResult::Valid ? "" : "made up", "sha256", "rsa", 256};
  if (result != SignatureResult::NoCertificate) reading.signer = signer_with(rsa_key());
  reading.signerIsPinned = true;
  reading.keyUsage = Judgement{true, "time-stamping alone, critical"};
  reading.validity = Validity{ValidityResult::Valid, "", "", false};
  return reading;
}

LibraryReading library_reading(std::optional<int32_t> code) {
  LibraryReading reading;
  reading.info = some_info();
  reading.hasEssV2 = true;
  reading.signer = signer_with(rsa_key());
  if (code) reading.checks = {LibraryCheck{"v2", *code, 0, "made up", {}, {}}};
  return reading;
}

// The library's verdict, as in the table below.
enum class Says { Good, Bad, NotTried, Unread };

Facts facts_of(std::optional<SignatureResult> strict, Says library) {
  Facts facts;
  if (strict) facts.strict = strict_reading(*strict);
  switch (library) {
    case Says::Good: facts.library = library_reading(0); break;
    case Says::Bad: facts.library = library_reading(kBadSignature); break;
    case Says::NotTried:
      facts.library = library_reading(kBadSignature);
      facts.library->checks[0].stop = Stop{"not tried", "algorithm", true, kBadSignature, 0};
      break;
    case Says::Unread: facts.libraryStop = Stop{"not read", "identifier", false, -6, -44}; break;
  }
  return facts;
}

Trust pinned() {
  Trust trust;
  trust.signers = {{"pin", {0x30}}};
  return trust;
}

Report judged(const Facts& facts, const Options& options = {}, const Trust& trust = pinned()) {
  Report report;
  JudgeSigner(report, facts, trust, {}, options);
  return report;
}

struct Row {
  std::optional<SignatureResult> strict;
  Says library;
  Verdict verdict;
  By by;
  ExitStatus exit;
};

using enum SignatureResult;

TEST(JudgeSigner, BothMustAgreeWhereBothCanCheck) {
  constexpr Row kRows[] = {
      {Valid, Says::Good, Verdict::Pass, By::Both, ExitStatus::Ok},
      {Valid, Says::Bad, Verdict::Fail, By::Library, ExitStatus::CheckFailed},
      {Valid, Says::NotTried, Verdict::Pass, By::Strict, ExitStatus::Ok},
      {Valid, Says::Unread, Verdict::Pass, By::Strict, ExitStatus::Ok},
      {Invalid, Says::Good, Verdict::Fail, By::Strict, ExitStatus::CheckFailed},
      {Invalid, Says::Bad, Verdict::Fail, By::Both, ExitStatus::CheckFailed},
      {Invalid, Says::NotTried, Verdict::Fail, By::Strict, ExitStatus::CheckFailed},
      {Invalid, Says::Unread, Verdict::Fail, By::Strict, ExitStatus::CheckFailed},
      {Unsupported, Says::Good, Verdict::Pass, By::Library, ExitStatus::Ok},
      {Unsupported, Says::Bad, Verdict::Fail, By::Library, ExitStatus::CheckFailed},
      {Unsupported, Says::NotTried, Verdict::Fail, By::None, ExitStatus::Unsupported},
      {Unsupported, Says::Unread, Verdict::Fail, By::None, ExitStatus::Unsupported},
      {std::nullopt, Says::Good, Verdict::Pass, By::Library, ExitStatus::Ok},
      {std::nullopt, Says::Bad, Verdict::Fail, By::Library, ExitStatus::CheckFailed},
      {std::nullopt, Says::NotTried, Verdict::Fail, By::Library, ExitStatus::Unsupported},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::to_string(&row - kRows));
    const Report report = judged(facts_of(row.strict, row.library));
    const Check* check = report.Find("signature");
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(check->verdict, row.verdict) << check->text;
    EXPECT_EQ(check->by, row.by);
    if (check->fault) {
      EXPECT_EQ(check->fault->exit, row.exit);
    }
    const Verdict signer = report.Find("signer")->verdict;
    EXPECT_EQ(signer, row.verdict == Verdict::Pass ? Verdict::Pass : Verdict::Skip);
  }
}

TEST(JudgeSigner, AnUntriedSignatureIsNeverCalledInvalid) {
  for (const Says library : {Says::NotTried, Says::Unread}) {
    EXPECT_EQ(judged(facts_of(Unsupported, library)).Find("signature")->text.find("does not verify"),
              std::string::npos);
  }
}

TEST(JudgeSigner, WhereTheLibraryStoppedIsNoted) {
  EXPECT_EQ(judged(facts_of(Valid, Says::Unread)).Find("library")->verdict, Verdict::Note);
  EXPECT_EQ(judged(facts_of(Valid, Says::NotTried)).Find("library")->verdict, Verdict::Note);
  EXPECT_EQ(judged(facts_of(Valid, Says::Good)).Find("library"), nullptr);
}

TEST(JudgeSigner, OfTwoAttributesBothMustHold) {
  Facts facts = facts_of(Valid, Says::Good);
  facts.library->checks.push_back({"v1", kBadSignature, 0, "", {}, {}});
  EXPECT_EQ(judged(facts).Find("signature")->verdict, Verdict::Fail);
  facts = facts_of(Valid, Says::Good);
  facts.library->checks.push_back({"v1", kMismatch, 0, "", {}, {}});
  EXPECT_EQ(judged(facts).Find("signature")->verdict, Verdict::Pass);
  EXPECT_EQ(judged(facts).Find("signer")->verdict, Verdict::Fail);
  facts = facts_of(Valid, Says::Good);
  facts.strict->essV1 = EssMatch::NamesAnother;
  EXPECT_EQ(judged(facts).Find("signer")->verdict, Verdict::Fail);
}

TEST(JudgeSigner, ASignerIdentifierThatNamesAnotherCertificateNeverPasses) {
  Facts facts = facts_of(NoCertificate, Says::Good);
  EXPECT_EQ(judged(facts).Find("signer")->fault->exit, ExitStatus::CheckFailed);
  facts.library->signer.reset();
  facts.library->checks[0].code = kNoCertificate;
  EXPECT_EQ(judged(facts).Find("signature")->verdict, Verdict::Skip);
  EXPECT_EQ(judged(facts).Find("signer")->fault->exit, ExitStatus::Absent);
}

TEST(JudgeSigner, PinsAddUp) {
  Facts facts = facts_of(Valid, Says::Good);
  Trust trust = pinned();
  trust.fingerprint = Bytes(32, 0xAB);
  EXPECT_EQ(judged(facts, {}, trust).Find("signer")->verdict, Verdict::Pass);
  trust.fingerprint = Bytes(32, 0xCD);
  EXPECT_EQ(judged(facts, {}, trust).Find("signer")->verdict, Verdict::Fail);
  trust.fingerprint = Bytes(32, 0xAB);
  facts.strict->signerIsPinned = false;
  EXPECT_EQ(judged(facts, {}, trust).Find("signer")->verdict, Verdict::Fail);
  EXPECT_EQ(judged(facts, {}, Trust{}).Find("signer")->verdict, Verdict::Skip);
}

TEST(JudgeSigner, ATokenThatOnlyTheLibraryReadsFails) {
  Facts facts = facts_of({}, Says::Good);
  facts.strictStop = Stop{"strange", "", false, 0, 0};
  const Report report = judged(facts);
  EXPECT_EQ(report.Find("strict")->fault->exit, ExitStatus::Input);
  EXPECT_NE(report.Find("strict")->fault->hint.find("--library-only"), std::string::npos);
}

struct Strength {
  const char* type;
  uint64_t bits;
  bool passes;
  bool passesWeak;  // with --allow-weak
};

TEST(JudgeSigner, KeysHaveALeastStrength) {
  constexpr Strength kStrengths[] = {
      {"rsa", 2048, true, true},   {"rsa", 2047, false, true},     {"rsa", 1024, false, true},
      {"rsa", 1023, false, false}, {"dsa", 2048, true, true},      {"dsa", 2047, false, true},
      {"dsa", 1023, false, false}, {"rsa-pss", 2047, false, true}, {"ec", 256, true, true},
      {"ec", 224, true, true},     {"ec", 223, false, true},       {"ec", 160, false, true},
      {"ec", 159, false, false},   {"ed25519", 256, true, true},
  };
  Options weak;
  weak.allowWeak = true;
  for (const Strength& row : kStrengths) {
    SCOPED_TRACE(std::string(row.type) + std::to_string(row.bits));
    Facts facts = facts_of(Valid, Says::Unread);
    facts.strict->signer->key = {row.type, row.type, row.bits, {1, 0, 1}, false, ""};
    EXPECT_EQ(judged(facts).Find("signature")->verdict == Verdict::Pass, row.passes);
    EXPECT_EQ(judged(facts, weak).Find("signature")->verdict == Verdict::Pass, row.passesWeak);
  }
}

TEST(JudgeSigner, ALowExponentNeedsItsOption) {
  Facts facts = facts_of(Valid, Says::Good);
  facts.strict->signer->key.lowExponent = true;
  EXPECT_EQ(judged(facts).Find("signature")->verdict, Verdict::Fail);
  Options options;
  options.allowLowExponent = true;
  EXPECT_EQ(judged(facts, options).Find("signature")->verdict, Verdict::Pass);
  // Of a forgery the strict reader says no, whatever is allowed.
  facts.strict->signature.result = Invalid;
  EXPECT_EQ(judged(facts, options).Find("signature")->verdict, Verdict::Fail);
}

}  // namespace
}  // namespace qex::tool
