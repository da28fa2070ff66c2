// DER encodings of other implementations pass through the codec octet for octet.
#include <gtest/gtest.h>

#include "api/frame.h"
#include "asn1/timestamp.h"
#include "tests/interop/samples.h"
#include "tests/support/der_tree.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

// rewritten decodes `encoding`, all of it, and returns the encoding of the value.
template <class T>
Octets rewritten(Decoder<T> decode, AsnLen (*encode)(ExpBuf**, const T*), const Octets& encoding) {
  EXPECT_TRUE(EnsureAsnInit());
  Decoded<T> decoded;
  AsnLen taken = 0;
  const AsnInt code = decoded.decode(decode, encoding.data(), encoding.size(), &taken);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(taken, encoding.size());
  if (code != 0) return {};
  return Encoded([&](ExpBuf** b) { return encode(b, &decoded.value); });
}

#define REWRITTEN(Type, encoding) ToHex(rewritten<Type>(BDec##Type, BEnc##Type, encoding))

TEST(Codec, WritesRequestsAsOpensslDid) {
  for (const Sample& sample : Samples("requests.txt", 20)) {
    SCOPED_TRACE(sample.name);
    const Octets request = sample.file(".tsq");
    EXPECT_EQ(REWRITTEN(TimeStampReq, request), ToHex(request));
  }
}

TEST(Codec, WritesRepliesAsOpensslDid) {
  for (const char* list : {"replies.txt", "rejections.txt"}) {
    for (const Sample& sample : Samples(list, 6)) {
      SCOPED_TRACE(sample.name);
      const Octets reply = sample.file(".tsr");
      EXPECT_EQ(REWRITTEN(TimeStampResp, reply), ToHex(reply));
    }
  }
}

TEST(Codec, WritesTokensAsOpensslDid) {
  size_t indefinite = 0;
  for (const Sample& sample : Samples("tokens.txt", 14)) {
    SCOPED_TRACE(sample.name);
    const Octets token = sample.file(".token");
    const std::string der = REWRITTEN(ContentInfo, token);
    if (sample.is("form", "ber")) {
      EXPECT_NE(der, ToHex(token));
      EXPECT_EQ(REWRITTEN(ContentInfo, FromHex(der)), der);
      ++indefinite;
    } else {
      EXPECT_EQ(der, ToHex(token));
    }
  }
  EXPECT_EQ(indefinite, 2u);
}

TEST(Codec, WritesTstInfosAsOpensslDid) {
  for (const Sample& sample : Samples("replies.txt", 85)) {
    SCOPED_TRACE(sample.name);
    const Octets token = sample.file(".token");
    const Element root = ParseDer(token);
    const Element& content = root[1][0][2][1][0];  // SignedData.encapContentInfo.eContent
    const Octets info(token.begin() + ptrdiff_t(content.content), token.begin() + ptrdiff_t(content.end));
    EXPECT_EQ(REWRITTEN(TSTInfo, info), ToHex(info));
  }
}

TEST(Codec, WritesCertificatesAsOpensslDid) {
  for (const Sample& sample : Samples("certificates.txt", 10)) {
    SCOPED_TRACE(sample.name);
    const Octets certificate = sample.file(".der");
    EXPECT_EQ(REWRITTEN(Certificate, certificate), ToHex(certificate));
  }
}

TEST(Codec, WritesAMessageOfCertificatesAndRevocationsAsOpensslDid) {
  const Octets message = SampleFile("crl.p7");
  EXPECT_EQ(REWRITTEN(ContentInfo, message), ToHex(message));
}

}  // namespace
}  // namespace qex::test
