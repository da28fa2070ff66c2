// The check of a token's signature: every way it succeeds, and every code with its last ASN.1 error.
#include "api/verify.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/error_capture.h"
#include "tests/support/exports.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

constexpr const char* kEd25519 = "1.3.101.112";
constexpr const char* kDsaIdentifier = "1.2.840.10040.4.1";
constexpr const char* kRipemd160 = "1.3.36.3.2.1";

// with_signer makes a token of which `change` has altered the signer.
template <class F>
Octets with_signer(F change) {
  TokenMaker maker;
  change(maker.signer());
  return maker.encode();
}

// expect_both expects the same verdict with the token's certificate and with the caller's.
void expect_both(const Octets& token, const Verdict& expected) {
  EXPECT_EQ(VerdictOn(token), expected) << "with the token's certificate";
  EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), expected) << "with the caller's certificate";
}

// --- Tokens that verify ----------------------------------------------------------------

TEST(Verify, MadeTokenVerifiesWithEitherCertificate) {
  expect_both(TokenMaker().encode(), kVerifies);
}

TEST(Verify, CertificateOfTheCallerNeedsNoneInTheToken) {
  TokenMaker maker;
  maker.certificates.clear();
  EXPECT_EQ(VerdictOn(maker.encode(), AuthorityCertificate()), kVerifies);
  EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_NOCERT, kLacksAPart}));
}

TEST(Verify, CertificateOfLength0CountsAsAbsent) {
  const Guarded token(TokenMaker().encode());
  const Guarded empty(0);
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), empty.data(), 0), QEX_OK);
  TokenMaker maker;
  maker.certificates.clear();
  const Guarded bare(maker.encode());
  EXPECT_EQ(QEX_VerifyTST_Signature(bare.data(), bare.size(), empty.data(), 0), QEX_E_NOCERT);
}

TEST(Verify, NullCertificateOfAnyLengthIsNone) {
  const Guarded token(TokenMaker().encode());
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), nullptr, 500), QEX_OK);
}

// Pairs of digest and signature algorithm under an RSA key.
constexpr const char* kDigests[] = {kSha1, kMd5, kSha256, kSha384, kSha512};
constexpr const char* kSignatures[] = {kSha1WithRsa, kMd5WithRsa, kSha256WithRsa, kSha384WithRsa,
                                       kSha512WithRsa};

TEST(Verify, EveryDigestVerifiesUnderRsaEncryptionAndUnderItsOwnAlgorithm) {
  for (size_t i = 0; i < std::size(kDigests); ++i) {
    for (const char* algorithm : {kRsaEncryption, kSignatures[i]}) {
      SCOPED_TRACE(std::string(kDigests[i]) + " " + algorithm);
      expect_both(with_signer([&](SignerMaker& signer) {
                    signer.digest = kDigests[i];
                    signer.signature_algorithm = algorithm;
                  }),
                  kVerifies);
    }
  }
}

TEST(Verify, EveryOtherPairIsNotSupported) {
  for (size_t i = 0; i < std::size(kDigests); ++i) {
    for (size_t j = 0; j < std::size(kSignatures); ++j) {
      if (i == j) continue;
      SCOPED_TRACE(std::string(kDigests[i]) + " " + kSignatures[j]);
      expect_both(with_signer([&](SignerMaker& signer) {
                    signer.digest = kDigests[i];
                    signer.signature_algorithm = kSignatures[j];
                  }),
                  {QEX_E_UNSUPPORTED, 0});
    }
  }
}

TEST(Verify, OtherSignatureAlgorithmsAreNotSupported) {
  for (const char* algorithm :
       {"1.2.840.113549.1.1.2", "1.2.840.10040.4.3", "2.16.840.1.101.3.4.3.2", kSha256}) {
    expect_both(with_signer([&](SignerMaker& signer) { signer.signature_algorithm = algorithm; }),
                {QEX_E_UNSUPPORTED, 0});
  }
  expect_both(with_signer([](SignerMaker& signer) {
                signer.signature_algorithm = "1.2.3.4";
                signer.signature_parameters = {};
              }),
              {QEX_E_UNSUPPORTED, 0});
}

TEST(Verify, LongKeyVerifies) {
  CertificateMaker certificate;
  certificate.key = TestKey("long");
  TokenMaker maker;
  maker.certificates = {certificate.encode()};
  maker.signer().key = certificate.key;
  maker.signer().certificate = maker.certificates[0];
  EXPECT_EQ(VerdictOn(maker.encode()), kVerifies);
  EXPECT_EQ(VerdictOn(maker.encode(), maker.certificates[0]), kVerifies);
}

