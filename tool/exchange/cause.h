// The cause of a failed transfer, in words: each cause with the next step that helps.
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/exchange/curl.h"
#include "tool/exchange/exchange_failure.h"

namespace qex::tool {

// TransferFailure returns the failure for a transfer that libcurl ended; `detail` is libcurl's own text,
// which may be empty. `url` is the address that was asked, and `name` its form for display.
ExchangeFailure TransferFailure(const CurlHandle& handle, const std::string& url, const std::string& name,
                                CURLcode code, const char* detail);

// StatusFailure returns that of an answer with another HTTP status than 200.
ExchangeFailure StatusFailure(const CurlHandle& handle, const std::string& name, const char* contentType,
                              const Bytes& body);

// NoReplyFailure returns the failure for an answer with status 200 that is not a time-stamp reply.
ExchangeFailure NoReplyFailure(const std::string& name, const char* contentType, const Bytes& body);

}  // namespace qex::tool
