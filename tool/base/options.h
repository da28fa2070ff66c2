// The options that every command takes.
#pragma once

#include <string>

namespace qex::tool {

struct Options {
  bool json = false;
  bool quiet = false;    // nothing but errors and data
  bool progress = true;  // false in a process that is one of several at work
  bool verbose = false;  // also print the library's messages
  std::string color = "auto";
  bool allowWeak = false;         // SHA-1 and MD5
  bool force = false;             // replace older files
  bool allowLowExponent = false;  // RSA keys with a public exponent below 65537
};

}  // namespace qex::tool
