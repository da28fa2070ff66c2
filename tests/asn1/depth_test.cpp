// Nested open types: the depth limit, and the stack that they need.
#include <functional>

#include "asn1/cms.h"
#include "tests/support/codec.h"
#include "tests/support/small_stack.h"

namespace qex::test {
namespace {

using namespace der;

constexpr const char* kSignedDataId = "1.2.840.113549.1.7.2";
constexpr const char* kDataId = "1.2.840.113549.1.7.1";

using Surround = std::function<Octets(const Octets& identifier, const Octets& value)>;

Octets sha256() {
  return algorithm("2.16.840.1.101.3.4.2.1");
}

Octets signed_data(const Octets& certificates) {
  return sequence(integer(1), set(), sequence(oid(kDataId)), context(0, certificates), set());
}
Octets name_of(const Octets& identifier, const Octets& value) {
  return sequence(set(sequence(identifier, value)));
}
Octets validity() {
  return sequence(generalized_time("20260101000000Z"), generalized_time("20270101000000Z"));
}

// SignedData, its attribute certificate, the certificate's holder, a GeneralName, an OtherName.
Octets through_holder(const Octets& identifier, const Octets& value) {
  const Octets holder = sequence(context(1, context(0, identifier, context(0, value))));
  const Octets info = sequence(integer(1), holder, sequence(), sha256(), integer(7), validity(), sequence());
  return signed_data(context(2, info, sha256(), bit_string({})));
}

// The same with the longest way that the types allow: over the issuer's baseCertificateID and a
// directory name in it.
Octets through_issuer(const Octets& identifier, const Octets& value) {
  const Octets issuer_serial = context(0, sequence(context(4, name_of(identifier, value))), integer(1));
  const Octets info = sequence(integer(1), sequence(), context(0, issuer_serial), sha256(), integer(7),
                               validity(), sequence());
  return signed_data(context(2, info, sha256(), bit_string({})));
}

Octets through_name(const Octets& identifier, const Octets& value) {
  return name_of(identifier, value);
}

// A ContentInfo with `depth` nested open types, each of the shape that `wrap` gives; the innermost one is an
// OCTET STRING.
Octets nested(size_t depth, const char* identifier, const Surround& wrap) {
  Octets id = oid(kDataId), value = octet_string({});
  for (size_t i = 1; i < depth; ++i) {
    value = wrap(id, value);
    id = oid(identifier);
  }
  return sequence(id, context(0, value));
}

struct Way {
  const char* name;
  const char* identifier;
  Surround wrap;
};
const Way kWays[] = {
    {"holder", kSignedDataId, through_holder},
    {"issuer", kSignedDataId, through_issuer},
    {"name", "2.5.4.49", through_name},
};

// The position of the stack at the last call of the error handler.
uintptr_t deepest;
void note_frame(const char*, int) {
  deepest = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
}

TEST(OpenTypeDepth, SixtyFourLevelsDecodeAndSixtyFiveDoNot) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    const Octets deep = nested(64, way.identifier, way.wrap);
    Decoded v(TOP(ContentInfo), deep);
    EXPECT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.encoded(), deep);
    ExpectRefused(TOP(ContentInfo), nested(65, way.identifier, way.wrap), -29,
                  "ERROR - open types nested too deep\n");
  }
}

// The bound is on depth, not on the number of values.
TEST(OpenTypeDepth, ManyAdjacentOpenTypesDoNotCountAsDepth) {
  Octets names;
  for (int i = 0; i < 200; ++i) names = concat(names, set(sequence(oid("2.5.4.3"), printable_string("x"))));
  ExpectWrittenBack(TOP_AS(DistinguishedName, DistinguishedName), sequence(names));
}

// A decoding that fails deep down does not affect the next one.
TEST(OpenTypeDepth, EachDecodingStartsAtZero) {
  for (int i = 0; i < 3; ++i) {
    Decoded v(TOP(ContentInfo), nested(65, kSignedDataId, through_issuer));
    EXPECT_EQ(v.outcome.code, -29);
    Decoded w(TOP(ContentInfo), nested(64, kSignedDataId, through_issuer));
    EXPECT_EQ(w.outcome, kDecoded);
  }
}

TEST(OpenTypeDepth, SixtyFourLevelsFitASmallStack) {
  if (!kSmallFrames) GTEST_SKIP() << "the frames of this build are not those of a release";
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    const Octets allowed = nested(64, way.identifier, way.wrap);
    const Octets refused = nested(65, way.identifier, way.wrap);
    ASSERT_TRUE(RegisterOpenTypes());
    size_t used = 0;
    OnSmallStack([&] {
      Decoded v(TOP(ContentInfo), allowed);
      EXPECT_EQ(v.outcome, kDecoded);
      EXPECT_EQ(v.encoded(), allowed);
      EXPECT_FALSE(v.printed().empty());

      ExpBuf block;
      ExpBuf* b = &block;
      ExpBufWrapData(b, refused.data(), refused.size());
      ContentInfo record{};
      AsnLen bytes = 0;
      const auto top = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
      const auto before = std::exchange(AsnErrorHandler, note_frame);
      EXPECT_EQ(AsnCatch([&](AsnJmpEnv& env) { BDecContentInfo(&b, &record, &bytes, env); }), -29);
      AsnErrorHandler = before;
      FreeContentInfo(&record);
      used = top - deepest;
    });
    EXPECT_GT(used, 0u);
    EXPECT_LT(used, kStackBound);
    RecordProperty(std::string("octets_of_stack_") + way.name, int(used));
  }
}

// A million nested values are refused at the bound, on a small stack too.
TEST(OpenTypeDepth, AMillionLevelsAreRefused) {
  // Written from the outside to the inside with open lengths, so that the input is linear.
  const Octets level = concat(Octets{0x30, 0x80}, oid("1.3.6.1.4.1.311.3.2.1"), Octets{0xA0, 0x80});
  Octets deep;
  deep.reserve(level.size() * 1000000);
  for (int i = 0; i < 1000000; ++i) deep.insert(deep.end(), level.begin(), level.end());
  ASSERT_TRUE(RegisterOpenTypes());
  const auto refuse = [&] {
    ExpBuf block;
    ExpBuf* b = &block;
    ExpBufWrapData(b, deep.data(), deep.size());
    ContentInfo record{};
    AsnLen bytes = 0;
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecContentInfo(&b, &record, &bytes, env); }),
              (Outcome{-29, "ERROR - open types nested too deep\n"}));
    FreeContentInfo(&record);
  };
  OnReleaseStack(refuse);
}

// Constructed strings have no bound and take no stack.
TEST(OpenTypeDepth, AMillionConstructedStringsInsideEachOtherDecode) {
  constexpr size_t kLevels = 1000000;
  Octets deep;
  deep.reserve(4 * kLevels + 16);
  for (size_t i = 0; i < kLevels; ++i) deep.insert(deep.end(), {0x24, 0x80});
  deep.insert(deep.end(), {0x04, 0x01, 0x61});
  deep.insert(deep.end(), 2 * kLevels, 0);
  const Octets message =
      concat(Octets{0x30, 0x80}, oid(kDataId), Octets{0xA0, 0x80}, deep, Octets{0, 0, 0, 0});
  ASSERT_TRUE(RegisterOpenTypes());
  OnSmallStack([&] {
    Decoded v(TOP(ContentInfo), message);
    EXPECT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.encoded(), sequence(oid(kDataId), context(0, octet_string({0x61}))));
  });
}

}  // namespace
}  // namespace qex::test