TEST(Verify, NullParametersMayBePresentOrAbsentOnEitherSide) {
  for (const Octets& announced : {Octets{}, der::null()}) {
    for (const Octets& signed_with : {Octets{}, der::null()}) {
      for (const char* digest : kDigests) {
        expect_both(with_signer([&](SignerMaker& signer) {
                      signer.digest = digest;
                      signer.digest_parameters = announced;
                      signer.signed_digest_parameters = signed_with;
                    }),
                    kVerifies);
      }
    }
  }
}

TEST(Verify, OtherParametersInTheDigestInfoDoNotMatch) {
  expect_both(with_signer([](SignerMaker& signer) { signer.signed_digest_parameters = der::integer(1); }),
              {QEX_E_SIGNATURE, 0});
}

// Deliberate: the octets before the DigestInfo are not examined.
TEST(Verify, BlockBeforeTheDigestInfoIsNotExamined) {
  const struct {
    const char* name;
    Octets (*block)(const Octets&, size_t);
  } rows[] = {
      {"block type 2",
       [](const Octets& tail, size_t size) {
         Octets block = Padded(tail, size);
         block[1] = 2;
         return block;
       }},
      {"zeros",
       [](const Octets& tail, size_t size) { return der::concat(Octets(size - tail.size(), 0), tail); }},
      {"any octets",
       [](const Octets& tail, size_t size) {
         Octets block = der::concat(Octets(size - tail.size(), 0x3C), tail);
         block[0] = 0;
         return block;
       }},
      {"no zero octet in between",
       [](const Octets& tail, size_t size) {
         Octets block = Padded(tail, size);
         block[size - tail.size() - 1] = 0xFF;
         return block;
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    expect_both(with_signer([&](SignerMaker& signer) { signer.block = row.block; }), kVerifies);
  }
}

TEST(Verify, DigestInfoMustEndTheBlock) {
  expect_both(with_signer([](SignerMaker& signer) {
                signer.block = [](const Octets& info, size_t size) {
                  return Padded(der::concat(info, Octets{0}), size);
                };
              }),
              {QEX_E_SIGNATURE, 0});
}

TEST(Verify, BareDigestInTheBlockIsNotADigestInfo) {
  expect_both(with_signer([](SignerMaker& signer) {
                signer.block = [](const Octets& info, size_t size) {
                  return Padded(Octets(info.end() - 32, info.end()), size);
                };
              }),
              {QEX_E_SIGNATURE, 0});
}

TEST(Verify, SignatureNotBelowTheModulusIsReducedFirst) {
  // signature + modulus is the same number modulo the modulus.
  const Octets n = TestKey("authority").n;
  Octets sum;
  const Octets token = with_signer([&](SignerMaker& signer) {
    const Octets content = TstInfoMaker().encode();
    const Octets plain = signer.encode(content);
    const Octets signature(plain.end() - ptrdiff_t(n.size()), plain.end());
    unsigned carry = 0;
    sum.assign(n.size() + 1, 0);
    for (size_t i = n.size(); i-- > 0;) {
      carry += unsigned{n[i]} + signature[i];
      sum[i + 1] = uint8_t(carry);
      carry >>= 8;
    }
    sum[0] = uint8_t(carry);
    signer.signature = sum;
  });
  expect_both(token, kVerifies);
}

TEST(Verify, LeadingZerosOfTheSignatureDoNotMatter) {
  expect_both(with_signer([](SignerMaker& signer) {
                const Octets plain = signer.encode(TstInfoMaker().encode());
                signer.signature = der::concat(Octets(10, 0), Octets(plain.end() - 128, plain.end()));
              }),
              kVerifies);
}

TEST(Verify, EmptyContentVerifies) {
  TokenMaker maker;
  maker.tst_info = {};
  expect_both(maker.encode(), kVerifies);
}

TEST(Verify, PartsOutsideTheCheckDoNotMatter) {
  // Content types, versions, the signer identifier, the signing time.
  TokenMaker maker;
  maker.encapsulated_type = kData;
  maker.version = 77;
  maker.signer().version = 99;
  maker.signer().without = {kContentTypeAttribute, kSigningTimeAttribute};
  expect_both(maker.encode(), kVerifies);
  maker.signer().extra = {Attribute(kContentTypeAttribute, {der::oid("1.2.3")}),
                          Attribute(kSigningTimeAttribute, {der::generalized_time("19000101000000Z")})};
  expect_both(maker.encode(), kVerifies);
}

TEST(Verify, BytesAfterTheTokenAreIgnored) {
  expect_both(der::concat(TokenMaker().encode(), Octets{0x00, 0xFF}), kVerifies);
}

// --- Signed attributes ---------------------------------------------------------------------

TEST(Verify, OrderOfTheAttributesIsTheirOwn) {
  const Octets token = with_signer([](SignerMaker& signer) { signer.sorted = false; });
  ASSERT_NE(token, TokenMaker().encode()) << "the usual order is not that of DER";
  expect_both(token, kVerifies);
}

TEST(Verify, SignatureOverSortedAttributesDoesNotCoverUnsortedOnes) {
  TokenMaker sorted, unsorted;
  unsorted.signer().sorted = false;
  const Octets plain = sorted.signer().encode(sorted.tst_info);
  unsorted.signer().signature = Octets(plain.end() - 128, plain.end());
  expect_both(unsorted.encode(), {QEX_E_SIGNATURE, 0});
}

TEST(Verify, SignatureIsOverTheSetAndNotOverTheContextTag) {
  const Octets token = with_signer([](SignerMaker& signer) {
    const Octets content = TstInfoMaker().encode();
    const Octets digest = Digest(kSha256, content);
    signer.attributes = std::vector<Octets>{
        Attribute(kMessageDigestAttribute, {der::octet_string(digest)}),
        Attribute(kSigningCertificateAttribute,
                  {SigningCertificate({EssCertId(Digest(kSha1, AuthorityCertificate()))})})};
    signer.hashed_attributes = der::context(0, (*signer.attributes)[0], (*signer.attributes)[1]);
  });
  expect_both(token, {QEX_E_SIGNATURE, 0});
}

// The codec's own encoding of the attributes is hashed, not the octets received.
TEST(Verify, AttributesInAnotherFormOfBerVerifyOnlyUnderASignatureOverTheirDer) {
  const Octets content = TstInfoMaker().encode();
  const Octets digest = Attribute(kMessageDigestAttribute, {der::octet_string(Digest(kSha256, content))});
  const Octets naming = Attribute(kSigningCertificateAttribute,
                                  {SigningCertificate({EssCertId(Digest(kSha1, AuthorityCertificate()))})});
  const Octets loose_digest = der::indefinite(0x30, Octets(digest.begin() + 2, digest.end()));
  const Octets received = der::concat(loose_digest, naming);
  expect_both(with_signer([&](SignerMaker& signer) {
                signer.signed_attributes = der::context(0, received);
                signer.hashed_attributes = der::set(received);
              }),
              {QEX_E_SIGNATURE, 0});
  expect_both(with_signer([&](SignerMaker& signer) {
                signer.signed_attributes = der::context(0, received);
                signer.hashed_attributes = der::set(digest, naming);
              }),
              kVerifies);
}

TEST(Verify, FirstMessageDigestCounts) {
  const Octets right = der::octet_string(Digest(kSha256, TstInfoMaker().encode()));
  const Octets wrong = der::octet_string(Octets(32, 0));
  const struct {
    std::vector<Octets> attributes;
    Verdict expected;
  } rows[] = {
      {{Attribute(kMessageDigestAttribute, {right}), Attribute(kMessageDigestAttribute, {wrong})}, kVerifies},
      {{Attribute(kMessageDigestAttribute, {wrong}), Attribute(kMessageDigestAttribute, {right})},
       {QEX_E_SIGNATURE, 0}},
      {{Attribute(kMessageDigestAttribute, {right, wrong})}, kVerifies},
      {{Attribute(kMessageDigestAttribute, {wrong, right})}, {QEX_E_SIGNATURE, 0}},
      {{Attribute(kMessageDigestAttribute, {}), Attribute(kMessageDigestAttribute, {right})},
       {QEX_E_BADTOKEN, kLacksAPart}},
  };
  for (const auto& row : rows) {
    expect_both(with_signer([&](SignerMaker& signer) {
                  signer.without = {kMessageDigestAttribute};
                  signer.extra = row.attributes;
                  signer.sorted = false;
                }),
                row.expected);
  }
}

TEST(Verify, FirstSigningCertificateAttributeCounts) {
  const Octets right = SigningCertificate({EssCertId(Digest(kSha1, AuthorityCertificate()))});
  const Octets wrong = SigningCertificate({EssCertId(Octets(20, 0))});
  const struct {
    std::vector<Octets> attributes;
    bool match;
  } rows[] = {
      {{Attribute(kSigningCertificateAttribute, {right}), Attribute(kSigningCertificateAttribute, {wrong})},
       true},
      {{Attribute(kSigningCertificateAttribute, {wrong}), Attribute(kSigningCertificateAttribute, {right})},
       false},
      {{Attribute(kSigningCertificateAttribute, {right, wrong})}, true},
      {{Attribute(kSigningCertificateAttribute, {wrong, right})}, false},
  };
  for (const auto& row : rows) {
    const Octets token = with_signer([&](SignerMaker& signer) {
      signer.without = {kSigningCertificateAttribute};
      signer.extra = row.attributes;
      signer.sorted = false;
    });
    EXPECT_EQ(VerdictOn(token), row.match ? kVerifies : (Verdict{QEX_E_NOCERT, kLacksAPart}));
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), row.match ? kVerifies : (Verdict{QEX_E_MISMATCH, 0}));
  }
}

