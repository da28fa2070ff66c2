// The exports that decode, by their input: each accepts any input and writes only to its memory.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/der.h"

namespace qex::test {

// Ran is the outcome of a call: its code, and all memory that it may have written to.
struct Ran {
  int32_t code;
  Octets memory;
  bool operator==(const Ran&) const = default;
};

// Reader is one export, with everything but the input.
struct Reader {
  std::string name;
  std::string detail;  // distinguishes two readers of one export
  int32_t refusal;     // the code of an input that does not decode
  Octets memory;       // contents before the call: a record, or the length and the octets of an output
  std::function<int32_t(const uint8_t* data, uint32_t length, uint8_t* memory)> read;

  Ran operator()(const Octets& input) const {
    Ran ran{0, memory};
    ran.code = read(input.data(), uint32_t(input.size()), ran.memory.data());
    return ran;
  }
};
using Readers = std::vector<Reader>;

// An output has this much room.
inline constexpr uint32_t kReaderRoom = 8192;

// The length comes before the octets.
Octets OutputMemory(uint32_t capacity = kReaderRoom);

Readers RequestReaders();
Readers ReplyReaders();
// The verification is there without a certificate of the caller and with `certificate`; the check of an
// attribute certificate is for `tac`.
Readers TokenReaders(const Octets& certificate, const Octets& tac);
// The verification of `token` under the certificate that is read.
Readers CertificateReaders(const Octets& token);
Readers AttributeCertificateReaders();

}  // namespace qex::test
