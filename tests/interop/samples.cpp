// Reading of the samples and of openssl's text.
#include "tests/interop/samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/files.h"
#include "tests/support/octets.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {
namespace {

bool is_hex_dump(const std::string& line) {
  return line.size() > 11 && line.compare(0, 4, "    ") == 0 && line.compare(8, 3, " - ") == 0;
}

// A row is "    0010 - 11 22 ... 33-44 ...   characters": sixteen cells of three columns.
Octets hex_dump_row(const std::string& line) {
  std::string cells = line.substr(11, 48);
  std::replace(cells.begin(), cells.end(), '-', ' ');
  return FromHex(cells);
}

}  // namespace

std::string SamplePath(const std::string& name) {
  return QEX_SAMPLES "/" + name;
}

Octets SampleFile(const std::string& name) {
  Octets octets = ReadFile(SamplePath(name));
  EXPECT_FALSE(octets.empty()) << name << " is missing";
  return octets;
}

const std::string& Sample::operator[](const std::string& word) const {
  static const std::string kNothing;
  const auto found = facts.find(word);
  EXPECT_NE(found, facts.end()) << name << " has no " << word;
  return found == facts.end() ? kNothing : found->second;
}

std::vector<Sample> Samples(const std::string& list, size_t at_least) {
  std::vector<Sample> samples;
  std::ifstream file(SamplePath(list));
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    Sample sample;
    words >> sample.name;
    for (std::string word; words >> word;) {
      const size_t equals = word.find('=');
      sample.facts[word.substr(0, equals)] = word.substr(equals + 1);
    }
    samples.push_back(std::move(sample));
  }
  EXPECT_GE(samples.size(), at_least) << list << ": run through ctest, which makes the samples first";
  return samples;
}

PrintedText::PrintedText(const std::string& path) : path_(path) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (is_hex_dump(line)) {
      octets_ = octets_ + hex_dump_row(line);
      continue;
    }
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string value = colon + 2 <= line.size() ? line.substr(colon + 2) : "";
    if (value == "unspecified") value.clear();
    values_[line.substr(0, colon)] = value;
  }
}

const std::string& PrintedText::value(const std::string& label) const {
  static const std::string kNothing;
  const auto found = values_.find(label);
  EXPECT_NE(found, values_.end()) << path_ << " has no " << label;
  return found == values_.end() ? kNothing : found->second;
}

std::string HashIdentifier(const std::string& name) {
  static const std::map<std::string, std::string> identifiers = {
      {"md5", kMd5}, {"sha1", kSha1}, {"sha256", kSha256}, {"sha384", kSha384}, {"sha512", kSha512}};
  const auto found = identifiers.find(name);
  return found == identifiers.end() ? "" : found->second;
}

Octets IntegerContents(const std::string& text) {
  if (text.empty()) return {};
  EXPECT_EQ(text.compare(0, 2, "0x"), 0) << text;
  Octets contents = FromHex(text.substr(2));
  if (contents[0] >= 0x80) contents.insert(contents.begin(), uint8_t{0});
  return contents;
}

uint64_t Number(const std::string& text) {
  return text.empty() ? 0 : std::strtoull(text.c_str(), nullptr, 16);
}

bool SwitchIsSet() {
  const char* const value = std::getenv("QEX_VERIFY_ESSCERTIDV2");
  return value != nullptr && std::string(value) == "1";
}

Octets TokenOf(const Octets& reply) {
  uint32_t length = 0;
  EXPECT_EQ(QEX_GetTSR_EncodedToken(nullptr, &length, reply.data(), uint32_t(reply.size())), QEX_E_SIZE);
  Octets token(length);
  EXPECT_EQ(QEX_GetTSR_EncodedToken(token.data(), &length, reply.data(), uint32_t(reply.size())), QEX_OK);
  token.resize(length);
  return token;
}

}  // namespace qex::test
