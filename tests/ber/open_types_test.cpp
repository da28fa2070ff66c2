// Open types: registration, collisions of hashes, depth, and values of unknown type.
#include "ber/open_types.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <vector>

#include "ber/memory.h"
#include "tests/support/codec_errors.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/octets.h"
#include "tests/support/small_stack.h"

namespace qex::test {
namespace {

// A registered type: OCTET STRING.
AsnLen encode_octs(ExpBuf** b, const void* v) {
  return BEncAsnOcts(b, static_cast<const AsnOcts*>(v));
}
void decode_octs(ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) {
  BDecAsnOcts(b, static_cast<AsnOcts*>(v), bytes, env);
}
void free_octs(void* v) {
  FreeAsnOcts(static_cast<AsnOcts*>(v));
}
void print_octs(FILE* f, const void* v, unsigned indent) {
  std::fprintf(f, "%u:", indent);
  PrintAsnOcts(f, static_cast<const AsnOcts*>(v), indent);
}

bool install(const Octets& oid, int32_t anyId) {
  return InstallAnyByOid(anyId, OidOf(oid), sizeof(AsnOcts), encode_octs, decode_octs, free_octs, print_octs);
}

bool install(int32_t intId, int32_t anyId) {
  return InstallAnyByInt(anyId, intId, sizeof(AsnOcts), encode_octs, decode_octs, free_octs, print_octs);
}

// found returns the anyId registered under `oid` or `intId`, 0 when there is none.
int32_t found(const Octets& oid) {
  AsnAny any = {reinterpret_cast<const AnyInfo*>(&any), nullptr};
  SetAnyTypeByOid(&any, OidOf(oid));
  return any.ai == nullptr ? 0 : any.ai->anyId;
}
int32_t found(int32_t intId) {
  AsnAny any = {reinterpret_cast<const AnyInfo*>(&any), nullptr};
  SetAnyTypeByInt(&any, intId);
  return any.ai == nullptr ? 0 : any.ai->anyId;
}

// The tables start empty and are released after each test.
class OpenTypes : public testing::Test {
 protected:
  void SetUp() override {
    FreeAnyTables();
    before_ = LiveBlocks();
  }
  void TearDown() override {
    FreeAnyTables();
    EXPECT_EQ(LiveBlocks(), before_);
  }