// --- Several of a kind -----------------------------------------------------------------------

TEST(Verify, FirstSignerAloneIsJudged) {
  SignerMaker good, bad, empty;
  bad.signature = Octets(128, 1);
  empty.signed_attributes = Octets{};
  TokenMaker maker;
  maker.signers = {good, bad};
  expect_both(maker.encode(), kVerifies);
  maker.signers = {good, empty};
  expect_both(maker.encode(), kVerifies);
  maker.signers = {bad, good};
  expect_both(maker.encode(), {QEX_E_SIGNATURE, 0});
  maker.signers = {empty, good};
  expect_both(maker.encode(), {QEX_E_BADTOKEN, kLacksAPart});
}

TEST(Verify, CertificateIsFoundAmongOthers) {
  TokenMaker maker;
  maker.certificates = {OtherCertificate(), der::context(2, AttributeCertificateContent()),
                        AuthorityCertificate(), OtherCertificate()};
  expect_both(maker.encode(), kVerifies);
  maker.certificates = {OtherCertificate(), OtherCertificate()};
  EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_NOCERT, kLacksAPart}));
  EXPECT_EQ(VerdictOn(maker.encode(), AuthorityCertificate()), kVerifies);
}

TEST(Verify, CertificateOfTheTokenIsHashedAsEncodedAgain) {
  const Octets& certificate = AuthorityCertificate();
  const Octets loose = der::indefinite(0x30, Octets(certificate.begin() + 4, certificate.end()));
  TokenMaker maker;
  maker.certificates = {loose};
  EXPECT_EQ(VerdictOn(maker.encode()), kVerifies);
  // Named by the octets received it is found only where these are hashed: as the caller's.
  maker.signer().certificate = loose;
  EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_NOCERT, kLacksAPart}));
  EXPECT_EQ(VerdictOn(maker.encode(), loose), kVerifies);
  EXPECT_EQ(VerdictOn(maker.encode(), certificate), (Verdict{QEX_E_MISMATCH, 0}));
}

