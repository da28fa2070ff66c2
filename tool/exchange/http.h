// A time-stamp exchange over http and https (RFC 3161, 3.4).
#pragma once

#include <chrono>
#include <string>

#include "tool/base/bytes.h"

namespace qex::tool {

struct HttpSettings {
  std::string url;
  std::chrono::milliseconds timeout{30000};
  std::string user;  // NAME:PASSWORD; empty: the entry of ~/.netrc for the host, if any
  // PEM texts, empty: none.
  Bytes roots;       // of the server's certificate, in place of the system's
  Bytes clientCert;  // for TLS client authentication
  Bytes clientKey;   // empty: in the file of the certificate
};

struct HttpReply {
  Bytes body;
  long status = 0;
  std::string note;  // an oddity of the exchange, for people; empty: none
};

// ShownUrl returns the address without its user and password.
std::string ShownUrl(const std::string& url);

// CheckUrl throws a usage Failure for anything but an http or https address.
void CheckUrl(const std::string& url);

// PostRequest sends a time-stamp request and returns the reply, of at most 1 MiB; throws an ExchangeFailure.
HttpReply PostRequest(const HttpSettings& settings, ByteView request);

// HttpLibraryVersion names the library for the exchange, or says that there is none.
std::string HttpLibraryVersion();

}  // namespace qex::tool
