// The consequence of not examining the octets before the DigestInfo: under a key with the exponent 3 anybody
// can sign.
//
// The check compares the tail of s^3 mod n with the DigestInfo. An odd DigestInfo T of k bits has a cube root
// modulo 2^k, found bit by bit. If the modulus has more than 3k bits the cube is never reduced, so this root
// is a signature. It needs no secret.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/exports.h"
#include "tests/support/octets.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

using Words = std::vector<uint32_t>;  // least significant first

// truncated_product returns a * b modulo 2^(32n) for operands of n words.
Words truncated_product(const Words& a, const Words& b) {
  Words r(a.size(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    uint64_t carry = 0;
    for (size_t j = 0; i + j < r.size(); ++j) {
      carry += uint64_t{a[j]} * b[i] + r[i + j];
      r[i + j] = uint32_t(carry);
      carry >>= 32;
    }
  }
  return r;
}

bool bit_of(const Words& a, size_t i) {
  return (a[i / 32] >> i % 32 & 1) != 0;
}

// cube_root returns the x with x^3 = tail modulo 2^(8 * tail.size()); the tail is odd. With the bits below i
// right, bit i of x^3 is wrong exactly when bit i of x is.
Octets cube_root(const Octets& tail) {
  const size_t words = (tail.size() + 3) / 4;
  Words target(words, 0);
  for (size_t i = 0; i < tail.size(); ++i) {
    target[i / 4] |= uint32_t{tail[tail.size() - 1 - i]} << i % 4 * 8;
  }
  Words x(words, 0);
  for (size_t i = 0; i < 8 * tail.size(); ++i) {
    const Words cube = truncated_product(truncated_product(x, x), x);
    if (bit_of(cube, i) != bit_of(target, i)) x[i / 32] |= uint32_t{1} << i % 32;
  }
  Octets root(tail.size());
  for (size_t i = 0; i < root.size(); ++i) root[root.size() - 1 - i] = uint8_t(x[i / 4] >> i % 4 * 8);
  return root;
}

// A token under a long modulus and a chosen exponent, signed by somebody without its key.
struct Forgery {
  explicit Forgery(const char* exponent) {
    RsaKey key = TestKey("long");
    key.e = FromHex(exponent);
    CertificateMaker authority;
    authority.subject_public_key_info = RsaPublicKeyInfo(key);
    certificate = authority.encode();
    maker.certificates = {certificate};
    maker.signer().certificate = certificate;
    maker.signer().sign = [this](const Octets& hash) {
      const Octets info = DigestInfo(kSha256, der::null(), hash);
      odd = (info.back() & 1) != 0;
      return odd ? cube_root(info) : Octets{0};
    };
  }

  // encode varies the content until its digest can be signed: every other one can.
  Octets encode() {
    Octets token;
    for (int64_t serial = 1; !odd && serial < 64; ++serial) {
      TstInfoMaker info;
      info.serial = der::integer(serial);
      maker.tst_info = info.encode();
      token = maker.encode();
    }
    return token;
  }

  TokenMaker maker;
  Octets certificate;
  bool odd = false;
};

// Deliberate: the library accepts it. Callers refuse keys with an exponent below 65537.
TEST(LowExponentForgery, VerifiesUnderTheExponent3) {
  Forgery forgery("03");
  const Octets token = forgery.encode();
  ASSERT_TRUE(forgery.odd);
  EXPECT_EQ(Verify(token, forgery.certificate), QEX_OK);
}

TEST(LowExponentForgery, DoesNotVerifyUnderTheExponent65537) {
  Forgery forgery("010001");
  const Octets token = forgery.encode();
  ASSERT_TRUE(forgery.odd);
  EXPECT_EQ(Verify(token, forgery.certificate), QEX_E_SIGNATURE);
}

}  // namespace
}  // namespace qex::test
