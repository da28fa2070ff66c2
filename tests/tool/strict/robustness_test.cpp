// Any contents of a token, and any lack of memory: an answer or a Stop, and no leak.
#include <gtest/gtest.h>

#include <new>

#include "tests/support/failing_alloc.h"
#include "tests/tool/strict/tokens.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::SignatureResult;
using tool::Stop;
using tool::StrictReading;

class StrictRobustness : public testing::Test {
 protected:
  // Reads octets that may be anything.
  void read_any(const Octets& octets) const {
    try {
      const StrictReading reading = tool::ReadStrictly(octets, trust);
      if (octets == token) return;
      // Content and attributes are signed; everything else may change.
      if (reading.signature.result == SignatureResult::Valid) {
        EXPECT_EQ(reading.info, good.info);
      }
    } catch (const Stop& stop) {
      EXPECT_FALSE(stop.text.empty());
    }
  }

  static tool::Trust trust_in(const Certificate& root) {
    tool::Trust trust = Trusting({&root});
    trust.crls = {Item(MakeList({&root, {{17, kGenTime + kDay, 4}}}))};
    return trust;
  }

  Certificate root = MakeRoot();
  tool::Trust trust = trust_in(root);
  Octets token = TokenPlan(MakeSigner(root)).encode();
  StrictReading good = Read(token, trust);
};

TEST_F(StrictRobustness, TheTokenItselfPasses) {
  EXPECT_EQ(good.signature.result, SignatureResult::Valid);
  ASSERT_TRUE(good.chain && good.revocation) << good.chain->text;
  EXPECT_EQ(good.chain->result, tool::ChainResult::Trusted) << good.chain->text;
  EXPECT_EQ(good.revocation->result, tool::RevocationResult::StillValid) << good.revocation->text;
}

TEST_F(StrictRobustness, EveryPrefixIsRefused) {
  for (size_t n = 0; n < token.size(); ++n) {
    const Octets part(token.begin(), token.begin() + ptrdiff_t(n));
    EXPECT_THROW(tool::ReadStrictly(part, trust), Stop) << n;
  }
}

TEST_F(StrictRobustness, EveryOctetMayChange) {
  for (size_t i = 0; i < token.size() && !HasFailure(); ++i) {
    for (const int change : {0x01, 0x20, 0x80, 0xFF}) {
      Octets changed = token;
      changed[i] = uint8_t(changed[i] ^ change);
      read_any(changed);
    }
    Octets shorter = token;
    shorter.erase(shorter.begin() + ptrdiff_t(i));
    read_any(shorter);
  }
}

TEST_F(StrictRobustness, DeepNestingAndGreatLengthsAreRefused) {
  Octets deep;
  for (int i = 0; i < 20000; ++i) deep = der::concat(Octets{0x30, 0x80}, deep);
  EXPECT_THROW(tool::ReadStrictly(deep, trust), Stop);
  EXPECT_THROW(tool::ReadStrictly(Octets{0x30, 0x84, 0x7F, 0xFF, 0xFF, 0xFF}, trust), Stop);
  EXPECT_THROW(tool::ReadStrictly(Octets{0x30, 0x88, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, trust),
               Stop);
}

TEST_F(StrictRobustness, EmptyPartsAreHarmless) {
  TokenPlan plan(MakeSigner(root));
  plan.certificates = std::vector<Octets>{};
  plan.attributes = std::vector<Octets>{};
  read_any(plan.encode());
  plan = TokenPlan(MakeSigner(root));
  plan.signature = Octets{};
  EXPECT_EQ(Read(plan.encode(), trust).signature.result, SignatureResult::Invalid);
  plan.digest_algorithm = der::sequence(der::element(0x06));
  read_any(plan.encode());
}

TEST_F(StrictRobustness, NothingLeaks) {
  tool::ReadStrictly(token, trust);
  EXPECT_THROW(tool::ReadStrictly(Octets(100, 0x30), trust), Stop);
  const long before = LiveBlocks();
  for (int i = 0; i < 3; ++i) {
    tool::ReadStrictly(token, trust);
    EXPECT_THROW(tool::ReadStrictly(Octets(100, 0x30), trust), Stop);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

// Each allocation of libcrypto fails once, then all from one on: that never counts as a "no".
TEST_F(StrictRobustness, LackOfMemoryIsNotAVerdict) {
  for (const size_t fail : {size_t{1}, SIZE_MAX}) {
    for (size_t allowed = 0;; ++allowed) {
      size_t refused = 0;
      bool thrown = false;
      // Fresh certificates: libcrypto caches its findings in them at first use.
      if (allowed % 4 == 0) tool::CheckTrust(trust);
      std::optional<StrictReading> reading;
      {
        FailingAlloc memory(allowed, fail);
        try {
          reading = tool::ReadStrictly(token, trust);
        } catch (const std::bad_alloc&) {
          thrown = true;
        } catch (const Stop& stop) {
          ADD_FAILURE() << stop.text;
        }
        refused = memory.refused();
      }
      ASSERT_EQ(thrown, refused != 0) << allowed;
      StrictReading after;
      ASSERT_NO_THROW(after = reading ? *reading : tool::ReadStrictly(token, trust))
          << fail << " " << allowed;
      ASSERT_EQ(after.signature.result, SignatureResult::Valid) << allowed << after.signature.reason;
      ASSERT_EQ(after.chain->result, tool::ChainResult::Trusted) << allowed;
      ASSERT_EQ(after.revocation->result, tool::RevocationResult::StillValid) << allowed;
      if (refused == 0) break;
    }
  }
}

}  // namespace
}  // namespace qex::test