 private:
  long before_ = 0;
};

const Octets kId = FromHex("2a 03 04");

// Hashes computed by h = (h * 65587 + signed octet) mod 2^32 in Python. Pairs of keys whose
// hashes agree in the low 8, 16 and 24 bits and in all 32.
struct Pair {
  const char* one;
  const char* other;
  uint32_t hashOfOne;
  uint32_t hashOfOther;
};
constexpr Pair kLow8 = {"280080", "28014d", 0x0FF195E8, 0x0FF296E8};
constexpr Pair kLow16 = {"280033", "280100", 0x0FF1969B, 0x0FF2969B};
constexpr Pair kLow24 = {"287e33", "2d8000", 0x106FAFB5, 0x116FAFB5};
constexpr Pair kAll32 = {"e97ce8d3", "142d655a", 0x7419590A, 0x7419590A};

TEST_F(OpenTypes, HashOfAKeyTakesItsOctetsAsSigned) {
  const auto hash = [](const char* hex) {
    const Octets octets = FromHex(hex);
    return AnyKeyHash(octets.data(), octets.size());
  };
  EXPECT_EQ(AnyKeyHash(nullptr, 0), 0u);
  EXPECT_EQ(hash("80"), 0xFFFFFF80u);
  EXPECT_EQ(hash("2a8648"), 0x104392B4u);
  EXPECT_EQ(hash("2a864886f70d010702"), 0xC04F428Cu);
  for (const Pair& pair : {kLow8, kLow16, kLow24, kAll32}) {
    EXPECT_EQ(hash(pair.one), pair.hashOfOne);
    EXPECT_EQ(hash(pair.other), pair.hashOfOther);
  }
}

TEST_F(OpenTypes, NothingIsFoundInATableThatWasNeverMade) {
  EXPECT_EQ(found(kId), 0);
  EXPECT_EQ(found(5), 0);
}

TEST_F(OpenTypes, ARegisteredTypeIsFoundByItsKeyOnly) {
  ASSERT_TRUE(install(kId, 7));
  ASSERT_TRUE(install(5, 8));
  EXPECT_EQ(found(kId), 7);
  EXPECT_EQ(found(FromHex("2a0305")), 0);
  EXPECT_EQ(found(5), 8);
  EXPECT_EQ(found(6), 0);
  EXPECT_EQ(found(-5), 0);
}

TEST_F(OpenTypes, TheDescriptorHoldsTheRegistration) {
  ASSERT_TRUE(install(kId, 7));
  ASSERT_TRUE(install(-9, 8));
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  ASSERT_NE(any.ai, nullptr);
  EXPECT_EQ(any.ai->oid.octs, kId.data());  // shared, not copied
  EXPECT_EQ(any.ai->oid.count, kId.size());
  EXPECT_EQ(any.ai->size, sizeof(AsnOcts));
  EXPECT_EQ(any.ai->Encode, encode_octs);
  EXPECT_EQ(any.ai->Decode, decode_octs);
  EXPECT_EQ(any.ai->Free, free_octs);
  EXPECT_EQ(any.ai->Print, print_octs);
  SetAnyTypeByInt(&any, -9);
  ASSERT_NE(any.ai, nullptr);
  EXPECT_EQ(any.ai->intId, -9);
  EXPECT_EQ(any.ai->anyId, 8);
}

TEST_F(OpenTypes, KeysWithCollidingHashesAreSeparatedInFurtherTables) {
  for (const Pair& pair : {kLow8, kLow16, kLow24}) {
    const Octets one = FromHex(pair.one);
    const Octets other = FromHex(pair.other);
    ASSERT_TRUE(install(one, 1));
    EXPECT_EQ(found(other), 0) << pair.other;
    ASSERT_TRUE(install(other, 2));
    EXPECT_EQ(found(one), 1) << pair.one;
    EXPECT_EQ(found(other), 2) << pair.other;
    // Both are known now, in tables that have been split.
    ASSERT_TRUE(install(one, 3));
    ASSERT_TRUE(install(other, 4));
    EXPECT_EQ(found(one), 1);
    EXPECT_EQ(found(other), 2);
    FreeAnyTables();
  }
}

TEST_F(OpenTypes, AThirdKeyDescendsIntoATableThatIsThere) {
  // 280180 differs from both in its hash, and meets them in the low 8 bits by chance or not.
  std::vector<Octets> keys;
  for (int c = 0; c < 256; ++c) {
    const Octets key = {0x28, 0x01, uint8_t(c)};
    if (AnyKeyHash(key.data(), key.size()) % 256 == 0xE8) keys.push_back(key);
  }
  keys.push_back(FromHex(kLow8.one));
  keys.push_back(FromHex("2802 1a"));  // 0x33 less for each step of the second octet
  ASSERT_EQ(AnyKeyHash(keys.back().data(), 3) % 256, 0xE8u);
  for (size_t i = 0; i < keys.size(); ++i) ASSERT_TRUE(install(keys[i], int32_t(i + 1)));
  for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(found(keys[i]), int32_t(i + 1));
  EXPECT_EQ(found(FromHex("2803 e7")), 0);  // the same slot, an empty one below
}

TEST_F(OpenTypes, TwoKeysOfOneHashAreOneKeyAndTheFirstRegistrationWins) {
  const Octets one = FromHex(kAll32.one);
  const Octets other = FromHex(kAll32.other);
  ASSERT_TRUE(install(one, 1));
  EXPECT_EQ(found(other), 1);
  EXPECT_TRUE(install(other, 2));
  EXPECT_EQ(found(one), 1);
  EXPECT_EQ(found(other), 1);
}

TEST_F(OpenTypes, AnIntegerKeyIsItsOctetsInMemoryOrder) {
  int32_t one = 0;
  int32_t other = 0;
  std::memcpy(&one, FromHex(kAll32.one).data(), 4);
  std::memcpy(&other, FromHex(kAll32.other).data(), 4);
  ASSERT_TRUE(install(one, 1));
  EXPECT_EQ(found(other), 1);
}

TEST_F(OpenTypes, TheTwoTablesAreApart) {
  const Octets one = FromHex(kAll32.one);
  int32_t sameOctets = 0;
  std::memcpy(&sameOctets, one.data(), 4);
  ASSERT_TRUE(install(one, 1));
  EXPECT_EQ(found(sameOctets), 0);
}

TEST_F(OpenTypes, ThousandsOfKeysAreAllFound) {
  std::vector<Octets> keys;
  std::set<uint32_t> hashes;
  for (int i = 0; i < 20000; ++i) {
    Octets key = {0x2A, uint8_t(i), uint8_t(i >> 8), uint8_t(i * 7)};
    if (hashes.insert(AnyKeyHash(key.data(), key.size())).second) keys.push_back(key);
  }
  ASSERT_GT(keys.size(), 19000u);
  for (size_t i = 0; i < keys.size(); ++i) ASSERT_TRUE(install(keys[i], int32_t(i + 1)));
  for (size_t i = 0; i < keys.size(); ++i) ASSERT_EQ(found(keys[i]), int32_t(i + 1));
}

TEST_F(OpenTypes, FailedRegistrationKeepsEarlierEntriesAndLeaksNothing) {
  const Octets one = FromHex(kLow24.one);
  const Octets other = FromHex(kLow24.other);
  // Three more tables with an entry each for the tables between, two at the bottom, a descriptor.
  size_t failures = 0;
  for (size_t allowed = 0;; ++allowed) {
    FreeAnyTables();
    ASSERT_TRUE(install(one, 1));
    bool installed = false;
    {
      const FailingAlloc failing(allowed);
      installed = install(other, 2);
    }
    EXPECT_EQ(found(one), 1);
    EXPECT_EQ(found(other), installed ? 2 : 0);
    if (installed) break;
    ++failures;
    EXPECT_TRUE(install(other, 3));  // the next attempt
    EXPECT_EQ(found(one), 1);
    EXPECT_EQ(found(other), 3);
  }
  EXPECT_EQ(failures, 1u + 3 + 2 + 2);
}

TEST_F(OpenTypes, TheFirstRegistrationWithoutMemoryFails) {
  for (size_t allowed = 0; allowed < 3; ++allowed) {
    const FailingAlloc failing(allowed);
    EXPECT_FALSE(install(kId, 1));
    EXPECT_EQ(found(kId), 0);
    FreeAnyTables();
  }
  for (size_t allowed = 0; allowed < 3; ++allowed) {
    const FailingAlloc failing(allowed);
    EXPECT_FALSE(install(1, 1));
    FreeAnyTables();
  }
}

TEST_F(OpenTypes, TablesCanBeBuiltAgainAfterTheirRelease) {
  ASSERT_TRUE(install(kId, 1));
  FreeAnyTables();
  FreeAnyTables();
  EXPECT_EQ(found(kId), 0);
  ASSERT_TRUE(install(kId, 2));
  EXPECT_EQ(found(kId), 2);
}

TEST_F(OpenTypes, ARegisteredValueDecodesPrintsAndIsWrittenBack) {
  ASSERT_TRUE(install(kId, 1));
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  Input in("04 02 68 69");
  AsnLen bytes = 1;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) {
              BDecAny(in.handle(), &any, &bytes, env);
              EXPECT_EQ(env.openTypeDepth, 0u);
            }),
            kDecoded);
  EXPECT_EQ(bytes, 5u);
  ASSERT_NE(any.value, nullptr);
  AsnLen written = 0;
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAny(b, &any); }, &written)), "04026869");
  EXPECT_EQ(written, 4u);
  EXPECT_EQ(Printed([&](FILE* f) { PrintAny(f, &any, 12); }), "12:'6869'H  -- \"hi\" --");
  FreeAny(&any);
  EXPECT_EQ(any.value, nullptr);
  FreeAny(&any);
}

