// Malformed input: samples cut off after every octet, and with every octet changed, through every export that
// decodes.
//
// For any input: no read beyond it (it ends at an inaccessible page), no crash and no leak, a code of the
// export's own table, a last ASN.1 error that fits the code, and records that are either untouched or whole.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/exports.h"
#include "tests/support/files.h"
#include "tests/support/malformed.h"
#include "tests/support/messages.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// A decoder that was left stored its negative number; one that was not left 0.
void expect_decoded_error() {
  EXPECT_EQ(QEX_GetLastAsnError(), 0);
}
void expect_refused_error() {
  EXPECT_LT(QEX_GetLastAsnError(), 0);
  EXPECT_GE(QEX_GetLastAsnError(), -677);
}

template <size_t kSize>
bool terminated(const char (&field)[kSize]) {
  return std::memchr(field, 0, kSize) != nullptr;
}

void decode_request(const uint8_t* data, uint32_t length) {
  GuardedRecord<QEX_TSQ_DATA_EX> record;
  record->size = sizeof(QEX_TSQ_DATA_EX);
  const Octets before = record.octets();
  const int32_t code = QEX_DecodeTSQ_Ex(record.get(), data, length);
  ExpectCode("QEX_DecodeTSQ_Ex", code, {QEX_OK, QEX_E_SIZE, QEX_E_DECODE});
  if (code == QEX_E_DECODE) {
    EXPECT_EQ(record.octets(), before);
    expect_refused_error();
  } else {
    expect_decoded_error();
    EXPECT_EQ(record->size, 440u);
    EXPECT_TRUE(terminated(record->hashAlgorithm) && terminated(record->reqPolicy));
    EXPECT_LE(record->certReq, 1u);
    if (code == QEX_OK) {
      EXPECT_LE(record->hashedMessageLength, 128u);
      EXPECT_LE(record->nonceLength, 40u);
    }
  }

  GuardedRecord<QEX_TSQ_DATA> brief{QEX_TSQ_DATA{}};
  const int32_t brief_code = QEX_DecodeTSQ(brief.get(), data, length);
  ExpectCode("QEX_DecodeTSQ", brief_code, {QEX_OK, QEX_E_SIZE, QEX_E_DECODE});
  if (code != QEX_OK) {
    EXPECT_EQ(brief_code, code);
    EXPECT_EQ(brief.octets(), Octets(sizeof(QEX_TSQ_DATA), 0));
  } else {
    EXPECT_EQ(OctetsOfField(brief->hashedMessage, 40), OctetsOfField(record->hashedMessage, 40));
    EXPECT_STREQ(brief->reqPolicy, record->reqPolicy);
    if (record->nonceLength <= 8) {
      EXPECT_EQ(brief_code, QEX_OK);
    }
  }
}

void read_response(const uint8_t* data, uint32_t length) {
  GuardedRecord<QEX_TSR_STATUS> status;
  const int32_t code = QEX_GetTSR_Status(status.get(), data, length);
  ExpectCode("QEX_GetTSR_Status", code, {QEX_OK, QEX_E_DECODE});
  if (code == QEX_OK) {
    EXPECT_TRUE(terminated(status->statusText));
    expect_decoded_error();
  } else {
    EXPECT_TRUE(status.untouched());
    expect_refused_error();
  }

  const Output token =
      Call(4096, [&](uint8_t* out, uint32_t* n) { return QEX_GetTSR_EncodedToken(out, n, data, length); });
  if (code == QEX_E_DECODE) {
    EXPECT_EQ(token.code, QEX_E_DECODE);
  } else {
    const bool granted = status->status == 0 || status->status == 1;
    ExpectCode("QEX_GetTSR_EncodedToken", token.code,
               granted ? Codes{QEX_OK, QEX_E_NOTOKEN} : Codes{QEX_E_REJECTED});
  }
  if (token.code != QEX_OK) {
    EXPECT_EQ(token, (Output{token.code, 4096, Octets(4096, Guarded::kFill)}));
    return;
  }
  // A decoded value encodes and decodes to the same value.
  const Octets first(token.octets.begin(), token.octets.begin() + ptrdiff_t(token.length));
  const Output again = Call(4096, EncodedToken(Response(StatusInfo(0), first)));
  EXPECT_EQ(again.code, QEX_OK);
  EXPECT_EQ(again.octets, token.octets);
}

