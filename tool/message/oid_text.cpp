// Arcs are numbers of any length, so they are converted digit by digit.
#include "tool/message/oid_text.h"

#include <algorithm>
#include <iterator>

namespace qex::inspect {
namespace {

constexpr size_t kMaxText = 255;

// A natural number as base-128 digits, least significant first, at least one.
using Digits128 = std::vector<uint8_t>;

[[nodiscard]] std::optional<Digits128> read_arc(std::string_view text) {
  const bool digitsOnly = std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
  if (text.empty() || !digitsOnly || (text.size() > 1 && text[0] == '0')) return std::nullopt;
  Digits128 number{0};
  for (const char c : text) {
    unsigned carry = unsigned(c - '0');
    for (uint8_t& digit : number) {
      const unsigned sum = digit * 10u + carry;  // at most 127 * 10 + 127
      digit = uint8_t(sum & 127);
      carry = sum >> 7;
    }
    if (carry != 0) number.push_back(uint8_t(carry));
  }
  return number;
}

// Adds a small number, as the first two arcs share one subidentifier.
void add(Digits128& number, unsigned addend) {
  for (size_t i = 0; addend != 0; ++i) {
    if (i == number.size()) number.push_back(0);
    const unsigned sum = number[i] + addend;
    number[i] = uint8_t(sum & 127);
    addend = sum >> 7;
  }
}

void append_subidentifier(std::vector<uint8_t>& octets, const Digits128& number) {
  for (auto digit = number.rbegin(); digit != number.rend(); ++digit) {
    octets.push_back(uint8_t(*digit | (digit + 1 == number.rend() ? 0 : 0x80)));
  }
}

// Decimal text of big-endian base-128 digits, less `subtrahend`, which is not more than the number.
std::string decimal_text(std::span<const uint8_t> subidentifier, unsigned subtrahend) {
  std::vector<uint8_t> decimal{0};  // least significant first
  for (const uint8_t octet : subidentifier) {
    unsigned carry = octet & 127u;
    for (uint8_t& digit : decimal) {
      const unsigned sum = digit * 128u + carry;
      digit = uint8_t(sum % 10);
      carry = sum / 10;
    }
    for (; carry != 0; carry /= 10) decimal.push_back(uint8_t(carry % 10));
  }
  unsigned borrow = subtrahend;
  for (size_t i = 0; borrow != 0 && i < decimal.size(); ++i) {
    const int difference = decimal[i] - int(borrow % 10);
    borrow = borrow / 10 + (difference < 0 ? 1 : 0);
    decimal[i] = uint8_t(difference < 0 ? difference + 10 : difference);
  }
  while (decimal.size() > 1 && decimal.back() == 0) decimal.pop_back();
  std::string text;
  for (auto digit = decimal.rbegin(); digit != decimal.rend(); ++digit) {
    text += char('0' + *digit);
  }
  return text;
}

struct Known {
  std::string_view dotted;
  const char* name;
};

constexpr Known kKnown[] = {
    {"1.2.840.113549.2.5", "md5"},
    {"1.3.14.3.2.26", "sha1"},
    {"2.16.840.1.101.3.4.2.1", "sha256"},
    {"2.16.840.1.101.3.4.2.2", "sha384"},
    {"2.16.840.1.101.3.4.2.3", "sha512"},
    {"2.16.840.1.101.3.4.2.4", "sha224"},
    {"2.16.840.1.101.3.4.2.5", "sha512-224"},
    {"2.16.840.1.101.3.4.2.6", "sha512-256"},
    {"2.16.840.1.101.3.4.2.7", "sha3-224"},
    {"2.16.840.1.101.3.4.2.8", "sha3-256"},
    {"2.16.840.1.101.3.4.2.9", "sha3-384"},
    {"2.16.840.1.101.3.4.2.10", "sha3-512"},
    {"1.2.840.113549.1.1.1", "rsaEncryption"},
    {"1.2.840.113549.1.1.4", "md5WithRSAEncryption"},
    {"1.2.840.113549.1.1.5", "sha1WithRSAEncryption"},
    {"1.2.840.113549.1.1.10", "rsassaPss"},
    {"1.2.840.113549.1.1.11", "sha256WithRSAEncryption"},
    {"1.2.840.113549.1.1.12", "sha384WithRSAEncryption"},
    {"1.2.840.113549.1.1.13", "sha512WithRSAEncryption"},
    {"1.2.840.10040.4.1", "dsa"},
    {"1.2.840.10040.4.3", "dsa-with-sha1"},
    {"2.16.840.1.101.3.4.3.2", "dsa-with-sha256"},
    {"1.2.840.10045.2.1", "ecPublicKey"},
    {"1.2.840.10045.4.1", "ecdsa-with-SHA1"},
    {"1.2.840.10045.4.3.1", "ecdsa-with-SHA224"},
    {"1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
    {"1.2.840.10045.4.3.3", "ecdsa-with-SHA384"},
    {"1.2.840.10045.4.3.4", "ecdsa-with-SHA512"},
    {"1.3.101.112", "ed25519"},
    {"1.3.101.113", "ed448"},
    {"1.2.840.113549.1.7.1", "data"},
    {"1.2.840.113549.1.7.2", "signedData"},
    {"1.2.840.113549.1.9.16.1.4", "TSTInfo"},
    {"1.2.840.113549.1.9.3", "content-type"},
    {"1.2.840.113549.1.9.4", "message-digest"},
    {"1.2.840.113549.1.9.5", "signing-time"},
    {"1.2.840.113549.1.9.6", "countersignature"},
    {"1.2.840.113549.1.9.52", "algorithm-protection"},
    {"0.9.2342.19200300.100.1.25", "domainComponent"},
    {"1.2.840.113549.1.9.16.2.12", "signing-certificate"},
    {"1.2.840.113549.1.9.16.2.47", "signing-certificate-v2"},
    {"1.2.840.113549.1.9.16.2.14", "time-stamp-token"},
    {"1.2.840.113549.1.9.16.2.15", "signature-policy"},
    {"1.2.840.113549.1.9.16.2.18", "signer-attributes"},
    {"2.5.29.9", "subjectDirectoryAttributes"},
    {"2.5.29.14", "subjectKeyIdentifier"},
    {"2.5.29.15", "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {"2.5.29.17", "subjectAltName"},
    {"2.5.29.18", "issuerAltName"},
    {"2.5.29.19", "basicConstraints"},
    {"2.5.29.31", "cRLDistributionPoints"},
    {"2.5.29.32", "certificatePolicies"},
    {"2.5.29.35", "authorityKeyIdentifier"},
    {"2.5.29.37", "extKeyUsage"},
    {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.4.1.601.10.1", "timing-metrics"},
    {"1.3.6.1.4.1.601.10.4.1", "timing-metrics-attribute"},
    {"1.3.6.1.4.1.601.10.4.2", "timing-policy-attribute"},
};

}  // namespace

std::optional<std::vector<uint8_t>> EncodeOid(std::string_view text) {
  if (text.size() > kMaxText) return std::nullopt;
  std::vector<Digits128> arcs;
  for (;;) {
    const size_t dot = text.find('.');
    std::optional<Digits128> arc = read_arc(text.substr(0, dot));
    if (!arc) return std::nullopt;
    arcs.push_back(std::move(*arc));
    if (dot == std::string_view::npos) break;
    text.remove_prefix(dot + 1);
  }
  if (arcs.size() < 2 || arcs[0].size() > 1 || arcs[0][0] > 2) return std::nullopt;
  const bool secondIsSmall = arcs[1].size() == 1 && arcs[1][0] < 40;
  if (arcs[0][0] < 2 && !secondIsSmall) return std::nullopt;
  add(arcs[1], arcs[0][0] * 40u);
  std::vector<uint8_t> octets;
  for (size_t i = 1; i < arcs.size(); ++i) append_subidentifier(octets, arcs[i]);
  return octets;
}

std::string DecodeOid(std::span<const uint8_t> contents) {
  // Converting takes time in the square of an arc's length, hence the bound.
  if (contents.empty() || contents.size() > kMaxText || (contents.back() & 0x80) != 0) {
    std::string text = "?";
    for (const uint8_t octet : contents.first(std::min(contents.size(), kMaxText))) {
      text += "0123456789abcdef"[octet >> 4];
      text += "0123456789abcdef"[octet & 15];
    }
    return text;
  }
  std::string text;
  while (!contents.empty()) {
    size_t length = 1;
    while ((contents[length - 1] & 0x80) != 0) ++length;
    const auto subidentifier = contents.first(length);
    if (text.empty()) {
      const unsigned first = length > 1 || subidentifier[0] >= 80 ? 2 : subidentifier[0] / 40u;
      text = std::to_string(first) + "." + decimal_text(subidentifier, first * 40);
    } else {
      text += '.';
      text += decimal_text(subidentifier, 0);
    }
    contents = contents.subspan(length);
  }
  return text;
}

const char* OidName(std::string_view dotted) {
  const auto* row = std::ranges::find(kKnown, dotted, &Known::dotted);
  return row == std::end(kKnown) ? nullptr : row->name;
}

std::string NamedOid(const std::string& dotted) {
  const char* name = OidName(dotted);
  return name == nullptr ? dotted : std::string(name) + " (" + dotted + ")";
}

}  // namespace qex::inspect
