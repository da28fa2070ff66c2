// Tokens signed by openssl verify, with every key, digest and version of the attribute; where the library
// does not support a part of a token, it says so.
//
// The switch QEX_VERIFY_ESSCERTIDV2 is read once per process: ctest runs these tests twice, without it and
// with it.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/interop/samples.h"
#include "tests/support/codec_errors.h"
#include "tests/support/error_capture.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

// All tokens, of replies and of `openssl cms`.
std::vector<Sample> tokens() {
  std::vector<Sample> all = Samples("replies.txt", 85);
  const std::vector<Sample> more = Samples("tokens.txt", 14);
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

bool attribute_is_used(const Sample& sample) {
  return sample.is("ess", SwitchIsSet() ? "v2" : "v1");
}

// The outcome for the signature itself when the certificate has been found.
int32_t signature_verdict(const Sample& sample) {
  if (sample.is("key", "ec")) return QEX_E_ARG;  // the caller's certificate does not decode
  // Of a digest for DSA the first 20 octets take part; a q of 256 bits uses all 32.
  if (sample.is("key", "dsa2048")) return QEX_E_SIGNATURE;
  return QEX_OK;
}

TEST(Verification, WithoutACertificateUsesThatOfTheToken) {
  int verified = 0;
  for (const Sample& sample : tokens()) {
    SCOPED_TRACE(sample.name);
    const Guarded token(sample.file(".token"));
    const bool found = attribute_is_used(sample) && sample.is("cert", "yes");
    const int32_t expected = found ? signature_verdict(sample) : QEX_E_NOCERT;
    EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), nullptr, 0), expected);
    EXPECT_EQ(QEX_GetLastAsnError(), found ? 0 : 100);
    if (expected == QEX_OK) ++verified;
  }
  EXPECT_GE(verified, 40);
}

TEST(Verification, WithTheCallersCertificateNeedsNoneInTheToken) {
  int verified = 0;
  for (const Sample& sample : tokens()) {
    SCOPED_TRACE(sample.name);
    const Guarded token(sample.file(".token"));
    const Guarded certificate(SampleFile(sample["key"] + ".der"));
    int32_t expected = signature_verdict(sample);
    if (expected == QEX_OK && !attribute_is_used(sample)) expected = QEX_E_DECODE;
    EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), certificate.data(), certificate.size()),
              expected);
    EXPECT_EQ(QEX_GetLastAsnError(), expected == QEX_E_ARG ? kUnknownType : 0);
    if (expected == QEX_OK) ++verified;
  }
  EXPECT_GE(verified, 40);
}

TEST(Verification, AgreesWithOpenssl) {
  for (const Sample& sample : Samples("replies.txt", 85)) {
    SCOPED_TRACE(sample.name);
    if (!attribute_is_used(sample) || signature_verdict(sample) != QEX_OK) continue;
    EXPECT_EQ(sample["openssl"], "verified");
  }
}

TEST(Verification, RefusesTheCertificateOfAnotherKey) {
  for (const Sample& sample : tokens()) {
    SCOPED_TRACE(sample.name);
    if (!attribute_is_used(sample) || signature_verdict(sample) != QEX_OK) continue;
    const Octets token = sample.file(".token");
    for (const char* key : {"rsa1000", "rsa1024", "rsa2047", "rsa3072", "dsa1024", "ca"}) {
      if (sample.is("key", key)) continue;
      const Octets certificate = SampleFile(std::string(key) + ".der");
      const int32_t code = QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), certificate.data(),
                                                   uint32_t(certificate.size()));
      // A key of the other algorithm does not go with the signature's.
      const bool same_algorithm = (sample["key"].substr(0, 3) == "dsa") == (std::string(key) == "dsa1024");
      EXPECT_EQ(code, same_algorithm ? QEX_E_SIGNATURE : QEX_E_UNSUPPORTED) << key;
    }
  }
}

// A certificate for the signer's own key that is not the one of the attribute.
TEST(Verification, RefusesAnotherCertificateOfTheSameKey) {
  const Folder folder;
  ASSERT_EQ(
      RunShell("openssl req -x509 -new -config " + SamplePath("openssl.cnf") + " -key " +
               SamplePath("rsa2048.key") + " -subj /CN=Other -outform DER -out " + folder.path("other.der")),
      0);
  const Octets other = ReadFile(folder.path("other.der"));
  const Octets token = SampleFile(SwitchIsSet() ? "chain-v2.token" : "chain-v1.token");
  EXPECT_EQ(
      QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), other.data(), uint32_t(other.size())),
      QEX_E_MISMATCH);
}

