// Stamps a file: digests it, asks a TSA over a socket, checks the reply and reads its token. Pass a
// certificate that you trust; whether it is in force and leads to a root is not checked.
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <qex.hpp>
#include <random>
#include <stdexcept>
#include <string>

static qex::bytes read_file(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) throw std::runtime_error(name + ": cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

// ask sends a request in the socket framing and returns the reply without its framing.
static qex::bytes ask(const std::string& host, const char* port, const qex::bytes& request) {
  addrinfo wanted{}, *found = nullptr;
  wanted.ai_socktype = SOCK_STREAM;
  if (getaddrinfo(host.c_str(), port, &wanted, &found) != 0) throw std::runtime_error(host + ": not known");
  int fd = -1;
  for (const addrinfo* at = found; fd < 0 && at != nullptr; at = at->ai_next) {
    fd = socket(at->ai_family, at->ai_socktype, at->ai_protocol);
    if (fd >= 0 && connect(fd, at->ai_addr, at->ai_addrlen) != 0) close(std::exchange(fd, -1));
  }
  freeaddrinfo(found);
  if (fd < 0) throw std::runtime_error(host + ": no connection to port " + port);
  (void)send(fd, request.data(), request.size(), MSG_NOSIGNAL);  // where it fails, no reply comes
  qex::bytes reply;
  std::array<std::uint8_t, 4096> piece;
  bool whole = false;  // an incomplete reply stays as it is
  for (ssize_t n; !whole && (n = recv(fd, piece.data(), piece.size(), 0)) > 0 && reply.size() < 1 << 20;) {
    reply.insert(reply.end(), piece.begin(), piece.begin() + n);
    whole = qex::unpack_reply(reply, qex::transport::socket).has_value();
  }
  close(fd);
  if (!whole) qex::unpack_reply(reply, qex::transport::socket).value();  // throws the reason
  return reply;
}

static int stamp(const char* data, const char* host, const char* port, const char* certificate) {
  auto request = qex::request::of<qex::sha256>(qex::sha256::of(read_file(data)));
  std::array<std::uint8_t, 8> nonce;
  for (std::random_device random; auto& octet : nonce) octet = std::uint8_t(random());
  nonce[0] = std::uint8_t((nonce[0] & 0x7F) | 0x40);  // a positive INTEGER of full length
  request.set_nonce(nonce).value();
  const auto reply = ask(host, port, qex::encode_request(request, qex::transport::socket).value());
  const auto status = qex::read_status(reply).value();
  if (!status.granted()) std::cerr << "the TSA says: " << status.text() << '\n';
  const auto token = qex::extract_token(reply).value();
  qex::verify_signature(token, read_file(certificate)).value();
  const auto info = qex::read_token(token).value();
  if (info.hash_algorithm() != qex::sha256::oid || !std::ranges::equal(info.nonce(), nonce) ||
      !std::ranges::equal(info.hashed_message(), request.hashed_message())) {
    std::cerr << "the token is for other data or answers another request\n";
    return 1;
  }
  std::cout << data << ": stamped at " << info.time() << " +/- " << info.accuracy().count() << " us\n";
  return 0;
}

int main(int argc, char** argv) try {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);  // most TSAs send version 2 of the signing-certificate attribute
  if (argc == 5) return stamp(argv[1], argv[2], argv[3], argv[4]);
  std::cerr << "usage: stamp_file DATA HOST PORT CERTIFICATE\n";
  return 2;
} catch (const qex::bad_result_access& refused) {
  std::cerr << refused.what() << " (" << name_of(refused.error().code) << ")\n";
  return 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 2;
}
