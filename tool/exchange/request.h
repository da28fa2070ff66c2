// Making a time-stamp request.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "api/qex.h"
#include "tool/base/bytes.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"

namespace qex::tool {

// The request that the options of `request` and `stamp` describe.
struct RequestOptions {
  std::string hash = "sha256";
  std::string policy;
  std::string nonce;  // hexadecimal
  bool noNonce = false;
  bool noCertificate = false;
};

// A request and its contents.
struct Request {
  QEX_TSQ_DATA_EX record;
  Bytes der;
};

// NonceFromHex returns the contents octets of a nonce that is not negative; throws a Failure.
Bytes NonceFromHex(const std::string& text);

// PolicyOctets returns the contents octets of a policy in dotted text; throws a Failure.
Bytes PolicyOctets(const std::string& text);

// MakeRequest builds the request for a digest. It compares the encoding with the intended values: the library
// drops groups of zeros inside a large arc, and a policy that it cannot carry is a Failure.
Request MakeRequest(const RequestOptions& options, const HashAlgorithm& hash, ByteView digest);

// FramedRequest encodes the request for a transport mode.
Bytes FramedRequest(const Request& request, uint32_t transport);

// RequestFields describes a request for people and scripts.
Json RequestFields(const QEX_TSQ_DATA_EX& record);

}  // namespace qex::tool
