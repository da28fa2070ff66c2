// OBJECT IDENTIFIER: contents octets, arcs and text.
#include <gtest/gtest.h>

#include <vector>

#include "ber/primitives.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

// Contents octets made by the asn1 tools of OpenSSL and, of the arcs beyond 2^31, by arithmetic.
struct Example {
  const char* octets;
  std::vector<uint32_t> arcs;
  const char* text;
};
const Example kExamples[] = {
    {"8837 03", {2, 999, 3}, "{2 999 3}"},
    {"813403", {2, 100, 3}, "{2 100 3}"},  // X.690 8.19.5
    {"2a864886f70d0109100104", {1, 2, 840, 113549, 1, 9, 16, 1, 4}, "{1 2 840 113549 1 9 16 1 4}"},
    {"00", {0, 0}, "{0 0}"},
    {"27", {0, 39}, "{0 39}"},
    {"28", {1, 0}, "{1 0}"},
    {"4f", {1, 39}, "{1 39}"},
    {"50", {2, 0}, "{2 0}"},
    {"7f", {2, 47}, "{2 47}"},
    {"8100", {2, 48}, "{2 48}"},
    {"2a8fffffff7f", {1, 2, 4294967295u}, "{1 2 4294967295}"},
    {"90808080 4f", {2, 4294967295u}, "{2 4294967295}"},
};

std::vector<uint32_t> numbers_of(const AsnArc* arcs) {
  std::vector<uint32_t> numbers;
  for (; arcs != nullptr; arcs = arcs->next) numbers.push_back(arcs->number);
  return numbers;
}

// Arcs as a list on the stack.
struct Arcs {
  std::vector<AsnArc> list;
  explicit Arcs(const std::vector<uint32_t>& numbers) : list(numbers.size()) {
    for (size_t i = 0; i < list.size(); ++i) {
      list[i] = {i + 1 < list.size() ? &list[i + 1] : nullptr, numbers[i]};
    }
  }
  const AsnArc* first() const { return list.empty() ? nullptr : list.data(); }
};

std::string printed(const AsnOid& oid) {
  return Printed([&](FILE* f) { PrintAsnOid(f, &oid, 4); });
}

TEST(AsnOid, ContentIsKeptUnchanged) {
  for (const char* hex : {"06 03 88 37 03", "06 01 80", "06 02 80 80"}) {  // the arcs are not checked
    for (const size_t block : {1u, 2u, 100u}) {
      const Octets encoding = FromHex(hex);
      Input in(InBlocksOf(block, encoding));
      AsnOid v{};
      AsnLen bytes = 0;
      EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOid(in.handle(), &v, &bytes, env); }), kDecoded);
      EXPECT_EQ(bytes, encoding.size());
      AsnLen written = 0;
      EXPECT_EQ(Encoded([&](ExpBuf** b) { return BEncAsnOid(b, &v); }, &written), encoding);
      EXPECT_EQ(written, encoding.size());
      FreeAsnOid(&v);
      EXPECT_EQ(v.octs, nullptr);
    }
  }
}

TEST(AsnOid, NoOctetsArePresent) {
  Input in("06 00");
  AsnOid v{};
  AsnLen bytes = 0;
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOid(in.handle(), &v, &bytes, env); }), kDecoded);
  EXPECT_EQ(v.count, 0u);
  EXPECT_NE(v.octs, nullptr);
  FreeAsnOid(&v);
}

TEST(AsnOid, DataThatEndEarlyAreRefusedWithoutAllocating) {
  for (const char* hex : {"06 02 2A", "06 84 FF FF FF FE 2A", "06 80 2A 00 00"}) {
    Input in(hex);
    AsnOid v{};
    AsnLen bytes = 0;
    ForgetRequests();
    const long before = LiveBlocks();
    EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOid(in.handle(), &v, &bytes, env); }),
              (Outcome{-21, "BDecAsnOidContent: ERROR - decoded past end of data\n"}))
        << hex;
    EXPECT_LT(LargestRequest(), 1000u);
    EXPECT_EQ(LiveBlocks(), before);
  }
}

