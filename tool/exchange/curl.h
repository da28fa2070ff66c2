// Handles and failures of libcurl, which carries the exchange over http and https and opens the
// connection of the socket framing.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <new>
#include <string>

#include "tool/base/failure.h"

namespace qex::tool {

struct CurlCleaner {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(char* text) const { curl_free(text); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleaner>;
using CurlList = std::unique_ptr<curl_slist, CurlCleaner>;
using CurlUrl = std::unique_ptr<CURLU, CurlCleaner>;
using CurlText = std::unique_ptr<char, CurlCleaner>;

// NewCurl returns a handle whose transfer ends with the time-out, also while a host's name is looked up.
CurlHandle NewCurl(std::chrono::milliseconds timeout);

CurlUrl NewCurlUrl();

// CheckCurlSetting throws a Failure when a setting was refused.
void CheckCurlSetting(CURLcode code);

template <class Value>
void SetCurl(const CurlHandle& handle, CURLoption option, Value value) {
  CheckCurlSetting(curl_easy_setopt(handle.get(), option, value));
}

// CurlFailure returns the Failure of a transfer to or from `name`; `detail` is libcurl's own text of it,
// which may be empty.
Failure CurlFailure(const std::string& name, CURLcode code, const char* detail);

}  // namespace qex::tool
