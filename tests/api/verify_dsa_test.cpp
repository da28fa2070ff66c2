// Tokens under DSA keys: the two forms of a signature, the part of a digest that counts, and keys and
// signatures that break the rules.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/dsa_signer.h"
#include "tests/support/error_capture.h"
#include "tests/support/exports.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// DsaToken is a token under a key of its own, its parts open to change until it is encoded.
struct DsaToken {
  explicit DsaToken(const DsaKey& key, const char* digest = kSha1) : maker(DsaTokenMaker(key, digest)) {}
  DsaToken(const DsaKey& key, const Octets& public_key_info)
      : maker(DsaTokenMaker(key, kSha1, public_key_info)) {}

  // expect asks with the token's certificate and with the caller's.
  void expect(int32_t code, int32_t error = 0) const {
    const Octets token = maker.encode();
    EXPECT_EQ(Verify(token), code) << "with the token's certificate";
    EXPECT_EQ(QEX_GetLastAsnError(), error);
    EXPECT_EQ(Verify(token, certificate), code) << "with the caller's certificate";
    EXPECT_EQ(QEX_GetLastAsnError(), error);
  }

  void expect_signature(const Octets& signature, int32_t code) {
    maker.signer().signature = signature;
    expect(code);
  }

  TokenMaker maker;
  Octets certificate = maker.certificates[0];
};

const DsaKey& key160() {
  static const DsaKey key = TestDsaKey("1024/160 sha1");
  return key;
}

// leftmost_20 signs as many octets as take part in the check.
auto leftmost_20(const DsaKey& key) {
  return
      [key](const Octets& hash) { return SigValue(DsaSign(key, Octets(hash.begin(), hash.begin() + 20))); };
}

// --- Tokens that verify ----------------------------------------------------------------

TEST(VerifyDsa, EitherDigestVerifiesInEitherForm) {
  for (const char* digest : {kSha1, kSha256}) {
    SCOPED_TRACE(digest);
    DsaToken token(key160(), digest);
    token.expect(QEX_OK);
    token.maker.signer().sign = [](const Octets& hash) { return Raw(DsaSign(key160(), hash)); };
    token.expect(QEX_OK);
  }
}

TEST(VerifyDsa, NullParametersOfTheSignatureAlgorithmDoNotMatter) {
  DsaToken token(key160());
  token.maker.signer().signature_parameters = der::null();
  token.expect(QEX_OK);
}

TEST(VerifyDsa, Sha1TakesPartWholeUnderALongerQ) {
  for (const char* name : {"1024/161 sha256", "2048/224 sha1", "2048/256 sha1", "1200/600 sha512"}) {
    SCOPED_TRACE(name);
    DsaToken(TestDsaKey(name)).expect(QEX_OK);
  }
}

// Deliberate: with a q of more than 160 bits FIPS 186 signs more octets than this check uses.
TEST(VerifyDsa, NoMoreThan20OctetsOfTheDigestTakePart) {
  for (const char* name : {"2048/224 sha256", "2048/256 sha256", "3072/256 sha256"}) {
    SCOPED_TRACE(name);
    const DsaKey key = TestDsaKey(name);
    DsaToken token(key, kSha256);
    token.expect(QEX_E_SIGNATURE);
    token.maker.signer().sign = leftmost_20(key);
    token.expect(QEX_OK);
  }
}

// A q of 136 bits takes 17 octets, of the twenty.
TEST(VerifyDsa, ShortQTakesFewerOctets) {
  const DsaKey key = TestDsaKey("512/136 sha256");
  DsaToken token(key, kSha256);
  token.expect(QEX_OK);
  token.maker.signer().sign = [&](const Octets& hash) {
    return SigValue(DsaSign(key, Octets(hash.begin(), hash.begin() + 17)));
  };
  token.expect(QEX_OK);
  token.maker.signer().sign = [&](const Octets& hash) {
    return SigValue(DsaSign(key, Octets(hash.begin(), hash.begin() + 16)));
  };
  token.expect(QEX_E_SIGNATURE);
}

// --- Forty octets ----------------------------------------------------------------------

