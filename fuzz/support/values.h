// Decoded values, compared by the descriptors of their types, and the checks that hold for every
// type of the model.
#pragma once

#include "asn1/codec.h"
#include "fuzz/support/harness.h"

namespace qex::fuzz {

// A chain of blocks for reading that holds `in`, cut at places which `seed` decides; each block is
// of exact size, and some are empty.
class Chain {
 public:
  Chain(View in, uint64_t seed);
  ~Chain();
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;
  ExpBuf* front() const { return front_; }

 private:
  ExpBuf* front_ = nullptr;
};

// EqualValues compares two values of a type member by member. Values of open types are compared by their
// registration and their encodings.
[[nodiscard]] bool EqualValues(const Type& t, const void* a, const void* b);

// CheckType decodes `octets` as a value of `t` and checks the rules that hold for every type:
// - a chain of blocks decodes as one block does: code, octets read, value;
// - well-formed input is read to its end, and a value cut short does not decode;
// - a decoded value is encoded in definite lengths, the same whatever the block size; the encoding decodes to
//   an equal value and is encoded to the same octets;
// - nothing writes to the input, and printing ends.
void CheckType(const Type& t, View octets);

}  // namespace qex::fuzz
