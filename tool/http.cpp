// One POST by libcurl, and its failures in words.
#include "tool/http.h"

#include <curl/curl.h>

#include <cctype>
#include <memory>
#include <new>

#include "tool/escape.h"
#include "tool/failure.h"

namespace qex::tool {
namespace {

constexpr size_t kMaxReply = size_t{1} << 20;
constexpr long kMaxRedirects = 5;
constexpr const char* kReplyType = "application/timestamp-reply";

struct Body {
  Bytes octets;
  bool tooLong = false;
};

size_t receive(char* data, size_t /*one*/, size_t length, void* context) noexcept {
  Body& body = *static_cast<Body*>(context);
  if (body.octets.size() + length > kMaxReply) {
    body.tooLong = true;
    return 0;
  }
  try {
    body.octets.insert(body.octets.end(), data, data + length);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return length;
}

struct CurlCleaner {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleaner>;
using HeaderList = std::unique_ptr<curl_slist, CurlCleaner>;

template <class Value>
void set(CURL* handle, CURLoption option, Value value) {
  const CURLcode code = curl_easy_setopt(handle, option, value);
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code != CURLE_OK) {
    throw Failure{ExitStatus::Network, std::string("libcurl refuses a setting: ") + curl_easy_strerror(code),
                  "this libcurl was built without what the address needs"};
  }
}

HeaderList request_headers() {
  HeaderList list;
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

void set_protocols(CURL* handle, bool tls) {
#if LIBCURL_VERSION_NUM >= 0x075500
  set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  set(handle, CURLOPT_REDIR_PROTOCOLS_STR, tls ? "https" : "http,https");
#else
  set(handle, CURLOPT_PROTOCOLS, long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
  set(handle, CURLOPT_REDIR_PROTOCOLS, tls ? long{CURLPROTO_HTTPS} : long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
#endif
}

std::string hint_of(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: return "look at the host's name, and at the connection to the network";
    case CURLE_COULDNT_RESOLVE_PROXY: return "look at the proxy variables of the environment";
    case CURLE_COULDNT_CONNECT: return "look at the host and port; is the authority running?";
    case CURLE_OPERATION_TIMEDOUT: return "wait longer with --timeout, or try again with --retry";
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING: return "the connection ended early; try again";
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE: return "name the root of the server's certificate with --cacert";
    case CURLE_SSL_CERTPROBLEM: return "look at the files of --client-cert and --client-key";
    case CURLE_UNSUPPORTED_PROTOCOL:
      return "an address starts with http:// or https://; from https no redirect to http is followed";
    default: return "look at the address and the connection";
  }
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
    if (line.size() == 120) break;
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
  std::string text = "HTTP status " + std::to_string(status) + ", content type " +
                     (contentType == nullptr ? "none" : Escaped(contentType));
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
  if (scheme == std::string::npos) return Escaped(url);
  const size_t host = scheme + 3;
  const size_t at = url.substr(0, url.find_first_of("/?#", host)).rfind('@');
  return Escaped(at == std::string::npos || at < host ? url : url.substr(0, host) + url.substr(at + 1));
}

Bytes PostRequest(const HttpSettings& settings, ByteView request) {
  static const CURLcode kStarted = curl_global_init(CURL_GLOBAL_DEFAULT);
  const CurlHandle handle(kStarted == CURLE_OK ? curl_easy_init() : nullptr);
  if (handle == nullptr) throw std::bad_alloc();
  CURL* const curl = handle.get();
  const HeaderList headers = request_headers();
  const bool tls = settings.url.starts_with("https:") || settings.url.starts_with("HTTPS:");
  Body body;
  char detail[CURL_ERROR_SIZE] = "";

  set(curl, CURLOPT_URL, settings.url.c_str());
  set_protocols(curl, tls);
  set(curl, CURLOPT_FOLLOWLOCATION, 1L);
  set(curl, CURLOPT_MAXREDIRS, kMaxRedirects);
  set(curl, CURLOPT_POSTREDIR, long{CURL_REDIR_POST_ALL});
  set(curl, CURLOPT_POST, 1L);
  set(curl, CURLOPT_POSTFIELDS, reinterpret_cast<const char*>(request.data()));
  set(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size()));
  set(curl, CURLOPT_HTTPHEADER, headers.get());
  set(curl, CURLOPT_USERAGENT, "qex/" QEX_TOOL_VERSION);
  set(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(settings.timeout.count()));
  set(curl, CURLOPT_NOSIGNAL, 1L);
  set(curl, CURLOPT_ERRORBUFFER, detail);
  set(curl, CURLOPT_WRITEFUNCTION, receive);
  set(curl, CURLOPT_WRITEDATA, &body);
  if (!settings.caFile.empty()) {
    set(curl, CURLOPT_CAINFO, settings.caFile.c_str());
    set(curl, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (!settings.user.empty()) {
    set(curl, CURLOPT_USERPWD, settings.user.c_str());
    set(curl, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_ANY));
  }
  if (!settings.clientCert.empty()) set(curl, CURLOPT_SSLCERT, settings.clientCert.c_str());
  if (!settings.clientKey.empty()) set(curl, CURLOPT_SSLKEY, settings.clientKey.c_str());

  const CURLcode code = curl_easy_perform(curl);
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  const std::string name = ShownUrl(settings.url);
  if (body.tooLong) {
    throw Failure{ExitStatus::Input, name + ": the reply is longer than 1 MiB",
                  "this is no time-stamp service; look at the address"};
  }
  if (code != CURLE_OK) {
    const std::string text = detail[0] != '\0' ? detail : curl_easy_strerror(code);
    throw Failure{ExitStatus::Network, name + ": " + Escaped(text), hint_of(code)};
  }
  long status = 0;
  char* contentType = nullptr;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &contentType);
  if (status != 200) {
    throw Failure{ExitStatus::Network, name + ": " + what_came(status, contentType, body.octets),
                  hint_of_status(status)};
  }
  if (media_type(contentType) != kReplyType || body.octets.empty()) {
    throw Failure{ExitStatus::Input,
                  name + ": no time-stamp reply: " + what_came(status, contentType, body.octets),
                  std::string("a time-stamp service answers with ") + kReplyType + "; look at the address"};
  }
  return body.octets;
}

std::string HttpLibraryVersion() {
  return curl_version();
}

}  // namespace qex::tool
