// Lists of revocation: RFC 3161, 4 for the reasons, RFC 5280, 6.3 for the lists.
#include <gtest/gtest.h>

#include <ctime>

#include "tests/tool/strict/tokens.h"

namespace qex::test {
namespace {

using tool::Revocation;
using tool::RevocationResult;

class StrictRevocation : public testing::Test {
 protected:
  StrictRevocation() {
    CertificatePlan plan;
    plan.subject = "Example CA";
    plan.key = "ec:P-256/ca";
    plan.serial = 5;
    plan.issuer = &root;
    plan.extensions = AuthorityExtensions();
    authority = Make(plan);
    signer = MakeSigner(authority);
    trust = Trusting({&root});
    trust.untrusted = {Item(authority.der())};
  }

  Revocation judge(const std::vector<Octets>& lists, bool allowWeak = false) {
    trust.crls.clear();
    for (const Octets& list : lists) trust.crls.push_back(Item(list));
    const auto reading = Read(TokenPlan(signer).encode(), trust, allowWeak);
    EXPECT_EQ(reading.chain->result, tool::ChainResult::Trusted) << reading.chain->text;
    return reading.revocation.value_or(Revocation{RevocationResult::ListBad, "not judged", false});
  }

  // A list of the signer's issuer, and one of the root.
  Octets list(const std::vector<RevokedEntry>& entries = {}, int64_t from = kGenTime - kDay,
              int64_t until = kGenTime + kDay) const {
    return MakeList({&authority, entries, from, until, nullptr, {}, false});
  }
  Octets list_of_root(const std::vector<RevokedEntry>& entries = {}) const {
    return MakeList({&root, entries, kGenTime - kDay, kGenTime + kDay, nullptr, {}, false});
  }

  // Lists of the signer's issuer that differ from such a one in their scope, or in being of changes.
  Octets scoped_list(const Octets& scope, const std::vector<RevokedEntry>& entries) const {
    ListPlan plan;
    plan.issuer = &authority;
    plan.entries = entries;
    plan.scope = scope;
    return MakeList(plan);
  }
  Octets list_of_changes(const std::vector<RevokedEntry>& entries) const {
    ListPlan plan;
    plan.issuer = &authority;
    plan.entries = entries;
    plan.delta = true;
    return MakeList(plan);
  }

  const Octets kIndirect = der::sequence(der::context_primitive(4, Octets{0xFF}));
  const Octets kSomeReasons = der::sequence(der::context_primitive(3, Octets{0x06, 0x40}));

