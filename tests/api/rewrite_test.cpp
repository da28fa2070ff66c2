// Tokens rewritten: content typed as data, attribute certificates taken out.
#include <gtest/gtest.h>

#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

using Rewrite = int32_t (*)(const uint8_t*, uint32_t, uint8_t*, uint32_t*);

// Rewriting is a call of either export, in the form for Call and AskLength.
class Rewriting {
 public:
  Rewriting(Rewrite rewrite, const Octets& token) : rewrite_(rewrite), token_(token), given_(token) {}
  ~Rewriting() { EXPECT_EQ(token_.octets(), given_) << "the token was written to"; }
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return rewrite_(token_.data(), token_.size(), out, length);
  }

 private:
  Rewrite rewrite_;
  Guarded token_;
  Octets given_;
};

constexpr uint32_t kRoom = 1 << 16;

Output output_of(int32_t code, const Octets& octets) {
  return {code, uint32_t(octets.size()), octets};
}

// rewritten is the result for room of exactly the octets that are expected.
Output rewritten(Rewrite rewrite, const Octets& token, size_t room) {
  return Call(uint32_t(room), Rewriting(rewrite, token));
}

// in_ber takes the first three tags of a token as indefinite lengths: ContentInfo, [0] and SignedData.
Octets in_ber(const Octets& der_token) {
  const auto content = [](const Octets& element) {
    const size_t head = element[1] < 0x80 ? 2 : 2 + (element[1] & 0x7F);
    return Octets(element.begin() + ptrdiff_t(head), element.end());
  };
  const Octets type = der::oid(kSignedData);
  const Octets body = content(der_token);
  const Octets tagged(body.begin() + ptrdiff_t(type.size()), body.end());
  return der::indefinite(0x30, type, der::indefinite(0xA0, der::indefinite(0x30, content(content(tagged)))));
}

using enum CertificateParts::Kind;

// --- Both exports ------------------------------------------------------------------------------

class BothRewritings : public ::testing::TestWithParam<Rewrite> {};

TEST_P(BothRewritings, RefuseNullTokensAndLengths) {
  const Octets token = ByHand(TokenParts());
  Guarded out(16);
  uint32_t length = 16;
  // A failed decoding before shows that the last ASN.1 error stays.
  const Octets bad = {0x04, 0x00};
  ASSERT_EQ(GetParam()(bad.data(), 2, out.data(), &length), QEX_E_DECODE);
  const int32_t error = QEX_GetLastAsnError();
  ASSERT_NE(error, 0);
  EXPECT_EQ(GetParam()(nullptr, 0, out.data(), &length), QEX_E_ARG);
  EXPECT_EQ(GetParam()(token.data(), uint32_t(token.size()), out.data(), nullptr), QEX_E_ARG);
  EXPECT_EQ(GetParam()(nullptr, 0, nullptr, nullptr), QEX_E_ARG);
  EXPECT_EQ(QEX_GetLastAsnError(), error);
  EXPECT_EQ(length, 16u);
  EXPECT_TRUE(out.untouched());
}

TEST_P(BothRewritings, RefuseUndecodableTokens) {
  const Octets token = ByHand(TokenParts());
  const Octets cases[] = {
      {},
      {0x30},
      {0x30, 0x00},
      {0x31, 0x00},
      Octets(token.begin(), token.end() - 1),
      der::sequence(der::oid("1.2.3"), der::context(0, der::null())),  // a type that is not registered
      der::sequence(der::oid(kSignedData), der::context(0, der::sequence())),
  };
  for (const Octets& bad : cases) {
    const Output output = Call(64, Rewriting(GetParam(), bad));
    EXPECT_EQ(output, (Output{QEX_E_DECODE, 64, Octets(64, Guarded::kFill)})) << ToHex(bad).substr(0, 40);
    EXPECT_NE(QEX_GetLastAsnError(), 0);
  }
}