void read_token(const uint8_t* data, uint32_t length) {
  GuardedRecord<QEX_TSTINFO_EX> info;
  info->size = sizeof(QEX_TSTINFO_EX);
  const Octets before = info.octets();
  const int32_t code = QEX_GetTST_TSTInfoEx(info.get(), data, length);
  ExpectCode("QEX_GetTST_TSTInfoEx", code, {QEX_OK, QEX_E_SIZE, QEX_E_MISSING, QEX_E_DECODE});
  if (code == QEX_E_DECODE) expect_refused_error();
  if (code == QEX_OK || code == QEX_E_SIZE || code == QEX_E_MISSING) expect_decoded_error();
  if (code == QEX_E_DECODE || code == QEX_E_MISSING) {
    EXPECT_EQ(info.octets(), before);
  } else {
    EXPECT_EQ(info->size, 880u);
    EXPECT_TRUE(terminated(info->policy) && terminated(info->hashAlgorithm) && terminated(info->genTime) &&
                terminated(info->tsaName));
    EXPECT_LE(info->ordering, 1u);
  }

  GuardedRecord<QEX_TSTINFO> brief;
  const int32_t brief_code = QEX_GetTST_TSTInfo(brief.get(), data, length);
  if (code != QEX_OK) {
    EXPECT_EQ(brief_code, code);
    EXPECT_TRUE(brief.untouched());
  } else {
    ExpectCode("QEX_GetTST_TSTInfo", brief_code, {QEX_OK, QEX_E_SIZE});
    EXPECT_EQ(std::string(brief->tsaName), std::string(info->tsaName));
  }
}

void find_certificate(const uint8_t* data, uint32_t length) {
  const Output output =
      Call(4096, [&](uint8_t* out, uint32_t* n) { return QEX_GetTST_TSACert(out, n, data, length); });
  ExpectCode("QEX_GetTST_TSACert", output.code, {QEX_OK, QEX_E_BADTOKEN, QEX_E_NOCERT});
  if (output.code != QEX_OK) {
    EXPECT_EQ(output.octets, Octets(4096, Guarded::kFill));
  } else {
    EXPECT_LE(output.length, 4096u);
  }
}

void verify_token(const uint8_t* data, uint32_t length, const Octets& certificate) {
  const int32_t code = QEX_VerifyTST_Signature(data, length, nullptr, 0);
  ExpectCode(
      "QEX_VerifyTST_Signature", code,
      {QEX_OK, QEX_E_NOMEM, QEX_E_MISSING, QEX_E_BADTOKEN, QEX_E_SIGNATURE, QEX_E_UNSUPPORTED, QEX_E_NOCERT});
  const int32_t error = QEX_GetLastAsnError();
  if (code == QEX_E_BADTOKEN) {
    EXPECT_TRUE(error == 100 || (error < 0 && error >= -677)) << error;
  } else if (code == QEX_E_NOCERT) {
    EXPECT_EQ(error, 100);
  } else if (code != QEX_E_MISSING) {
    EXPECT_EQ(error, 0) << code;
  }

  const Guarded given(certificate);
  const int32_t with_given = QEX_VerifyTST_Signature(data, length, given.data(), given.size());
  ExpectCode("QEX_VerifyTST_Signature with a certificate", with_given,
             {QEX_OK, QEX_E_NOMEM, QEX_E_BADTOKEN, QEX_E_DECODE, QEX_E_SIGNATURE, QEX_E_UNSUPPORTED,
              QEX_E_MISMATCH});
  EXPECT_EQ(code == QEX_E_BADTOKEN, with_given == QEX_E_BADTOKEN);
}

class Malformed : public MalformedInput {
 protected:
  static Octets token_of_reply(const Octets& reply) { return Fetch(EncodedToken(reply)).octets; }
  static Octets sample(const std::string& name) { return ReadFile(QEX_TEST_DATA "/samples/" + name); }
};

Octets full_tst_info() {
  TstInfoMaker info;
  info.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{2}),
                                der::context_primitive(1, Octets{3}));
  info.ordering = der::boolean(true);
  info.nonce = der::integer(77);
  info.tsa = der::context(0, der::context(4, CertificateMaker().subject));
  info.extensions =
      der::context(1, der::sequence(der::oid("1.2.3"), der::boolean(true), der::octet_string({1})));
  return info.encode();
}

TokenMaker rich_token() {
  TokenMaker maker;
  maker.tst_info = full_tst_info();
  maker.certificates = {AuthorityCertificate(), der::context(2, AttributeCertificateContent())};
  maker.signer().extra = {Attribute(
      kSigningCertificateV2Attribute,
      {SigningCertificate({EssCertIdV2(der::algorithm(kSha512), Digest(kSha512, AuthorityCertificate()))})})};
  return maker;
}

