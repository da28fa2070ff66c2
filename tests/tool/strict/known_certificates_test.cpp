// A token apart from its certificates.
#include "tool/worker/strict/known_certificates.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/tool/strict/tokens.h"
#include "tool/worker/strict/libcrypto.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::SignatureResult;
using tool::Stop;
using tool::strict::KnownCertificates;
using tool::strict::TakeApart;

class KnownCertificatesTest : public testing::Test {
 protected:
  void SetUp() override { tool::strict::Start(); }

  Certificate root = MakeRoot();
  Certificate signer = MakeSigner(root);
  TokenPlan plan{signer};
};

TEST_F(KnownCertificatesTest, TheRestIsTheTokenWithoutThem) {
  plan.certificates = std::vector<Octets>{root.der(), signer.der()};
  const Octets token = plan.encode();
  const auto parts = TakeApart(token);
  ASSERT_TRUE(parts);
  ASSERT_EQ(parts->certificates.size(), 2u);
  EXPECT_TRUE(std::ranges::equal(parts->certificates[0], root.der()));
  EXPECT_TRUE(std::ranges::equal(parts->certificates[1], signer.der()));

  const tool::Trust trust = Trusting({&root});
  const tool::StrictReading whole = Read(token, trust);
  tool::Trust withSigner = trust;
  withSigner.untrusted = {Item(signer.der())};
  const tool::StrictReading rest = Read(parts->rest, withSigner);
  EXPECT_EQ(rest.signature.result, SignatureResult::Valid);
  EXPECT_EQ(rest.info, whole.info);
  EXPECT_FALSE(TakeApart(parts->rest));  // there are none left
}

TEST_F(KnownCertificatesTest, EachIsDecodedOnce) {
  const Octets token = plan.encode();
  const auto parts = TakeApart(token);
  ASSERT_TRUE(parts);
  const auto first = KnownCertificates(parts->certificates);
  const auto second = KnownCertificates(parts->certificates);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(sk_X509_value(first.get(), 0), sk_X509_value(second.get(), 0));
}

TEST_F(KnownCertificatesTest, OneThatDiffersInAnOctetIsAnother) {
  const Octets token = plan.encode();
  ASSERT_EQ(Read(token, Trusting({&root})).chain->result, tool::ChainResult::Trusted);
  Octets changed = signer.der();
  changed.back() ^= 1;  // of its signature
  plan.certificates = std::vector<Octets>{changed};
  EXPECT_NE(Read(plan.encode(), Trusting({&root})).chain->result, tool::ChainResult::Trusted);
  EXPECT_EQ(Read(token, Trusting({&root})).chain->result, tool::ChainResult::Trusted);
}

TEST_F(KnownCertificatesTest, OneThatDoesNotDecodeStopsTheReader) {
  plan.certificates = std::vector<Octets>{signer.der(), der::sequence(der::integer(1))};
  const Octets token = plan.encode();
  const auto parts = TakeApart(token);
  ASSERT_TRUE(parts);
  EXPECT_FALSE(KnownCertificates(parts->certificates));
  EXPECT_THROW(Read(token), Stop);
}

TEST_F(KnownCertificatesTest, UnusualEncodingsAreLeftWhole) {
  const Octets token = plan.encode();
  EXPECT_FALSE(TakeApart({}));
  EXPECT_FALSE(TakeApart(der::concat(token, Octets{0})));
  EXPECT_FALSE(TakeApart(Octets(token.begin(), token.end() - 1)));
  plan.certificates =
      std::vector<Octets>{signer.der(), der::context(1, der::integer(1))};  // an attribute certificate
  EXPECT_FALSE(TakeApart(plan.encode()));
  Octets indefinite{0x30, 0x80};
  indefinite.insert(indefinite.end(), token.begin() + 4, token.end());  // remove a header of four octets
  indefinite.insert(indefinite.end(), {0, 0});
  ASSERT_EQ(token[1], 0x82);
  EXPECT_FALSE(TakeApart(indefinite));
  EXPECT_EQ(Read(indefinite).signature.result, SignatureResult::Valid);
}

}  // namespace
}  // namespace qex::test
