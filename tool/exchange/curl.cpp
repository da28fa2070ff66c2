// Loads libcurl, and holds the code that both transports share.
#include "tool/exchange/curl.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <vector>

#include "tool/base/failure.h"
#include "tool/base/files.h"

namespace qex::tool {
namespace {

// The name of all versions with this interface.
constexpr const char* kLibrary = "libcurl.so.4";

Failure not_loaded(const char* reason) {
  return {ExitStatus::Network,
          std::string("libcurl, which carries the exchange, cannot be loaded: ") +
              (reason == nullptr ? "no reason is given" : reason),
          "install it (libcurl4 in Debian); commands that ask no authority work without it"};
}

CurlFunctions load() {
  void* library = ::dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw not_loaded(::dlerror());
  CurlFunctions functions;
  const auto find = [library](const char* name) {
    void* function = ::dlsym(library, name);
    if (function == nullptr) throw not_loaded(::dlerror());
    return function;
  };
#define QEX_CURL_FIND(name) functions.name = reinterpret_cast<decltype(functions.name)>(find("curl_" #name));
  QEX_CURL_FUNCTIONS(QEX_CURL_FIND)
#undef QEX_CURL_FIND
  if (functions.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw not_loaded("it does not start");
  return functions;
}

// When descriptors run out, libcurl reports lack of memory or an unreachable server; and a received reply
// could not be read without descriptors for the worker. So they are checked before anything is sent.
void require_descriptors() {
  constexpr size_t kNeeded = 12;  // libcurl's own pairs, one or two connections, a file; or three pipes
  std::vector<int> held;
  int error = 0;
  while (held.size() < kNeeded && error == 0) {
    const int fd = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
    fd < 0 ? static_cast<void>(error = errno) : held.push_back(fd);
  }
  for (const int fd : held) ::close(fd);
  if (error != 0) throw FileFailure("the exchange", "cannot begin", error);
}

}  // namespace

const CurlFunctions& Curl() {
  static const CurlFunctions functions = load();
  return functions;
}

std::string CurlVersion() {
  try {
    return Curl().version();
  } catch (const Failure&) {
    return "";
  }
}

CurlHandle NewCurl(std::chrono::milliseconds timeout) {
  require_descriptors();
  CurlHandle handle(Curl().easy_init());
  if (handle == nullptr) throw std::bad_alloc();
  SetCurl(handle, CURLOPT_TIMEOUT_MS, long(timeout.count()));
  SetCurl(handle, CURLOPT_NOSIGNAL, 1L);
#if LIBCURL_VERSION_NUM >= 0x075700
  // The thread that resolves a name is abandoned, as cleaning up would wait for it.
  SetCurl(handle, CURLOPT_QUICK_EXIT, 1L);
#endif
  return handle;
}

CurlUrl NewCurlUrl() {
  CurlUrl url(Curl().url());
  if (url == nullptr) throw std::bad_alloc();
  return url;
}

std::string UrlPart(const std::string& url, CURLUPart part) {
  const CurlUrl parsed = NewCurlUrl();
  char* text = nullptr;
  if (Curl().url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK ||
      Curl().url_get(parsed.get(), part, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) {
    return "";
  }
  return CurlText(text).get();
}

void CheckCurlSetting(CURLcode code) {
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code != CURLE_OK) {
    throw Failure{ExitStatus::Network,
                  std::string("libcurl refuses a setting: ") + Curl().easy_strerror(code),
                  "this libcurl was built without what the address needs"};
  }
}

}  // namespace qex::tool
