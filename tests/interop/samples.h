// The samples that make_samples.py made with openssl, and openssl's printouts of them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/der.h"

namespace qex::test {

// A file of the samples: SamplePath("ca.pem").
std::string SamplePath(const std::string& name);
Octets SampleFile(const std::string& name);

// Sample is a line of a list: a name, and the facts known from making the sample.
struct Sample {
  std::string name;
  std::map<std::string, std::string> facts;

  const std::string& operator[](const std::string& word) const;
  bool is(const std::string& word, const std::string& value) const { return (*this)[word] == value; }
  Octets file(const std::string& ending) const { return SampleFile(name + ending); }
};

// Samples reads a list. A list that is missing or shorter than `at_least` is a failure of the test: a missing
// sample never passes silently.
std::vector<Sample> Samples(const std::string& list, size_t at_least);

// PrintedText is the output of `openssl ts -text`: values by the label before the colon.
class PrintedText {
 public:
  // Reads `path`. The word "unspecified" reads as an empty value.
  explicit PrintedText(const std::string& path);

  // value returns the text after `label`, and fails the test when the label is not there.
  const std::string& value(const std::string& label) const;
  // octets returns the hexadecimal dump below "Message data".
  const Octets& octets() const { return octets_; }

 private:
  std::string path_;
  std::map<std::string, std::string> values_;
  Octets octets_;
};

// The dotted identifier of a hash by the name that openssl prints; empty for another name.
std::string HashIdentifier(const std::string& name);

// Contents octets of the INTEGER that openssl prints as 0x...; none for an empty text.
Octets IntegerContents(const std::string& text);

// Number reads 0x... as a number, 0 for an empty text.
uint64_t Number(const std::string& text);

// SwitchIsSet returns whether this process uses the second version of the signing-certificate attribute.
bool SwitchIsSet();

// TokenOf returns the token of a reply, and fails the test when there is none.
Octets TokenOf(const Octets& reply);

}  // namespace qex::test
