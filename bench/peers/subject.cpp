// A subject whose name is a number is that many generated octets; any other is a file with its parts.
#include "bench/peers/subject.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qex::bench {
namespace {

Octets read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be read");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Octets from_hex(const std::string& text) {
  Octets octets;
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    octets.push_back(uint8_t(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return octets;
}

// A line of the file is the name of a part, a blank and its octets in hexadecimal.
std::map<std::string, Octets> read_parts(const std::string& path) {
  std::map<std::string, Octets> parts;
  std::ifstream file(path);
  for (std::string name, hex; file >> name >> hex;) parts[name] = from_hex(hex);
  return parts;
}

struct Element {
  std::span<const uint8_t> content;
  std::span<const uint8_t> rest;  // after the element
};

[[nodiscard]] std::optional<Element> first_element(std::span<const uint8_t> data) {
  if (data.size() < 2) return std::nullopt;
  size_t length = data[1];
  size_t head = 2;
  if (length >= 0x80) {
    const size_t count = length & 0x7F;
    if (count > 4 || data.size() < 2 + count) return std::nullopt;
    length = 0;
    for (; head < 2 + count; ++head) length = length << 8 | data[head];
  }
  if (length > data.size() - head) return std::nullopt;
  return Element{data.subspan(head, length), data.subspan(head + length)};
}

}  // namespace

Subject ReadSubject(const std::string& folder, const Row& row) {
  const std::string& name = row.subject;
  if (name.find_first_not_of("0123456789") != std::string::npos) {
    return {read_file(folder + "/" + name), read_parts(folder + "/" + name + ".parts")};
  }
  Subject subject;
  subject.octets.resize(std::stoul(name));
  uint32_t state = 1;
  for (uint8_t& octet : subject.octets) {
    state = state * 1664525 + 1013904223;
    octet = uint8_t(state >> 24);
  }
  return subject;
}

Subject Damaged(const Subject& subject) {
  Subject damaged = subject;
  damaged.octets.back() ^= 1;
  for (auto& [name, octets] : damaged.parts) {
    if (name == "signature" || name == "s") octets.back() ^= 1;
  }
  return damaged;
}

std::optional<Octets> ImprintOf(std::span<const uint8_t> info) {
  const auto fields = first_element(info);
  if (!fields) return std::nullopt;
  const auto version = first_element(fields->content);
  if (!version) return std::nullopt;
  const auto policy = first_element(version->rest);
  if (!policy) return std::nullopt;
  const auto imprint = first_element(policy->rest);
  if (!imprint) return std::nullopt;
  const auto algorithm = first_element(imprint->content);
  if (!algorithm) return std::nullopt;
  const auto hashed = first_element(algorithm->rest);
  if (!hashed) return std::nullopt;
  return Octets(hashed->content.begin(), hashed->content.end());
}

}  // namespace qex::bench