// --- Samples -----------------------------------------------------------------------------------

TEST_F(Malformed, MadeRequests) {
  TryAll(RequestWith(), decode_request);
  TryAll(RequestWith(der::oid("1.2.3.4"), der::integer(0x123456), der::boolean(true),
                     der::context(0, der::sequence(der::oid("1.2.3"), der::octet_string({1, 2})))),
         decode_request);
}

TEST_F(Malformed, FramedRequests) {
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  PutText(record.hashAlgorithm, kSha256);
  record.hashedMessageLength = 32;
  for (const uint32_t transport : {1u, 2u}) {
    TryAll(Fetch(EncodedRequest(record, transport)).octets, decode_request);
  }
}

TEST_F(Malformed, OpensslRequests) {
  for (const char* name : {"request_sha512_cert.der", "request_sha256_policy.der", "request_md5.der"}) {
    TryAll(sample(name), decode_request);
  }
}

TEST_F(Malformed, Responses) {
  TryAll(Response(StatusInfo(2, der::sequence(der::utf8_string("no"), der::utf8_string("more")),
                             der::bit_string({0x20}, 5))),
         read_response);
  TryAll(sample("reply_rejected.der"), read_response);
  TryAll(Response(StatusInfo(0), rich_token().encode()), read_response);
}

TEST_F(Malformed, OpensslReply) {
  TryAll(sample("reply_sha256_v1_bare.der"), read_response);
}

TEST_F(Malformed, FramedReplies) {
  const Octets body = Response(StatusInfo(0));
  const std::string head =
      "HTTP/1.1 200 OK\r\nContent-Type: application/timestamp-reply\r\nContent-Length: " +
      std::to_string(body.size()) + "\r\n\r\n";
  const Octets socket = der::concat(Octets{0, 0, 0, uint8_t(body.size() + 1), 5}, body);
  const Octets replies[] = {body, socket, der::concat(der::octets(head), body)};
  for (const int32_t transport : {0, 1, 2}) {
    TryAll(replies[transport], [transport](const uint8_t* data, uint32_t length) {
      Guarded buffer(Octets(data, data + length));
      uint32_t unpacked = length, status = kUnset;
      const int32_t code = QEX_UnpackTSR(buffer.data(), &unpacked, &status, transport);
      ExpectCode("QEX_UnpackTSR", code, {QEX_OK, QEX_E_ARG, QEX_E_LENGTH, QEX_E_FRAMING});
      EXPECT_NE(status, kUnset);
      if (code == QEX_OK) {
        EXPECT_LE(unpacked, length);
        read_response(buffer.data(), unpacked);
      } else {
        EXPECT_EQ(buffer.octets(), Octets(data, data + length));
        EXPECT_EQ(unpacked != length, code == QEX_E_LENGTH);
      }
    });
  }
}

TEST_F(Malformed, TokenContents) {
  TryAll(rich_token().encode(), read_token);
}

TEST_F(Malformed, TstInfoInsideAToken) {
  TryAll(full_tst_info(), [](const uint8_t* data, uint32_t length) {
    TokenMaker maker;
    maker.tst_info = Octets(data, data + length);
    maker.certificates.clear();
    maker.signers.clear();
    const Guarded token(maker.encode());
    read_token(token.data(), token.size());
  });
}

TEST_F(Malformed, TokenOfIndefiniteLengths) {
  const Octets info = full_tst_info();
  const Octets parts = der::indefinite(0x24, der::octet_string(Octets(info.begin(), info.begin() + 9)),
                                       der::octet_string(Octets(info.begin() + 9, info.end())));
  const Octets signed_data = der::indefinite(
      0x30, der::integer(3), der::indefinite(0x31, der::algorithm(kSha256, der::null())),
      der::indefinite(0x30, der::oid(kTstInfo), der::indefinite(0xA0, parts)), der::indefinite(0x31));
  const Octets token = der::indefinite(0x30, der::oid(kSignedData), der::indefinite(0xA0, signed_data));
  TryAll(token, read_token);
  TryAll(token, find_certificate);
  TryAll(Response(StatusInfo(0), token), read_response);
}

TEST_F(Malformed, OpensslToken) {
  TryAll(token_of_reply(sample("reply_sha256_v1_bare.der")), read_token);
}

