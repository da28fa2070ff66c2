// The token maker on which other tests rely: another implementation accepts its tokens.
#include "tests/support/token_maker.h"

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace qex::test {
namespace {

TEST(RsaSigner, SignsAsOpensslDoes) {
  const struct {
    const char* name;
    const char* algorithm;
  } digests[] = {
      {"md5", kMd5}, {"sha1", kSha1}, {"sha256", kSha256}, {"sha384", kSha384}, {"sha512", kSha512}};
  for (const std::string name : {"authority", "other", "long"}) {
    const RsaKey& key = TestKey(name);
    for (const auto& digest : digests) {
      const Octets hash = Digest(digest.algorithm, der::octets("abc"));
      EXPECT_EQ(RsaSignature(key, digest.algorithm, hash), TestValue(name + "." + digest.name))
          << name << " " << digest.name;
    }
  }
}

// Writes the document, a token over it and the authority's certificate, and has openssl verify them.
class MadeToken : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!HaveProgram("openssl")) GTEST_SKIP() << "openssl is not installed";
    const Octets document = der::octets("the document");
    folder_.write("document", document);
    folder_.write("certificate.der", AuthorityCertificate());
    ASSERT_EQ(RunShell("openssl x509 -inform DER -in " + folder_.path("certificate.der") + " -out " +
                       folder_.path("certificate.pem")),
              0);
    info_.imprint =
        der::sequence(der::algorithm(kSha256, der::null()), der::octet_string(Digest(kSha256, document)));
  }

  // verdict returns the status and the output of `openssl ts -verify`.
  std::pair<int, std::string> verdict(TokenMaker token) {
    token.tst_info = info_.encode();
    folder_.write("token", token.encode());
    std::string said;
    const int status = RunShell("openssl ts -verify -token_in -in " + folder_.path("token") + " -data " +
                                    folder_.path("document") + " -CAfile " + folder_.path("certificate.pem"),
                                &said);
    return {status, said};
  }

  Folder folder_;
  TstInfoMaker info_;
};

TEST_F(MadeToken, IsVerifiedByOpenssl) {
  for (const char* digest : {kSha1, kSha256, kSha384, kSha512}) {
    TokenMaker token;
    token.signer().digest = digest;
    const auto [status, said] = verdict(token);
    EXPECT_EQ(status, 0) << digest << "\n" << said;
  }
}

TEST_F(MadeToken, WithEveryFieldOfTheTstInfoIsVerifiedByOpenssl) {
  info_.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{2}),
                                 der::context_primitive(1, Octets{3}));
  info_.ordering = der::boolean(true);
  info_.nonce = der::integer(77);
  info_.tsa = der::context(0, der::context(4, CertificateMaker().subject));
  const auto [status, said] = verdict(TokenMaker());
  EXPECT_EQ(status, 0) << said;
}

TEST_F(MadeToken, OfAnotherKeyIsRefusedByOpenssl) {
  TokenMaker token;
  token.signer().key = TestKey("other");
  EXPECT_NE(verdict(token).first, 0);
}

TEST_F(MadeToken, IsVerifiedAsCmsByOpenssl) {
  folder_.write("token", TokenMaker().encode());
  std::string said;
  const int status =
      RunShell("openssl cms -verify -purpose any -binary -inform DER -in " + folder_.path("token") +
                   " -CAfile " + folder_.path("certificate.pem") + " -out " + folder_.path("content"),
               &said);
  EXPECT_EQ(status, 0) << said;
  EXPECT_EQ(ReadFile(folder_.path("content")), TstInfoMaker().encode());
}

TEST_F(MadeToken, WithAnAttributeCertificateIsParsedByOpenssl) {
  TokenMaker token;
  token.certificates.push_back(der::context(2, AttributeCertificateContent()));
  folder_.write("token", token.encode());
  std::string said;
  EXPECT_EQ(RunShell("openssl cms -cmsout -print -inform DER -in " + folder_.path("token"), &said), 0)
      << said;
  EXPECT_NE(said.find("v2AttrCert"), std::string::npos) << said;
}

}  // namespace
}  // namespace qex::test
