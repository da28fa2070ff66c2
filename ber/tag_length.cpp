// Identifier and length octets, end-of-contents, and the way out of a decoder. Clauses are those of X.690.
//
// Read errors are tested once after the octets of an item have been read: at the end of the
// data ExpBufGetByte returns 0 and sets a flag that stays, so no test between them is needed.
#include "ber/tag_length.h"

#include "ber/error_hook.h"

namespace qex {

namespace {

constexpr uint32_t kHighTagNumber = 0x1F;  // the low five bits that announce further octets (8.1.2.4.1)
constexpr uint32_t kMoreTagOctets = 0x80;  // in a further one: it is not the last (8.1.2.4.2)
constexpr uint32_t kLongForm = 0x80;       // the other bits count the octets of the length (8.1.3.5)
constexpr uint32_t kIndefinite = 0x80;     // of these none: the indefinite form (8.1.3.6)
constexpr uint32_t kMostLengthOctets = 4;

// From here on a length is written in four octets, although three hold up to 16777215.
constexpr AsnLen kFirstFourOctetLength = 16777126;

// further_tag_octets reads the identifier octets after a first one that announces them: at
// most three, kept as they are, the continuation bit included.
//
// Tags are compared as octets, and no type of the modules has a number above 30. So a number that leads with
// zeros (8.1.2.4.2 c) or that one octet would hold (8.1.2.2) is not refused here: it matches no type.
AsnTag further_tag_octets(ExpBuf** b, AsnLen* bytes) {
  AsnTag tag = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    const uint32_t octet = ExpBufGetByte(b);
    *bytes += 1;
    tag |= octet << shift;
    if ((octet & kMoreTagOctets) == 0) break;
  }
  return tag;
}

}  // namespace

void AsnRaise(AsnJmpEnv& /*env*/, AsnInt code) {
  throw AsnJump{code};
}

void AsnFail(AsnJmpEnv& env, AsnInt code, const char* text) {
  AsnError(text);
  AsnRaise(env, code);
}

AsnTag BDecLongTag(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  const uint32_t octet = ExpBufGetByte(b);
  *bytes += 1;
  AsnTag tag = octet << 24;
  if ((octet & kHighTagNumber) == kHighTagNumber) tag |= further_tag_octets(b, bytes);
  if ((*b)->readError != 0) AsnFail(env, -26, "BDecTag: ERROR - decoded past the end of data\n");
  return tag;
}

AsnLen BDecLongLen(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  const uint32_t octet = ExpBufGetByte(b);
  if ((*b)->readError != 0) AsnFail(env, -13, "BDecLen: ERROR - decoded past end of data\n");
  *bytes += 1;
  if (octet < kLongForm) return octet;  // 8.1.3.4
  // Also before a primitive value, where 8.1.3.2 forbids it: its decoder, which knows that it is primitive,
  // finds fewer octets than the number of INDEFINITE_LEN.
  if (octet == kIndefinite) return INDEFINITE_LEN;

  // More octets than the length needs are the sender's choice (8.1.3.5, note 2), up to four. That refuses the
  // reserved octet 0xFF too (8.1.3.5 c).
  const uint32_t n = octet & ~kLongForm;
  if (n > kMostLengthOctets) AsnFail(env, -14, "BDecLen: ERROR - length overflow\n");
  *bytes += n;
  AsnLen len = 0;
  for (uint32_t i = 0; i < n; ++i) len = len << 8 | ExpBufGetByte(b);
  if ((*b)->readError != 0) AsnFail(env, -15, "BDecLen: ERROR - decoded past end of data\n");
  return len;
}

// An end of contents is the octets 00 00 and nothing else (8.1.5).
void BDecEoc(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  const uint8_t first = ExpBufGetByte(b);
  const uint8_t second = ExpBufGetByte(b);
  if (first != 0 || second != 0 || (*b)->readError != 0) {
    AsnFail(env, -16, "BDecEoc: ERROR - non zero byte in EOC or end of data reached\n");
  }
  *bytes += 2;
}

void BDecSecondEocOctet(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  if (ExpBufGetByte(b) != 0 || (*b)->readError != 0) {
    AsnFail(env, -28, "ERROR - second octet of EOC not zero\n");
  }
  *bytes += 1;
}

AsnLen BEncDefLen(ExpBuf** b, AsnLen len) {
  if (len < kLongForm) {
    ExpBufPutByteRvs(b, uint8_t(len));
    return 1;
  }
  const AsnLen n = len < 0x100 ? 1 : len < 0x10000 ? 2 : len < kFirstFourOctetLength ? 3 : 4;
  for (AsnLen i = 0; i < n; ++i) ExpBufPutByteRvs(b, uint8_t(len >> 8 * i));
  ExpBufPutByteRvs(b, uint8_t(kLongForm | n));
  return n + 1;
}

AsnLen BEncTag(ExpBuf** b, AsnTag tag) {
  ExpBufPutByteRvs(b, uint8_t(tag >> 24));
  return 1;
}

AsnLen BEncLenAndTag(ExpBuf** b, AsnTag tag, AsnLen n) {
  ExpBuf* block = *b;
  if (n < kLongForm && block->writeError == 0 && block->first - block->blockStart >= 2) {
    *--block->first = uint8_t(n);
    *--block->first = uint8_t(tag >> 24);
    return n + 2;
  }
  n += BEncDefLen(b, n);
  return n + BEncTag(b, tag);
}

}  // namespace qex
