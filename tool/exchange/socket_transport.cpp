// The socket framing, under one deadline for the whole exchange.
#include "tool/exchange/socket_transport.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "api/qex.h"
#include "tool/base/escape.h"
#include "tool/base/failure.h"
#include "tool/exchange/cause.h"
#include "tool/exchange/curl.h"
#include "tool/exchange/exchange_failure.h"
#include "tool/exchange/reply_size.h"

namespace qex::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kHead = 5;

// The address in libcurl's form; only the connection is libcurl's.
CurlUrl parse_address(const std::string& text) {
  const size_t colon = text.rfind(':');
  CurlUrl url = NewCurlUrl();
  const bool valid =
      colon != std::string::npos && Curl().url_set(url.get(), CURLUPART_SCHEME, "http", 0) == CURLUE_OK &&
      Curl().url_set(url.get(), CURLUPART_HOST, text.substr(0, colon).c_str(), 0) == CURLUE_OK &&
      Curl().url_set(url.get(), CURLUPART_PORT, text.substr(colon + 1).c_str(), 0) == CURLUE_OK;
  if (!valid) {
    throw UsageFailure("socket " + Quoted(text) + ": not HOST:PORT", "for example --socket tsa.example:318");
  }
  return url;
}

// One connection, closed at the end of its scope.
class Connection {
 public:
  Connection(const std::string& name, std::chrono::milliseconds timeout)
      : name_(name), deadline_(Clock::now() + timeout), curl_(NewCurl(timeout)) {
    const CurlUrl url = parse_address(name);
    char detail[CURL_ERROR_SIZE] = "";
    SetCurl(curl_, CURLOPT_CURLU, url.get());
    SetCurl(curl_, CURLOPT_CONNECT_ONLY, 1L);
    SetCurl(curl_, CURLOPT_NOPROXY, "*");
    SetCurl(curl_, CURLOPT_ERRORBUFFER, detail);
    const CURLcode code = Curl().easy_perform(curl_.get());
    if (code != CURLE_OK) throw TransferFailure(curl_, "", name_, code, detail);
    SetCurl(curl_, CURLOPT_ERRORBUFFER, static_cast<char*>(nullptr));
    curl_socket_t socket = CURL_SOCKET_BAD;
    CheckCurlSetting(Curl().easy_getinfo(curl_.get(), CURLINFO_ACTIVESOCKET, &socket));
    fd_ = socket;
  }

  void send(ByteView data) {
    while (!data.empty()) {
      wait(POLLOUT);
      const ssize_t n = ::send(fd_, data.data(), data.size(), MSG_NOSIGNAL);
      if (n < 0 && errno != EINTR && errno != EAGAIN) fail("cannot be written to");
      if (n > 0) data = data.subspan(size_t(n));
    }
  }

  // Appends octets until `data` has `length`.
  void receive(Bytes& data, size_t length) {
    while (data.size() < length) {
      wait(POLLIN);
      uint8_t buffer[16384];
      const ssize_t n = ::recv(fd_, buffer, std::min(sizeof buffer, length - data.size()), 0);
      if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
      if (n < 0) fail("cannot be read from");
      if (n == 0) {
        ExchangeFailure failure =
            PassingFault(name_ + ": the reply ended after " + std::to_string(data.size()) + " of " +
                             std::to_string(length) + " octets",
                         "try again with --retry; does the authority speak the socket framing?");
        failure.code = QEX_E_LENGTH;
        throw ExchangeFailure(failure);
      }
      data.insert(data.end(), buffer, buffer + n);
    }
  }

 private:
  void wait(short events) {
    for (;;) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
      struct pollfd one {
        fd_, events, 0
      };
      const int n = left.count() <= 0 ? 0 : ::poll(&one, 1, int(std::min<int64_t>(left.count(), 1 << 30)));
      if (n > 0) return;
      if (n == 0) {
        throw PassingFault(name_ + ": no answer in time",
                           "wait longer with --timeout, or try again with --retry");
      }
      if (errno != EINTR) fail("cannot be waited for");
    }
  }

  [[noreturn]] void fail(const char* what) const {
    throw PassingFault(name_ + ": " + what + ": " + std::strerror(errno), "try again with --retry");
  }

  std::string name_;
  Clock::time_point deadline_;
  CurlHandle curl_;  // owns the connection
  int fd_ = -1;
};

Failure framing_failure(const std::string& address, int32_t code, uint32_t flag) {
  if (code == QEX_E_FRAMING) {
    return {ExitOfCode(code), address + ": the reply's flag is " + std::to_string(flag) + ", not 5",
            "the authority did not answer with a time-stamp reply", code};
  }
  return {ExitOfCode(code),
          address + ": the frame of the reply cannot be read (result code " + std::to_string(code) + ")",
          "does the authority speak the socket framing?", code};
}

}  // namespace

void CheckSocketAddress(const std::string& address) {
  parse_address(address);
}

Bytes ExchangeOverSocket(const std::string& address, ByteView framedRequest,
                         std::chrono::milliseconds timeout) {
  Connection connection(address, timeout);
  connection.send(framedRequest);
  Bytes reply;
  connection.receive(reply, kHead);
  uint32_t length = kHead;
  uint32_t flag = 0;
  int32_t code = QEX_UnpackTSR(reply.data(), &length, &flag, QEX_TRANSPORT_SOCKET);
  if (code == QEX_E_LENGTH) {
    // The announced length comes from the library; the reply is read as it arrives, not allocated at once.
    if (length < kHead) {
      throw Failure{ExitStatus::Input, address + ": a reply without a flag is announced",
                    "does the authority speak the socket framing?", code};
    }
    if (length > kMaxReply) {
      throw Failure{ExitStatus::Input,
                    address + ": a reply of " + std::to_string(length) + " octets is announced",
                    "at most 1 MiB is read; does the authority speak the socket framing?", code};
    }
    connection.receive(reply, length);
    code = QEX_UnpackTSR(reply.data(), &length, &flag, QEX_TRANSPORT_SOCKET);
  }
  if (code != QEX_OK) throw framing_failure(address, code, flag);
  reply.resize(length);
  return reply;
}

}  // namespace qex::tool