  Certificate root = MakeRoot();
  Certificate authority;
  Certificate signer;
  tool::Trust trust;
};

TEST_F(StrictRevocation, WithoutListsThereIsNoResult) {
  EXPECT_FALSE(Read(TokenPlan(signer).encode(), trust).revocation);
}

TEST_F(StrictRevocation, WhoIsInNoListIsGood) {
  const Revocation revocation = judge({list({{4711, kGenTime - kDay, 1}}), list_of_root()});
  EXPECT_EQ(revocation.result, RevocationResult::Good) << revocation.text;
  EXPECT_FALSE(revocation.ofCa);
  EXPECT_EQ(revocation.text.find("covers"), std::string::npos) << revocation.text;
}

TEST_F(StrictRevocation, EveryReasonBeforeAndAfter) {
  const struct {
    std::optional<int> reason;
    bool lenient;
  } cases[] = {{std::nullopt, false},
               {0, true},
               {1, false},
               {2, false},
               {3, true},
               {4, true},
               {5, true},
               {6, false},
               {9, false},
               {10, false}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.reason.value_or(-1));
    const auto later = judge({list({{17, kGenTime + 1, one.reason}})});
    EXPECT_EQ(later.result, one.lenient ? RevocationResult::StillValid : RevocationResult::Revoked)
        << later.text;
    EXPECT_NE(later.text.find("2024-11-15T08:00:01Z"), std::string::npos) << later.text;
    EXPECT_EQ(judge({list({{17, kGenTime, one.reason}})}).result, RevocationResult::Revoked);
    EXPECT_EQ(judge({list({{17, kGenTime - kDay, one.reason}})}).result, RevocationResult::Revoked);
  }
}

TEST_F(StrictRevocation, TheTextNamesTheReason) {
  EXPECT_NE(judge({list({{17, kGenTime, 1}})}).text.find("keyCompromise"), std::string::npos);
  EXPECT_NE(judge({list({{17, kGenTime + 1, 4}})}).text.find("superseded"), std::string::npos);
}

TEST_F(StrictRevocation, NoListForTheSigner) {
  EXPECT_EQ(judge({list_of_root()}).result, RevocationResult::NoList);
  const Certificate other = MakeRoot("Another Root", "ec:P-256/another");
  EXPECT_EQ(judge({MakeList({&other, {}, kGenTime - kDay, kGenTime + kDay, nullptr, {}, false})}).result,
            RevocationResult::NoList);
}

TEST_F(StrictRevocation, AMissingListForAnAuthorityIsReportedButNotAFault) {
  const Revocation revocation = judge({list()});
  EXPECT_EQ(revocation.result, RevocationResult::Good);
  EXPECT_NE(revocation.text.find("no list covers \"Example CA\""), std::string::npos) << revocation.text;
  EXPECT_EQ(revocation.text.find("Example Root"), std::string::npos) << revocation.text;
}

TEST_F(StrictRevocation, AListThatEndedBeforeTheTimeIsStale) {
  const auto stale = judge({list({}, kGenTime - 2 * kDay, kGenTime - 1)});
  EXPECT_EQ(stale.result, RevocationResult::ListStale) << stale.text;
  EXPECT_NE(stale.text.find("2024-11-15T07:59:59Z"), std::string::npos) << stale.text;
  EXPECT_EQ(judge({list({}, kGenTime - 2 * kDay, kGenTime - 1), list()}).result, RevocationResult::Good);
}

// The reason may have become a graver one since.
TEST_F(StrictRevocation, AStaleListLeavesTheTokenOpen) {
  trust.time = tool::TrustTime::Now;
  EXPECT_EQ(judge({list({{17, kGenTime + 1, 4}})}).result, RevocationResult::ListStale);
  EXPECT_EQ(judge({list({{17, kGenTime + 1, 1}})}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, ALaterListIsFineAtGenTime) {
  EXPECT_EQ(judge({list({}, kGenTime + kDay, kGenTime + 9 * kDay)}).result, RevocationResult::Good);
  const int64_t now = std::time(nullptr);
  EXPECT_EQ(judge({list({}, now + kDay, now + 2 * kDay)}).result, RevocationResult::ListBad);
}

TEST_F(StrictRevocation, ALaterListIsNotForATimeThatWasGiven) {
  trust.time = tool::TrustTime::Given;
  trust.givenTime = kGenTime;
  EXPECT_EQ(judge({list({}, kGenTime + kDay, kGenTime + 9 * kDay)}).result, RevocationResult::ListBad);
  trust.givenTime = kGenTime + 2 * kDay;
  EXPECT_EQ(judge({list({}, kGenTime + kDay, kGenTime + 9 * kDay)}).result, RevocationResult::Good);
  EXPECT_EQ(judge({list()}).result, RevocationResult::ListStale);
}

// A key that a later list calls stolen may have been so before.
TEST_F(StrictRevocation, ARevocationInAnyListCounts) {
  const Octets early = list();
  const Octets late = list({{17, kGenTime + 20 * kDay, 1}}, kGenTime + 20 * kDay, kGenTime + 30 * kDay);
  EXPECT_EQ(judge({early, late}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({late, early}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, ALaterListMayEndAHold) {
  const Octets held = list({{17, kGenTime - kDay, 6}});
  const Octets released = list({}, kGenTime + kDay, kGenTime + 2 * kDay);
  EXPECT_EQ(judge({held}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({held, released}).result, RevocationResult::Good);
  // An earlier list says nothing about it.
  EXPECT_EQ(judge({held, list({}, kGenTime - 3 * kDay)}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, AListSignedBySomebodyElseIsBad) {
  Certificate impostor = authority;
  impostor.key = MakeKey("ec:P-256/impostor");
  const Octets forged = MakeList(
      {&authority, {{17, kGenTime - kDay, 1}}, kGenTime - kDay, kGenTime + kDay, &impostor, {}, false});
  const Revocation revocation = judge({forged});
  EXPECT_EQ(revocation.result, RevocationResult::ListBad) << revocation.text;
  EXPECT_EQ(judge({forged, list()}).result, RevocationResult::Good);
}

TEST_F(StrictRevocation, AnAuthorityThatIsRevokedCountsByTheSameRule) {
  auto revocation = judge({list(), list_of_root({{5, kGenTime - 1, 1}})});
  EXPECT_EQ(revocation.result, RevocationResult::Revoked);
  EXPECT_TRUE(revocation.ofCa);
  EXPECT_NE(revocation.text.find("\"Example CA\""), std::string::npos) << revocation.text;
  revocation = judge({list(), list_of_root({{5, kGenTime + 1, 4}})});
  EXPECT_EQ(revocation.result, RevocationResult::StillValid);
  EXPECT_TRUE(revocation.ofCa);
}

TEST_F(StrictRevocation, ARootThatRevokesItselfCounts) {
  const Revocation revocation = judge({list(), list_of_root({{1, kGenTime - 1, 1}})});
  EXPECT_EQ(revocation.result, RevocationResult::Revoked);
  EXPECT_TRUE(revocation.ofCa);
  EXPECT_NE(revocation.text.find("\"Example Root\""), std::string::npos) << revocation.text;
}

// The root does not need its own list: it is trusted by decision.
TEST_F(StrictRevocation, AStaleListForTheRootAloneIsNotAFault) {
  signer = MakeSigner(root);
  const Octets onlyUsers = der::sequence(der::context_primitive(1, Octets{0xFF}));
  const Octets onlyAuthorities = der::sequence(der::context_primitive(2, Octets{0xFF}));
  const Octets ofUsers = MakeList({&root, {}, kGenTime - kDay, kGenTime + kDay, nullptr, onlyUsers, false});
  const Octets ofAuthorities =
      MakeList({&root, {}, kGenTime - 2 * kDay, kGenTime - 1, nullptr, onlyAuthorities, false});
  EXPECT_EQ(judge({ofUsers, ofAuthorities}).result, RevocationResult::Good);
  EXPECT_EQ(judge({ofAuthorities}).result, RevocationResult::NoList);
}

TEST_F(StrictRevocation, WhoIsNotInAPartialListMayBeInAnother) {
  for (const Octets& scope : {kIndirect, kSomeReasons}) {
    const Octets partial = scoped_list(scope, {});
    EXPECT_EQ(judge({partial}).result, RevocationResult::NoList);
    EXPECT_EQ(judge({partial, list()}).result, RevocationResult::Good);
  }
  const Revocation revocation = judge({scoped_list(kSomeReasons, {})});
  EXPECT_NE(revocation.text.find("some reasons only"), std::string::npos) << revocation.text;
}

// Such lists were ignored, together with their revocations.
TEST_F(StrictRevocation, ARevocationInAPartialListCounts) {
  const Octets onlyAuthorities = der::sequence(der::context_primitive(2, Octets{0xFF}));
  for (const Octets& scope : {kIndirect, kSomeReasons, onlyAuthorities}) {
    const Octets partial = scoped_list(scope, {{17, kGenTime + 1, 1}});
    EXPECT_EQ(judge({partial}).result, RevocationResult::Revoked);
    EXPECT_EQ(judge({partial, list()}).result, RevocationResult::Revoked);
    EXPECT_EQ(judge({list(), partial}).result, RevocationResult::Revoked);
  }
}

TEST_F(StrictRevocation, AListOfSomeReasonsDoesNotClearTheToken) {
  const Octets partial = scoped_list(kSomeReasons, {{17, kGenTime + 1, 4}});
  EXPECT_EQ(judge({partial}).result, RevocationResult::NoList);
  EXPECT_EQ(judge({partial, list({{17, kGenTime + 1, 4}})}).result, RevocationResult::StillValid);
}

TEST_F(StrictRevocation, AListOfAttributeCertificatesNamesNoSigner) {
  const Octets onlyAttributes = der::sequence(der::context_primitive(5, Octets{0xFF}));
  EXPECT_EQ(judge({scoped_list(onlyAttributes, {{17, kGenTime - 1, 1}})}).result, RevocationResult::NoList);
}

// RFC 5280, 5.3.3.
TEST_F(StrictRevocation, TheIssuerOfAnEntryHoldsForThoseAfterIt) {
  const RevokedEntry own{17, kGenTime - 1, 1};
  const RevokedEntry others{4711, kGenTime - 1, 1, {}, &root};
  const RevokedEntry back{17, kGenTime - 1, 1, {}, &authority};
  EXPECT_EQ(judge({scoped_list(kIndirect, {own, others}), list()}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({scoped_list(kIndirect, {others, own}), list()}).result, RevocationResult::Good);
  EXPECT_EQ(judge({scoped_list(kIndirect, {others, own, back}), list()}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, AnIndirectListOfAnotherIssuerIsReportedAsUnused) {
  ListPlan plan;
  plan.issuer = &root;
  plan.entries = {{17, kGenTime - 1, 1, {}, &authority}};
  plan.scope = kIndirect;
  const Revocation revocation = judge({list(), MakeList(plan)});
  EXPECT_EQ(revocation.result, RevocationResult::Good);
  EXPECT_NE(revocation.text.find("the indirect list of \"Example Root\""), std::string::npos)
      << revocation.text;
}

// A list for one of the signer's distribution points leaves the others open.
TEST_F(StrictRevocation, AListOfADistributionPointCoversWhoNamesIt) {
  CertificatePlan plan;
  plan.issuer = &authority;
  plan.extensions = SignerExtensions();
  plan.extensions.emplace_back("crlDistributionPoints", "URI:http://tsa.example/1.crl");
  signer = Make(plan);
  const auto point = [](const std::string& address) {
    const Octets name = der::context_primitive(6, Octets(address.begin(), address.end()));
    return der::sequence(der::context(0, der::context(0, name)));
  };
  EXPECT_EQ(judge({scoped_list(point("http://tsa.example/1.crl"), {})}).result, RevocationResult::Good);
  const Octets other = point("http://tsa.example/2.crl");
  EXPECT_EQ(judge({scoped_list(other, {})}).result, RevocationResult::NoList);
  EXPECT_EQ(judge({scoped_list(other, {{17, kGenTime - 1, 1}})}).result, RevocationResult::Revoked);
}

Certificate SignerUntil(const Certificate& issuer, int64_t end) {
  CertificatePlan plan;
  plan.issuer = &issuer;
  plan.until = end;
  plan.extensions = SignerExtensions();
  return Make(plan);
}

// Expired certificates are dropped from lists (RFC 5280, 3.3), so that a revoked one comes to be in none.
TEST_F(StrictRevocation, AListFromAfterTheSignerExpiredLeavesItOpen) {
  const int64_t end = kGenTime + kDay;
  signer = SignerUntil(authority, end);
  const Octets late = list({}, end + 1, end + kDay);
  const Revocation revocation = judge({late});
  EXPECT_EQ(revocation.result, RevocationResult::NoList) << revocation.text;
  EXPECT_NE(revocation.text.find("after the certificate had expired"), std::string::npos) << revocation.text;
  EXPECT_EQ(judge({late, list()}).result, RevocationResult::Good);
  EXPECT_EQ(judge({list({}, end, end + kDay)}).result, RevocationResult::Good);
  // Its entries count.
  EXPECT_EQ(judge({list({{17, kGenTime + 1, 4}}, end + 1, end + kDay)}).result, RevocationResult::StillValid);
  EXPECT_EQ(judge({list({{17, kGenTime + 1, 1}}, end + 1, end + kDay)}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, AListThatKeepsExpiredCertificatesCoversThem) {
  const int64_t end = kGenTime + kDay;
  signer = SignerUntil(authority, end);
  ListPlan keeping;
  keeping.issuer = &authority;
  keeping.from = end + 1;
  keeping.until = end + kDay;
  keeping.keepsExpiredSince = end;
  EXPECT_EQ(judge({MakeList(keeping)}).result, RevocationResult::Good);
  keeping.keepsExpiredSince = end + 1;
  EXPECT_EQ(judge({MakeList(keeping)}).result, RevocationResult::NoList);
}

TEST_F(StrictRevocation, AListFromAfterAnAuthorityExpiredDoesNotCoverIt) {
  CertificatePlan plan;
  plan.subject = "Example CA";
  plan.key = "ec:P-256/ca";
  plan.serial = 5;
  plan.issuer = &root;
  plan.until = kGenTime + kDay;
  plan.extensions = AuthorityExtensions();
  authority = Make(plan);
  trust.untrusted = {Item(authority.der())};
  const Octets late = MakeList({&root, {}, kGenTime + 2 * kDay, kGenTime + 3 * kDay, nullptr, {}, false});
  const Revocation revocation = judge({list(), late});
  EXPECT_EQ(revocation.result, RevocationResult::Good);
  EXPECT_NE(revocation.text.find("no list covers \"Example CA\""), std::string::npos) << revocation.text;
}

// A collision lets an attacker make a list that names nobody.
TEST_F(StrictRevocation, AListUnderAWeakDigestProvesNothingUnlessAllowed) {
  for (const char* digest : {"SHA1", "MD5"}) {
    SCOPED_TRACE(digest);
    root = MakeRoot("RSA Root", "rsa:2048/root");  // libcrypto knows no ECDSA with MD5
    signer = MakeSigner(root);
    trust = Trusting({&root});
    ListPlan weak;
    weak.issuer = &root;
    const Octets strong = MakeList(weak);
    weak.digest = digest;
    const Revocation revocation = judge({MakeList(weak)});
    EXPECT_EQ(revocation.result, RevocationResult::ListWeak) << revocation.text;
    EXPECT_NE(revocation.text.find("weak digest"), std::string::npos) << revocation.text;
    EXPECT_EQ(judge({MakeList(weak)}, true).result, RevocationResult::Good);
    EXPECT_EQ(judge({MakeList(weak), strong}).result, RevocationResult::Good);
    weak.entries = {{17, kGenTime + 1, 4}};
    EXPECT_EQ(judge({MakeList(weak)}).result, RevocationResult::ListWeak);
    EXPECT_EQ(judge({MakeList(weak)}, true).result, RevocationResult::StillValid);
    weak.entries = {{17, kGenTime + 1, 1}};
    EXPECT_EQ(judge({MakeList(weak), strong}).result, RevocationResult::Revoked);
  }
}

// RFC 5280, 5.1.2.5 demands an end: without one a list would be good for ever.
TEST_F(StrictRevocation, AListWithoutAnEndIsStaleOnceItIsIssued) {
  ListPlan endless;
  endless.issuer = &authority;
  endless.until.reset();
  const Revocation revocation = judge({MakeList(endless)});
  EXPECT_EQ(revocation.result, RevocationResult::ListStale) << revocation.text;
  EXPECT_NE(revocation.text.find("no end"), std::string::npos) << revocation.text;
  endless.entries = {{17, kGenTime + 1, 4}};
  EXPECT_EQ(judge({MakeList(endless)}).result, RevocationResult::ListStale);
  endless.entries = {{17, kGenTime + 1, 1}};
  EXPECT_EQ(judge({MakeList(endless)}).result, RevocationResult::Revoked);
  endless.entries.clear();
  endless.from = kGenTime;
  EXPECT_EQ(judge({MakeList(endless)}).result, RevocationResult::Good);
}

// The key may have been unsafe for long when the certificate is revoked.
TEST_F(StrictRevocation, AnEarlierInvalidityDateCounts) {
  const int64_t later = kGenTime + kDay;
  EXPECT_EQ(judge({list({{17, later, 4, kGenTime + 1}})}).result, RevocationResult::StillValid);
  EXPECT_EQ(judge({list({{17, later, 4, kGenTime}})}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({list({{17, kGenTime, 4, later}})}).result, RevocationResult::Revoked);
  const Revocation revocation = judge({list({{17, later, 4, kGenTime - 1}})});
  EXPECT_EQ(revocation.result, RevocationResult::Revoked);
  EXPECT_NE(revocation.text.find("since 2024-11-15T07:59:59Z"), std::string::npos) << revocation.text;
}

TEST_F(StrictRevocation, OfSeveralEntriesTheGravestCounts) {
  const RevokedEntry mild{17, kGenTime + 1, 4};
  const RevokedEntry grave{17, kGenTime + 1, 1};
  EXPECT_EQ(judge({list({mild, grave})}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({list({grave, mild})}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({list({mild, mild})}).result, RevocationResult::StillValid);
}

// The reason removeFromCRL has a meaning in lists of changes alone (RFC 5280, 5.3.1).
TEST_F(StrictRevocation, ARemovalInAWholeListIsARevocation) {
  const RevokedEntry removed{17, kGenTime + 1, 8};
  EXPECT_EQ(judge({list({removed})}).result, RevocationResult::Revoked);
  EXPECT_EQ(judge({list_of_changes({removed})}).result, RevocationResult::NoList);
  EXPECT_EQ(judge({list_of_changes({removed}), list()}).result, RevocationResult::Good);
  EXPECT_EQ(judge({list_of_changes({removed, {17, kGenTime + 1, 1}}), list()}).result,
            RevocationResult::Revoked);
}

TEST_F(StrictRevocation, AListOfChangesCountsForWhoIsInIt) {
  ListPlan changes;
  changes.issuer = &authority;
  changes.delta = true;
  EXPECT_EQ(judge({MakeList(changes)}).result, RevocationResult::NoList);
  EXPECT_EQ(judge({MakeList(changes), list()}).result, RevocationResult::Good);
  changes.entries = {{17, kGenTime - kDay, 1}};
  EXPECT_EQ(judge({MakeList(changes), list()}).result, RevocationResult::Revoked);
}

TEST_F(StrictRevocation, AnIssuerWithoutTheUsageForListsCannotIssueOne) {
  CertificatePlan plan;
  plan.subject = "Example CA";
  plan.key = "ec:P-256/ca";
  plan.serial = 5;
  plan.issuer = &root;
  plan.extensions = {{"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "critical,keyCertSign"}};
  authority = Make(plan);
  trust.untrusted = {Item(authority.der())};
  const Revocation revocation = judge({list()});
  EXPECT_EQ(revocation.result, RevocationResult::ListBad);
  EXPECT_NE(revocation.text.find("key usage"), std::string::npos) << revocation.text;
}

TEST_F(StrictRevocation, AStaleListForAnAuthorityIsAFaultOfIt) {
  const Octets stale = MakeList({&root, {}, kGenTime - 2 * kDay, kGenTime - 1, nullptr, {}, false});
  const Revocation revocation = judge({list(), stale});
  EXPECT_EQ(revocation.result, RevocationResult::ListStale);
  EXPECT_TRUE(revocation.ofCa);
}

TEST_F(StrictRevocation, TheSignersOwnRevocationComesFirst) {
  const Revocation revocation = judge({list({{17, kGenTime - 1, 1}}), list_of_root({{5, kGenTime - 1, 1}})});
  EXPECT_EQ(revocation.result, RevocationResult::Revoked);
  EXPECT_FALSE(revocation.ofCa);
}

}  // namespace
}  // namespace qex::test
