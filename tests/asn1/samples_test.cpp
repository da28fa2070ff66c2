// Other implementations' messages and certificates, made with openssl (tests/data/make_samples.sh), decode
// and are encoded to the same octets.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/timestamp.h"
#include "asn1/x509.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const std::filesystem::path kFolder = QEX_TEST_DATA "/samples";

Octets read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return Octets(std::istreambuf_iterator<char>(file), {});
}
Octets read_sample(const std::string& name) {
  return read(kFolder / name);
}

std::vector<std::filesystem::path> samples(const std::string& prefix) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(prefix) && entry.path().extension() == ".der") paths.push_back(entry.path());
  }
  return paths;
}

template <class R>
void expect_all(const Routines<R>& routines, const std::string& prefix, size_t at_least) {
  const auto paths = samples(prefix);
  EXPECT_GE(paths.size(), at_least);
  for (const auto& path : paths) {
    SCOPED_TRACE(path.filename().string());
    ExpectRoundTrip(routines, read(path));
  }
}

TEST(Samples, RequestsAreWrittenBack) {
  expect_all(TOP(TimeStampReq), "request_", 7);
}
TEST(Samples, RepliesAreWrittenBack) {
  expect_all(TOP(TimeStampResp), "reply_", 7);
}
TEST(Samples, CertificatesAreWrittenBack) {
  expect_all(TOP(Certificate), "certificate_", 2);
}
TEST(Samples, TokensAreWrittenBack) {
  expect_all(TOP(ContentInfo), "token_", 1);
}
TEST(Samples, SignedDataIsWrittenBack) {
  expect_all(TOP(ContentInfo), "signed_data_", 2);
}
TEST(Samples, CrlsAreWrittenBack) {
  expect_all(NESTED(CertificateList), "crl_", 1);
}
TEST(Samples, KeysAreWrittenBack) {
  expect_all(TOP(RSAPublicKey), "rsa_public_key", 1);
}

TEST(Samples, ARequestHasItsOriginalValues) {
  const struct {
    const char* name;
    const char* digest;
    uint32_t size;
  } cases[] = {{"request_sha1_cert.der", "1.3.14.3.2.26", 20},
               {"request_sha256_cert.der", "2.16.840.1.101.3.4.2.1", 32},
               {"request_sha384_cert.der", "2.16.840.1.101.3.4.2.2", 48},
               {"request_sha512_cert.der", "2.16.840.1.101.3.4.2.3", 64},
               {"request_md5.der", "1.2.840.113549.2.5", 16}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Decoded v(TOP(TimeStampReq), read_sample(c.name));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->version, 1);
    EXPECT_EQ(ToHex(v->messageImprint->hashAlgorithm->algorithm), ToHex(oid_content(c.digest)));
    EXPECT_EQ(v->messageImprint->hashedMessage.count, c.size);
    const bool bare = std::string_view(c.name) == "request_md5.der";
    EXPECT_EQ(v->nonce.octs == nullptr, bare);
    EXPECT_EQ(v->certReq == nullptr, bare);
  }
  Decoded policy(TOP(TimeStampReq), read_sample("request_sha256_policy.der"));
  ASSERT_EQ(policy.outcome, kDecoded);
  EXPECT_EQ(ToHex(policy->reqPolicy), ToHex(oid_content("1.3.6.1.4.1.32473.2")));
}

const SignedData& signed_data_of(const ContentInfo& content) {
  EXPECT_EQ(RowOf(content.content), 65);
  return *static_cast<const SignedData*>(content.content.value);
}

const AsnAny* attribute_value(const AsnList* attributes, const char* id) {
  const Octets octets = oid_content(id);
  for (const Attribute* attribute : ElementsOf<Attribute>(attributes)) {
    if (AsnOidEqual(attribute->type, OidOf(octets))) return At<AsnAny>(attribute->values, 0);
  }
  return nullptr;
}

TEST(Samples, AReplyHoldsASignedTSTInfo) {
  const struct {
    const char* name;
    bool certificates, accuracy, tsa, nonce;
    const char* attribute;
    int32_t row;
  } cases[] = {
      {"reply_sha256_v1_cert.der", true, true, true, true, "1.2.840.113549.1.9.16.2.12", 72},
      {"reply_sha256_v1_bare.der", false, true, true, false, "1.2.840.113549.1.9.16.2.12", 72},
      {"reply_sha256_v2_cert.der", true, false, false, true, "1.2.840.113549.1.9.16.2.47", 71},
      {"reply_sha256_v2_bare.der", false, false, false, false, "1.2.840.113549.1.9.16.2.47", 71},
      {"reply_sha256_v2_sha512_cert.der", true, false, true, true, "1.2.840.113549.1.9.16.2.47", 71},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Decoded v(TOP(TimeStampResp), read_sample(c.name));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->status->status, 0);
    const SignedData& data = signed_data_of(*v->timeStampToken);
    EXPECT_EQ(data.certificates != nullptr, c.certificates);
    if (c.certificates) {
      EXPECT_EQ(data.certificates->count, 2);
    }

    const AsnOcts& content = data.encapContentInfo->eContent;
    Decoded info(TOP(TSTInfo), Octets(content.octs, content.octs + content.count));
    ASSERT_EQ(info.outcome, kDecoded);
    EXPECT_EQ(ToHex(info.encoded()), ToHex(content));
    EXPECT_EQ(info->accuracy != nullptr, c.accuracy);
    EXPECT_EQ(info->ordering != nullptr, c.accuracy);  // set in the same section
    EXPECT_EQ(info->tsa != nullptr, c.tsa);
    EXPECT_EQ(info->nonce.octs != nullptr, c.nonce);
    EXPECT_EQ(info->serialNumber.count, 17u);
    if (c.tsa) {
      EXPECT_EQ(info->tsa->choice, GeneralName::kDirectoryName);
    }

    const auto* signer = At<SignerInfo>(data.signerInfos, 0);
    const AsnAny* certificate = attribute_value(signer->signedAttrs, c.attribute);
    ASSERT_NE(certificate, nullptr);
    EXPECT_EQ(RowOf(*certificate), c.row);
    EXPECT_EQ(RowOf(*attribute_value(signer->signedAttrs, "1.2.840.113549.1.9.3")), 70);
    EXPECT_EQ(RowOf(*attribute_value(signer->signedAttrs, "1.2.840.113549.1.9.4")), 69);
    EXPECT_EQ(RowOf(*attribute_value(signer->signedAttrs, "1.2.840.113549.1.9.5")), 75);
  }
}

