// The socket framing, under one deadline for the whole exchange.
#include "tool/socket_transport.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "api/qex.h"
#include "tool/escape.h"
#include "tool/failure.h"
#include "tool/inspect/code_texts.h"

namespace qex::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kHead = 5;
constexpr size_t kMaxReply = size_t{1} << 20;

struct Address {
  std::string host;
  std::string port;
};

Address parse_address(const std::string& text) {
  const size_t colon = text.rfind(':');
  Address address;
  if (colon != std::string::npos) {
    address = {text.substr(0, colon), text.substr(colon + 1)};
    const std::string& host = address.host;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
      address.host = host.substr(1, host.size() - 2);
  }
  if (address.host.empty() || address.port.empty()) {
    throw UsageFailure("socket " + Escaped(text) + ": not HOST:PORT", "for example --socket tsa.example:318");
  }
  return address;
}

// One connection, closed at the end of its scope.
class Connection {
 public:
  Connection(const std::string& name, std::chrono::milliseconds timeout)
      : name_(Escaped(name)), deadline_(Clock::now() + timeout) {
    const Address address = parse_address(name);
    struct addrinfo wanted {};
    wanted.ai_socktype = SOCK_STREAM;
    struct addrinfo* list = nullptr;
    const int code = ::getaddrinfo(address.host.c_str(), address.port.c_str(), &wanted, &list);
    if (code != 0) {
      throw Failure{ExitStatus::Network, name_ + ": " + ::gai_strerror(code),
                    "look at the host's name and port, and at the connection to the network"};
    }
    const std::unique_ptr<struct addrinfo, decltype(&::freeaddrinfo)> owner(list, ::freeaddrinfo);
    int error = 0;
    for (const struct addrinfo* each = list; each != nullptr; each = each->ai_next) {
      error = connect(*each);
      if (error == 0) return;
    }
    throw Failure{ExitStatus::Network, name_ + ": " + std::strerror(error),
                  "look at the host and port; is the authority running?"};
  }
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void send(ByteView data) {
    while (!data.empty()) {
      wait(POLLOUT);
      const ssize_t n = ::send(fd_, data.data(), data.size(), MSG_NOSIGNAL);
      if (n < 0 && errno != EINTR && errno != EAGAIN) fail("cannot be written to");
      if (n > 0) data = data.subspan(static_cast<size_t>(n));
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
        throw Failure{ExitStatus::Network,
                      name_ + ": the reply ended after " + std::to_string(data.size()) + " of " +
                          std::to_string(length) + " octets",
                      "try again with --retry; does the authority speak the socket framing?", QEX_E_LENGTH};
      }
      data.insert(data.end(), buffer, buffer + n);
    }
  }

 private:
  // Returns 0 or an errno.
  int connect(const struct addrinfo& to) {
    close();
    fd_ = ::socket(to.ai_family, to.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, to.ai_protocol);
    if (fd_ < 0) return errno;
    if (::connect(fd_, to.ai_addr, to.ai_addrlen) == 0) return 0;
    if (errno != EINPROGRESS) return errno;
    wait(POLLOUT);
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
  }

  void wait(short events) {
    for (;;) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
      struct pollfd one {
        fd_, events, 0
      };
      const int n =
          left.count() <= 0 ? 0 : ::poll(&one, 1, static_cast<int>(std::min<int64_t>(left.count(), 1 << 30)));
      if (n > 0) return;
      if (n == 0) {
        throw Failure{ExitStatus::Network, name_ + ": no answer in time",
                      "wait longer with --timeout, or try again with --retry"};
      }
      if (errno != EINTR) fail("cannot be waited for");
    }
  }

  [[noreturn]] void fail(const char* what) const {
    throw Failure{ExitStatus::Network, name_ + ": " + what + ": " + std::strerror(errno),
                  "try again with --retry"};
  }

  void close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  std::string name_;
  Clock::time_point deadline_;
  int fd_ = -1;
};

Failure framing_failure(const std::string& address, int32_t code, uint32_t flag) {
  if (code == QEX_E_FRAMING) {
    return {ExitOfCode(code), Escaped(address) + ": the reply's flag is " + std::to_string(flag) + ", not 5",
            "the authority did not answer with a time-stamp reply", code};
  }
  return {ExitOfCode(code), Escaped(address) + ": " + inspect::CodeMeaning(code),
          "does the authority speak the socket framing?", code};
}

}  // namespace

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
    // The library says how much is announced; it is read as it comes, not allocated at once.
    if (length < kHead || length > kMaxReply) {
      throw Failure{ExitStatus::Input,
                    Escaped(address) + ": a reply of " + std::to_string(length) + " octets is announced",
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