TEST_P(BothRewritings, WithoutAnOutputDoNotReturnTheLength) {
  TokenParts parts;
  for (const auto& kinds : {CertificatesOf({kPlain}), CertificatesOf({kPlain, kV2})}) {
    parts.certificates = kinds;
    for (const uint32_t length : {uint32_t{0}, kRoom, kUnset}) {
      EXPECT_EQ(AskLength(Rewriting(GetParam(), ByHand(parts)), length), (Output{QEX_E_MISSING, length, {}}));
      EXPECT_EQ(QEX_GetLastAsnError(), 0);
    }
  }
  EXPECT_EQ(AskLength(Rewriting(GetParam(), TokenWithoutContent()), 9), (Output{QEX_E_MISSING, 9, {}}));
  EXPECT_EQ(AskLength(Rewriting(GetParam(), {0x30, 0x00}), 9), (Output{QEX_E_DECODE, 9, {}}));
}

TEST_P(BothRewritings, WriteTokensWithoutSignedDataBackAsTheyAre) {
  for (const Octets& token : {TokenWithoutContent(), TokenOfData()}) {
    EXPECT_EQ(rewritten(GetParam(), token, token.size()), output_of(QEX_OK, token));
    EXPECT_EQ(Call(uint32_t(token.size() - 1), Rewriting(GetParam(), token)),
              (Output{QEX_E_SIZE, uint32_t(token.size()), Octets(token.size() - 1, Guarded::kFill)}));
  }
}

TEST_P(BothRewritings, KeepThatTheTokenVerifies) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kV2, kPlain, kV1});
  const Output output = Call(kRoom, Rewriting(GetParam(), ByHand(parts)));
  ASSERT_EQ(output.code, QEX_OK);
  EXPECT_EQ(Verify(Octets(output.octets.begin(), output.octets.begin() + output.length)), QEX_OK);
}

TEST_P(BothRewritings, ReportThatMemoryRanOutAndReleaseAll) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kPlain, kV2});
  const Octets token = ByHand(parts);
  Call(kRoom, Rewriting(GetParam(), token));  // the tables are built
  int32_t code = QEX_E_NOMEM;
  size_t allowed = 0;
  bool seen_encoding = false;
  for (; code != QEX_OK; ++allowed) {
    ASSERT_LT(allowed, 5000u);
    Octets out(token.size(), 0xA5);
    uint32_t length = uint32_t(out.size());
    const long before = LiveBlocks();
    {
      FailingAlloc failing(allowed);
      code = GetParam()(token.data(), uint32_t(token.size()), out.data(), &length);
    }
    ASSERT_EQ(LiveBlocks(), before) << "after " << allowed;
    if (code == QEX_OK) break;
    ASSERT_TRUE(code == QEX_E_DECODE || code == QEX_E_NOMEM) << code << " after " << allowed;
    seen_encoding = seen_encoding || code == QEX_E_NOMEM;
    if (code == QEX_E_DECODE) {
      ASSERT_EQ(QEX_GetLastAsnError(), -27) << allowed;
    }
    ASSERT_EQ(out, Octets(token.size(), 0xA5)) << allowed;
  }
  EXPECT_GT(allowed, 1u);
  EXPECT_TRUE(seen_encoding);
}

INSTANTIATE_TEST_SUITE_P(Exports, BothRewritings,
                         ::testing::Values(QEX_TSTInfoToIDData, QEX_RemoveAttrCerts));

// --- QEX_TSTInfoToIDData -----------------------------------------------------------------------

