// The time attribute certificate of a token: how it is found, and whether one belongs to it.
//
// All tests use the first version of the signing-certificate attribute, except those in processes of their
// own, at the end.
#include <gtest/gtest.h>

#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

using enum CertificateParts::Kind;

// TimeAttributeCert is a call of the export that finds it, in the form for Call and AskLength.
class TimeAttributeCert {
 public:
  explicit TimeAttributeCert(const Octets& token) : token_(token) {}
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return QEX_GetTST_TimeAttributeCert(out, length, token_.data(), token_.size());
  }

 private:
  Guarded token_;
};

int32_t matches(const Octets& tac, const Octets& token) {
  const Guarded given(tac), in(token);
  return QEX_CheckTAC_MatchesTST(given.data(), given.size(), in.data(), in.size());
}

// Attribute certificates that differ in content and in length.
AttrCertParts tac_of(uint8_t serial, size_t serial_length = 1) {
  AttrCertParts parts;
  parts.serial = Octets(serial_length, serial);
  return parts;
}

Octets sha1(const Octets& octets) {
  return Digest(kSha1, octets);
}
Octets sha1_of(const CertificateParts& parts) {
  return sha1(StandaloneOctets(parts));
}

// token_with puts these certificates after that of the authority, and the identifiers after the authority's.
TokenParts token_with(const std::vector<CertificateParts>& certificates,
                      const std::vector<Octets>& identifiers) {
  TokenParts parts;
  parts.certificates->insert(parts.certificates->end(), certificates.begin(), certificates.end());
  parts.signer().certificate_ids->insert(parts.signer().certificate_ids->end(), identifiers.begin(),
                                         identifiers.end());
  return parts;
}

// token_certified has `tac` in the signer attributes alone.
TokenParts token_certified(const AttrCertParts& tac) {
  TokenParts parts;
  parts.signer().signer_attributes = {{{{}, tac}}};
  return parts;
}

Output found(const Octets& octets) {
  return {QEX_OK, uint32_t(octets.size()), octets};
}

// --- QEX_GetTST_TimeAttributeCert ----------------------------------------------------------------

TEST(TimeAttributeCert, IsTheOneThatTheSecondIdentifierNames) {
  for (const CertificateParts::Kind kind : {kV1, kPublishedV1, kV2}) {
    const CertificateParts tac = AttrCert(kind, tac_of(5));
    const Octets expected = StandaloneOctets(tac);
    const Octets token = ByHand(token_with({tac}, {sha1_of(tac)}));
    EXPECT_EQ(AskLength(TimeAttributeCert(token)), (Output{QEX_E_SIZE, uint32_t(expected.size()), {}}));
    EXPECT_EQ(Call(uint32_t(expected.size()), TimeAttributeCert(token)), found(expected));
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(expected[0], 0x30);
  }
}

TEST(TimeAttributeCert, IsFoundInTokensOfEitherMaker) {
  const CertificateParts tac = AttrCert(kV2);
  const TokenParts parts = token_with({tac}, {sha1_of(tac)});
  EXPECT_EQ(Fetch(TimeAttributeCert(ByEncoders(parts))), found(ByEncoders(tac.attr_cert)));
  EXPECT_EQ(Fetch(TimeAttributeCert(ByHand(parts))), found(ByHand(tac.attr_cert)));
}

TEST(TimeAttributeCert, MayBeNamedByAnyLaterIdentifier) {
  const CertificateParts tac = AttrCert(kV2);
  const Octets token = ByHand(token_with({tac}, {Octets(20, 1), Octets(20, 2), sha1_of(tac), Octets(20, 3)}));
  EXPECT_EQ(Fetch(TimeAttributeCert(token)), found(StandaloneOctets(tac)));
}

TEST(TimeAttributeCert, IsNotNamedByTheFirstIdentifier) {
  const CertificateParts tac = AttrCert(kV2);
  const uint32_t length = uint32_t(StandaloneOctets(tac).size());
  TokenParts parts = token_with({tac}, {});
  parts.signer().certificate_ids = {{sha1_of(tac)}};
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))), (Output{QEX_E_NOTAC, length, {}}));
  parts.signer().certificate_ids = {{sha1_of(tac), sha1(AuthorityCertificate())}};
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))), (Output{QEX_E_NOTAC, length, {}}));
}

