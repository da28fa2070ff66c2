// A time-stamp exchange over http and https (RFC 3161, 3.4).
#pragma once

#include <chrono>
#include <string>

#include "tool/bytes.h"

namespace qex::tool {

struct HttpSettings {
  std::string url;
  std::chrono::milliseconds timeout{30000};
  std::string caFile;      // roots of the server's certificate; empty: those of the system
  std::string user;        // NAME:PASSWORD, empty: none
  std::string clientCert;  // PEM files for TLS client authentication
  std::string clientKey;
};

// ShownUrl returns the address without a user and password that stand in it.
std::string ShownUrl(const std::string& url);

// PostRequest sends a time-stamp request and returns the reply's body, of at most 1 MiB; throws
// a Failure, whose exit status is Network when asking again may help.
Bytes PostRequest(const HttpSettings& settings, ByteView request);

// HttpLibraryVersion names the library that carries the exchange.
std::string HttpLibraryVersion();

}  // namespace qex::tool
