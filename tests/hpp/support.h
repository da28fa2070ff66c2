// What the tests of qex.hpp share: files of tests/data, hexadecimal text, and the other units.
#pragma once

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "qex.hpp"

namespace hpp_test {

// Codes of the samples in tests/data: what tests/data/make_samples.sh stamps, and its policies.
inline constexpr std::string_view kStamped = "the data to be stamped\n";
inline constexpr std::string_view kPolicy = "1.3.6.1.4.1.32473.1";
inline constexpr std::string_view kOtherPolicy = "1.3.6.1.4.1.32473.2";
// sha256sum and `openssl ts -query -text` of request_sha512_cert.der.
inline constexpr std::string_view kSha256OfStamped =
    "36c75d56467d5c5f21d80c7320587fc5dc235c331e1003cf168c93abb2c7cb97";
inline constexpr std::string_view kSha512OfStamped =
    "9cf7350b41e5eff279796328a295bfa91178d012e4cf2b58ac628919ab1dd018"
    "cdc30c9a3a6f951cb8284d51b80bf88fcd31408d32226c2881558f63edf8e5ff";

inline std::string read_text(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// sample returns a file of tests/data; an absent one is empty, which no test expects.
inline qex::bytes sample(const std::string& name) {
  const std::string text = read_text(QEX_TEST_DATA "/" + name);
  return {text.begin(), text.end()};
}

inline std::string hex(qex::bytes_in octets) {
  std::string text;
  for (const std::uint8_t* octet = octets.data(); octet != octets.data() + octets.size(); ++octet) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", unsigned{*octet});
    text += pair;
  }
  return text;
}

inline qex::bytes from_hex(std::string_view text) {
  qex::bytes octets;
  for (std::size_t at = 0; at < text.size(); at += 2) {
    octets.push_back(static_cast<std::uint8_t>(std::stoul(std::string(text.substr(at, 2)), nullptr, 16)));
  }
  return octets;
}

// other_unit.cpp and unit_without_exceptions.cpp
qex::result<qex::tst_info> content_of_reply(qex::bytes_in reply);
qex::result<qex::tst_info> content_without_exceptions(qex::bytes_in reply, qex::bytes_in certificate);
qex::sha256 hash_begun_elsewhere(std::string_view data);

}  // namespace hpp_test