TEST(TSTInfoToIDData, WritesTheSameTokenWithContentOfData) {
  const struct {
    std::vector<CertificateParts::Kind> certificates;
    std::vector<int32_t> signers;
    int32_t version;
  } cases[] = {
      {{kPlain}, {1}, 1},         {{}, {1}, 1},
      {{kPlain}, {3}, 3},         {{kPlain}, {1, 3}, 3},
      {{kPlain}, {1, 1}, 1},      {{kPlain, kV1}, {1}, 3},
      {{kPublishedV1}, {1}, 3},   {{kV2, kPlain}, {1}, 4},
      {{kV2, kV1}, {1}, 3},       {{kV1, kV2}, {1}, 4},
      {{kOther, kPlain}, {1}, 4}, {{kPlain}, {}, 1},
  };
  for (const auto& c : cases) {
    TokenParts parts;
    parts.version = 3;
    parts.certificates = CertificatesOf(c.certificates);
    parts.signers.clear();
    for (const int32_t version : c.signers) {
      parts.signers.emplace_back();
      parts.signers.back().version = version;
    }
    const Octets token = ByHand(parts);
    parts.encapsulated_type = kData;
    parts.version = c.version;
    const Octets expected = ByHand(parts);
    EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, token, expected.size()), output_of(QEX_OK, expected))
        << "case " << &c - cases;
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(TSTInfoToIDData, WorksWithoutACertificateSetAndWithoutContentOctets) {
  TokenParts parts;
  parts.certificates.reset();
  const Octets token = ByHand(parts);
  parts.encapsulated_type = kData;
  parts.version = 1;
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, token, expected.size()), output_of(QEX_OK, expected));

  TokenMaker maker;
  maker.with_content = false;
  const Octets empty = maker.encode();
  maker.encapsulated_type = kData;
  maker.version = 1;
  const Octets expected_empty = maker.encode();
  EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, empty, expected_empty.size()), output_of(QEX_OK, expected_empty));
}

TEST(TSTInfoToIDData, ChangesOnlyTheVersionOfATokenOfData) {
  TokenParts parts;
  parts.encapsulated_type = kData;
  parts.version = 3;
  const Octets token = ByHand(parts);
  parts.version = 1;
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, token, expected.size()), output_of(QEX_OK, expected));
}

TEST(TSTInfoToIDData, LeavesTheTstInfoReadable) {
  const Output output = Call(kRoom, Rewriting(QEX_TSTInfoToIDData, ByHand(TokenParts())));
  ASSERT_EQ(output.code, QEX_OK);
  QEX_TSTINFO_EX info{};
  info.size = sizeof info;
  ASSERT_EQ(QEX_GetTST_TSTInfoEx(&info, output.octets.data(), output.length), QEX_OK);
  EXPECT_STREQ(info.policy, "1.2.3.4.1");
}

TEST(TSTInfoToIDData, WritesDefiniteLengthsForIndefiniteOnes) {
  TokenParts parts;
  const Octets token = in_ber(ByHand(parts));
  parts.encapsulated_type = kData;
  parts.version = 1;
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, token, expected.size()), output_of(QEX_OK, expected));
}

TEST(TSTInfoToIDData, IgnoresWhatFollowsTheToken) {
  TokenParts parts;
  const Octets token = der::concat(ByHand(parts), Octets{0xDE, 0xAD});
  parts.encapsulated_type = kData;
  parts.version = 1;
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_TSTInfoToIDData, token, expected.size()), output_of(QEX_OK, expected));
}