TEST(AsnOid, AnAllocationThatFailsRaisesMinus27WithoutAText) {
  Input in("06 01 2A");
  AsnOid v{};
  AsnLen bytes = 0;
  const FailingAlloc failing(0);
  EXPECT_EQ(OutcomeOf([&](AsnJmpEnv& env) { BDecAsnOid(in.handle(), &v, &bytes, env); }), (Outcome{-27, ""}));
}

TEST(AsnOid, PrintShowsTheArcs) {
  for (const Example& e : kExamples) EXPECT_EQ(printed(OidOf(FromHex(e.octets))), e.text);
}

TEST(AsnOid, PrintOfAnInvalidIdentifierStaysInside) {
  EXPECT_EQ(printed(AsnOid{}), "{}");
  EXPECT_EQ(printed(OidOf(FromHex("2a 86"))), "{1 2 6}");  // cut off
  EXPECT_EQ(printed(OidOf(FromHex("80"))), "{0 0}");
  EXPECT_EQ(printed(OidOf(FromHex("2a 90 80 80 80 01"))), "{1 2 1}");  // 2^32 + 1
}

TEST(AsnOid, EqualityIsOfCountAndOctets) {
  const Octets a = FromHex("2a0304");
  const Octets b = FromHex("2a0305");
  EXPECT_TRUE(AsnOidEqual(OidOf(a), OidOf(Octets(a))));
  EXPECT_FALSE(AsnOidEqual(OidOf(a), OidOf(b)));
  EXPECT_FALSE(AsnOidEqual({2, a.data()}, {3, a.data()}));
  EXPECT_TRUE(AsnOidEqual({2, a.data()}, {2, b.data()}));
  EXPECT_TRUE(AsnOidEqual(AsnOid{}, {0, a.data()}));
}

TEST(AsnOid, ToArcsAndBack) {
  for (const Example& e : kExamples) {
    const Octets octets = FromHex(e.octets);
    AsnArc* arcs = AsnOidToArcs(OidOf(octets));
    EXPECT_EQ(numbers_of(arcs), e.arcs);
    EXPECT_EQ(AsnArcsEncodedSize(arcs), octets.size());
    AsnOid oid{};
    EXPECT_TRUE(AsnArcsToOid(arcs, &oid));
    EXPECT_EQ(ToHex(oid), ToHex(octets));
    FreeAsnOid(&oid);
    AsnFreeArcs(arcs);
  }
}

TEST(AsnOid, NoOctetsHaveNoArcs) {
  EXPECT_EQ(AsnOidToArcs(AsnOid{}), nullptr);
}

TEST(AsnOid, FewerThanTwoArcsAreRefused) {
  AsnOid oid{};
  EXPECT_FALSE(AsnArcsToOid(nullptr, &oid));
  EXPECT_FALSE(AsnArcsToOid(Arcs({1}).first(), &oid));
  EXPECT_EQ(AsnArcsEncodedSize(nullptr), 0u);
  EXPECT_EQ(AsnArcsEncodedSize(Arcs({1}).first()), 0u);
  EXPECT_EQ(oid.octs, nullptr);
}

TEST(AsnOid, ArcsWithoutMemory) {
  const Octets octets = FromHex("2a0304");
  const Arcs arcs({1, 2, 3});
  const long before = LiveBlocks();
  for (size_t allowed = 0; allowed < 4; ++allowed) {
    const FailingAlloc failing(allowed);
    EXPECT_EQ(AsnOidToArcs(OidOf(octets)), nullptr);
    EXPECT_EQ(LiveBlocks(), before);
  }
  const FailingAlloc failing(0);
  AsnOid oid{};
  EXPECT_FALSE(AsnArcsToOid(arcs.first(), &oid));
}

}  // namespace
}  // namespace qex::test