TEST(Verification, FindsTheCertificateOfTheSigner) {
  int found = 0;
  for (const Sample& sample : tokens()) {
    SCOPED_TRACE(sample.name);
    const Guarded token(sample.file(".token"));
    uint32_t length = 0;
    if (!attribute_is_used(sample) || sample.is("cert", "no")) {
      EXPECT_EQ(QEX_GetTST_TSACert(nullptr, &length, token.data(), token.size()), QEX_E_NOCERT);
      continue;
    }
    const Octets expected = SampleFile(sample["key"] + ".der");
    ASSERT_EQ(QEX_GetTST_TSACert(nullptr, &length, token.data(), token.size()), QEX_E_SIZE);
    ASSERT_EQ(length, expected.size());
    Guarded certificate(length);
    ASSERT_EQ(QEX_GetTST_TSACert(certificate.data(), &length, token.data(), token.size()), QEX_OK);
    EXPECT_EQ(ToHex(certificate.octets()), ToHex(expected));
    ++found;
  }
  EXPECT_GE(found, 40);
}

// Deliberate: an open type is decoded by its identifier, and an unregistered one ends the decoding. So the
// key of a curve, the parameters of RSASSA-PSS and a domain component are not skipped.
TEST(Verification, RefusesTokensWithAValueOfAnUnknownType) {
  for (const Sample& sample : Samples("unknown.txt", 3)) {
    SCOPED_TRACE(sample.name);
    const ErrorCapture report;
    const Guarded token(sample.file(".token"));
    EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), token.size(), nullptr, 0), QEX_E_BADTOKEN);
    EXPECT_EQ(QEX_GetLastAsnError(), kUnknownType);
    EXPECT_EQ(report.text(), kNoDecoder);
    QEX_TSTINFO info;
    EXPECT_EQ(QEX_GetTST_TSTInfo(&info, token.data(), token.size()), QEX_E_DECODE);
  }
}

// A signature by a curve under an RSA certificate: key and signature do not match.
TEST(Verification, RefusesASignatureAlgorithmOfAnotherKind) {
  const Octets token = SampleFile("ec-no-certificates.token");
  const Octets certificate = SampleFile("rsa2048.der");
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), certificate.data(),
                                    uint32_t(certificate.size())),
            QEX_E_UNSUPPORTED);
}

// The token of a reply in BER is encoded again in DER; openssl accepts the signature over it.
TEST(Verification, OfATokenInIndefiniteLengthsSurvivesWritingItInDer) {
  const std::string name = SwitchIsSet() ? "cms-stream-v2" : "cms-stream";
  const Octets ber = SampleFile(name + ".token");
  ASSERT_EQ(ber[1], 0x80);
  const Octets token = TokenOf(der::sequence(der::sequence(der::integer(0)), ber));
  ASSERT_FALSE(token.empty());
  EXPECT_NE(token[1], 0x80);
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), uint32_t(token.size()), nullptr, 0), QEX_OK);

  const Folder folder;
  folder.write("token", token);
  std::string said;
  EXPECT_EQ(RunShell("openssl cms -verify -purpose any -inform DER -in " + folder.path("token") +
                         " -CAfile " + SamplePath("ca.pem") + " -out " + folder.path("content"),
                     &said),
            0)
      << said;
  EXPECT_EQ(ReadFile(folder.path("content")), SampleFile(name + ".tst"));
}

// asn1crypto accepts the library's output, from DER and from BER, as DER, and reads the same values in it.
TEST(Tokens, AreReadAlikeByAsn1crypto) {
  const std::string python = QEX_ASN1CRYPTO_PYTHON;
  if (python.empty()) GTEST_SKIP() << "asn1crypto is not installed";
  const Folder folder;
  std::string paths;
  std::ostringstream expected;
  for (const Sample& sample : tokens()) {
    const Octets token = TokenOf(der::sequence(der::sequence(der::integer(0)), sample.file(".token")));
    paths += ' ';
    paths += folder.write(sample.name, token);
    QEX_TSTINFO_EX info;
    info.size = sizeof info;
    ASSERT_EQ(QEX_GetTST_TSTInfoEx(&info, token.data(), uint32_t(token.size())), QEX_OK) << sample.name;
    expected << "1.2.840.113549.1.7.2 1.2.840.113549.1.9.16.1.4 v" << info.version << ' ' << info.policy
             << ' ' << info.hashAlgorithm << ' ' << ToHex(info.hashedMessage, info.hashedMessageLength)
             << " serial " << ToHex(info.serialNumber, info.serialNumberLength) << " time " << info.genTime
             << " nonce " << ToHex(info.nonce, info.nonceLength) << " signers 1\n";
  }
  std::string output;
  EXPECT_EQ(
      RunShell(python + " -B " + QEX_SOURCE_DIR + "/tests/interop/peer_asn1crypto.py token" + paths, &output),
      0);
  EXPECT_EQ(output, expected.str());
}

}  // namespace
}  // namespace qex::test
