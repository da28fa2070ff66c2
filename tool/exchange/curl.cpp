// What the two transports share of libcurl.
#include "tool/exchange/curl.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "tool/base/escape.h"
#include "tool/base/files.h"

namespace qex::tool {
namespace {

std::string hint_of(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: return "look at the host's name, and at the connection to the network";
    case CURLE_COULDNT_RESOLVE_PROXY: return "look at the proxy variables of the environment";
    case CURLE_COULDNT_CONNECT: return "look at the host and port; is the authority running?";
    case CURLE_OPERATION_TIMEDOUT: return "wait longer with --timeout, or try again with --retry";
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING: return "the connection ended early; try again";
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR: return "the exchange broke off; try again with --retry";
    case CURLE_PEER_FAILED_VERIFICATION:
      return "it may be another server than it says; a root of your own is named with --cacert";
    case CURLE_SSL_CONNECT_ERROR: return "does the authority speak https at this port?";
    case CURLE_SSL_CACERT_BADFILE: return "name a file of PEM certificates with --cacert";
    case CURLE_SSL_CERTPROBLEM: return "look at the files of --client-cert and --client-key";
    case CURLE_TOO_MANY_REDIRECTS: return "the authority sends its clients in circles; look at the address";
    case CURLE_UNSUPPORTED_PROTOCOL:
      return "is it a service of http? no redirect to another protocol, or from https to http, is followed";
    default: return "look at the address and the connection";
  }
}

// What lies in the files that the caller named is no fault of the network.
ExitStatus exit_of(CURLcode code) {
  const bool files = code == CURLE_SSL_CACERT_BADFILE || code == CURLE_SSL_CERTPROBLEM;
  return files ? ExitStatus::Input : ExitStatus::Network;
}

// libcurl says of missing descriptors that memory ran out, or that nobody answers; and a reply that came
// could not be read without some for the worker. So they are looked for before anything is sent.
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

CurlHandle NewCurl(std::chrono::milliseconds timeout) {
  require_descriptors();
  static const CURLcode kStarted = curl_global_init(CURL_GLOBAL_DEFAULT);
  CurlHandle handle(kStarted == CURLE_OK ? curl_easy_init() : nullptr);
  if (handle == nullptr) throw std::bad_alloc();
  SetCurl(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
  SetCurl(handle, CURLOPT_NOSIGNAL, 1L);
#if LIBCURL_VERSION_NUM >= 0x075700
  // The thread that looks a name up is left behind, where cleaning up would wait for it.
  SetCurl(handle, CURLOPT_QUICK_EXIT, 1L);
#endif
  return handle;
}

CurlUrl NewCurlUrl() {
  CurlUrl url(curl_url());
  if (url == nullptr) throw std::bad_alloc();
  return url;
}

void CheckCurlSetting(CURLcode code) {
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code != CURLE_OK) {
    throw Failure{ExitStatus::Network, std::string("libcurl refuses a setting: ") + curl_easy_strerror(code),
                  "this libcurl was built without what the address needs"};
  }
}

Failure CurlFailure(const std::string& name, CURLcode code, const char* detail) {
  if (code == CURLE_OUT_OF_MEMORY) {
    // libcurl has no code of its own for a line that it does not take.
    return {ExitStatus::Input,
            name + ": a line of the reply's head is longer than libcurl takes, or memory ran out",
            "this is no time-stamp service; look at the address"};
  }
  // A text that repeats the address of a proxy may hold a password.
  const bool shown = *detail != '\0' && std::strchr(detail, '@') == nullptr;
  return {exit_of(code), name + ": " + Escaped(shown ? detail : curl_easy_strerror(code)), hint_of(code)};
}

}  // namespace qex::tool
