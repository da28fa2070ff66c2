// Tokens that Bouncy Castle and openssl made, with a bit changed in every octet that is signed.
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/der_tree.h"
#include "tests/support/error_capture.h"
#include "tests/support/other_makers.h"

namespace qex::test {
namespace {

// primitives collects the contents of the primitive elements.
void primitives(const Element& element, std::vector<const Element*>* found) {
  if (!element.constructed()) found->push_back(&element);
  for (const Element& part : element.parts) primitives(part, found);
}

// expect_covered changes one bit of every octet in the contents of the TSTInfo, of the signed attributes and
// of the signature.
void expect_covered(const PeerSample& sample) {
  SCOPED_TRACE(sample["Name"]);
  Octets token = sample.octets();
  const Element root = ParseDer(token);
  const Element& data = root[1][0];
  const Element& signer = data[data.parts.size() - 1][0];
  std::vector<const Element*> parts = {&data[2][1][0]};
  primitives(signer[3], &parts);
  parts.push_back(&signer[5]);
  ASSERT_GE(parts.size(), 10u);
  ASSERT_EQ(Verify(token), QEX_OK);
  const ErrorCapture quiet;
  for (const Element* part : parts) {
    for (size_t at = part->content; at < part->end; ++at) {
      const uint8_t right = token[at];
      token[at] = uint8_t(right ^ 1U << at % 8);
      EXPECT_NE(Verify(token), QEX_OK) << "octet " << at;
      EXPECT_NE(Verify(token, sample.certificate()), QEX_OK) << "octet " << at;
      token[at] = right;
    }
  }
  // The digest of the content, and the signature.
  for (const Element* part : {parts.front(), parts.back()}) {
    token[part->end - 1] ^= 1;
    EXPECT_EQ(Verify(token), QEX_E_SIGNATURE);
    token[part->end - 1] ^= 1;
  }
}

TEST(SignedOctets, OfOtherImplementationsTokensEachCounts) {
  int met = 0;
  for (const PeerSample& sample : Tokens()) {
    for (const char* one : {"token_rsa2048_sha256_v1.der", "token_dsa1024_160_sha1_v1.der",
                            "token_dsa1024_160_sha256_v1.der", "token_dsa2048_256_sha1_v1.der"}) {
      if (!sample.is("Name", one)) continue;
      expect_covered(sample);
      ++met;
    }
  }
  EXPECT_EQ(met, 7);  // four of Bouncy Castle, three of openssl
}

}  // namespace
}  // namespace qex::test