TEST_F(Malformed, CertificateSearch) {
  TokenMaker maker;
  maker.certificates = {OtherCertificate(), AuthorityCertificate()};
  TryAll(maker.encode(), find_certificate);
}

TEST_F(Malformed, Verification) {
  TryAll(rich_token().encode(),
         [](const uint8_t* data, uint32_t length) { verify_token(data, length, AuthorityCertificate()); });
}

TEST_F(Malformed, OpensslVerification) {
  const Octets certificate = sample("certificate_tsa.der");
  TryAll(token_of_reply(sample("reply_sha256_v1_bare.der")),
         [&](const uint8_t* data, uint32_t length) { verify_token(data, length, certificate); });
}

TEST_F(Malformed, CertificateOfTheCaller) {
  const Octets token = TokenMaker().encode();
  const Guarded guarded_token(token);
  TryAll(AuthorityCertificate(), [&](const uint8_t* data, uint32_t length) {
    const int32_t code = QEX_VerifyTST_Signature(guarded_token.data(), guarded_token.size(), data, length);
    const bool whole = Octets(data, data + length) == AuthorityCertificate();
    // A length of 0 means no certificate; and only the certificate that is named can verify.
    ExpectCode("QEX_VerifyTST_Signature", code,
               whole || length == 0 ? Codes{QEX_OK}
                                    : Codes{QEX_E_ARG, QEX_E_NOMEM, QEX_E_MISSING, QEX_E_SIGNATURE,
                                            QEX_E_UNSUPPORTED, QEX_E_MISMATCH});
    if (code == QEX_E_SIGNATURE || code == QEX_E_MISMATCH || code == QEX_E_UNSUPPORTED) {
      expect_decoded_error();
    }
    if (code == QEX_E_ARG) expect_refused_error();
  });
}

// Deep nesting uses no more stack than there is.
TEST_F(Malformed, DeepNestingIsRefused) {
  const Octets layer_head =
      der::concat(Octets{0x30, 0x80}, der::oid("1.3.6.1.4.1.311.3.2.1"), Octets{0xA0, 0x80});
  Octets nested;
  for (int i = 0; i < 100000; ++i) nested.insert(nested.end(), layer_head.begin(), layer_head.end());
  const Guarded input(nested);
  GuardedRecord<QEX_TSTINFO> record;
  EXPECT_EQ(QEX_GetTST_TSTInfo(record.get(), input.data(), input.size()), QEX_E_DECODE);
  uint32_t length = 0;
  EXPECT_EQ(QEX_GetTST_TSACert(nullptr, &length, input.data(), input.size()), QEX_E_BADTOKEN);
  EXPECT_EQ(QEX_VerifyTST_Signature(input.data(), input.size(), nullptr, 0), QEX_E_BADTOKEN);

  const Octets constructed = [] {
    Octets octets = der::concat(Octets{0x30, 0x80}, der::oid(kData), Octets{0xA0, 0x80});
    for (int i = 0; i < 100000; ++i) octets.insert(octets.end(), {0x24, 0x80});
    return octets;
  }();
  const Guarded strings(constructed);
  EXPECT_EQ(QEX_GetTST_TSTInfo(record.get(), strings.data(), strings.size()), QEX_E_DECODE);
}

TEST_F(Malformed, AnnouncedLengthsTakeNoMemory) {
  // Four-octet lengths near 2^32 at several depths.
  const Octets huge{0x84, 0xFF, 0xFF, 0xFF, 0xFE};
  const Octets inputs[] = {
      der::concat(Octets{0x30}, huge),
      der::concat(Octets{0x30}, huge, Octets{0x06}, huge),
      der::concat(Octets{0x30}, huge, Octets{0x02, 0x01, 0x01, 0x30}, huge, Octets{0x30}, huge, Octets{0x06},
                  huge),
      der::concat(Octets{0x30}, huge, der::oid(kSignedData), Octets{0xA0}, huge, Octets{0x30}, huge,
                  Octets{0x02, 0x01, 0x03, 0x31}, huge),
      der::concat(Octets{0x30}, huge, Octets{0x30}, huge, Octets{0x02, 0x01, 0x00, 0x03}, huge, Octets{0x00}),
  };
  for (const Octets& octets : inputs) {
    const Guarded input(octets);
    decode_request(input.data(), input.size());
    read_response(input.data(), input.size());
    read_token(input.data(), input.size());
    find_certificate(input.data(), input.size());
    verify_token(input.data(), input.size(), AuthorityCertificate());
  }
}

}  // namespace
}  // namespace qex::test
