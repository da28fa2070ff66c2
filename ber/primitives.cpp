// BOOLEAN, INTEGER and NULL (X.690 8.2, 8.3, 8.8), the types without octets of their own.
#include "ber/primitives.h"

namespace qex {

namespace {

constexpr AsnTag kBoolTag = 0x01000000;
constexpr AsnTag kIntTag = 0x02000000;
constexpr AsnTag kNullTag = 0x05000000;

// put_octets writes the `n` low octets of `value` and returns n.
AsnLen put_octets(ExpBuf** b, uint32_t value, AsnLen n) {
  for (AsnLen i = 0; i < n; ++i) ExpBufPutByteRvs(b, uint8_t(value >> 8 * i));
  return n;
}

// minimal_size is the number of octets that hold `value`, two's complement of 32 bits. The
// first nine bits are never all equal (X.690 8.3.2).
AsnLen minimal_size(uint32_t value) {
  const uint32_t sign = (value & 0x80000000) != 0 ? 0xFFFFFFFF : 0;
  AsnLen n = 4;
  for (uint32_t mask = 0x7F800000; n > 1 && (value & mask) == (sign & mask); mask >>= 8) --n;
  return n;
}

// shift_in reads `n` octets and appends them to those already in `value`.
uint32_t shift_in(ExpBuf** b, uint32_t value, AsnLen n) {
  for (; n != 0; --n) value = value << 8 | ExpBufGetByte(b);
  return value;
}

}  // namespace

void BDecAsnBoolContent(ExpBuf** b, AsnTag /*tag*/, AsnLen len, AsnBool* v, AsnLen* bytes, AsnJmpEnv& env) {
  if (len != 1) AsnFail(env, -5, "BDecAsnBoolContent: ERROR - BOOLEAN length must be 1\n");
  *bytes += 1;
  *v = ExpBufGetByte(b) != 0 ? 1 : 0;
  if ((*b)->readError != 0) AsnFail(env, -6, "BDecAsnBoolContent: ERROR - decoded past end of data\n");
}

void BDecAsnBool(ExpBuf** b, AsnBool* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if (tag != kBoolTag) AsnFail(env, -40, "BDecAsnBool: ERROR - wrong tag on BOOLEAN.\n");
  const AsnLen len = BDecLen(b, bytes, env);
  BDecAsnBoolContent(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnBoolContent(ExpBuf** b, const AsnBool* v) {
  ExpBufPutByteRvs(b, *v != 0 ? 0xFF : 0x00);
  return 1;
}

AsnLen BEncAsnBool(ExpBuf** b, const AsnBool* v) {
  return BEncLenAndTag(b, kBoolTag, BEncAsnBoolContent(b, v));
}

void FreeAsnBool(AsnBool* /*v*/) {}

void PrintAsnBool(FILE* f, const AsnBool* v, unsigned /*indent*/) {
  std::fputs(*v != 0 ? "TRUE" : "FALSE", f);
}

void BDecAsnIntContent(ExpBuf** b, AsnTag /*tag*/, AsnLen len, AsnInt* v, AsnLen* bytes, AsnJmpEnv& env) {
  if (len > 4) AsnFail(env, -7, "BDecAsnIntContent: ERROR - integer to big to decode.\n");
  const auto first = int8_t(ExpBufGetByte(b));
  // Deliberate: a length of 0 has read one octet too, and counts none.
  *v = AsnInt(shift_in(b, uint32_t(first), len == 0 ? 0 : len - 1));
  *bytes += len;
  if ((*b)->readError != 0) AsnFail(env, -8, "BDecAsnIntContent: ERROR - decoded past end of data \n");
}

void BDecAsnInt(ExpBuf** b, AsnInt* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if (tag != kIntTag) AsnFail(env, -40, "BDecAsnInt: ERROR wrong tag on INTEGER.\n");
  const AsnLen len = BDecLen(b, bytes, env);
  BDecAsnIntContent(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnIntContent(ExpBuf** b, const AsnInt* v) {
  const auto value = uint32_t(*v);
  return put_octets(b, value, minimal_size(value));
}

AsnLen BEncAsnInt(ExpBuf** b, const AsnInt* v) {
  return BEncLenAndTag(b, kIntTag, BEncAsnIntContent(b, v));
}

void FreeAsnInt(AsnInt* /*v*/) {}

void PrintAsnInt(FILE* f, const AsnInt* v, unsigned /*indent*/) {
  std::fprintf(f, "%d", *v);
}

void BDecUAsnIntContent(ExpBuf** b, AsnTag /*tag*/, AsnLen len, UAsnInt* v, AsnLen* bytes, AsnJmpEnv& env) {
  const uint32_t first = ExpBufGetByte(b);
  if (len > 5) AsnFail(env, -9, "BDecUAsnIntContent: ERROR - integer to big to decode.\n");
  if ((first & 0x80) != 0) AsnFail(env, -10, "BDecUAsnIntContent: ERROR - integer is negative.\n");
  if (len == 5 && first != 0) AsnFail(env, -11, "BDecUAsnIntContent: ERROR - integer is negative.\n");
  // Deliberate: a length of 0 has read one octet too, and counts none.
  *v = shift_in(b, first, len == 0 ? 0 : len - 1);
  *bytes += len;
  if ((*b)->readError != 0) AsnFail(env, -12, "BDecUIntegerContent: ERROR - decoded past end of data\n");
}

void BDecUAsnInt(ExpBuf** b, UAsnInt* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  // Deliberate: INTGER; hosts match the text as it is.
  if (tag != kIntTag) AsnFail(env, -40, "BDecAsnInt: ERROR wrong tag on INTGER.\n");
  const AsnLen len = BDecLen(b, bytes, env);
  BDecUAsnIntContent(b, tag, len, v, bytes, env);
}

AsnLen BEncUAsnIntContent(ExpBuf** b, const UAsnInt* v) {
  if ((*v & 0x80000000) == 0) return put_octets(b, *v, minimal_size(*v));
  put_octets(b, *v, 4);
  ExpBufPutByteRvs(b, 0x00);
  return 5;
}

AsnLen BEncUAsnInt(ExpBuf** b, const UAsnInt* v) {
  return BEncLenAndTag(b, kIntTag, BEncUAsnIntContent(b, v));
}

void FreeUAsnInt(UAsnInt* /*v*/) {}

void PrintUAsnInt(FILE* f, const UAsnInt* v, unsigned /*indent*/) {
  std::fprintf(f, "%u", *v);
}

void BDecAsnNullContent(ExpBuf** /*b*/, AsnTag /*tag*/, AsnLen len, AsnNull* /*v*/, AsnLen* /*bytes*/,
                        AsnJmpEnv& env) {
  if (len != 0) AsnFail(env, -17, "BDecAsnNullContent: ERROR - NULL type's len must be 0\n");
}

void BDecAsnNull(ExpBuf** b, AsnNull* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if (tag != kNullTag) AsnFail(env, -40, "BDecAsnNull: ERROR wrong tag on NULL.\n");
  const AsnLen len = BDecLen(b, bytes, env);
  BDecAsnNullContent(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnNullContent(ExpBuf** /*b*/, const AsnNull* /*v*/) {
  return 0;
}

AsnLen BEncAsnNull(ExpBuf** b, const AsnNull* v) {
  if (v == nullptr) return 0;
  return BEncLenAndTag(b, kNullTag, BEncAsnNullContent(b, v));
}

void FreeAsnNull(AsnNull* /*v*/) {}

void PrintAsnNull(FILE* f, const AsnNull* /*v*/, unsigned /*indent*/) {
  std::fputs("NULL", f);
}

}  // namespace qex
