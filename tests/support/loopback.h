// A connection to a server on the loopback interface: one message there, everything back.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace qex::test {

// Exchange connects to 127.0.0.1:`port`, sends `message` unchanged and returns the answer until the server
// closes. A failure, including a wait of half a minute, is a std::runtime_error.
inline std::vector<uint8_t> Exchange(uint16_t port, const std::vector<uint8_t>& message) {
  struct Connection {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    ~Connection() {
      if (fd >= 0) close(fd);
    }
  } connection;
  const auto failed = [](const char* what) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
  };
  if (connection.fd < 0) failed("socket");
  const timeval patience{30, 0};
  setsockopt(connection.fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  setsockopt(connection.fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(connection.fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    failed("connect");
  }

  for (size_t sent = 0; sent < message.size();) {
    const ssize_t n = send(connection.fd, message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) failed("send");
    sent += size_t(n);
  }
  std::vector<uint8_t> answer;
  uint8_t block[4096];
  for (ssize_t n; (n = recv(connection.fd, block, sizeof block, 0)) != 0;) {
    if (n < 0) failed("recv");
    answer.insert(answer.end(), block, block + n);
  }
  return answer;
}

}  // namespace qex::test