TEST(TimeAttributeCert, IsNamedByItsStandaloneOctets) {
  const CertificateParts tac = AttrCert(kV2);
  const Octets tagged = der::context(2, ContentByHand(tac.attr_cert));
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(token_with({tac}, {sha1(tagged)})))).code, QEX_E_NOTAC);
}

TEST(TimeAttributeCert, IsTheFirstOfThoseThatAreNamed) {
  const CertificateParts a = AttrCert(kV2, tac_of(1)), b = AttrCert(kV1, tac_of(2)),
                         c = AttrCert(kV2, tac_of(3));
  const Octets token = ByHand(token_with({a, b, c}, {sha1_of(c), sha1_of(b)}));
  EXPECT_EQ(Fetch(TimeAttributeCert(token)), found(StandaloneOctets(b)));
}

TEST(TimeAttributeCert, IgnoresCertificatesOfOtherKinds) {
  const Octets token = ByHand(token_with({PlainCertificate(OtherCertificate()), OtherFormat()},
                                         {sha1(OtherCertificate()), sha1(AuthorityCertificate())}));
  EXPECT_EQ(AskLength(TimeAttributeCert(token), 9), (Output{QEX_E_NOTAC, 9, {}}));
}

TEST(TimeAttributeCert, ThatIsNotNamedLeavesTheLengthOfTheLastExamined) {
  const CertificateParts a = AttrCert(kV2, tac_of(1, 9)), b = AttrCert(kV2, tac_of(2, 20)),
                         c = AttrCert(kV1, tac_of(3, 4));
  const Octets token = ByHand(token_with({a, b, c, OtherFormat()}, {Octets(20, 9)}));
  const Octets untouched(2000, Guarded::kFill);
  EXPECT_EQ(Call(2000, TimeAttributeCert(token)),
            (Output{QEX_E_NOTAC, uint32_t(StandaloneOctets(c).size()), untouched}));
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}

TEST(TimeAttributeCert, NeedsTheCallersRoomAfterAnyEarlierCandidate) {
  const CertificateParts longer = AttrCert(kV2, tac_of(1, 30)), shorter = AttrCert(kV2, tac_of(2));
  const uint32_t needed_short = uint32_t(StandaloneOctets(shorter).size());
  const uint32_t needed_long = uint32_t(StandaloneOctets(longer).size());
  ASSERT_LT(needed_short, needed_long);

  const Octets short_second = ByHand(token_with({longer, shorter}, {sha1_of(shorter)}));
  EXPECT_EQ(Call(needed_short - 1, TimeAttributeCert(short_second)),
            (Output{QEX_E_SIZE, needed_short, Octets(needed_short - 1, Guarded::kFill)}));
  EXPECT_EQ(Call(needed_short, TimeAttributeCert(short_second)), found(StandaloneOctets(shorter)));

  const Octets long_second = ByHand(token_with({shorter, longer}, {sha1_of(longer)}));
  EXPECT_EQ(Call(needed_long - 1, TimeAttributeCert(long_second)),
            (Output{QEX_E_SIZE, needed_long, Octets(needed_long - 1, Guarded::kFill)}));
  EXPECT_EQ(Call(needed_long, TimeAttributeCert(long_second)), found(StandaloneOctets(longer)));
}

TEST(TimeAttributeCert, ThatDoesNotFitEndsTheSearch) {
  const CertificateParts longer = AttrCert(kV2, tac_of(1, 30)), shorter = AttrCert(kV2, tac_of(2));
  const uint32_t needed_short = uint32_t(StandaloneOctets(shorter).size());
  TokenParts parts = token_with({longer, shorter}, {sha1_of(shorter), sha1_of(longer)});
  parts.signer().signer_attributes = {{{{}, tac_of(2)}}};
  EXPECT_EQ(
      Call(needed_short, TimeAttributeCert(ByHand(parts))),
      (Output{QEX_E_SIZE, uint32_t(StandaloneOctets(longer).size()), Octets(needed_short, Guarded::kFill)}));
}