TEST(TSTInfoToIDData, NeedsRoomForAllOfIt) {
  TokenParts parts;
  const Octets token = ByHand(parts);
  parts.encapsulated_type = kData;
  parts.version = 1;
  const uint32_t needed = uint32_t(ByHand(parts).size());
  for (const uint32_t room : {uint32_t{0}, uint32_t{1}, needed - 1}) {
    EXPECT_EQ(Call(room, Rewriting(QEX_TSTInfoToIDData, token)),
              (Output{QEX_E_SIZE, needed, Octets(room, Guarded::kFill)}));
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
  const Output roomy = Call(needed + 5, Rewriting(QEX_TSTInfoToIDData, token));
  EXPECT_EQ(roomy.code, QEX_OK);
  EXPECT_EQ(roomy.length, needed);
  EXPECT_EQ(Octets(roomy.octets.end() - 5, roomy.octets.end()), Octets(5, Guarded::kFill));
}

// --- QEX_RemoveAttrCerts -----------------------------------------------------------------------

TEST(RemoveAttrCerts, TakesOutEveryAttributeCertificate) {
  const struct {
    std::vector<CertificateParts::Kind> certificates;
    std::vector<CertificateParts::Kind> left;
    int32_t version;
  } cases[] = {
      {{kV2, kPlain}, {kPlain}, 3},
      {{kPlain, kV2}, {kPlain}, 3},
      {{kV1, kPlain}, {kPlain}, 3},
      {{kPublishedV1, kPlain}, {kPlain}, 3},
      {{kPlain, kV2, kOther, kV1, kV1, kPlain, kV2}, {kPlain, kOther, kPlain}, 4},
      {{kV1, kV2, kV2, kPlain}, {kPlain}, 3},
      {{kV2}, {}, 3},
      {{kV1, kV2}, {}, 3},
  };
  for (const auto& c : cases) {
    TokenParts parts;
    parts.version = 4;
    parts.certificates = CertificatesOf(c.certificates);
    const Octets token = ByHand(parts);
    parts.version = c.version;
    parts.certificates = CertificatesOf(c.left);
    const Octets expected = ByHand(parts);
    EXPECT_EQ(rewritten(QEX_RemoveAttrCerts, token, expected.size()), output_of(QEX_OK, expected))
        << "case " << &c - cases;
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

TEST(RemoveAttrCerts, LeavesAnEmptySetInTheEncoding) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kV2});
  const Output output = Call(kRoom, Rewriting(QEX_RemoveAttrCerts, ByHand(parts)));
  ASSERT_EQ(output.code, QEX_OK);
  parts.certificates.reset();
  EXPECT_EQ(output.length, ByHand(parts).size() + 2);  // A0 00
}

TEST(RemoveAttrCerts, KeepsTheOrderOfTheRest) {
  TokenParts parts;
  parts.certificates = {{PlainCertificate(OtherCertificate()), AttrCert(kV2), PlainCertificate()}};
  const Octets token = ByHand(parts);
  parts.certificates->erase(parts.certificates->begin() + 1);
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_RemoveAttrCerts, token, expected.size()), output_of(QEX_OK, expected));
}

TEST(RemoveAttrCerts, GivesDataTheVersionOfItsSigners) {
  for (const int32_t signer_version : {1, 3}) {
    TokenParts parts;
    parts.version = 4;
    parts.encapsulated_type = kData;
    parts.signer().version = signer_version;
    parts.certificates = CertificatesOf({kPlain, kV2});
    const Octets token = ByHand(parts);
    parts.version = signer_version == 1 ? 1 : 3;
    parts.certificates = CertificatesOf({kPlain});
    const Octets expected = ByHand(parts);
    EXPECT_EQ(rewritten(QEX_RemoveAttrCerts, token, expected.size()), output_of(QEX_OK, expected));
  }
}

TEST(RemoveAttrCerts, NeedsRoomForTheNewEncodingOnly) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kPlain, kV2});
  const Octets token = ByHand(parts);
  parts.certificates = CertificatesOf({kPlain});
  const uint32_t needed = uint32_t(ByHand(parts).size());
  ASSERT_LT(needed, token.size());
  for (const uint32_t room : {uint32_t{0}, needed - 1}) {
    EXPECT_EQ(Call(room, Rewriting(QEX_RemoveAttrCerts, token)),
              (Output{QEX_E_SIZE, needed, Octets(room, Guarded::kFill)}));
  }
  EXPECT_EQ(Call(needed, Rewriting(QEX_RemoveAttrCerts, token)).code, QEX_OK);
}