// SHA-256 is the default, so openssl leaves it out, and so it stays.
TEST(Samples, TheHashOfASigningCertificateIsWrittenOnlyWhenItIsNotTheDefault) {
  for (const auto& [name, present] :
       {std::pair{"reply_sha256_v2_cert.der", false}, std::pair{"reply_sha256_v2_sha512_cert.der", true}}) {
    Decoded v(TOP(TimeStampResp), read_sample(name));
    ASSERT_EQ(v.outcome, kDecoded);
    const auto* signer = At<SignerInfo>(signed_data_of(*v->timeStampToken).signerInfos, 0);
    const AsnAny* any = attribute_value(signer->signedAttrs, "1.2.840.113549.1.9.16.2.47");
    ASSERT_NE(any, nullptr);
    const auto* id = At<ESSCertIDv2>(static_cast<const SigningCertificateV2*>(any->value)->certs, 0);
    EXPECT_EQ(id->hashAlgorithm != nullptr, present);
    EXPECT_EQ(id->certHash.count, present ? 64u : 32u);
  }
}

TEST(Samples, ARejectionHasNoToken) {
  Decoded v(TOP(TimeStampResp), read_sample("reply_rejected.der"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->status->status, 2);
  EXPECT_EQ(v->timeStampToken, nullptr);
  ASSERT_NE(v->status->statusString, nullptr);
  EXPECT_EQ(TextOf(*At<AsnOcts>(v->status->statusString, 0)), "Message digest algorithm is not supported.");
  EXPECT_TRUE(AsnBitsTest(&v->status->failInfo, 0));  // badAlg
}

TEST(Samples, SignedDataMayCarryACrl) {
  Decoded v(TOP(ContentInfo), read_sample("signed_data_crl.der"));
  ASSERT_EQ(v.outcome, kDecoded);
  const SignedData& data = signed_data_of(v.value);
  ASSERT_EQ(data.crls->count, 1);
  const TBSCertList& list = *At<CertificateList>(data.crls, 0)->tbsCertList;
  EXPECT_EQ(*list.version, 1);
  ASSERT_EQ(list.revokedCertificates->count, 1);
  EXPECT_EQ(ToHex(At<RevokedCertificate>(list.revokedCertificates, 0)->userCertificate), "1000");
  EXPECT_NE(At<RevokedCertificate>(list.revokedCertificates, 0)->crlEntryExtensions, nullptr);
  EXPECT_EQ(list.crlExtensions->count, 2);
  EXPECT_EQ(data.signerInfos->count, 0);
}

TEST(Samples, ASignerMayBeNamedByItsKey) {
  Decoded v(TOP(ContentInfo), read_sample("signed_data_keyid.der"));
  ASSERT_EQ(v.outcome, kDecoded);
  const auto* signer = At<SignerInfo>(signed_data_of(v.value).signerInfos, 0);
  EXPECT_EQ(signer->sid->choice, SignerIdentifier::kSubjectKeyIdentifier);
  EXPECT_EQ(signer->sid->subjectKeyIdentifier->count, 20u);
  EXPECT_EQ(signer->signedAttrs, nullptr);
}

// Indefinite lengths and constructed octets are encoded as definite and primitive.
TEST(Samples, IndefiniteLengthsDecode) {
  const Octets ber = read_sample("signed_data_indefinite.ber");
  Decoded v(TOP(ContentInfo), ber);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.used, ber.size());
  const AsnOcts& content = signed_data_of(v.value).encapContentInfo->eContent;
  EXPECT_EQ(TextOf(content), "the data to be stamped\n");
  ExpectRoundTrip(TOP(ContentInfo), v.encoded());
}

TEST(Samples, ValuesWithoutATypeAreRefused) {
  constexpr const char* kText = "ERROR - ANY Decode routine is NULL\n";
  ExpectRefused(TOP(Certificate), read_sample("refused_certificate_domain_component.der"), -44, kText);
  ExpectRefused(TOP(Certificate), read_sample("refused_certificate_curve.der"), -44, kText);
  ExpectRefused(TOP(ContentInfo), read_sample("refused_signed_data_capabilities.der"), -44, kText);
}

}  // namespace
}  // namespace qex::test