TEST(TimeAttributeCert, IsEncodedAgain) {
  const AttrCertParts parts = tac_of(6);
  const CertificateParts tac = AttrCert(kV2, parts);
  TokenMaker maker;
  maker.certificates.push_back(der::indefinite(0xA2, ContentByHand(parts)));
  maker.signer().without = {kSigningCertificateAttribute};
  maker.signer().extra = {
      Attribute(kSigningCertificateAttribute,
                {SigningCertificate({EssCertId(sha1(AuthorityCertificate())), EssCertId(sha1_of(tac))})})};
  EXPECT_EQ(Fetch(TimeAttributeCert(maker.encode())), found(ByHand(parts)));
}

TEST(TimeAttributeCert, IsElseTheOneOfTheSignerAttributes) {
  const Octets expected = ByHand(tac_of(7));
  const uint32_t length = uint32_t(expected.size());
  TokenParts parts = token_certified(tac_of(7));
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))), (Output{QEX_E_SIZE, length, {}}));
  EXPECT_EQ(Call(length - 1, TimeAttributeCert(ByHand(parts))),
            (Output{QEX_E_SIZE, length, Octets(length - 1, Guarded::kFill)}));
  EXPECT_EQ(Call(length, TimeAttributeCert(ByHand(parts))), found(expected));
  EXPECT_EQ(Call(length, TimeAttributeCert(ByEncoders(parts))), found(expected));
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
  // No identifier needs to name it, nor any attribute to be there that could.
  parts.signer().certificate_ids.reset();
  EXPECT_EQ(Call(length, TimeAttributeCert(ByHand(parts))), found(expected));
  parts.certificates.reset();
  EXPECT_EQ(Call(length, TimeAttributeCert(ByHand(parts))), found(expected));
}

TEST(TimeAttributeCert, OfTheSignerAttributesComesAfterThoseExamined) {
  const CertificateParts other = AttrCert(kV2, tac_of(1, 30));
  const Octets expected = ByHand(tac_of(7));
  TokenParts parts = token_with({other}, {Octets(20, 9)});
  parts.signer().signer_attributes = {{{{}, tac_of(7)}}};
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))), (Output{QEX_E_SIZE, uint32_t(expected.size()), {}}));
  // The room is the caller's, not the length of the one examined before.
  EXPECT_EQ(Call(uint32_t(expected.size() - 1), TimeAttributeCert(ByHand(parts))).code, QEX_E_SIZE);
  EXPECT_EQ(Call(uint32_t(expected.size()), TimeAttributeCert(ByHand(parts))), found(expected));
}

TEST(TimeAttributeCert, OfTheCertificateSetComesBeforeThatOfTheSignerAttributes) {
  const CertificateParts tac = AttrCert(kV1, tac_of(1));
  TokenParts parts = token_with({tac}, {sha1_of(tac)});
  parts.signer().signer_attributes = {{{{}, tac_of(7)}}};
  EXPECT_EQ(Fetch(TimeAttributeCert(ByHand(parts))), found(StandaloneOctets(tac)));
}

TEST(TimeAttributeCert, IsTheFirstCertifiedElementOfTheFirstValue) {
  TokenParts parts;
  const SignerAttributeParts claimed{{PlainAttribute()}, {}};
  parts.signer().signer_attributes = {{claimed, {{}, tac_of(1)}, {{}, tac_of(2)}}, {{{}, tac_of(3)}}};
  EXPECT_EQ(Fetch(TimeAttributeCert(ByHand(parts))), found(ByHand(tac_of(1))));
}

TEST(TimeAttributeCert, IsMissingWhereTheSignerAttributesHoldNone) {
  const SignerAttributeParts claimed{{PlainAttribute()}, {}}, certified{{}, tac_of(1)};
  std::vector<std::pair<const char*, TokenParts>> cases(6);
  cases[0].first = "no signer attributes";
  cases[1].first = "no values";
  cases[1].second.signer().signer_attributes.emplace();
  cases[2].first = "a value of no elements before another value";
  cases[2].second.signer().signer_attributes = {{{}, {certified}}};
  cases[3].first = "claimed attributes alone in the first value";
  cases[3].second.signer().signer_attributes = {{{claimed, claimed}, {certified}}};
  cases[4].first = "no signed attributes";
  cases[4].second.signer().signer_attributes = {{{certified}}};
  cases[4].second.signer().signed_attributes = false;
  cases[5].first = "no signer";
  cases[5].second.signers.clear();
  for (const auto& [name, parts] : cases) {
    EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts)), 77), (Output{QEX_E_NOTAC, 77, {}})) << name;
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TimeAttributeCert, IsOfTheFirstSignerAlone) {
  const CertificateParts tac = AttrCert(kV2);
  TokenParts parts = token_with({tac}, {});
  parts.signers.resize(2);
  parts.signers[1].signer_attributes = {{{{}, tac_of(1)}}};
  parts.signers[1].certificate_ids->push_back(sha1_of(tac));
  EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))).code, QEX_E_NOTAC);
  std::swap(parts.signers[0], parts.signers[1]);
  EXPECT_EQ(Fetch(TimeAttributeCert(ByHand(parts))), found(StandaloneOctets(tac)));
}