const Outcome kNoDecode = {kUnknownType, kNoDecoder};

TEST_F(OpenTypes, AnUnregisteredIdentifierLeavesTheTypeNullAndDecodingItRaisesMinus44) {
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  EXPECT_EQ(any.ai, nullptr);
  Input in("04 00");
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(in.handle(), &any, &bytes, env); }), kNoDecode);
  EXPECT_EQ(any.value, nullptr);
}

TEST_F(OpenTypes, ATypeRegisteredWithoutRoutines) {
  ASSERT_TRUE(InstallAnyByOid(1, OidOf(kId), 4, nullptr, nullptr, nullptr, nullptr));
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  ASSERT_NE(any.ai, nullptr);
  Input in("04 00");
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(in.handle(), &any, &bytes, env); }), kNoDecode);
  any.value = AsnAlloc(4);
  EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAny(b, &any); })), "");
  EXPECT_EQ(Printed([&](FILE* f) { PrintAny(f, &any, 0); }), " -- ERROR: malformed ANY value --");
  FreeAny(&any);  // the value is released all the same
}

TEST_F(OpenTypes, AnAbsentValueIsNotWrittenAndShowsAsMalformed) {
  ASSERT_TRUE(install(kId, 1));
  AsnAny any{};
  for (int known = 0; known < 2; ++known) {
    if (known == 1) SetAnyTypeByOid(&any, OidOf(kId));
    AsnLen written = 9;
    EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return BEncAny(b, &any); }, &written)), "");
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(Printed([&](FILE* f) { PrintAny(f, &any, 0); }), " -- ERROR: malformed ANY value --");
    FreeAny(&any);
  }
}