// Under a q of 136 bits a Dss-Sig-Value may be forty octets long.
TEST(VerifyDsa, FortyOctetsAreNeverAnEncoding) {
  const DsaKey key = TestDsaKey("512/136 sha256");
  bool met[48] = {};
  for (uint32_t seed = 1; seed < 40; ++seed) {
    DsaToken token(key, kSha256);
    size_t length = 0;
    token.maker.signer().sign = [&](const Octets& hash) {
      const Octets value = SigValue(DsaSign(key, hash, seed));
      length = value.size();
      return value;
    };
    const Octets encoded = token.maker.encode();
    ASSERT_LT(length, 48u);
    met[length] = true;
    EXPECT_EQ(Verify(encoded), length == 40 ? QEX_E_SIGNATURE : QEX_OK) << "seed " << seed;
  }
  EXPECT_TRUE(met[39] || met[41]);
  EXPECT_TRUE(met[40]);
}

TEST(VerifyDsa, RawNumbersTakeExactlyFortyOctets) {
  for (const size_t length : {39u, 41u, 42u, 80u}) {
    DsaToken token(key160());
    token.maker.signer().sign = [&](const Octets& hash) {
      Octets raw = Raw(DsaSign(key160(), hash));
      raw.insert(raw.begin() + 20, length > 40 ? length - 40 : 0, uint8_t{0});
      raw.resize(length);
      return raw;
    };
    const ErrorCapture quiet;
    token.expect(QEX_E_SIGNATURE);
  }
}

// --- Invalid signatures ----------------------------------------------------------------

TEST(VerifyDsa, ValuesThatDoNotDecodeAreRefusedWithLastError0) {
  const Octets number = der::unsigned_integer(Octets(20, 0x11));
  const Octets values[] = {
      {},
      {0x30},
      {0x30, 0x00},
      {0x31, 0x00},
      {0x05, 0x00},
      Octets(39, 0x00),
      Octets(41, 0xFF),
      der::sequence(number),
      der::sequence(number, der::octet_string(Octets(20, 0x11))),
      der::sequence(der::octet_string(Octets(20, 0x11)), number),
      der::sequence(number, number, number),
      der::set(number, number),
      der::concat(number, number),
      {0x30, 0x80, 0x02, 0x01, 0x01, 0x02, 0x01, 0x01},
      {0x30, 0x06, 0x02, 0x84, 0xFF, 0xFF, 0xFF, 0xFF},
      {0x30, 0x7F, 0x02, 0x01, 0x01, 0x02, 0x01, 0x01},
  };
  DsaToken token(key160());
  for (const Octets& value : values) {
    SCOPED_TRACE(::testing::PrintToString(value));
    const ErrorCapture quiet;
    token.expect_signature(value, QEX_E_SIGNATURE);
  }
}

TEST(VerifyDsa, NumbersOutOfRangeAreRefused) {
  const Octets& q = key160().q;
  const Octets zero(20), one = der::concat(Octets(19), Octets{1}), most(20, 0xFF);
  Octets above = q;  // q is odd and does not end in 0xFF
  ASSERT_NE(above.back(), 0xFF);
  ++above.back();
  DsaToken token(key160());
  for (const Octets& bad : {zero, q, above, most}) {
    for (const DsaPair& pair : {DsaPair{bad, one}, DsaPair{one, bad}, DsaPair{bad, bad}}) {
      SCOPED_TRACE(::testing::PrintToString(SigValue(pair)));
      token.expect_signature(Raw(pair), QEX_E_SIGNATURE);
      token.expect_signature(SigValue(pair), QEX_E_SIGNATURE);
    }
  }
}

// r + q and s + q leave the same remainders as r and s.
TEST(VerifyDsa, NumbersAreNotReducedByQ) {
  const auto plus_q = [](Octets number) {
    unsigned carry = 0;
    for (size_t i = 20; i-- > 0;) {
      carry += unsigned(number[i]) + key160().q[i];
      number[i] = uint8_t(carry);
      carry >>= 8;
    }
    number.insert(number.begin(), uint8_t(carry));
    return number;
  };
  for (const bool of_r : {true, false}) {
    DsaToken token(key160());
    token.maker.signer().sign = [&](const Octets& hash) {
      DsaPair pair = DsaSign(key160(), hash);
      Octets& changed = of_r ? pair.r : pair.s;
      changed = plus_q(changed);
      return SigValue(pair);
    };
    token.expect(QEX_E_SIGNATURE);
  }
}

