// One POST by libcurl.
#include "tool/exchange/http.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>
#include <string_view>
#include <utility>

#include "tool/base/failure.h"
#include "tool/exchange/cause.h"
#include "tool/exchange/curl.h"
#include "tool/exchange/exchange_failure.h"
#include "tool/exchange/reply_size.h"
#include "tool/message/structure.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxHead = size_t{64} << 10;  // the lines of all heads and trailers of an exchange
constexpr long kMaxRedirects = 5;
constexpr std::string_view kReplyType = "application/timestamp-reply";
// Content types under which some authorities send a good reply; an empty one means none at all.
constexpr std::string_view kOtherTypes[] = {"", "application/octet-stream", "binary/octet-stream",
                                            "application/timestamp-response", "application/timestamp-query"};

struct Received {
  CURL* handle;
  Bytes body = {};
  size_t head = 0;  // octets
  bool bodyTooLong = false;
  bool headTooLong = false;
};

size_t receive(char* data, size_t /*one*/, size_t length, void* context) noexcept {
  Received& received = *static_cast<Received*>(context);
  if (received.body.size() + length > kMaxReply) {
    received.bodyTooLong = true;
    return 0;
  }
  received.body.insert(received.body.end(), data, data + length);  // there is room for it
  return length;
}

#if LIBCURL_VERSION_NUM >= 0x075500
constexpr CURLoption kRedirectOption = CURLOPT_REDIR_PROTOCOLS_STR;
constexpr const char* kTlsAlone = "https";
#else
constexpr CURLoption kRedirectOption = CURLOPT_REDIR_PROTOCOLS;
constexpr long kTlsAlone = CURLPROTO_HTTPS;
#endif

// Whether the request that is being answered went over https.
[[nodiscard]] bool is_over_tls(CURL* handle) noexcept {
  const char* url = nullptr;
  if (Curl().easy_getinfo(handle, CURLINFO_EFFECTIVE_URL, &url) != CURLE_OK || url == nullptr) return false;
  return ::strncasecmp(url, "https:", 6) == 0;
}

// After one https step all further steps must be https. libcurl reads the setting when it takes the next
// step, after the head that asks for it.
[[nodiscard]] bool keep_to_tls(CURL* handle) noexcept {
  return !is_over_tls(handle) || Curl().easy_setopt(handle, kRedirectOption, kTlsAlone) == CURLE_OK;
}

size_t read_head(char* /*line*/, size_t /*one*/, size_t length, void* context) noexcept {
  Received& received = *static_cast<Received*>(context);
  if (!keep_to_tls(received.handle)) return 0;
  received.head += length;
  received.headTooLong = received.head > kMaxHead;
  return received.headTooLong ? 0 : length;
}

CurlList request_headers() {
  CurlList list;
  // An empty Expect: the query is small, and some servers keep the client waiting.
  for (const char* line :
       {"Content-Type: application/timestamp-query", "Accept: application/timestamp-reply", "Expect:"}) {
    curl_slist* longer = Curl().slist_append(list.get(), line);
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(list.release());
    list.reset(longer);
  }
  return list;
}

