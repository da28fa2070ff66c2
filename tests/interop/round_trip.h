// A request of the library, and the answer to it: shared by tests of the whole exchange.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/interop/samples.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/octets.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {

// RequestFor returns a request with the imprint of a document of its own, made by the library's digest.
inline QEX_TSQ_DATA_EX RequestFor(const std::string& hash, const std::string& policy, const Octets& nonce,
                                  uint32_t cert) {
  QEX_TSQ_DATA_EX data{};
  data.size = sizeof data;
  const std::string identifier = HashIdentifier(hash);
  std::memcpy(data.hashAlgorithm, identifier.c_str(), identifier.size());
  const std::string document = "a document hashed with " + hash;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(document.data());
  const auto length = uint32_t(document.size());
  const auto digest = [&](auto init, auto update, auto final, uint32_t size) {
    auto* const context = init();
    update(context, bytes, length);
    final(context, data.hashedMessage);
    data.hashedMessageLength = size;
  };
  if (hash == "md5") digest(QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final, 16);
  if (hash == "sha1") digest(QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final, 20);
  if (hash == "sha256") digest(QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final, 32);
  if (hash == "sha384") digest(QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final, 48);
  if (hash == "sha512") digest(QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final, 64);
  std::memcpy(data.reqPolicy, policy.c_str(), policy.size());
  if (!nonce.empty()) std::memcpy(data.nonce, nonce.data(), nonce.size());
  data.nonceLength = uint32_t(nonce.size());
  data.certReq = cert;
  return data;
}

// EncodedRequest returns the request in its transport form.
inline Octets EncodedRequest(const QEX_TSQ_DATA_EX& data, uint32_t transport) {
  uint32_t length = 0;
  EXPECT_EQ(QEX_EncodeTSQ_Ex(&data, nullptr, &length, transport), QEX_E_SIZE);
  Guarded out(length);
  EXPECT_EQ(QEX_EncodeTSQ_Ex(&data, out.data(), &length, transport), QEX_OK);
  EXPECT_EQ(length, out.size());
  return out.octets();
}

// AnswerWithOpenssl answers the query in `query` as the configuration of a sample says; the serial
// number is this process's own. Returns openssl's exit status.
inline int AnswerWithOpenssl(const Folder& folder, const std::string& config, const std::string& query,
                             const std::string& reply) {
  folder.write("serial", der::octets("0A\n"));
  Octets own = SampleFile(config);
  std::string text(own.begin(), own.end());
  const std::string name = config.substr(0, config.size() - 4) + ".serial";
  const size_t at = text.find(name);
  EXPECT_NE(at, std::string::npos) << config;
  if (at != std::string::npos) text.replace(at, name.size(), folder.path("serial"));
  folder.write("config", der::octets(text));
  return RunShell("cd '" + SamplePath("") + "' && openssl ts -reply -section authority -config " +
                  folder.path("config") + " -queryfile " + query + " -out " + reply);
}

// ExpectAnswer expects that the bare reply is granted, answers `data`, and verifies under `certificate`;
// without a certificate too when the request asked for one.
inline void ExpectAnswer(const QEX_TSQ_DATA_EX& data, const Octets& reply, const Octets& certificate) {
  QEX_TSR_STATUS status;
  ASSERT_EQ(QEX_GetTSR_Status(&status, reply.data(), uint32_t(reply.size())), QEX_OK);
  ASSERT_EQ(status.status, 0) << status.statusText;
  const Octets token = TokenOf(reply);
  const auto length = uint32_t(token.size());
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), length, certificate.data(), uint32_t(certificate.size())),
            QEX_OK);
  EXPECT_EQ(QEX_VerifyTST_Signature(token.data(), length, nullptr, 0), data.certReq ? QEX_OK : QEX_E_NOCERT);

  QEX_TSTINFO_EX info;
  info.size = sizeof info;
  ASSERT_EQ(QEX_GetTST_TSTInfoEx(&info, token.data(), length), QEX_OK);
  EXPECT_STREQ(info.hashAlgorithm, data.hashAlgorithm);
  EXPECT_EQ(ToHex(info.hashedMessage, info.hashedMessageLength),
            ToHex(data.hashedMessage, data.hashedMessageLength));
  EXPECT_EQ(ToHex(info.nonce, info.nonceLength), ToHex(data.nonce, data.nonceLength));
  if (data.reqPolicy[0] != '\0') {
    EXPECT_STREQ(info.policy, data.reqPolicy);
  }
}

}  // namespace qex::test
