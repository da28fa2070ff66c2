// libcurl, which carries the exchange over http and https and opens the connection of the socket framing. It
// is loaded when an exchange begins: a check of a token needs neither it nor the libraries that it needs.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

namespace qex::tool {

// The functions that are used, under the names that they have after curl_.
#define QEX_CURL_FUNCTIONS(ONE) \
  ONE(easy_cleanup)             \
  ONE(easy_getinfo)             \
  ONE(easy_init)                \
  ONE(easy_perform)             \
  ONE(easy_setopt)              \
  ONE(easy_strerror)            \
  ONE(free)                     \
  ONE(global_init)              \
  ONE(slist_append)             \
  ONE(slist_free_all)           \
  ONE(url)                      \
  ONE(url_cleanup)              \
  ONE(url_get)                  \
  ONE(url_set)                  \
  ONE(version)

struct CurlFunctions {
#define QEX_CURL_MEMBER(name) decltype(&curl_##name) name = nullptr;
  QEX_CURL_FUNCTIONS(QEX_CURL_MEMBER)
#undef QEX_CURL_MEMBER
};

// Curl returns the functions of libcurl, which is loaded by the first call; throws a Failure when it cannot
// be. It stays loaded.
const CurlFunctions& Curl();

// CurlVersion names the installed libcurl; empty when there is none.
std::string CurlVersion();

struct CurlCleaner {
  void operator()(CURL* handle) const { Curl().easy_cleanup(handle); }
  void operator()(curl_slist* list) const { Curl().slist_free_all(list); }
  void operator()(CURLU* url) const { Curl().url_cleanup(url); }
  void operator()(char* text) const { Curl().free(text); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleaner>;
using CurlList = std::unique_ptr<curl_slist, CurlCleaner>;
using CurlUrl = std::unique_ptr<CURLU, CurlCleaner>;
using CurlText = std::unique_ptr<char, CurlCleaner>;

// NewCurl returns a handle whose transfer ends with the time-out, also while a host's name is looked up.
CurlHandle NewCurl(std::chrono::milliseconds timeout);

CurlUrl NewCurlUrl();

// UrlPart returns a part of an address; empty when the part is absent or the address invalid.
std::string UrlPart(const std::string& url, CURLUPart part);

// CheckCurlSetting throws a Failure when a setting was refused.
void CheckCurlSetting(CURLcode code);

template <class Value>
void SetCurl(const CurlHandle& handle, CURLoption option, Value value) {
  CheckCurlSetting(Curl().easy_setopt(handle.get(), option, value));
}

template <class Value>
Value CurlInfo(const CurlHandle& handle, CURLINFO info, Value absent) {
  Value value = absent;
  return Curl().easy_getinfo(handle.get(), info, &value) == CURLE_OK ? value : absent;
}

}  // namespace qex::tool
