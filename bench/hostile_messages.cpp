// Hostile inputs of the digests, the requests and the replies.
#include <algorithm>
#include <cstring>

#include "api/qex.h"
#include "bench/hostile_parts.h"

namespace qex::bench {
namespace {

// --- Digests -----------------------------------------------------------------------

HostileInput octets(size_t size) {
  return input_of(Octets(size, 0x5A));
}

// digest updates a fresh context with all of the input, `step` octets at a time.
template <auto Init, auto Update, auto Final>
[[nodiscard]] int32_t digest(HostileInput& input, uint32_t step) {
  auto* const context = Init();
  const uint8_t* at = input.main.data();
  for (uint32_t left = length_of(input.main); left > 0;) {
    const uint32_t n = std::min(left, step);
    Update(context, at, n);
    at += n;
    left -= n;
  }
  Final(context, input.out.data());
  return QEX_OK;
}

template <auto Init, auto Update, auto Final>
[[nodiscard]] int32_t at_once(HostileInput& input) {
  return digest<Init, Update, Final>(input, UINT32_MAX);
}
template <auto Init, auto Update, auto Final>
[[nodiscard]] int32_t by_octets(HostileInput& input) {
  return digest<Init, Update, Final>(input, 1);
}

// --- Requests ----------------------------------------------------------------------

// Requests are encoded from records of one size: here as many as fill the input.
[[nodiscard]] int32_t encode_requests(HostileInput& input) {
  QEX_TSQ_DATA_EX request{};
  request.size = sizeof request;
  std::strcpy(request.hashAlgorithm, kSha256Digest);
  std::memset(request.reqPolicy, '1', sizeof request.reqPolicy - 1);
  request.reqPolicy[1] = '.';
  for (size_t i = 13; i < sizeof request.reqPolicy - 1; i += 10) request.reqPolicy[i] = '.';
  request.hashedMessageLength = sizeof request.hashedMessage;
  request.nonceLength = sizeof request.nonce;
  int32_t code = QEX_OK;
  for (size_t n = input.main.size() / sizeof request; n > 0 && code == QEX_OK; --n) {
    uint32_t length = length_of(input.out);
    code = QEX_EncodeTSQ_Ex(&request, input.out.data(), &length, QEX_TRANSPORT_HTTP);
  }
  return code;
}

[[nodiscard]] int32_t encode_short_requests(HostileInput& input) {
  QEX_TSQ_DATA request{};
  std::strcpy(request.hashAlgorithm, kSha256Digest);
  request.hashedMessageLength = sizeof request.hashedMessage;
  request.nonce = {0xFFFFFFFF, 0xFFFFFFFF};
  int32_t code = QEX_OK;
  for (size_t n = input.main.size() / sizeof request; n > 0 && code == QEX_OK; --n) {
    uint32_t length = length_of(input.out);
    code = QEX_EncodeTSQ(&request, input.out.data(), &length, QEX_TRANSPORT_HTTP);
  }
  return code;
}

Octets request(const Octets& policy, const Octets& message, const Octets& extensions) {
  return der::sequence(der::integer(1), der::sequence(der::algorithm(kSha256Digest), message), policy,
                       extensions.empty() ? Octets{} : der::context(0, extensions));
}
const Octets kHash = der::octet_string(Octets(32, 1));

HostileInput request_of_extensions(size_t size) {
  return input_of(request({}, kHash, many(kShortExtension, size)));
}
HostileInput request_behind_lines(size_t size) {
  return input_of(der::concat(der::octets("POST "), many(der::octets("x\n"), size), der::octets("\n"),
                              request({}, kHash, {})));
}
HostileInput request_of_a_long_policy(size_t size) {
  return input_of(request(der::element(0x06, Octets(size, 0x2A)), kHash, {}));
}
HostileInput request_of_one_arc(size_t size) {
  Octets arc(size, 0x80);
  arc.back() = 0x01;
  return input_of(request(der::element(0x06, Octets{0x2A}, arc), kHash, {}));
}
HostileInput request_in_pieces(size_t size) {
  return input_of(request({}, pieces(0x24, {0x04, 0x01, 0x5A}, size), {}));
}

[[nodiscard]] int32_t decode_request(HostileInput& input) {
  QEX_TSQ_DATA_EX record{};
  record.size = sizeof record;
  return QEX_DecodeTSQ_Ex(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t decode_short_request(HostileInput& input) {
  QEX_TSQ_DATA record{};
  return QEX_DecodeTSQ(&record, input.main.data(), length_of(input.main));
}

// --- Replies -----------------------------------------------------------------------

HostileInput http(const Octets& lines) {
  HostileInput input =
      input_of(der::concat(der::octets("HTTP/1.0 200 OK\r\n"), lines,
                           der::octets("Content-Type: application/timestamp-reply\r\n\r\n0")));
  input.out = input.main;  // the call unpacks in place
  return input;
}
HostileInput reply_of_lines(size_t size) {
  return http(many(der::octets("Content-Length: 1\n"), size));
}
HostileInput reply_of_empty_lines(size_t size) {
  return http(many(der::octets("x\n"), size));
}
HostileInput reply_of_blanks(size_t size) {
  return http(der::concat(der::octets("Content-Length:"), Octets(size, ' '), der::octets("1\r\n")));
}
HostileInput reply_in_a_frame(size_t size) {
  const auto n = uint32_t(size + 1);
  HostileInput input = input_of(der::concat(
      Octets{uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n), 5}, Octets(size, 0x30)));
  input.out = input.main;
  return input;
}

[[nodiscard]] int32_t unpack(HostileInput& input, int32_t transport) {
  std::copy(input.out.begin(), input.out.end(), input.main.begin());
  uint32_t length = length_of(input.main);
  uint32_t status = 0;
  return QEX_UnpackTSR(input.main.data(), &length, &status, transport);
}
[[nodiscard]] int32_t unpack_http(HostileInput& input) {
  return unpack(input, QEX_TRANSPORT_HTTP);
}
[[nodiscard]] int32_t unpack_socket(HostileInput& input) {
  return unpack(input, QEX_TRANSPORT_SOCKET);
}

Octets reply(const Octets& strings, const Octets& failure, const Octets& token) {
  return der::sequence(der::sequence(der::integer(0), der::sequence(strings), failure), token);
}
HostileInput reply_of_texts(size_t size) {
  return input_of(reply(many({0x0C, 0x00}, size), {}, {}));
}
HostileInput reply_of_failure_bits(size_t size) {
  return input_of(reply({}, pieces(0x23, {0x03, 0x02, 0x00, 0x5A}, size), {}));
}
HostileInput reply_of_digests(size_t size) {
  TokenPieces token;
  token.digest_algorithms = many(kShortAlgorithm, size);
  return input_of(reply({}, {}, token.encode()));
}
HostileInput reply_of_open_ends(size_t size) {
  TokenPieces token;
  token.digest_algorithms = many({0x30, 0x80, 0x06, 0x00, 0x00, 0x00}, size);
  return input_of(reply({}, {}, token.encode()));
}

[[nodiscard]] int32_t read_status(HostileInput& input) {
  QEX_TSR_STATUS record;
  return QEX_GetTSR_Status(&record, input.main.data(), length_of(input.main));
}
[[nodiscard]] int32_t take_token(HostileInput& input) {
  uint32_t length = length_of(input.out);
  return QEX_GetTSR_EncodedToken(input.out.data(), &length, input.main.data(), length_of(input.main));
}

[[nodiscard]] int32_t last_errors(HostileInput& input) {
  int32_t all = 0;
  for (size_t n = input.main.size() / sizeof all; n > 0; --n) all |= QEX_GetLastAsnError();
  return all;
}

}  // namespace

std::vector<HostileCase> HostileMessages() {
  // clang-format off
  return {
      {"MD5, at once", octets, at_once<QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final>, QEX_OK},
      {"MD5, octet by octet", octets, by_octets<QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final>, QEX_OK},
      {"SHA1, octet by octet", octets, by_octets<QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final>, QEX_OK},
      {"SHA256, octet by octet", octets, by_octets<QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final>, QEX_OK},
      {"SHA384, octet by octet", octets, by_octets<QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final>, QEX_OK},
      {"SHA512, octet by octet", octets, by_octets<QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final>, QEX_OK},
      {"EncodeTSQ_Ex, full records", octets, encode_requests, QEX_OK},
      {"EncodeTSQ, full records", octets, encode_short_requests, QEX_OK},
      {"DecodeTSQ_Ex, extensions", request_of_extensions, decode_request, QEX_OK},
      {"DecodeTSQ_Ex, header lines", request_behind_lines, decode_request, QEX_OK},
      {"DecodeTSQ_Ex, policy of one long arc", request_of_one_arc, decode_request, QEX_OK},
      {"DecodeTSQ, policy of many arcs", request_of_a_long_policy, decode_short_request, QEX_E_SIZE},
      {"DecodeTSQ, hash in one-octet pieces", request_in_pieces, decode_short_request, QEX_E_SIZE},
      {"UnpackTSR, header lines", reply_of_lines, unpack_http, QEX_OK},
      {"UnpackTSR, short header lines", reply_of_empty_lines, unpack_http, QEX_OK},
      {"UnpackTSR, blanks", reply_of_blanks, unpack_http, QEX_OK},
      {"UnpackTSR, socket frame", reply_in_a_frame, unpack_socket, QEX_OK},
      {"GetTSR_Status, texts of no octets", reply_of_texts, read_status, QEX_OK},
      {"GetTSR_Status, failInfo in pieces", reply_of_failure_bits, read_status, QEX_OK},
      {"GetTSR_EncodedToken, digest algorithms", reply_of_digests, take_token, QEX_OK},
      {"GetTSR_EncodedToken, indefinite lengths", reply_of_open_ends, take_token, QEX_OK},
      {"GetLastAsnError, call after call", octets, last_errors, 0},
  };
  // clang-format on
}

}  // namespace qex::bench
