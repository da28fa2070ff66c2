// Every export in use: calls with samples, as values that a test can run as often and wherever it likes.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/der.h"
#include "tests/support/readers.h"

namespace qex::test {

// ExportCall is one call of an export (of a digest's three). It owns its input, also in a copy; its output, a
// record or the length and the octets of an output, goes to the `memory` that it is given.
struct ExportCall {
  std::vector<std::string> exports;
  std::string sample;
  Octets memory;  // contents before the call
  std::function<int32_t(uint8_t* memory)> call;

  const std::string& name() const { return exports.front(); }
};

Ran RunCall(const ExportCall& call);

// ExportCalls returns calls of every export: requests in all transport modes, replies, tokens under RSA and
// DSA keys with attributes of either version, attribute certificates in and outside of them, DER and other
// BER. They contain no constructed BIT STRING, and making them neither calls an export nor builds the tables.
std::vector<ExportCall> ExportCalls();

// PublishedExports returns the names that the library's version script lists.
std::set<std::string> PublishedExports();

}  // namespace qex::test