TEST(RemoveAttrCerts, MayWriteOverTheToken) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kV2, kPlain});
  Guarded token(ByHand(parts));
  parts.certificates = CertificatesOf({kPlain});
  const Octets expected = ByHand(parts);
  uint32_t length = token.size();
  ASSERT_EQ(QEX_RemoveAttrCerts(token.data(), token.size(), token.data(), &length), QEX_OK);
  ASSERT_EQ(length, expected.size());
  EXPECT_EQ(Octets(token.data(), token.data() + length), expected);
}

TEST(RemoveAttrCerts, WritesDefiniteLengthsWhenSomethingWasTakenOut) {
  TokenParts parts;
  parts.certificates = CertificatesOf({kPlain, kV1});
  const Octets token = in_ber(ByHand(parts));
  parts.certificates = CertificatesOf({kPlain});
  const Octets expected = ByHand(parts);
  EXPECT_EQ(rewritten(QEX_RemoveAttrCerts, token, expected.size()), output_of(QEX_OK, expected));
}

// Tokens in which there is nothing to take out, the last ones in forms that no encoder here would write.
std::vector<Octets> tokens_without_attribute_certificates() {
  TokenParts parts;
  parts.version = 77;  // stays
  const Octets plain = ByHand(parts);
  parts.certificates = CertificatesOf({kOther, kPlain});
  const Octets with_other = ByHand(parts);
  parts.certificates.reset();
  const Octets no_set = ByHand(parts);
  parts.certificates.emplace();
  const Octets empty_set = ByHand(parts);
  return {plain,
          with_other,
          no_set,
          empty_set,
          TokenWithoutContent(),
          TokenOfData(),
          in_ber(plain),
          der::concat(plain, Octets{0xDE, 0xAD})};
}

TEST(RemoveAttrCerts, CopiesATokenWithoutAnyByteForByte) {
  for (const Octets& token : tokens_without_attribute_certificates()) {
    EXPECT_EQ(Call(uint32_t(token.size()), Rewriting(QEX_RemoveAttrCerts, token)), output_of(QEX_OK, token));
    Output roomy = Call(uint32_t(token.size() + 3), Rewriting(QEX_RemoveAttrCerts, token));
    EXPECT_EQ(roomy.length, token.size());
    EXPECT_EQ(roomy.octets, der::concat(token, Octets(3, Guarded::kFill)));
  }
}

TEST(RemoveAttrCerts, NeedsRoomForTheTokenWhenThereIsNothingToTakeOut) {
  for (const Octets& token : tokens_without_attribute_certificates()) {
    for (const size_t room : {size_t{0}, token.size() - 1}) {
      EXPECT_EQ(Call(uint32_t(room), Rewriting(QEX_RemoveAttrCerts, token)),
                (Output{QEX_E_SIZE, uint32_t(token.size()), Octets(room, Guarded::kFill)}));
    }
  }
}

TEST(RemoveAttrCerts, OverATokenWithoutAnyIsMissingAndSetsTheLength) {
  for (const Octets& octets : tokens_without_attribute_certificates()) {
    Guarded token(octets);
    uint32_t length = kUnset;
    EXPECT_EQ(QEX_RemoveAttrCerts(token.data(), token.size(), token.data(), &length), QEX_E_MISSING);
    EXPECT_EQ(length, token.size());
    length = token.size();
    EXPECT_EQ(QEX_RemoveAttrCerts(token.data(), token.size(), token.data(), &length), QEX_E_MISSING);
    EXPECT_EQ(length, token.size());
    length = token.size() - 1;
    EXPECT_EQ(QEX_RemoveAttrCerts(token.data(), token.size(), token.data(), &length), QEX_E_SIZE);
    EXPECT_EQ(length, token.size());
    EXPECT_EQ(token.octets(), octets);
    EXPECT_EQ(QEX_GetLastAsnError(), 0);
  }
}

}  // namespace
}  // namespace qex::test