TEST(VerifyDsa, EveryBitOfTheSignatureCounts) {
  DsaToken token(key160());
  Octets raw;
  token.maker.signer().sign = [&raw](const Octets& hash) { return raw = Raw(DsaSign(key160(), hash)); };
  ASSERT_EQ(Verify(token.maker.encode()), QEX_OK);
  for (size_t bit = 0; bit < 8 * raw.size(); ++bit) {
    Octets changed = raw;
    changed[bit / 8] = uint8_t(changed[bit / 8] ^ 0x80 >> bit % 8);
    token.maker.signer().signature = changed;
    EXPECT_EQ(Verify(token.maker.encode()), QEX_E_SIGNATURE) << "bit " << bit;
  }
}

TEST(VerifyDsa, SignatureOverOtherAttributesIsRefused) {
  DsaToken token(key160());
  token.maker.signer().hashed_attributes = der::set(der::null());
  token.expect(QEX_E_SIGNATURE);
}

TEST(VerifyDsa, SignatureOfAnotherKeyIsRefused) {
  DsaKey other = key160();
  other.x.back() ^= 2;
  DsaToken token(key160());
  token.maker.signer().sign = [&](const Octets& hash) { return SigValue(DsaSign(other, hash)); };
  token.expect(QEX_E_SIGNATURE);
}

TEST(VerifyDsa, NumbersOfASignatureThatAreTooLargeAreNotHeld) {
  const Octets one = der::integer(1), huge = der::big_integer(Octets(65537, 0x11));
  DsaToken token(key160());
  token.expect_signature(der::sequence(huge, one), QEX_E_NOMEM);
  token.expect_signature(der::sequence(one, huge), QEX_E_NOMEM);
}

// --- Pairs of digest and signature algorithm -------------------------------------------

TEST(VerifyDsa, OnlySha1AndSha256WithTheirOwnAlgorithmGoTogether) {
  const char* const kSignatures[] = {kDsaWithSha1,   kDsaWithSha256, kDsa,
                                     kRsaEncryption, kSha1WithRsa,   kSha256WithRsa};
  for (const char* digest : {kMd5, kSha1, kSha256, kSha384, kSha512}) {
    for (const char* signature : kSignatures) {
      SCOPED_TRACE(std::string(digest) + " " + signature);
      DsaToken token(key160(), digest);
      token.maker.signer().signature_algorithm = signature;
      if (signature == kDsa) token.maker.signer().signature_parameters = DssParms(key160());
      const bool goes_together = (digest == kSha1 && signature == kDsaWithSha1) ||
                                 (digest == kSha256 && signature == kDsaWithSha256);
      token.expect(goes_together ? QEX_OK : QEX_E_UNSUPPORTED);
    }
  }
}

TEST(VerifyDsa, AlgorithmIsNoneOfAnRsaKey) {
  TokenMaker maker;
  for (const char* digest : {kSha1, kSha256}) {
    maker.signer().digest = digest;
    maker.signer().signature_algorithm = digest == kSha1 ? kDsaWithSha1 : kDsaWithSha256;
    EXPECT_EQ(Verify(maker.encode()), QEX_E_UNSUPPORTED);
  }
}

// --- Keys ------------------------------------------------------------------------------

Octets key_info(const Octets& parameters, const Octets& key) {
  return der::sequence(der::algorithm(kDsa, parameters), der::bit_string(key));
}

Octets y_of_key160() {
  return der::unsigned_integer(key160().y);
}

TEST(VerifyDsa, KeyWithoutParametersLacksThem) {
  DsaToken(key160(), key_info({}, y_of_key160())).expect(QEX_E_MISSING);
}

