// Identifier octets, length octets, end-of-contents (X.690 8.1), and how a decoder is left.
//
// A decoding error is a text to AsnError and a jump with a negative code to the recovery
// point to which the AsnJmpEnv belongs. The jump is a C++ exception, thrown by AsnRaise and
// caught by AsnCatch, and by nothing else.
#pragma once

#include <concepts>
#include <cstdint>

#include "ber/buffer.h"

namespace qex {

// Identifier octets, left-aligned: SEQUENCE is 0x30000000.
using AsnTag = uint32_t;
using AsnLen = uint32_t;
using AsnInt = int32_t;

inline constexpr AsnLen INDEFINITE_LEN = 0xFFFFFFFF;
inline constexpr AsnTag kConstructedBit = 0x20000000;

class Arena;

// The recovery point in force, as every decoder receives it. It also says where the parts of the value are
// allocated (see AsnNew), and counts how deep open types nest, which is bounded (see BDecAny).
struct AsnJmpEnv {
  uint32_t openTypeDepth = 0;
  Arena* arena = nullptr;  // null: from the heap
};

// Raised without a text when an allocation fails inside a decoder.
inline constexpr AsnInt kOutOfMemoryCode = -27;

// The exception that leaves a decoder.
struct AsnJump {
  AsnInt code;
};

// AsnRaise leaves the decoder with `code`. It frees nothing: the code that set the recovery point releases
// the parts decoded so far.
[[noreturn, gnu::cold]] void AsnRaise(AsnJmpEnv& env, AsnInt code);

// AsnFail reports `text`, then raises `code`.
[[noreturn, gnu::cold]] void AsnFail(AsnJmpEnv& env, AsnInt code, const char* text);

// AsnCatch runs `decode` under a recovery point of its own and returns the code of the jump that left it, 0
// when none did. Decoders allocate from `arena`, if there is one.
template <std::invocable<AsnJmpEnv&> F>
[[nodiscard]] AsnInt AsnCatch(F decode, Arena* arena = nullptr) {
  AsnJmpEnv env{.arena = arena};
  try {
    decode(env);
    return 0;
  } catch (const AsnJump& jump) {
    return jump.code;
  }
}

// BDecTag reads identifier octets (X.690 8.1.2), at most four of them, and adds their number to `*bytes`.
// Deliberate: a fourth octet that announces another one is accepted as it is; what
// follows is read as the length. Running out of data raises -26.
AsnTag BDecLongTag(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env);  // in any form
inline AsnTag BDecTag(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  constexpr uint32_t kFurtherOctets = 0x1F;
  const uint32_t octet = ExpBufIsAhead(*b) ? *(*b)->cursor : kFurtherOctets;
  if ((octet & kFurtherOctets) == kFurtherOctets) return BDecLongTag(b, bytes, env);
  ++(*b)->cursor;
  *bytes += 1;
  return octet << 24;
}

// BDecLen reads length octets (X.690 8.1.3), adds their number to `*bytes` and returns the length, or
// INDEFINITE_LEN for the single octet 0x80. Running out of data raises -13 (first octet) or
// -15 (long form), a long form of more than four octets -14. A length beyond the data left
// is returned as it is: the content decoders compare it.
AsnLen BDecLongLen(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env);  // in any form
inline AsnLen BDecLen(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  constexpr uint32_t kLongForm = 0x80;
  const uint32_t octet = ExpBufIsAhead(*b) ? *(*b)->cursor : kLongForm;
  if (octet >= kLongForm) return BDecLongLen(b, bytes, env);
  ++(*b)->cursor;
  *bytes += 1;
  return octet;
}

// BDecEoc reads the two zero octets that end an indefinite length (X.690 8.1.5); anything else raises -16.
void BDecEoc(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env);

// BDecSecondEocOctet reads the second octet of an end-of-contents marker whose first one has
// been read as tag 0; anything but a zero raises -28.
void BDecSecondEocOctet(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env);

// BEncDefLen writes `len` before the data, in the definite form (X.690 8.1.3.3), and returns the
// number of octets written.
// Deliberate: the four-octet form starts at 16777126, 90 below the largest three-octet value.
AsnLen BEncDefLen(ExpBuf** b, AsnLen len);

// BEncTag writes the identifier octet of a tag whose number is below 31 and returns 1.
AsnLen BEncTag(ExpBuf** b, AsnTag tag);

// BEncLenAndTag puts length and identifier octet before a content of `n` octets and returns
// the number of octets of the whole.
AsnLen BEncLenAndTag(ExpBuf** b, AsnTag tag, AsnLen n);

}  // namespace qex