// From http a redirect may lead to either; read_head sees to it that none leads back.
void set_protocols(const CurlHandle& handle, bool tls) {
#if LIBCURL_VERSION_NUM >= 0x075500
  SetCurl(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  SetCurl(handle, kRedirectOption, tls ? kTlsAlone : "http,https");
#else
  SetCurl(handle, CURLOPT_PROTOCOLS, long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
  SetCurl(handle, kRedirectOption, tls ? kTlsAlone : long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
#endif
}

// The files were read under their own limit; libcurl gets their contents.
void set_pem(const CurlHandle& handle, CURLoption option, const Bytes& pem) {
  if (pem.empty()) return;
  struct curl_blob blob {
    const_cast<uint8_t*>(pem.data()), pem.size(), CURL_BLOB_NOCOPY
  };
  SetCurl(handle, option, &blob);
}

void set_identities(const CurlHandle& handle, const HttpSettings& settings) {
  if (!settings.roots.empty()) {
    set_pem(handle, CURLOPT_CAINFO_BLOB, settings.roots);
    SetCurl(handle, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (!settings.user.empty()) SetCurl(handle, CURLOPT_USERPWD, settings.user.c_str());
  SetCurl(handle, CURLOPT_NETRC, long(CURL_NETRC_OPTIONAL));
  SetCurl(handle, CURLOPT_HTTPAUTH, long(CURLAUTH_ANY));
  set_pem(handle, CURLOPT_SSLCERT_BLOB, settings.clientCert);
  set_pem(handle, CURLOPT_SSLKEY_BLOB, settings.clientKey);
}

std::string media_type(const char* contentType) {
  std::string type;
  for (const char* c = contentType; c != nullptr && *c != '\0' && *c != ';'; ++c) {
    if (*c != ' ' && *c != '\t') type += char(std::tolower(static_cast<unsigned char>(*c)));
  }
  return type;
}

[[nodiscard]] bool is_reply(const Bytes& body) {
  return inspect::KindOf(body) == inspect::Kind::Reply;
}

// libcurl ended the transfer, or the server sent too much; no reply remains to be read.
void check_transfer(const CurlHandle& curl, const HttpSettings& settings, const Received& received,
                    CURLcode code, const char* detail) {
  const std::string name = ShownUrl(settings.url);
  if (received.headTooLong) {
    throw LastingFault(ExitStatus::Input, name + ": the head of the reply is longer than 64 KiB",
                       "this is no time-stamp service; look at the address");
  }
  if (code != CURLE_OK && !received.bodyTooLong) {
    throw TransferFailure(curl, settings.url, name, code, detail);
  }
}

HttpReply reply_of(const CurlHandle& curl, const std::string& name, Received received) {
  const char* contentType = CurlInfo(curl, CURLINFO_CONTENT_TYPE, static_cast<const char*>(nullptr));
  HttpReply reply{{}, CurlInfo(curl, CURLINFO_RESPONSE_CODE, 0L), ""};
  if (reply.status != 200) throw StatusFailure(curl, name, contentType, received.body);
  if (received.bodyTooLong) {
    throw LastingFault(ExitStatus::Input, name + ": the reply is longer than 1 MiB",
                       "this is no time-stamp service; look at the address", reply.status);
  }
  const std::string type = media_type(contentType);
  const bool usual = type == kReplyType;
  const bool other = std::ranges::find(kOtherTypes, type) != std::end(kOtherTypes);
  if (!is_reply(received.body) || !(usual || other)) throw NoReplyFailure(name, contentType, received.body);
  if (!usual) reply.note = "came as content type " + (type.empty() ? "none" : type);
  reply.body = std::move(received.body);
  return reply;
}

}  // namespace

std::string ShownUrl(const std::string& url) {
  const size_t scheme = url.find("://");
  const size_t host =
      scheme == std::string::npos ? 0 : scheme + 3;  // without a scheme it is not an address, and is shown
  const size_t at = url.substr(0, url.find_first_of("/?#", host)).rfind('@');
  return at == std::string::npos || at < host ? url : url.substr(0, host) + url.substr(at + 1);
}

void CheckUrl(const std::string& url) {
  const std::string scheme = UrlPart(url, CURLUPART_SCHEME);
  if (scheme == "http" || scheme == "https") return;
  throw UsageFailure(ShownUrl(url) + ": not an address of http or https",
                     "for example --tsa https://tsa.example/");
}

HttpReply PostRequest(const HttpSettings& settings, ByteView request) {
  const CurlHandle curl = NewCurl(settings.timeout);
  const CurlList headers = request_headers();
  Received received{curl.get()};
  received.body.reserve(kMaxReply);  // here, where running out of memory can be thrown
  char detail[CURL_ERROR_SIZE] = "";

  SetCurl(curl, CURLOPT_URL, settings.url.c_str());
  set_protocols(curl, UrlPart(settings.url, CURLUPART_SCHEME) == "https");
  SetCurl(curl, CURLOPT_FOLLOWLOCATION, 1L);
  SetCurl(curl, CURLOPT_MAXREDIRS, kMaxRedirects);
  SetCurl(curl, CURLOPT_POSTREDIR, long{CURL_REDIR_POST_ALL});
  SetCurl(curl, CURLOPT_POST, 1L);
  SetCurl(curl, CURLOPT_POSTFIELDS, reinterpret_cast<const char*>(request.data()));
  SetCurl(curl, CURLOPT_POSTFIELDSIZE, long(request.size()));
  SetCurl(curl, CURLOPT_HTTPHEADER, headers.get());
  SetCurl(curl, CURLOPT_USERAGENT, "qex/" QEX_TOOL_VERSION);
  SetCurl(curl, CURLOPT_ERRORBUFFER, detail);
  SetCurl(curl, CURLOPT_WRITEFUNCTION, receive);
  SetCurl(curl, CURLOPT_WRITEDATA, &received);
  SetCurl(curl, CURLOPT_HEADERFUNCTION, read_head);
  SetCurl(curl, CURLOPT_HEADERDATA, &received);
  set_identities(curl, settings);

  const CURLcode code = Curl().easy_perform(curl.get());
  check_transfer(curl, settings, received, code, detail);
  return reply_of(curl, ShownUrl(settings.url), std::move(received));
}

std::string HttpLibraryVersion() {
  const std::string version = CurlVersion();
  return version.empty() ? "libcurl is not installed" : version;
}

}  // namespace qex::tool
