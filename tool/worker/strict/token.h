// A token that libcrypto has decoded, and the parts that several checks need.
#pragma once

#include <vector>

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

struct Token {
  OwnedCms message;
  OwnedCertificates certificates;  // of the token; may be null
  OwnedTstInfo info;
  CMS_SignerInfo* signer = nullptr;  // the first one; null: there is none
  ByteView content;                  // the octets of the TSTInfo that was signed
  const X509_ALGOR* digestAlgorithm = nullptr;
  const X509_ALGOR* signatureAlgorithm = nullptr;
};

// StopReading throws a Stop with libcrypto's text.
[[noreturn]] void StopReading(const std::string& text);

// OpenToken decodes a token. Throws a Stop.
Token OpenToken(ByteView octets);

// TstInfoOf copies the signed content out of the token. Throws a Stop.
TstInfo TstInfoOf(const Token& token);

}  // namespace qex::tool::strict