TEST(Verify, BytesAfterTheCallersCertificateArePartOfItsHash) {
  const Octets longer = der::concat(AuthorityCertificate(), Octets{0x00, 0x01});
  EXPECT_EQ(VerdictOn(TokenMaker().encode(), longer), (Verdict{QEX_E_MISMATCH, 0}));
  TokenMaker maker;
  maker.signer().certificate = longer;
  EXPECT_EQ(VerdictOn(maker.encode(), longer), kVerifies);
  EXPECT_EQ(VerdictOn(maker.encode(), AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
}

// --- QEX_E_ARG: arguments and the caller's certificate -----------------------------------------------

TEST(Verify, NullTokenIsAnArgumentErrorAndKeepsTheLastError) {
  const ErrorCapture quiet;
  EXPECT_EQ(VerdictOn({}), (Verdict{QEX_E_BADTOKEN, -26}));
  const Guarded certificate(AuthorityCertificate());
  EXPECT_EQ(QEX_VerifyTST_Signature(nullptr, 100, nullptr, 0), QEX_E_ARG);
  EXPECT_EQ(QEX_VerifyTST_Signature(nullptr, 0, certificate.data(), certificate.size()), QEX_E_ARG);
  EXPECT_EQ(QEX_GetLastAsnError(), -26);
}

TEST(Verify, CallersCertificateThatDoesNotDecodeIsAnArgumentError) {
  const ErrorCapture quiet;
  const Octets token = TokenMaker().encode();
  Octets cut = AuthorityCertificate();
  cut.pop_back();
  EXPECT_EQ(VerdictOn(token, cut), (Verdict{QEX_E_ARG, -4})) << "the signature BIT STRING ends early";
  EXPECT_EQ(VerdictOn(token, {0x30}), (Verdict{QEX_E_ARG, -13}));
  EXPECT_EQ(VerdictOn(token, {0x30, 0x85}), (Verdict{QEX_E_ARG, -14}));
  const Verdict another_tag = VerdictOn(token, {0x31, 0x00});
  EXPECT_EQ(another_tag.code, QEX_E_ARG);
  EXPECT_LE(another_tag.error, -100);
}

TEST(Verify, TokenIsLookedAtBeforeTheCallersCertificate) {
  const ErrorCapture quiet;
  TokenMaker maker;
  maker.signers.clear();
  EXPECT_EQ(VerdictOn(maker.encode(), {0x31, 0x00}), (Verdict{QEX_E_BADTOKEN, kLacksAPart}));
}

// --- QEX_E_BADTOKEN: the token -----------------------------------------------------------------------

TEST(Verify, TokenThatDoesNotDecodeIsBadWithTheDecodersNumber) {
  const ErrorCapture quiet;
  EXPECT_EQ(VerdictOn({0x30}), (Verdict{QEX_E_BADTOKEN, -13}));
  EXPECT_EQ(VerdictOn({0x30, 0x82, 0x01}), (Verdict{QEX_E_BADTOKEN, -15}));
  EXPECT_EQ(VerdictOn(der::sequence(der::oid("1.2.3"), der::context(0, der::null()))),
            (Verdict{QEX_E_BADTOKEN, -44}));
  Octets cut = TokenMaker().encode();
  cut.pop_back();
  EXPECT_EQ(VerdictOn(cut), (Verdict{QEX_E_BADTOKEN, -20})) << "the signature OCTET STRING ends early";
}

TEST(Verify, AttributeOfAnUnknownTypeDoesNotDecode) {
  const ErrorCapture quiet;
  expect_both(with_signer([](SignerMaker& signer) { signer.extra = {Attribute("1.2.3.4", {der::null()})}; }),
              {QEX_E_BADTOKEN, -44});
}

TEST(Verify, WellFormedTokenThatLacksAPartIsBadWithLastError100) {
  const Octets no_octets = der::element(0x06);
  struct Case {
    const char* name;
    Octets token;
  };
  const auto changed = [](void (*change)(TokenMaker*)) {
    TokenMaker maker;
    change(&maker);
    return maker.encode();
  };
  const Case cases[] = {
      {"content of another type", der::sequence(der::oid(kData), der::context(0, der::octet_string({1})))},
      {"no content", der::sequence(der::oid(kSignedData))},
      {"no eContent", changed([](TokenMaker* maker) { maker->with_content = false; })},
      {"no SignerInfo", changed([](TokenMaker* maker) { maker->signers.clear(); })},
      {"no signed attributes",
       changed([](TokenMaker* maker) { maker->signer().signed_attributes = Octets{}; })},
      {"empty signed attributes",
       changed([](TokenMaker* maker) { maker->signer().signed_attributes = der::context(0); })},
      {"no message-digest attribute",
       changed([](TokenMaker* maker) { maker->signer().without = {kMessageDigestAttribute}; })},
      {"message-digest attribute without a value", changed([](TokenMaker* maker) {
         maker->signer().without = {kMessageDigestAttribute};
         maker->signer().extra = {Attribute(kMessageDigestAttribute, {})};
       })},
      {"digest algorithm of no octets",
       with_signer([&](SignerMaker& signer) { signer.digest_algorithm = der::sequence(no_octets); })},
      {"signature algorithm of no octets", with_signer([&](SignerMaker& signer) {
         signer.signature_algorithm_element = der::sequence(no_octets);
       })},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    expect_both(one.token, {QEX_E_BADTOKEN, kLacksAPart});
  }
}

// --- QEX_E_NOCERT, QEX_E_DECODE, QEX_E_MISMATCH: the signing-certificate attribute -------------------

TEST(Verify, TokenWithoutTheAttributeHasNoCertificateOrDoesNotNameTheCallers) {
  const Octets unnamed =
      with_signer([](SignerMaker& signer) { signer.without = {kSigningCertificateAttribute}; });
  EXPECT_EQ(VerdictOn(unnamed), (Verdict{QEX_E_NOCERT, kLacksAPart}));
  EXPECT_EQ(VerdictOn(unnamed, AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
}

TEST(Verify, AttributeWithoutAnIdentifierCountsAsNone) {
  const Octets values[] = {Attribute(kSigningCertificateAttribute, {}),
                           Attribute(kSigningCertificateAttribute, {SigningCertificate({})})};
  for (const Octets& attribute : values) {
    const Octets token = with_signer([&](SignerMaker& signer) {
      signer.without = {kSigningCertificateAttribute};
      signer.extra = {attribute};
    });
    EXPECT_EQ(VerdictOn(token), (Verdict{QEX_E_NOCERT, kLacksAPart}));
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
  }
}

TEST(Verify, SecondVersionAloneCountsAsNoneWithoutTheSwitch) {
  const Octets token = with_signer([](SignerMaker& signer) {
    signer.without = {kSigningCertificateAttribute};
    signer.extra = {Attribute(kSigningCertificateV2Attribute,
                              {SigningCertificate({EssCertIdV2(der::algorithm(kSha256),
                                                               Digest(kSha256, AuthorityCertificate()))})})};
  });
  EXPECT_EQ(VerdictOn(token), (Verdict{QEX_E_NOCERT, kLacksAPart}));
  EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_DECODE, 0}));
}

TEST(Verify, CertificateNamedOnlySecondIsAMismatch) {
  const Octets token = with_signer([](SignerMaker& signer) {
    signer.without = {kSigningCertificateAttribute};
    signer.extra = {Attribute(
        kSigningCertificateAttribute,
        {SigningCertificate({EssCertId(Octets(20, 7)), EssCertId(Digest(kSha1, AuthorityCertificate()))})})};
  });
  EXPECT_EQ(VerdictOn(token), (Verdict{QEX_E_NOCERT, kLacksAPart}));
  EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0}));
}

