// The primitive types and their routines: content decoder, full decoder, content encoder,
// full encoder, release, print (X.690 8.2, 8.3, 8.6 to 8.8, 8.19).
//
// Content decoders take the tag and the length that have been read, and add the octets of
// the content to `*bytes`. Full decoders read tag and length themselves and raise -40 on
// another tag. Encoders write backward and return the number of octets written. Octets of a
// decoded value are allocated with AsnNewOctets: they belong to the arena of the recovery point, or
// to the value, whose Free routine then releases them. An announced length beyond the data left ends as
// running out of data does, before anything is allocated for it. An allocation that fails raises
// kOutOfMemoryCode without a text. Routines without a caller in the library, such as those of UAsnInt, are
// part of what this header offers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "ber/tag_length.h"

namespace qex {

using AsnBool = uint8_t;  // 1 for every non-zero content octet
using UAsnInt = uint32_t;

// Octets, with a zero octet after them that is not counted.
struct AsnOcts {
  uint32_t count;
  uint8_t* octs;
};

// Bits; the first one is the high bit of the first octet.
struct AsnBits {
  uint32_t count;  // in bits
  uint8_t* octs;
};

// An object identifier, kept as its contents octets.
struct AsnOid {
  uint32_t count;
  const uint8_t* octs;
};

struct AsnNull {
  uint8_t unused;
};

// BitOctets returns the number of octets that hold `bits` bits.
[[nodiscard]] constexpr size_t BitOctets(uint32_t bits) {
  return bits / 8 + (bits % 8 != 0 ? 1u : 0u);
}

// BOOLEAN. A length other than 1 raises -5 (X.690 8.2.1), data that end early -6. Every octet but 0 is true
// (8.2.2); true is written as 0xFF.
void BDecAsnBoolContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnBool* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnBool(ExpBuf** b, AsnBool* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnBoolContent(ExpBuf** b, const AsnBool* v);
AsnLen BEncAsnBool(ExpBuf** b, const AsnBool* v);
void FreeAsnBool(AsnBool* v);
void PrintAsnBool(FILE* f, const AsnBool* v, unsigned indent);

// INTEGER of 32 bits. More than four octets raise -7, data that end early -8. A form longer than the
// shortest (X.690 8.3.2) is accepted: its value is not in doubt.
// Deliberate: a content of length 0, which 8.3.1 forbids, still reads one octet, which is not counted.
void BDecAsnIntContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnInt* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnInt(ExpBuf** b, AsnInt* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnIntContent(ExpBuf** b, const AsnInt* v);
AsnLen BEncAsnInt(ExpBuf** b, const AsnInt* v);
void FreeAsnInt(AsnInt* v);
void PrintAsnInt(FILE* f, const AsnInt* v, unsigned indent);

// INTEGER of 32 bits, never negative. More than five octets raise -9, a first octet with bit 7
// set -10, five octets with a first one other than 0 raise -11, data that end early -12.
void BDecUAsnIntContent(ExpBuf** b, AsnTag tag, AsnLen len, UAsnInt* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecUAsnInt(ExpBuf** b, UAsnInt* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncUAsnIntContent(ExpBuf** b, const UAsnInt* v);
AsnLen BEncUAsnInt(ExpBuf** b, const UAsnInt* v);
void FreeUAsnInt(UAsnInt* v);
void PrintUAsnInt(FILE* f, const UAsnInt* v, unsigned indent);

// BIT STRING, primitive or constructed by the constructed bit of `tag` (ber/constructed.h).
// Data that end early, a content of length 0 and a bit count beyond 32 bits raise -4. The number of
// unused bits is not held to seven (X.690 8.6.2.2): more of them shorten the value further, and where
// they are more than the octets hold it has 0 bits. The encoder writes BitOctets(count) octets.
void BDecAsnBitsContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnBits* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnBits(ExpBuf** b, AsnBits* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnBitsContent(ExpBuf** b, const AsnBits* v);
AsnLen BEncAsnBits(ExpBuf** b, const AsnBits* v);
void FreeAsnBits(AsnBits* v);
void PrintAsnBits(FILE* f, const AsnBits* v, unsigned indent);

// OCTET STRING, the base of every character string and time type and of large INTEGERs.
// BDecOctetString is the content decoder: the constructed bit of `tag` chooses the form
// (ber/constructed.h). Data that end early raise -20 in the primitive form. A character string
// is an OCTET STRING under another tag (X.690 8.23); its characters are not checked.
void BDecOctetString(ExpBuf** b, AsnTag tag, AsnLen len, AsnOcts* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnOcts(ExpBuf** b, AsnOcts* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnOctsContent(ExpBuf** b, const AsnOcts* v);
AsnLen BEncAsnOcts(ExpBuf** b, const AsnOcts* v);
void FreeAsnOcts(AsnOcts* v);
void PrintAsnOcts(FILE* f, const AsnOcts* v, unsigned indent);

// NULL. A length other than 0 raises -17 (X.690 8.8.2). Given a null pointer the full encoder writes nothing
// and returns 0.
void BDecAsnNullContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnNull* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnNull(ExpBuf** b, AsnNull* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnNullContent(ExpBuf** b, const AsnNull* v);
AsnLen BEncAsnNull(ExpBuf** b, const AsnNull* v);
void FreeAsnNull(AsnNull* v);
void PrintAsnNull(FILE* f, const AsnNull* v, unsigned indent);

// OBJECT IDENTIFIER. Data that end early raise -21; the arcs are not checked. Print takes
// a last sub-identifier that is cut off as far as it goes; without octets it prints "{}".
void BDecAsnOidContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnOid* v, AsnLen* bytes, AsnJmpEnv& env);
void BDecAsnOid(ExpBuf** b, AsnOid* v, AsnLen* bytes, AsnJmpEnv& env);
AsnLen BEncAsnOidContent(ExpBuf** b, const AsnOid* v);
AsnLen BEncAsnOid(ExpBuf** b, const AsnOid* v);
void FreeAsnOid(AsnOid* v);
void PrintAsnOid(FILE* f, const AsnOid* v, unsigned indent);

// Equality: same count and same octets; of bit strings over their whole octets.
[[nodiscard]] bool AsnOctsEqual(const AsnOcts& a, const AsnOcts& b);
[[nodiscard]] bool AsnBitsEqual(const AsnBits& a, const AsnBits& b);
[[nodiscard]] bool AsnOidEqual(const AsnOid& a, const AsnOid& b);

// Bit `i` of a BIT STRING; beyond the bit count setting does nothing and testing is false.
void AsnBitsSet(AsnBits* v, uint32_t i);
void AsnBitsClear(AsnBits* v, uint32_t i);
[[nodiscard]] bool AsnBitsTest(const AsnBits* v, uint32_t i);

// An object identifier as a linked list of its arcs. An arc beyond 32 bits shows its low 32.
struct AsnArc {
  AsnArc* next;
  uint32_t number;
};

// AsnOidToArcs returns the arcs of `oid` as a new list, null when there are none or an allocation fails.
[[nodiscard]] AsnArc* AsnOidToArcs(const AsnOid& oid);
// AsnArcsToOid stores the contents octets of `arcs` in `*oid`; false when there are fewer than
// two arcs or an allocation fails.
[[nodiscard]] bool AsnArcsToOid(const AsnArc* arcs, AsnOid* oid);
// AsnArcsEncodedSize returns the number of contents octets of `arcs`, 0 for fewer than two.
[[nodiscard]] size_t AsnArcsEncodedSize(const AsnArc* arcs);
void AsnFreeArcs(AsnArc* arcs);

}  // namespace qex
