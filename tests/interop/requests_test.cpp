// Requests in both directions: the library reads those of openssl as openssl prints them; openssl and a
// second reader read those of the library as intended.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/interop/round_trip.h"
#include "tests/interop/samples.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

TEST(Requests, OfOpensslReadAsOpensslPrintsThem) {
  for (const Sample& sample : Samples("requests.txt", 20)) {
    SCOPED_TRACE(sample.name);
    const Guarded request(sample.file(".tsq"));
    const PrintedText text(SamplePath(sample.name + ".tsq.txt"));
    GuardedRecord<QEX_TSQ_DATA_EX> data;
    data->size = sizeof(QEX_TSQ_DATA_EX);
    ASSERT_EQ(QEX_DecodeTSQ_Ex(data.get(), request.data(), request.size()), QEX_OK);

    EXPECT_EQ(text.value("Hash Algorithm"), sample["imprint"]);
    EXPECT_EQ(data->hashAlgorithm, HashIdentifier(sample["imprint"]));
    EXPECT_FALSE(text.octets().empty());
    EXPECT_EQ(Octets(data->hashedMessage, data->hashedMessage + data->hashedMessageLength), text.octets());
    EXPECT_EQ(data->reqPolicy, text.value("Policy OID"));
    EXPECT_EQ(Octets(data->nonce, data->nonce + data->nonceLength), IntegerContents(text.value("Nonce")));
    EXPECT_EQ(data->certReq, text.value("Certificate required") == "yes" ? 1u : 0u);

    QEX_TSQ_DATA small{};
    ASSERT_EQ(QEX_DecodeTSQ(&small, request.data(), request.size()), QEX_OK);
    EXPECT_EQ(uint64_t{small.nonce.high} << 32 | small.nonce.low, Number(text.value("Nonce")));
  }
}

// openssl writes NULL after every hash, the library only after MD5: there the encodings are the same.
TEST(Requests, OfMd5AreThoseOfOpensslOctetForOctet) {
  for (const char* name : {"md5-full", "md5-cert", "md5-nonce", "md5-bare"}) {
    SCOPED_TRACE(name);
    const Octets request = SampleFile(std::string(name) + ".tsq");
    QEX_TSQ_DATA_EX data{};
    data.size = sizeof data;
    ASSERT_EQ(QEX_DecodeTSQ_Ex(&data, request.data(), uint32_t(request.size())), QEX_OK);
    EXPECT_EQ(ToHex(EncodedRequest(data, QEX_TRANSPORT_RAW)), ToHex(request));
  }
}

// Every hash with every combination of the optional fields, nonces of several lengths.
std::vector<QEX_TSQ_DATA_EX> requests() {
  const std::vector<Octets> nonces = {{},
                                      {0x01},
                                      {0x00, 0xFF},
                                      {0x7F, 1, 2, 3, 4, 5, 6, 7},
                                      {0x00, 0x80, 1, 2, 3, 4, 5, 6, 7},
                                      Octets(20, 0x33)};
  std::vector<QEX_TSQ_DATA_EX> all;
  for (const char* hash : {"md5", "sha1", "sha256", "sha384", "sha512"}) {
    for (const char* policy : {"", "1.3.6.1.4.1.99999.1", "1.2.3.4.5.6.77.8888"}) {
      for (const uint32_t cert : {0u, 1u}) {
        all.push_back(RequestFor(hash, policy, nonces[all.size() % nonces.size()], cert));
      }
    }
  }
  return all;
}

TEST(Requests, OfTheLibraryAreReadByOpenssl) {
  const Folder folder;
  for (const QEX_TSQ_DATA_EX& data : requests()) {
    const std::string path = folder.write("request", EncodedRequest(data, QEX_TRANSPORT_RAW));
    ASSERT_EQ(RunShell("openssl ts -query -in " + path + " -text -out " + folder.path("text")), 0);
    const PrintedText text(folder.path("text"));
    EXPECT_EQ(text.value("Version"), "1");
    EXPECT_EQ(HashIdentifier(text.value("Hash Algorithm")), data.hashAlgorithm);
    EXPECT_EQ(text.octets(), Octets(data.hashedMessage, data.hashedMessage + data.hashedMessageLength));
    EXPECT_EQ(text.value("Policy OID"), data.reqPolicy);
    EXPECT_EQ(IntegerContents(text.value("Nonce")), Octets(data.nonce, data.nonce + data.nonceLength));
    EXPECT_EQ(text.value("Certificate required"), data.certReq != 0 ? "yes" : "no");
  }
}

TEST(Requests, OfTheLibraryAreAnsweredByOpenssl) {
  // As a sample was answered whose attribute is of the version that this process reads.
  const std::vector<Sample> samples = Samples("replies.txt", 85);
  const Sample& answering = *std::find_if(samples.begin(), samples.end(), [](const Sample& sample) {
    return sample.is("key", "rsa2047") && sample.is("ess", SwitchIsSet() ? "v2" : "v1");
  });
  const Folder folder;
  int answered = 0;
  for (const QEX_TSQ_DATA_EX& data : requests()) {
    SCOPED_TRACE(data.hashAlgorithm);
    const std::string path = folder.write("request", EncodedRequest(data, QEX_TRANSPORT_RAW));
    const std::string reply = folder.path("reply");
    ASSERT_EQ(AnswerWithOpenssl(folder, answering.name + ".cnf", path, reply), 0);
    ExpectAnswer(data, ReadFile(reply), SampleFile(answering["key"] + ".der"));
    ++answered;
  }
  EXPECT_EQ(answered, 30);
}

// asn1crypto decodes strictly, and encodes the decoded value to the same octets.
TEST(Requests, OfTheLibraryAreReadByAsn1crypto) {
  const std::string python = QEX_ASN1CRYPTO_PYTHON;
  if (python.empty()) GTEST_SKIP() << "asn1crypto is not installed";
  const Folder folder;
  const std::vector<QEX_TSQ_DATA_EX> all = requests();
  std::string paths;
  for (size_t i = 0; i < all.size(); ++i) {
    paths += ' ';
    paths += folder.write("request" + std::to_string(i), EncodedRequest(all[i], QEX_TRANSPORT_RAW));
  }
  std::string output;
  ASSERT_EQ(RunShell(python + " -B " + QEX_SOURCE_DIR + "/tests/interop/peer_asn1crypto.py request" + paths,
                     &output),
            0)
      << output;
  std::istringstream lines(output);
  for (const QEX_TSQ_DATA_EX& data : all) {
    const std::string hash = data.hashAlgorithm;
    std::ostringstream expected;
    // SHA-1 and SHA-2 have no parameters (RFC 5754, 2), MD5 has NULL (RFC 3279, 2.2.1).
    expected << "v1 " << hash << (hash == HashIdentifier("md5") ? " null " : " absent ")
             << ToHex(data.hashedMessage, data.hashedMessageLength) << " policy " << data.reqPolicy
             << " nonce " << ToHex(data.nonce, data.nonceLength) << " cert " << data.certReq;
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, expected.str());
  }
}

}  // namespace
}  // namespace qex::test
