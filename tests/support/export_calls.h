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

// ExportCall is one call of an export (of a digest's three). What it reads is its own, also in a copy; what
// it may write to, a record or the length and the octets of an output, is the `memory` that it is given.
struct ExportCall {
  std::vector<std::string> exports;
  std::string sample;
  Octets memory;  // as it stands before the call
  std::function<int32_t(uint8_t* memory)> call;

  const std::string& name() const { return exports.front(); }
};

Ran RunCall(const ExportCall& call);

// ExportCalls returns calls of every export: requests in all transport modes, replies, tokens under RSA and
// DSA keys with attributes of either version, attribute certificates in and beside them, DER and other BER.
// No BIT STRING among them is constructed, and making them neither calls an export nor builds the tables.
std::vector<ExportCall> ExportCalls();

// PublishedExports returns the names that the library's version script lists.
std::set<std::string> PublishedExports();

}  // namespace qex::test