TEST(Verify, HashIsComparedInLengthToo) {
  const Octets hash = Digest(kSha1, AuthorityCertificate());
  for (const Octets& other : {Octets{}, Octets(hash.begin(), hash.end() - 1), der::concat(hash, Octets{0})}) {
    const Octets token = with_signer([&](SignerMaker& signer) {
      signer.without = {kSigningCertificateAttribute};
      signer.extra = {Attribute(kSigningCertificateAttribute, {SigningCertificate({EssCertId(other)})})};
    });
    EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_MISMATCH, 0})) << other.size();
  }
}

TEST(Verify, IssuerAndSerialOfTheIdentifierAreNotCompared) {
  const Octets issuer_serial = der::sequence(
      der::sequence(der::context(4, DirectoryName({{"2.5.4.3", der::utf8_string("somebody else")}}))),
      der::integer(1));
  const Octets identifier =
      der::sequence(der::octet_string(Digest(kSha1, AuthorityCertificate())), issuer_serial);
  expect_both(with_signer([&](SignerMaker& signer) {
                signer.without = {kSigningCertificateAttribute};
                signer.extra = {Attribute(kSigningCertificateAttribute, {SigningCertificate({identifier})})};
              }),
              kVerifies);
}

TEST(Verify, SignatureIsJudgedBeforeTheCallersCertificateIsNamed) {
  const Octets token = with_signer([](SignerMaker& signer) {
    signer.without = {kSigningCertificateAttribute};
    signer.signature = Octets(128, 1);
  });
  EXPECT_EQ(VerdictOn(token, AuthorityCertificate()), (Verdict{QEX_E_SIGNATURE, 0}));
}

