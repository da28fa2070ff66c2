// What ended a transfer, in words: each cause with the next step that helps.
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/exchange/curl.h"
#include "tool/exchange/exchange_failure.h"

namespace qex::tool {

// TransferFailure returns the failure of a transfer that libcurl ended; `detail` is libcurl's own text of it,
// which may be empty. `url` is what was asked for, and `name` how it is shown.
ExchangeFailure TransferFailure(const CurlHandle& handle, const std::string& url, const std::string& name,
                                CURLcode code, const char* detail);

// StatusFailure returns that of an answer with another HTTP status than 200.
ExchangeFailure StatusFailure(const CurlHandle& handle, const std::string& name, const char* contentType,
                              const Bytes& body);

// NoReplyFailure returns that of an answer with status 200 that is no time-stamp reply.
ExchangeFailure NoReplyFailure(const std::string& name, const char* contentType, const Bytes& body);

}  // namespace qex::tool
