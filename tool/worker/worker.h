// The worker: the process in which the library reads what others made.
//
// The library reads its environment switch once in the life of a process, ends the process when a
// precondition of its arithmetic is broken, and writes to standard error; so every message is read
// in a process of its own, with limits on memory and processor time, whose end harms nobody.
#pragma once

#include <cstdint>
#include <string>

#include "tool/base/bytes.h"
#include "tool/base/failure.h"
#include "tool/base/json.h"

namespace qex::tool {

// The one word on the command line of a worker. It is no command: people never type it.
inline constexpr const char* kWorkerArgument = "--worker-process";

// How a token is written afresh.
enum class Rewriting : uint8_t { None, DropAttrCerts, IdData };

// What the worker is asked about one message.
struct Job {
  std::string name;          // how failures name the message
  Bytes message;             // request, reply, token or certificate
  bool verify = false;       // the signature too, of a reply's token or a token
  Bytes certificate = {};    // the one to verify with; empty: the token's own
  std::string ess = "auto";  // which signing-certificate attribute counts: auto, v1, v2
  bool asn1 = false;         // print it too
  Bytes tac = {};            // the attribute certificate to match; empty: the token's own
  Rewriting rewriting = Rewriting::None;
};

// What it answered.
struct Answer {
  Json facts;                   // see examine.h
  std::string libraryMessages;  // what the library wrote to standard error
};

// Ask has a job done in a worker; throws the worker's Failure, or one of exit status 70 when the
// worker ended before it answered.
Answer Ask(const Job& job);

// A failure crosses the pipe as JSON. ToJson and FailureFrom are the two ways; on the way back it is told
// what the message is called, and what the library wrote about it.
Json ToJson(const Failure& failure);
Failure FailureFrom(const Json& json, const std::string& name, const std::string& messages);

// RunWorker is the worker's side: one job from standard input, one answer to standard output.
int RunWorker();

}  // namespace qex::tool