// --- QEX_E_SIGNATURE: digest and signature -----------------------------------------------------------

TEST(Verify, ContentOfAnotherDigestIsRefused) {
  TokenMaker maker;
  maker.signer().message_digest = Digest(kSha256, der::octets("another content"));
  expect_both(maker.encode(), {QEX_E_SIGNATURE, 0});
}

TEST(Verify, MessageDigestIsComparedInLengthToo) {
  const Octets digest = Digest(kSha256, TstInfoMaker().encode());
  for (const Octets& other :
       {Octets{}, Octets(digest.begin(), digest.end() - 1), der::concat(digest, Octets{0})}) {
    expect_both(with_signer([&](SignerMaker& signer) { signer.message_digest = other; }),
                {QEX_E_SIGNATURE, 0});
  }
}

TEST(Verify, DigestIsJudgedBeforeTheAlgorithms) {
  expect_both(with_signer([](SignerMaker& signer) {
                signer.message_digest = Octets(32, 0);
                signer.signature_algorithm = kSha1WithRsa;
              }),
              {QEX_E_SIGNATURE, 0});
}

TEST(Verify, UnknownDigestMatchesNoMessageDigest) {
  expect_both(with_signer([](SignerMaker& signer) {
                signer.digest_algorithm = der::algorithm(kRipemd160, der::null());
              }),
              {QEX_E_SIGNATURE, 0});
}

TEST(Verify, SignatureOfAnotherKeyIsRefused) {
  expect_both(with_signer([](SignerMaker& signer) { signer.key = TestKey("other"); }), {QEX_E_SIGNATURE, 0});
}

TEST(Verify, EveryBitOfTheSignatureCounts) {
  TokenMaker maker;
  const Octets plain = maker.signer().encode(maker.tst_info);
  const Octets signature(plain.end() - 128, plain.end());
  for (size_t bit = 0; bit < 1024; bit += 37) {
    Octets spoilt = signature;
    spoilt[bit / 8] = uint8_t(spoilt[bit / 8] ^ 0x80 >> bit % 8);
    maker.signer().signature = spoilt;
    EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_SIGNATURE, 0})) << bit;
  }
}

