// The comparison with other libraries: rows, and the ways in which libqex and its peers do the job of a row.
//
// A row is a job on a subject. Every library has a table of ways, one for each job that it can do. The loop
// (measure.h) compares the results of all ways of a row before it measures any of them.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace qex::bench {

using Octets = std::vector<uint8_t>;

// The result of each job is what its comment says; all ways have the same.
enum class Job {
  Md5,              // the digest of the subject; so are the next four
  Sha1,             //
  Sha256,           //
  Sha384,           //
  Sha512,           //
  VerifyToken,      // nothing; a damaged subject is refused
  DecodeReply,      // the token of the reply
  DecodeToken,      // the imprint of the token
  ReadInfo,         // policy, serial number, time and imprint of the token
  ReadCertificate,  // the signer's certificate
  EncodeToken,      // the token of the reply, encoded again
  BuildRequest,     // the request with the imprint and the nonce of the subject
  DecodeRequest,    // imprint and nonce
};

// What a job works on. The parts are those of a signature or of a request, by name, as numbers without
// leading zeros: for ways that start from them, and not from a message.
struct Subject {
  Octets octets;
  std::map<std::string, Octets> parts;
};

// Whether a way does the whole job. One that does a part of it, as the signature of a token alone, has no
// result, and it does not count for the ratio.
enum class Share { Whole, Part };

// A way does the job on a subject and returns whether it succeeded. With a place for the result it leaves it
// there; without one, as it is measured, it takes no step that only the result needs.
struct Way {
  Job job;
  const char* does;  // the calls, for the report
  bool (*run)(const Subject& subject, Octets* result);
  Share share = Share::Whole;
};

struct Maker {
  std::string name;
  std::string version;
  std::span<const Way> ways;
};

// Subjects are named by a number, which is as many octets of data, or by the file of a message.
struct Row {
  std::string group;
  std::string name;
  Job job;
  std::string subject;
  int threads = 1;  // that do the job at the same time
};

std::vector<Row> DigestRows();
std::vector<Row> TokenRows();
std::vector<Row> RequestRows();
std::vector<Row> ScalingRows();

}  // namespace qex::bench
