// Inputs built to hurt, for every export: the time benchmark doubles them, and the peak memory program
// measures them.
//
// Each has about the requested length, nearly all of it the part that hurts, so that cost per octet can be
// compared over lengths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/der.h"

namespace qex::bench {

using test::Octets;

// The input of a call, and room for its output, so that calls allocate nothing themselves.
struct HostileInput {
  Octets main;
  Octets other;  // the second input of an export that takes two
  Octets out;    // as long as `main`, and some

  size_t size() const { return main.size() + other.size(); }
};

struct HostileCase {
  std::string name;  // the export, then the input
  HostileInput (*build)(size_t size);
  int32_t (*call)(HostileInput& input);
  int32_t code;  // the expected code, which proves that the input was processed to the end
};

// HostileCases returns all of them but the keys, family by family.
std::vector<HostileCase> HostileCases();
std::vector<HostileCase> HostileMessages();      // digests, requests, replies
std::vector<HostileCase> HostileTokens();        // tokens read, verified and rewritten
std::vector<HostileCase> HostileCertificates();  // attribute certificates, alone and in tokens

// HostileKeys are of one length, and the work with them is not linear in it.
std::vector<HostileCase> HostileKeys();

}  // namespace qex::bench