// Parameters of the wrong form are not an open type of the key's algorithm: the certificate does not decode.
TEST(VerifyDsa, ParametersThatLackANumberDoNotDecode) {
  const ErrorCapture quiet;
  const Octets number = der::unsigned_integer(key160().p);
  for (const Octets& parameters :
       {der::null(), der::sequence(), der::sequence(number), der::sequence(number, number),
        der::set(number, number, number), der::sequence(number, number, der::octet_string(key160().g))}) {
    const DsaToken token(key160(), key_info(parameters, y_of_key160()));
    const Octets encoded = token.maker.encode();
    EXPECT_EQ(Verify(encoded), QEX_E_BADTOKEN);
    EXPECT_LT(QEX_GetLastAsnError(), 0);
    EXPECT_EQ(Verify(DsaToken(key160()).maker.encode(), token.certificate), QEX_E_ARG);
    EXPECT_LT(QEX_GetLastAsnError(), 0);
  }
}

TEST(VerifyDsa, PublicValueThatDoesNotDecodeIsMissing) {
  const ErrorCapture quiet;
  const Octets parameters = DssParms(key160());
  for (const Octets& key :
       {Octets{0x00}, Octets{0x02}, Octets{0x02, 0x81}, Octets{0x02, 0x05, 0x01}, der::octet_string({8}),
        der::sequence(y_of_key160()), Octets{0x02, 0x84, 0xFF, 0xFF, 0xFF, 0xFF}}) {
    SCOPED_TRACE(::testing::PrintToString(key));
    DsaToken(key160(), key_info(parameters, key)).expect(QEX_E_MISSING);
  }
  DsaToken(key160(), key_info(parameters, {})).expect(QEX_E_MISSING, kLacksAPart);
}

TEST(VerifyDsa, PublicValueOfNoOctetsIsZero) {
  DsaToken(key160(), key_info(DssParms(key160()), {0x02, 0x00})).expect(QEX_E_SIGNATURE);
}

TEST(VerifyDsa, PublicValueIsReadFromWholeOctets) {
  const Octets bits = der::bit_string(der::concat(y_of_key160(), Octets{0xF0}), 4);
  DsaToken(key160(), der::sequence(der::algorithm(kDsa, DssParms(key160())), bits)).expect(QEX_OK);
}

TEST(VerifyDsa, KeyIsLookedAtBeforeTheSignature) {
  DsaToken token(key160(), key_info({}, y_of_key160()));
  token.expect_signature({0x31, 0x00}, QEX_E_MISSING);
}

TEST(VerifyDsa, NumbersOfAKeyThatAreTooLargeAreNotHeld) {
  const Octets huge(65537, 0x11);
  for (Octets DsaKey::*number : {&DsaKey::p, &DsaKey::q, &DsaKey::g, &DsaKey::y}) {
    DsaKey key = key160();
    key.*number = huge;
    DsaToken token(key);
    token.expect_signature(Octets(40, 0x11), QEX_E_NOMEM);
  }
}

// A signature that is good under the original key is bad under the changed one; nothing ends the process.
TEST(VerifyDsa, HostileNumbersOfAKeyAreRefused) {
  const auto changed = [](Octets number, int by) {
    number.back() = uint8_t(number.back() + by);
    return number;
  };
  for (Octets DsaKey::*number : {&DsaKey::p, &DsaKey::q, &DsaKey::g, &DsaKey::y}) {
    const Octets& right = key160().*number;
    for (const Octets& value :
         {Octets{0}, Octets{1}, Octets{2}, Octets{3}, changed(right, 1), changed(right, -1), Octets(1, 0x80),
          Octets(20, 0xFF), Octets(21, 0xFE), Octets(128, 0xFF), Octets(129, 0x80), key160().p, key160().q}) {
      if (value == right) continue;
      SCOPED_TRACE(::testing::PrintToString(value));
      DsaKey key = key160();
      key.*number = value;
      DsaToken token(key);
      token.maker.signer().sign = [](const Octets& hash) { return SigValue(DsaSign(key160(), hash)); };
      token.expect(QEX_E_SIGNATURE);
    }
  }
}

}  // namespace
}  // namespace qex::test