TEST(Verify, OddSignaturesAreRefused) {
  for (const Octets& odd :
       {Octets{}, Octets{0}, Octets{1}, Octets(128, 0), Octets(128, 0xFF), Octets(4000, 0xFF)}) {
    expect_both(with_signer([&](SignerMaker& signer) { signer.signature = odd; }), {QEX_E_SIGNATURE, 0});
  }
}

TEST(Verify, AttributesAfterTheSignatureAreNotCovered) {
  TokenMaker maker;
  const Octets other = Attribute(kSigningTimeAttribute, {der::utc_time("250101000000Z")});
  const Octets plain = maker.signer().encode(maker.tst_info);
  maker.signer().signature = Octets(plain.end() - 128, plain.end());
  maker.signer().without = {kSigningTimeAttribute};
  maker.signer().extra = {other};
  expect_both(maker.encode(), {QEX_E_SIGNATURE, 0});
}

// --- QEX_E_MISSING, QEX_E_NOMEM, QEX_E_SIGNATURE, QEX_E_UNSUPPORTED: the key -------------------------

// with_key makes a token whose authority has this SubjectPublicKeyInfo.
struct KeyCase {
  Octets token;
  Octets certificate;
};
KeyCase with_key(const Octets& public_key_info, const char* digest = kSha256) {
  CertificateMaker certificate;
  certificate.subject_public_key_info = public_key_info;
  KeyCase made;
  made.certificate = certificate.encode();
  TokenMaker maker;
  maker.certificates = {made.certificate};
  maker.signer().certificate = made.certificate;
  maker.signer().digest = digest;
  made.token = maker.encode();
  return made;
}

void expect_key(const Octets& public_key_info, const Verdict& expected, const char* digest = kSha256) {
  const KeyCase made = with_key(public_key_info, digest);
  EXPECT_EQ(VerdictOn(made.token), expected) << "with the token's certificate";
  EXPECT_EQ(VerdictOn(made.token, made.certificate), expected) << "with the caller's certificate";
}

Octets rsa_key_info(const Octets& key) {
  return der::sequence(der::algorithm(kRsaEncryption, der::null()), der::bit_string(key));
}

TEST(VerifyKey, KeyThatLacksAPartIsMissing) {
  const Octets key = der::sequence(der::unsigned_integer(TestKey("authority").n), der::integer(65537));
  // No identifier, and no bits.
  expect_key(der::sequence(der::sequence(der::element(0x06)), der::bit_string(key)),
             {QEX_E_MISSING, kLacksAPart});
  expect_key(rsa_key_info({}), {QEX_E_MISSING, kLacksAPart});
}

// The recovery point around the key does not store its number.
TEST(VerifyKey, KeyThatDoesNotDecodeIsMissingWithLastError0) {
  const ErrorCapture quiet;
  const Octets n = der::unsigned_integer(TestKey("authority").n);
  const Octets keys[] = {
      {0x00},
      {0x30},
      {0x31, 0x00},
      der::sequence(),
      der::sequence(n),
      der::sequence(n, der::octet_string({3})),
      der::sequence(der::octet_string({3}), n),
      der::sequence(n, der::unsigned_integer(TestKey("authority").e), Octets{0}),  // one octet after both
      {0x30, 0x04, 0x02, 0x05, 0x01, 0x01},
  };
  for (const Octets& key : keys) expect_key(rsa_key_info(key), {QEX_E_MISSING, 0});
}

TEST(VerifyKey, KeyIsReadFromWholeOctets) {
  // Of 12 bits the first octet takes part: no whole SEQUENCE.
  const ErrorCapture quiet;
  expect_key(der::sequence(der::algorithm(kRsaEncryption, der::null()), der::bit_string({0x30, 0x00}, 4)),
             {QEX_E_MISSING, 0});
  // Four unused bits after a whole key do no harm.
  const RsaKey& rsa = TestKey("authority");
  const Octets key = der::sequence(der::unsigned_integer(rsa.n), der::unsigned_integer(rsa.e));
  expect_key(
      der::sequence(der::algorithm(kRsaEncryption), der::bit_string(der::concat(key, Octets{0xF0}), 4)),
      kVerifies);
}

TEST(VerifyKey, ModulusOf0IsARefusedSignature) {
  expect_key(rsa_key_info(der::sequence(der::integer(0), der::integer(65537))), {QEX_E_SIGNATURE, 0});
}

