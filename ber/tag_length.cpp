// Identifier and length octets, end-of-contents, and the way out of a decoder.
//
// Read errors are tested once after the octets of an item have been read: at the end of the
// data ExpBufGetByte returns 0 and sets a flag that stays, so no test between them is needed.
#include "ber/tag_length.h"

#include "ber/memory.h"

namespace qex {

namespace {

constexpr uint32_t kHighTagNumber = 0x1F;  // the low five bits that announce further octets

// From here on a length is written in four octets, although three hold up to 16777215.
constexpr AsnLen kFirstFourOctetLength = 16777126;

// further_tag_octets reads the identifier octets after a first one that announces them: at
// most three, kept as they stand, the continuation bit included.
AsnTag further_tag_octets(ExpBuf** b, AsnLen* bytes) {
  AsnTag tag = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    const uint32_t octet = ExpBufGetByte(b);
    *bytes += 1;
    tag |= octet << shift;
    if ((octet & 0x80) == 0) break;
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

AsnTag BDecTag(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  const uint32_t octet = ExpBufGetByte(b);
  *bytes += 1;
  AsnTag tag = octet << 24;
  if ((octet & kHighTagNumber) == kHighTagNumber) tag |= further_tag_octets(b, bytes);
  if ((*b)->readError != 0) AsnFail(env, -26, "BDecTag: ERROR - decoded past the end of data\n");
  return tag;
}

AsnLen BDecLen(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  const uint32_t octet = ExpBufGetByte(b);
  if ((*b)->readError != 0) AsnFail(env, -13, "BDecLen: ERROR - decoded past end of data\n");
  *bytes += 1;
  if (octet < 0x80) return octet;
  if (octet == 0x80) return INDEFINITE_LEN;

  const uint32_t n = octet & 0x7F;
  if (n > 4) AsnFail(env, -14, "BDecLen: ERROR - length overflow\n");
  *bytes += n;
  AsnLen len = 0;
  for (uint32_t i = 0; i < n; ++i) len = len << 8 | ExpBufGetByte(b);
  if ((*b)->readError != 0) AsnFail(env, -15, "BDecLen: ERROR - decoded past end of data\n");
  return len;
}

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
  if (len < 0x80) {
    ExpBufPutByteRvs(b, static_cast<uint8_t>(len));
    return 1;
  }
  const AsnLen n = len < 0x100 ? 1 : len < 0x10000 ? 2 : len < kFirstFourOctetLength ? 3 : 4;
  for (AsnLen i = 0; i < n; ++i) ExpBufPutByteRvs(b, static_cast<uint8_t>(len >> 8 * i));
  ExpBufPutByteRvs(b, static_cast<uint8_t>(0x80 | n));
  return n + 1;
}

AsnLen BEncTag(ExpBuf** b, AsnTag tag) {
  ExpBufPutByteRvs(b, static_cast<uint8_t>(tag >> 24));
  return 1;
}

AsnLen BEncLenAndTag(ExpBuf** b, AsnTag tag, AsnLen n) {
  n += BEncDefLen(b, n);
  return n + BEncTag(b, tag);
}

}  // namespace qex
