// The question to a worker about one message, and its answer.
#pragma once

#include <cstdint>
#include <string>

#include "tool/base/bytes.h"
#include "tool/message/facts.h"

namespace qex::tool {

// How to rewrite a token.
enum class Rewriting : uint8_t { None, DropAttrCerts, IdData };

struct Job {
  std::string name;  // how failures name the message
  Bytes message;     // request, reply, token, certificate or attribute certificate
  // Further results to include.
  bool verify = false;    // the signature, by both readers
  bool describe = false;  // for people
  bool asn1 = false;      // the printed message
  bool takeTac = false;   // the time attribute certificate of a token, and whether it belongs
  Bytes tac = {};         // the certificate to match; empty: the token's own
  Bytes request = {};     // the request that a token is said to answer, to be read with it; empty: none
  Rewriting rewriting = Rewriting::None;
  // How.
  std::string ess = "auto";  // which signing-certificate attribute counts: auto, v1, v2
  bool libraryOnly = false;  // the strict reader is left out
  bool allowWeak = false;
};

struct Answer {
  Facts facts;
  std::string libraryMessages;  // the library's output to standard error
};

}  // namespace qex::tool
