// Tokens changed in a single bit: the signature detects every change in the octets that it covers, and the
// others are known by name.
//
// Not covered by the signature, and accepted with another value:
//   SignedData version, digestAlgorithms and eContentType; every certificate that is not the signer's, and
//   with the caller's certificate all of them; SignerInfo version and sid.
// Covered, but by value and not by octets, so that another encoding of the same value is accepted: the length
// of an EXPLICIT tag, of a SET OF and of a SEQUENCE OF; a BOOLEAN in the signer's certificate, where every
// octet but 0 is TRUE.
#include <gtest/gtest.h>

#include <set>

#include "tests/interop/samples.h"
#include "tests/support/der_tree.h"
#include "tests/support/error_capture.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"

namespace qex::test {
namespace {

enum Cover : uint8_t { kCovered, kNotCovered, kAnotherEncoding };
enum class Under { TokensCertificate, CallersCertificate };  // how the signature is verified

// The parts of a token that openssl signed: ContentInfo { type, [0] SignedData { version, digestAlgorithms,
// encapContentInfo, [0] certificates, signerInfos { SignerInfo } } }.
class DamagedToken : public ::testing::Test {
 protected:
  void SetUp() override {
    token_ = SampleFile(SwitchIsSet() ? "small-v2.token" : "small-v1.token");
    certificate_ = SampleFile("rsa1024.der");
    root_ = ParseDer(token_);
    ASSERT_EQ(signed_data().parts.size(), 5u);
    ASSERT_EQ(certificates().parts.size(), 2u);
    ASSERT_EQ(signer().parts.size(), 6u);
  }

  const Element& signed_data() const { return root_[1][0]; }
  const Element& encapsulated() const { return signed_data()[2]; }
  const Element& certificates() const { return signed_data()[3]; }
  const Element& signer() const { return signed_data()[4][0]; }
  bool is_signers(const Element& certificate) const {
    return std::equal(certificate_.begin(), certificate_.end(), token_.begin() + ptrdiff_t(certificate.start),
                      token_.begin() + ptrdiff_t(certificate.end));
  }

  static void mark(std::vector<uint8_t>& cover, size_t from, size_t to, Cover with) {
    std::fill(cover.begin() + ptrdiff_t(from), cover.begin() + ptrdiff_t(to), with);
  }
  static void mark(std::vector<uint8_t>& cover, const Element& element) {
    mark(cover, element.start, element.end, kNotCovered);
  }

  // Lists and EXPLICIT tags: context tags, SETs, and SEQUENCEs all of whose parts are constructed.
  static void mark_lengths(std::vector<uint8_t>& cover, const Element& element) {
    bool all_constructed = element.constructed();
    for (const Element& part : element.parts) {
      mark_lengths(cover, part);
      all_constructed = all_constructed && part.constructed();
    }
    if (element.tag == 0x31 || (element.tag & 0xE0) == 0xA0 || (element.tag == 0x30 && all_constructed)) {
      mark(cover, element.start + 1, element.content, kAnotherEncoding);
    }
  }

  static void mark_booleans(std::vector<uint8_t>& cover, const Element& element) {
    if (element.tag == 0x01) mark(cover, element.content, element.end, kAnotherEncoding);
    for (const Element& part : element.parts) mark_booleans(cover, part);
  }

  // The coverage of each octet of the token.
  std::vector<uint8_t> cover(bool callers_certificate) const {
    std::vector<uint8_t> cover(token_.size(), kCovered);
    mark_lengths(cover, root_);
    mark(cover, signed_data()[0]);
    mark(cover, signed_data()[1]);
    mark(cover, encapsulated()[0]);
    for (const Element& one : certificates().parts) {
      if (callers_certificate || !is_signers(one)) {
        mark(cover, one);
      } else {
        mark_booleans(cover, one);
      }
    }
    if (callers_certificate) mark(cover, certificates());
    mark(cover, signer()[0]);
    mark(cover, signer()[1]);
    return cover;
  }

  // Changes every `stride`-th covered bit, and expects that the token never verifies.
  void expect_refusal(Under under, size_t stride) {
    const bool callers_certificate = under == Under::CallersCertificate;
    const ErrorCapture silent;
    const Guarded certificate(certificate_);
    const uint8_t* const given = callers_certificate ? certificate.data() : nullptr;
    const uint32_t given_length = callers_certificate ? certificate.size() : 0;
    Guarded token(token_);
    ASSERT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), given, given_length), QEX_OK);