TEST(TimeAttributeCert, IsOfTheFirstAttributeOfItsTypeAlone) {
  TokenMaker maker;
  const Octets certified = der::context(1, ByHand(tac_of(1)));
  maker.signer().sorted = false;
  maker.signer().extra = {Attribute(kSignerAttributesAttribute, {der::sequence()}),
                          Attribute(kSignerAttributesAttribute, {der::sequence(certified)})};
  EXPECT_EQ(AskLength(TimeAttributeCert(maker.encode())).code, QEX_E_NOTAC);
  std::swap(maker.signer().extra[0], maker.signer().extra[1]);
  EXPECT_EQ(Fetch(TimeAttributeCert(maker.encode())), found(ByHand(tac_of(1))));
  // One without a value decides, too.
  maker.signer().extra[1] = maker.signer().extra[0];
  maker.signer().extra[0] = Attribute(kSignerAttributesAttribute, {});
  EXPECT_EQ(AskLength(TimeAttributeCert(maker.encode())).code, QEX_E_NOTAC);
}

TEST(TimeAttributeCert, NeedsSignedData) {
  for (const Octets& token : {TokenWithoutContent(), TokenOfData()}) {
    EXPECT_EQ(AskLength(TimeAttributeCert(token), 77), (Output{QEX_E_MISSING, 77, {}}));
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TimeAttributeCert, NeedsATokenThatDecodes) {
  const Octets token = ByHand(token_certified(tac_of(1)));
  for (const Octets& bad :
       {Octets{}, Octets{0x30}, Octets{0x30, 0}, Octets(token.begin(), token.end() - 1)}) {
    EXPECT_EQ(Call(77, TimeAttributeCert(bad)), (Output{QEX_E_DECODE, 77, Octets(77, Guarded::kFill)}));
    EXPECT_NE(QEX_GetLastAsnError(), 0);
  }
}

TEST(TimeAttributeCert, NeedsTokenAndLength) {
  const Octets token = ByHand(token_certified(tac_of(1)));
  Guarded out(2000);
  uint32_t length = 2000;
  const Octets bad = {0x04, 0x00};
  ASSERT_EQ(QEX_GetTST_TimeAttributeCert(out.data(), &length, bad.data(), 2), QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  EXPECT_EQ(QEX_GetTST_TimeAttributeCert(out.data(), &length, nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetTST_TimeAttributeCert(out.data(), nullptr, token.data(), uint32_t(token.size())),
            QEX_E_ARG);
  EXPECT_EQ(QEX_GetTST_TimeAttributeCert(nullptr, nullptr, nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(length, 2000u);
  EXPECT_TRUE(out.untouched());
  EXPECT_EQ(QEX_GetLastAsnError(), error);
}

TEST(TimeAttributeCert, IgnoresWhatFollowsTheToken) {
  const Octets token = der::concat(ByHand(token_certified(tac_of(1))), Octets{0xDE, 0xAD});
  EXPECT_EQ(Fetch(TimeAttributeCert(token)), found(ByHand(tac_of(1))));
}

// while_memory_lasts calls `call` with one allocation more each time until it gives `goal`, and expects that
// every code before that is one of `codes` and that nothing is lost.
template <class F>
void while_memory_lasts(const F& call, int32_t goal, const std::vector<int32_t>& codes) {
  int32_t code = goal - 1;
  for (size_t allowed = 0; code != goal; ++allowed) {
    ASSERT_LT(allowed, 5000u);
    const long before = LiveBlocks();
    size_t refused;
    {
      FailingAlloc failing(allowed);
      code = call();
      refused = failing.refused();
    }
    ASSERT_EQ(LiveBlocks(), before) << "after " << allowed;
    if (code != goal) {
      ASSERT_GT(refused, 0u);
      ASSERT_NE(std::find(codes.begin(), codes.end(), code), codes.end()) << code << " after " << allowed;
    }
  }
}

TEST(TimeAttributeCert, ReportsThatMemoryRanOutAndReleasesAll) {
  const CertificateParts tac = AttrCert(kV2, tac_of(1));
  for (const Octets& token :
       {ByHand(token_with({tac}, {sha1_of(tac)})), ByHand(token_certified(tac.attr_cert))}) {
    const Octets expected = StandaloneOctets(tac);
    ASSERT_EQ(Fetch(TimeAttributeCert(token)), found(expected));
    Octets out(expected.size());
    uint32_t length;
    while_memory_lasts(
        [&] {
          length = uint32_t(out.size());
          return QEX_GetTST_TimeAttributeCert(out.data(), &length, token.data(), uint32_t(token.size()));
        },
        QEX_OK, {QEX_E_DECODE, QEX_E_NOMEM});
    EXPECT_EQ(out, expected);
  }
}

// --- QEX_CheckTAC_MatchesTST ---------------------------------------------------------------------

TEST(CheckTac, MatchesTheSecondAndLaterIdentifiers) {
  const Octets tac = ByHand(tac_of(1));
  // The certificate need not be in the token.
  EXPECT_EQ(matches(tac, ByHand(token_with({}, {sha1(tac)}))), QEX_OK);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
  EXPECT_EQ(matches(tac, ByHand(token_with({}, {Octets(20, 1), Octets(20, 2), sha1(tac)}))), QEX_OK);
  EXPECT_EQ(matches(tac, ByEncoders(token_with({}, {sha1(tac)}))), QEX_OK);
}

TEST(CheckTac, DoesNotMatchTheFirstIdentifier) {
  const Octets tac = ByHand(tac_of(1));
  TokenParts parts;
  parts.signer().certificate_ids = {{sha1(tac)}};
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_MISMATCH);
  parts.signer().certificate_ids = {{sha1(tac), Octets(20, 1)}};
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_MISMATCH);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}

TEST(CheckTac, ComparesWholeHashes) {
  const Octets tac = ByHand(tac_of(1));
  const Octets hash = sha1(tac);
  const Octets shorter(hash.begin(), hash.end() - 1);
  const Octets longer = der::concat(hash, Octets{0});
  for (const Octets& other : {shorter, longer, Octets{}, Digest(kSha256, tac)}) {
    EXPECT_EQ(matches(tac, ByHand(token_with({}, {other}))), QEX_E_MISMATCH);
  }
}

TEST(CheckTac, TakesTheOctetsExactlyAsGiven) {
  const Octets tac = ByHand(tac_of(1));
  const Octets token = ByHand(token_with({}, {sha1(tac)}));
  EXPECT_EQ(matches(der::concat(tac, Octets{0}), token), QEX_E_MISMATCH);
  EXPECT_EQ(matches(Octets(tac.begin(), tac.end() - 1), token), QEX_E_MISMATCH);
  // They are not decoded.
  const Octets text = der::octets("no certificate at all");
  EXPECT_EQ(matches(text, ByHand(token_with({}, {sha1(text)}))), QEX_OK);
  EXPECT_EQ(matches({}, ByHand(token_with({}, {sha1({})}))), QEX_OK);
  EXPECT_EQ(matches({}, token), QEX_E_MISMATCH);
}

TEST(CheckTac, MatchesTheOneOfTheSignerAttributesByteForByte) {
  const Octets tac = ByHand(tac_of(1));
  TokenParts parts = token_certified(tac_of(1));
  for (const Octets& token : {ByHand(parts), ByEncoders(parts)}) {
    EXPECT_EQ(matches(tac, token), QEX_OK);
    Octets changed = tac;
    changed.back() ^= 1;
    EXPECT_EQ(matches(changed, token), QEX_E_MISMATCH);
    changed = tac;
    changed[0] ^= 1;
    EXPECT_EQ(matches(changed, token), QEX_E_MISMATCH);
    EXPECT_EQ(matches(der::concat(tac, Octets{0}), token), QEX_E_MISMATCH);
    EXPECT_EQ(matches(Octets(tac.begin(), tac.end() - 1), token), QEX_E_MISMATCH);
    EXPECT_EQ(matches({}, token), QEX_E_MISMATCH);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
  // One that is only in the certificate set does not belong to the token.
  EXPECT_EQ(matches(tac, ByHand(token_with({AttrCert(kV2, tac_of(1))}, {}))), QEX_E_MISMATCH);
}

TEST(CheckTac, ComparesWithTheFreshEncodingOfTheSignerAttributes) {
  const Octets tac = ByHand(tac_of(1));
  const Octets in_ber = der::indefinite(0x30, ContentByHand(tac_of(1)));
  TokenMaker maker;
  maker.signer().extra = {Attribute(kSignerAttributesAttribute, {der::sequence(der::context(1, in_ber))})};
  EXPECT_EQ(matches(tac, maker.encode()), QEX_OK);
  EXPECT_EQ(matches(in_ber, maker.encode()), QEX_E_MISMATCH);
}

TEST(CheckTac, DoesNotTryTheSignerAttributesWithoutASigningCertificateAttribute) {
  const Octets tac = ByHand(tac_of(1));
  TokenParts parts = token_certified(tac_of(1));
  parts.signer().certificate_ids.reset();
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
  // The second version does not count for the first.
  parts.signer().certificate_ids_v2 = {{{"", Octets(32, 1)}, {"", Digest(kSha256, tac)}}};
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_DECODE);
  // Nor does an attribute without an identifier, or without a value.
  parts.signer().certificate_ids.emplace();
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_DECODE);
  TokenMaker maker;
  maker.signer().without = {kSigningCertificateAttribute};
  maker.signer().extra = {Attribute(kSigningCertificateAttribute, {}),
                          Attribute(kSignerAttributesAttribute, {der::sequence(der::context(1, tac))})};
  EXPECT_EQ(matches(tac, maker.encode()), QEX_E_DECODE);
}

TEST(CheckTac, NeedsASignerWithSignedAttributes) {
  const Octets tac = ByHand(tac_of(1));
  TokenParts parts = token_with({}, {sha1(tac)});
  parts.signer().signed_attributes = false;
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_DECODE);
  parts.signers.clear();
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_DECODE);
  EXPECT_EQ(matches(tac, TokenWithoutContent()), QEX_E_DECODE);
  EXPECT_EQ(matches(tac, TokenOfData()), QEX_E_DECODE);
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}