TEST_F(OpenTypes, AValueThatCannotBeAllocatedRaisesMinus27WithoutAText) {
  ASSERT_TRUE(install(kId, 1));
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  Input in("04 00");
  AsnLen bytes = 0;
  const FailingAlloc failing(0);
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(in.handle(), &any, &bytes, env); }), (Outcome{-27, ""}));
}

TEST_F(OpenTypes, AValueWhoseDecodingFailedBelongsToTheAny) {
  ASSERT_TRUE(install(kId, 1));
  AsnAny any{};
  SetAnyTypeByOid(&any, OidOf(kId));
  Input in("05 00");
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAny(in.handle(), &any, &bytes, env); }).code, -40);
  EXPECT_NE(any.value, nullptr);
  FreeAny(&any);
}

// A type that holds an open type of its own kind: SEQUENCE { inner ANY OPTIONAL }.
struct Box {
  AsnAny inner;
};
void decode_box(ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) {
  auto* box = static_cast<Box*>(v);
  BDecTag(b, bytes, env);
  if (BDecLen(b, bytes, env) == 0) return;
  SetAnyTypeByInt(&box->inner, 64);
  BDecAny(b, &box->inner, bytes, env);
}
void free_box(void* v) {
  FreeAny(&static_cast<Box*>(v)->inner);
}

// Every length says only that something follows; the value nested `depth` times begins here.
Octets nested(size_t depth) {
  Octets octets;
  for (size_t i = 1; i < depth; ++i) octets.insert(octets.end(), {0x30, 0x7F});
  octets.insert(octets.end(), {0x30, 0x00});
  return octets;
}

Outcome decode_nested(size_t depth) {
  AsnAny any{};
  SetAnyTypeByInt(&any, 64);
  Input in(nested(depth));
  AsnLen bytes = 0;
  const Outcome outcome = OutcomeOf([&](AsnJmpEnv& env) { BDecAny(in.handle(), &any, &bytes, env); });
  FreeAny(&any);
  return outcome;
}

TEST_F(OpenTypes, SixtyFourDeepDecodeAndOneMoreIsRefused) {
  ASSERT_TRUE(InstallAnyByInt(1, 64, sizeof(Box), nullptr, decode_box, free_box, nullptr));
  const Outcome tooDeep = {-29, "ERROR - open types nested too deep\n"};
  OnSmallStack([&] {
    EXPECT_EQ(decode_nested(1), kDecoded);
    EXPECT_EQ(decode_nested(64), kDecoded);
    EXPECT_EQ(decode_nested(65), tooDeep);
    EXPECT_EQ(decode_nested(1000000), tooDeep);
  });
}

TEST_F(OpenTypes, DepthIsCountedNotNumber) {
  ASSERT_TRUE(InstallAnyByInt(1, 64, sizeof(Box), nullptr, decode_box, free_box, nullptr));
  EXPECT_EQ(OutcomeOf([](AsnJmpEnv& env) {
              for (int i = 0; i < 100; ++i) {
                AsnAny any{};
                SetAnyTypeByInt(&any, 64);
                Input in(nested(40));
                AsnLen bytes = 0;
                BDecAny(in.handle(), &any, &bytes, env);
                FreeAny(&any);
              }
            }),
            kDecoded);
}

}  // namespace
}  // namespace qex::test