    const std::vector<uint8_t> covers = cover(callers_certificate);
    static const std::set<int32_t> kRefusals = {QEX_E_BADTOKEN,  QEX_E_NOCERT, QEX_E_MISSING,
                                                QEX_E_SIGNATURE, QEX_E_DECODE, QEX_E_UNSUPPORTED,
                                                QEX_E_MISMATCH};
    size_t refused = 0;
    for (size_t bit = 0; bit < 8 * token_.size(); bit += stride) {
      const size_t at = bit / 8;
      token[at] = uint8_t(token[at] ^ (0x80 >> bit % 8));
      const int32_t code = QEX_VerifyTST_Signature(token.data(), token.size(), given, given_length);
      token[at] = token_[at];
      if (covers[at] != kCovered) {
        EXPECT_TRUE(code == QEX_OK || kRefusals.count(code) == 1) << code << " at octet " << at;
        continue;
      }
      EXPECT_EQ(kRefusals.count(code), 1u) << code << " at octet " << at << " bit " << bit % 8;
      ++refused;
    }
    EXPECT_GE(refused * stride, callers_certificate ? 4000u : 9000u);
  }

  // verdict is that of the token with a bit of one octet changed.
  int32_t verdict(size_t at, Under under, uint8_t bit = 1) {
    const bool callers_certificate = under == Under::CallersCertificate;
    Octets changed = token_;
    changed.at(at) ^= bit;
    return QEX_VerifyTST_Signature(changed.data(), uint32_t(changed.size()),
                                   callers_certificate ? certificate_.data() : nullptr,
                                   callers_certificate ? uint32_t(certificate_.size()) : 0);
  }

  Octets token_;
  Octets certificate_;
  Element root_{};
};

#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kStride = 7;  // coprime to 8: every octet is met, and every place in an octet
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr size_t kStride = 7;
#else
constexpr size_t kStride = 1;
#endif
#else
constexpr size_t kStride = 1;
#endif

TEST_F(DamagedToken, IsRefusedForEveryBitThatIsCovered) {
  expect_refusal(Under::TokensCertificate, kStride);
}

TEST_F(DamagedToken, IsRefusedForEveryBitThatIsCoveredUnderTheCallersCertificate) {
  expect_refusal(Under::CallersCertificate, kStride);
}

TEST_F(DamagedToken, IsAcceptedWithAnotherValueOfAnUncoveredPart) {
  const Element& chain = certificates()[is_signers(certificates()[0]) ? 1 : 0];
  const struct {
    const char* what;
    const Element& element;
  } parts[] = {
      {"SignedData version", signed_data()[0]},       {"eContentType", encapsulated()[0]},
      {"signature of another certificate", chain[2]}, {"SignerInfo version", signer()[0]},
      {"serial number of the sid", signer()[1][1]},
  };
  for (const auto& part : parts) {
    EXPECT_EQ(verdict(part.element.end - 1, Under::TokensCertificate), QEX_OK) << part.what;
    EXPECT_EQ(verdict(part.element.end - 1, Under::CallersCertificate), QEX_OK) << part.what;
  }
  // Another digest that is known: SHA-512 in place of SHA-256.
  EXPECT_EQ(verdict(signed_data()[1][0][0].end - 1, Under::TokensCertificate, 2), QEX_OK);
}

TEST_F(DamagedToken, HasUncoveredCertificatesUnderTheCallersOwn) {
  const Element& own = certificates()[is_signers(certificates()[0]) ? 0 : 1];
  EXPECT_EQ(verdict(own.end - 1, Under::TokensCertificate), QEX_E_NOCERT);
  EXPECT_EQ(verdict(own.end - 1, Under::CallersCertificate), QEX_OK);
}

// Both sides see the same damage: the content, each attribute, the signature, the key.
TEST_F(DamagedToken, IsRefusedByOpensslToo) {
  const Element& attributes = signer()[3];
  ASSERT_EQ(attributes.parts.size(), 4u);
  std::vector<size_t> places = {encapsulated()[1][0].end - 1, signer()[5].content + 5, signer()[5].end - 1};
  for (const Element& attribute : attributes.parts) places.push_back(attribute.end - 1);

  const Folder folder;
  const auto openssl = [&](const Octets& token) {
    folder.write("token", token);
    return RunShell("openssl ts -verify -token_in -in " + folder.path("token") + " -queryfile " +
                    SamplePath("sha1-cert.tsq") + " -CAfile " + SamplePath("ca.pem"));
  };
  ASSERT_EQ(openssl(token_), 0);
  for (const size_t at : places) {
    Octets changed = token_;
    changed[at] ^= 1;
    EXPECT_NE(openssl(changed), 0) << at;
    EXPECT_EQ(verdict(at, Under::TokensCertificate),
              at < certificates().start || at >= attributes.start ? QEX_E_SIGNATURE : 0)
        << at;
  }
}

}  // namespace
}  // namespace qex::test
