// Literals of object identifiers: X.690 8.19.
#include "asn1/oid_literal.h"

#include "tests/support/codec.h"
#include "tests/support/compile_time_checks.h"

namespace qex::test {
namespace {

Octets contents(const AsnOid& identifier) {
  return {identifier.octs, identifier.octs + identifier.count};
}

// 8.19.2: seven bits an octet. An arc of 128 is the first that takes two octets, one of 16384 three.
TEST(OidLiteral, AnArcTakesAnOctetForEachSevenBits) {
  EXPECT_EQ(contents("1.2.127"_oid), hex("2a7f"));
  EXPECT_EQ(contents("1.2.128"_oid), hex("2a8100"));
  EXPECT_EQ(contents("1.2.255"_oid), hex("2a817f"));
  EXPECT_EQ(contents("1.2.16383"_oid), hex("2aff7f"));
  EXPECT_EQ(contents("1.2.16384"_oid), hex("2a818000"));
  // 8.19.5 gives this example.
  EXPECT_EQ(contents("2.999.3"_oid), hex("883703"));
}

// 8.19.4: the first two arcs X and Y are the subidentifier 40 X + Y.
TEST(OidLiteral, TwoArcsMakeOneOctet) {
  EXPECT_EQ(contents("1.2"_oid), hex("2a"));
  EXPECT_EQ(contents("0.0"_oid), hex("00"));
  EXPECT_EQ(contents("2.5"_oid), hex("55"));
}

TEST(OidLiteral, OneArcIsRefused) {
  EXPECT_EQ(RefusalOf([] { return parse_arcs("1"); }), "an identifier has two arcs at least");
  EXPECT_EQ(RefusalOf([] { return parse_arcs("1.2"); }), "");
}

TEST(OidLiteral, OnlyDigitsAndDotsAreAccepted) {
  for (const char* text : {"1.a", "1./", "1.:", "1 .2", "-1.2"}) {
    EXPECT_EQ(RefusalOf([&] { return parse_arcs(text); }), "an identifier is written as digits and dots")
        << text;
  }
  EXPECT_EQ(RefusalOf([] { return parse_arcs("0.9"); }), "");
}

}  // namespace
}  // namespace qex::test