TEST(VerifyKey, ModulusShorterThanTheDigestInfoNeverMatches) {
  for (const Octets& modulus : {Octets{1}, Octets{3}, Octets(8, 0x7F), Octets(50, 0x7F)}) {
    expect_key(rsa_key_info(der::sequence(der::big_integer(modulus), der::integer(3))), {QEX_E_SIGNATURE, 0});
  }
}

TEST(VerifyKey, EvenModulusIsRefusedLikeAnyOther) {
  expect_key(rsa_key_info(der::sequence(der::big_integer(Octets(128, 0x7E)), der::integer(65537))),
             {QEX_E_SIGNATURE, 0});
}

TEST(VerifyKey, ExponentOf0Or1DoesNotFault) {
  const Octets n = der::unsigned_integer(TestKey("authority").n);
  expect_key(rsa_key_info(der::sequence(n, der::integer(0))), {QEX_E_SIGNATURE, 0});
  expect_key(rsa_key_info(der::sequence(n, der::integer(1))), {QEX_E_SIGNATURE, 0});
}

TEST(VerifyKey, NumbersThatAreTooLargeAreNotHeld) {
  const Octets n = der::unsigned_integer(TestKey("authority").n);
  const Octets huge(65537, 0x11);
  expect_key(rsa_key_info(der::sequence(der::big_integer(huge), der::integer(3))), {QEX_E_NOMEM, 0});
  expect_key(rsa_key_info(der::sequence(n, der::big_integer(huge))), {QEX_E_NOMEM, 0});
  expect_both(with_signer([&](SignerMaker& signer) { signer.signature = huge; }), {QEX_E_NOMEM, 0});
}

TEST(VerifyKey, SignatureThatIsTooLargeComesBeforeTheKey) {
  KeyCase made = with_key(rsa_key_info({0x31, 0x00}));
  TokenMaker maker;
  maker.certificates = {made.certificate};
  maker.signer().certificate = made.certificate;
  maker.signer().signature = Octets(65537, 0x11);
  EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_NOMEM, 0}));
}

TEST(VerifyKey, OtherKeyAlgorithmsAreNotSupported) {
  const Octets key = der::bit_string(Octets(32, 0x42));
  expect_key(der::sequence(der::algorithm(kEd25519), key), {QEX_E_UNSUPPORTED, 0});
  expect_key(der::sequence(der::algorithm(kSha256WithRsa, der::null()), key), {QEX_E_UNSUPPORTED, 0});
  expect_key(der::sequence(der::algorithm("1.2.3.4"), key), {QEX_E_UNSUPPORTED, 0});
}

TEST(VerifyKey, DsaKeyIsNotSupportedWithRsaAlgorithmsNorLongDigests) {
  const Octets parameters = der::sequence(der::integer(23), der::integer(11), der::integer(4));
  const Octets key_info =
      der::sequence(der::algorithm(kDsaIdentifier, parameters), der::bit_string(der::integer(8)));
  for (const char* digest : kDigests) expect_key(key_info, {QEX_E_UNSUPPORTED, 0}, digest);
  for (const char* algorithm : {"1.2.840.10040.4.3", "2.16.840.1.101.3.4.3.2"}) {
    for (const char* digest : {kMd5, kSha384, kSha512}) {
      const KeyCase made = with_key(key_info);
      TokenMaker maker;
      maker.certificates = {made.certificate};
      maker.signer().certificate = made.certificate;
      maker.signer().digest = digest;
      maker.signer().signature_algorithm = algorithm;
      EXPECT_EQ(VerdictOn(maker.encode()), (Verdict{QEX_E_UNSUPPORTED, 0})) << algorithm << " " << digest;
    }
  }
}

TEST(VerifyKey, UnknownDigestWithAnEmptyMessageDigestIsNotSupported) {
  expect_both(with_signer([](SignerMaker& signer) {
                signer.digest_algorithm = der::algorithm(kRipemd160, der::null());
                signer.message_digest = Octets{};
              }),
              {QEX_E_UNSUPPORTED, 0});
}

TEST(VerifyKey, CertificateWithAKeyOfAnUnknownTypeDoesNotDecode) {
  const ErrorCapture quiet;
  // An elliptic-curve key: its parameters are of no registered type.
  const Octets key_info = der::sequence(der::algorithm("1.2.840.10045.2.1", der::oid("1.2.840.10045.3.1.7")),
                                        der::bit_string(Octets(65, 4)));
  const KeyCase made = with_key(key_info);
  EXPECT_EQ(VerdictOn(made.token), (Verdict{QEX_E_BADTOKEN, -44}));
  EXPECT_EQ(VerdictOn(TokenMaker().encode(), made.certificate), (Verdict{QEX_E_ARG, -44}));
}

}  // namespace
}  // namespace qex::test