TEST(CheckTac, LooksAtTheFirstSignerAlone) {
  const Octets tac = ByHand(tac_of(1));
  TokenParts parts;
  parts.signers.resize(2);
  parts.signers[1].certificate_ids->push_back(sha1(tac));
  parts.signers[1].signer_attributes = {{{{}, tac_of(1)}}};
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_MISMATCH);
  std::swap(parts.signers[0], parts.signers[1]);
  EXPECT_EQ(matches(tac, ByHand(parts)), QEX_OK);
}

TEST(CheckTac, NeedsATokenThatDecodes) {
  const Octets tac = ByHand(tac_of(1));
  const Octets token = ByHand(token_certified(tac_of(1)));
  for (const Octets& bad :
       {Octets{}, Octets{0x30}, Octets{0x30, 0}, Octets(token.begin(), token.end() - 1)}) {
    EXPECT_EQ(matches(tac, bad), QEX_E_DECODE);
    EXPECT_NE(QEX_GetLastAsnError(), 0);
  }
}

TEST(CheckTac, NeedsBothPointers) {
  const Octets tac = ByHand(tac_of(1));
  const Octets token = ByHand(token_certified(tac_of(1)));
  ASSERT_EQ(matches(tac, {0x04, 0x00}), QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  ASSERT_NE(error, 0);
  EXPECT_EQ(QEX_CheckTAC_MatchesTST(nullptr, 0, token.data(), uint32_t(token.size())), QEX_E_ARG);
  EXPECT_EQ(QEX_CheckTAC_MatchesTST(tac.data(), uint32_t(tac.size()), nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_CheckTAC_MatchesTST(nullptr, 0, nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_GetLastAsnError(), error);
}

TEST(CheckTac, IsAMismatchWhenAllocationFailsAfterTheDecoder) {
  const Octets tac = ByHand(tac_of(1));
  const Octets token = ByHand(token_certified(tac_of(1)));
  ASSERT_EQ(matches(tac, token), QEX_OK);
  while_memory_lasts(
      [&] {
        return QEX_CheckTAC_MatchesTST(tac.data(), uint32_t(tac.size()), token.data(),
                                       uint32_t(token.size()));
      },
      QEX_OK, {QEX_E_DECODE, QEX_E_MISMATCH});
}

// --- The version of the attribute, in processes of their own -------------------------------------

// A token in whose attributes the first version names one certificate and the second another one.
struct TwoVersions {
  Octets first = ByHand(tac_of(1)), second = ByHand(tac_of(2));
  Octets token;

  explicit TwoVersions(const std::string& algorithm = "") {
    TokenParts parts = token_with({AttrCert(kV2, tac_of(1)), AttrCert(kV2, tac_of(2))}, {sha1(first)});
    parts.signer().certificate_ids_v2 = {
        {{"", Octets(32, 1)}, {algorithm, Digest(algorithm.empty() ? kSha256 : algorithm, second)}}};
    token = ByHand(parts);
  }
};

TEST(VersionOfTheAttribute, IsTheSecondWhenTheSwitchIsOne) {
  const struct {
    const char* value;
    bool second;
  } cases[] = {{nullptr, false}, {"1", true}, {"0", false}};
  for (const auto& c : cases) {
    InFreshProcess(c.value, [&c] {
      const TwoVersions made;
      EXPECT_EQ(matches(made.first, made.token), c.second ? QEX_E_MISMATCH : QEX_OK);
      EXPECT_EQ(matches(made.second, made.token), c.second ? QEX_OK : QEX_E_MISMATCH);
      EXPECT_EQ(Fetch(TimeAttributeCert(made.token)), found(c.second ? made.second : made.first));
    });
  }
}

TEST(VersionOfTheAttribute, TwoKnowsTheDigestsOfTheSha2Family) {
  InFreshProcess("1", [] {
    for (const char* algorithm : {"", kSha256, kSha384, kSha512}) {
      const TwoVersions made(algorithm);
      EXPECT_EQ(matches(made.second, made.token), QEX_OK) << algorithm;
      EXPECT_EQ(Fetch(TimeAttributeCert(made.token)), found(made.second)) << algorithm;
    }
    for (const char* algorithm : {kSha1, kMd5}) {
      const TwoVersions made(algorithm);
      EXPECT_EQ(matches(made.second, made.token), QEX_E_MISMATCH) << algorithm;
      EXPECT_EQ(AskLength(TimeAttributeCert(made.token)).code, QEX_E_NOTAC) << algorithm;
    }
  });
}

TEST(VersionOfTheAttribute, TwoDoesNotConsultTheFirst) {
  InFreshProcess("1", [] {
    const CertificateParts tac = AttrCert(kV2, tac_of(1));
    const Octets octets = StandaloneOctets(tac);
    TokenParts parts = token_with({tac}, {sha1(octets)});
    EXPECT_EQ(matches(octets, ByHand(parts)), QEX_E_DECODE);
    EXPECT_EQ(AskLength(TimeAttributeCert(ByHand(parts))),
              (Output{QEX_E_NOTAC, uint32_t(octets.size()), {}}));
    // In the signer attributes it is found all the same, but belongs to the token only with the attribute.
    parts.certificates.reset();
    parts.signer().signer_attributes = {{{{}, tac_of(1)}}};
    EXPECT_EQ(Fetch(TimeAttributeCert(ByHand(parts))), found(octets));
    EXPECT_EQ(matches(octets, ByHand(parts)), QEX_E_DECODE);
    parts.signer().certificate_ids_v2 = {{{"", Octets(32, 1)}}};
    EXPECT_EQ(matches(octets, ByHand(parts)), QEX_OK);
  });
}

TEST(VersionOfTheAttribute, VersionTwoAlsoSkipsTheFirstIdentifier) {
  InFreshProcess("1", [] {
    const Octets tac = ByHand(tac_of(1));
    TokenParts parts;
    parts.signer().certificate_ids_v2 = {{{"", Digest(kSha256, tac)}}};
    EXPECT_EQ(matches(tac, ByHand(parts)), QEX_E_MISMATCH);
    parts.signer().certificate_ids_v2->push_back({"", Digest(kSha256, tac)});
    EXPECT_EQ(matches(tac, ByHand(parts)), QEX_OK);
  });
}

}  // namespace
}  // namespace qex::test
