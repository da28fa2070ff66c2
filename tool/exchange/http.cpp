// One POST by libcurl, and its failures in words.
#include "tool/exchange/http.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/exchange/curl.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxReply = size_t{1} << 20;
constexpr size_t kMaxHead = size_t{64} << 10;  // the lines of all heads and trailers of an exchange
constexpr size_t kMaxShown = 120;              // characters of the server's own in an error line
constexpr long kMaxRedirects = 5;
constexpr const char* kReplyType = "application/timestamp-reply";

struct Received {
  Bytes body;
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

size_t count_head(char* /*line*/, size_t /*one*/, size_t length, void* context) noexcept {
  Received& received = *static_cast<Received*>(context);
  received.head += length;
  received.headTooLong = received.head > kMaxHead;
  return received.headTooLong ? 0 : length;
}

CurlList request_headers() {
  CurlList list;
  // An empty Expect: the query is small, and some servers keep the client waiting.
  for (const char* line :
       {"Content-Type: application/timestamp-query", "Accept: application/timestamp-reply", "Expect:"}) {
    curl_slist* longer = curl_slist_append(list.get(), line);
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(list.release());
    list.reset(longer);
  }
  return list;
}

// The scheme in lower case; empty for what is no address.
std::string scheme_of(const std::string& text) {
  const CurlUrl url = NewCurlUrl();
  char* part = nullptr;
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_SCHEME, &part, 0) != CURLUE_OK) {
    return "";
  }
  return CurlText(part).get();
}

void set_protocols(const CurlHandle& handle, bool tls) {
#if LIBCURL_VERSION_NUM >= 0x075500
  SetCurl(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  SetCurl(handle, CURLOPT_REDIR_PROTOCOLS_STR, tls ? "https" : "http,https");
#else
  SetCurl(handle, CURLOPT_PROTOCOLS, long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
  SetCurl(handle, CURLOPT_REDIR_PROTOCOLS,
          tls ? long{CURLPROTO_HTTPS} : long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
#endif
}

// The files were read under a limit of their own; libcurl is given what lay in them.
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
  if (!settings.user.empty()) {
    SetCurl(handle, CURLOPT_USERPWD, settings.user.c_str());
    SetCurl(handle, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_ANY));
  }
  set_pem(handle, CURLOPT_SSLCERT_BLOB, settings.clientCert);
  set_pem(handle, CURLOPT_SSLKEY_BLOB, settings.clientKey);
}

// The first line of a body with something to read in it, cut to a readable length.
std::string first_line(const Bytes& body) {
  std::string line;
  for (const uint8_t octet : body) {
    if (octet == '\n' || octet == '\r') {
      if (line.find_first_not_of(" \t") != std::string::npos) break;
      line.clear();
      continue;
    }
    if (octet < 0x20 && octet != '\t') return "";  // binary
    line += static_cast<char>(octet);
    if (line.size() == kMaxShown) break;
  }
  return Escaped(line);
}

std::string media_type(const char* contentType) {
  std::string type;
  for (const char* c = contentType; c != nullptr && *c != '\0' && *c != ';'; ++c) {
    if (*c != ' ' && *c != '\t') type += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
  }
  return type;
}

std::string what_came(long status, const char* contentType, const Bytes& body) {
  std::string text =
      "HTTP status " + std::to_string(status) + ", content type " +
      (contentType == nullptr ? "none" : Escaped(std::string_view(contentType).substr(0, kMaxShown)));
  const std::string line = first_line(body);
  if (!line.empty()) text += ", \"" + line + "\"";
  return text;
}

std::string hint_of_status(long status) {
  if (status == 401 || status == 403)
    return "the authority asks who you are: --user, or --client-cert with --client-key";
  if (status == 404 || status == 405)
    return "look at the path of the address: it is not that of a time-stamp service";
  if (status >= 500) return "the authority has a fault of its own; try again later or ask another one";
  return "look at the address, and at what the authority says";
}

}  // namespace

std::string ShownUrl(const std::string& url) {
  const size_t scheme = url.find("://");
  const size_t host =
      scheme == std::string::npos ? 0 : scheme + 3;  // one without a scheme is no address, and shown
  const size_t at = url.substr(0, url.find_first_of("/?#", host)).rfind('@');
  return Escaped(at == std::string::npos || at < host ? url : url.substr(0, host) + url.substr(at + 1));
}

void CheckUrl(const std::string& url) {
  const std::string scheme = scheme_of(url);
  if (scheme == "http" || scheme == "https") return;
  throw UsageFailure(ShownUrl(url) + ": not an address of http or https",
                     "for example --tsa https://tsa.example/");
}

Bytes PostRequest(const HttpSettings& settings, ByteView request) {
  const CurlHandle curl = NewCurl(settings.timeout);
  const CurlList headers = request_headers();
  Received received;
  received.body.reserve(kMaxReply);  // here, where running out of memory can be thrown
  char detail[CURL_ERROR_SIZE] = "";

  SetCurl(curl, CURLOPT_URL, settings.url.c_str());
  set_protocols(curl, scheme_of(settings.url) == "https");
  SetCurl(curl, CURLOPT_FOLLOWLOCATION, 1L);
  SetCurl(curl, CURLOPT_MAXREDIRS, kMaxRedirects);
  SetCurl(curl, CURLOPT_POSTREDIR, long{CURL_REDIR_POST_ALL});
  SetCurl(curl, CURLOPT_POST, 1L);
  SetCurl(curl, CURLOPT_POSTFIELDS, reinterpret_cast<const char*>(request.data()));
  SetCurl(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size()));
  SetCurl(curl, CURLOPT_HTTPHEADER, headers.get());
  SetCurl(curl, CURLOPT_USERAGENT, "qex/" QEX_TOOL_VERSION);
  SetCurl(curl, CURLOPT_ERRORBUFFER, detail);
  SetCurl(curl, CURLOPT_WRITEFUNCTION, receive);
  SetCurl(curl, CURLOPT_WRITEDATA, &received);
  SetCurl(curl, CURLOPT_HEADERFUNCTION, count_head);
  SetCurl(curl, CURLOPT_HEADERDATA, &received);
  set_identities(curl, settings);

  const CURLcode code = curl_easy_perform(curl.get());
  const std::string name = ShownUrl(settings.url);
  if (received.headTooLong) {
    throw Failure{ExitStatus::Input, name + ": the head of the reply is longer than 64 KiB",
                  "this is no time-stamp service; look at the address"};
  }
  if (code != CURLE_OK && !received.bodyTooLong) throw CurlFailure(name, code, detail);
  long status = 0;
  char* contentType = nullptr;
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(curl.get(), CURLINFO_CONTENT_TYPE, &contentType);
  if (status != 200) {
    throw Failure{ExitStatus::Network, name + ": " + what_came(status, contentType, received.body),
                  hint_of_status(status)};
  }
  if (received.bodyTooLong) {
    throw Failure{ExitStatus::Input, name + ": the reply is longer than 1 MiB",
                  "this is no time-stamp service; look at the address"};
  }
  if (media_type(contentType) != kReplyType || received.body.empty()) {
    throw Failure{ExitStatus::Input,
                  name + ": no time-stamp reply: " + what_came(status, contentType, received.body),
                  std::string("a time-stamp service answers with ") + kReplyType + "; look at the address"};
  }
  return received.body;
}

std::string HttpLibraryVersion() {
  return curl_version();
}

}  // namespace qex::tool
