// BIT STRING and OCTET STRING (X.690 8.6, 8.7).
//
// Decoders allocate only after they have seen that the octets are there.
#include <cctype>
#include <cstring>

#include "ber/constructed.h"
#include "ber/memory.h"
#include "ber/primitives.h"

namespace qex {

namespace {

constexpr AsnTag kBitsTag = 0x03000000;
constexpr AsnTag kOctsTag = 0x04000000;

constexpr char kHexDigits[] = "0123456789abcdef";

[[noreturn, gnu::cold]] void fail_bits(AsnJmpEnv& env) {
  AsnFail(env, -4, "BDecAsnBitsContent: ERROR - decoded past end of data\n");
}

[[noreturn, gnu::cold]] void fail_octs(AsnJmpEnv& env) {
  AsnFail(env, -20, "BDecOctetString: ERROR - decoded past end of data\n");
}

// bit_count is the number of bits of `octets` octets of which the last `unused` bits do not
// count; none when these are more than there are.
uint32_t bit_count(size_t octets, uint32_t unused, AsnJmpEnv& env) {
  const uint64_t bits = uint64_t{octets} * 8;
  if (bits <= unused) return 0;
  if (bits - unused > UINT32_MAX) fail_bits(env);
  return uint32_t(bits - unused);
}

void print_hex(FILE* f, const uint8_t* octets, size_t n) {
  std::fputc('\'', f);
  for (size_t i = 0; i < n; ++i) {
    std::fputc(kHexDigits[octets[i] >> 4], f);
    std::fputc(kHexDigits[octets[i] & 0x0F], f);
  }
  std::fputs("'H", f);
}

constexpr uint8_t mask_of(uint32_t bit) {
  return uint8_t(0x80u >> bit % 8);
}

[[nodiscard]] bool same_octets(const uint8_t* a, const uint8_t* b, size_t n) {
  return n == 0 || std::memcmp(a, b, n) == 0;
}

// The constructed forms are rare, and have stacks: out of line.
[[gnu::noinline]] void constructed_bits(ExpBuf** b, AsnLen len, AsnBits* v, AsnLen* bytes, AsnJmpEnv& env) {
  SegmentStack stack;
  const uint32_t unused = FillBitStringStk(b, len, &stack, bytes, env);
  const uint32_t count = bit_count(stack.total, unused, env);
  uint8_t* octets = AsnNewOctets(stack.total, env);
  stack.copy_to(octets);
  *v = {count, octets};
}

[[gnu::noinline]] void constructed_octs(ExpBuf** b, AsnLen len, AsnOcts* v, AsnLen* bytes, AsnJmpEnv& env) {
  SegmentStack stack;
  BDecConsOctetString(b, len, &stack, bytes, env);
  if (stack.total >= UINT32_MAX) fail_octs(env);
  uint8_t* octets = AsnNewOctets(stack.total + 1, env);
  stack.copy_to(octets);
  octets[stack.total] = 0;
  *v = {uint32_t(stack.total), octets};
}

}  // namespace

void BDecAsnBitsContent(ExpBuf** b, AsnTag tag, AsnLen len, AsnBits* v, AsnLen* bytes, AsnJmpEnv& env) {
  if ((tag & kConstructedBit) != 0) return constructed_bits(b, len, v, bytes, env);
  if (len == 0 || !ExpBufExpect(b, len)) fail_bits(env);
  *bytes += len;
  const uint32_t unused = ExpBufGetByte(b);
  const size_t n = len - 1;
  const uint32_t count = bit_count(n, unused, env);
  uint8_t* octets = AsnNewOctets(n, env);
  ExpBufCopyOut(octets, b, n);
  *v = {count, octets};
}

void BDecAsnBits(ExpBuf** b, AsnBits* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if ((tag & ~kConstructedBit) != kBitsTag) {
    AsnFail(env, -40, "BDecAsnBits: ERROR - wrong tag on BIT STRING.\n");
  }
  const AsnLen len = BDecLen(b, bytes, env);
  BDecAsnBitsContent(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnBitsContent(ExpBuf** b, const AsnBits* v) {
  const size_t n = BitOctets(v->count);
  ExpBufPutSegRvs(b, v->octs, n);
  ExpBufPutByteRvs(b, uint8_t((8 - v->count % 8) % 8));
  return AsnLen(n + 1);  // at most 2^29 + 1
}

AsnLen BEncAsnBits(ExpBuf** b, const AsnBits* v) {
  return BEncLenAndTag(b, kBitsTag, BEncAsnBitsContent(b, v));
}

void FreeAsnBits(AsnBits* v) {
  AsnFree(v->octs);
  *v = {};
}

void PrintAsnBits(FILE* f, const AsnBits* v, unsigned /*indent*/) {
  print_hex(f, v->octs, BitOctets(v->count));
}

void BDecOctetString(ExpBuf** b, AsnTag tag, AsnLen len, AsnOcts* v, AsnLen* bytes, AsnJmpEnv& env) {
  if ((tag & kConstructedBit) != 0) return constructed_octs(b, len, v, bytes, env);
  if (!ExpBufExpect(b, len)) fail_octs(env);
  *bytes += len;
  uint8_t* octets = AsnNewOctets(size_t{len} + 1, env);
  ExpBufCopyOut(octets, b, len);
  octets[len] = 0;
  *v = {len, octets};
}

void BDecAsnOcts(ExpBuf** b, AsnOcts* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if ((tag & ~kConstructedBit) != kOctsTag) {
    AsnFail(env, -40, "BDecAsnOcts: ERROR - wrong tag on OCTET STRING.\n");
  }
  const AsnLen len = BDecLen(b, bytes, env);
  BDecOctetString(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnOctsContent(ExpBuf** b, const AsnOcts* v) {
  ExpBufPutSegRvs(b, v->octs, v->count);
  return v->count;
}

AsnLen BEncAsnOcts(ExpBuf** b, const AsnOcts* v) {
  return BEncLenAndTag(b, kOctsTag, BEncAsnOctsContent(b, v));
}

void FreeAsnOcts(AsnOcts* v) {
  AsnFree(v->octs);
  *v = {};
}

void PrintAsnOcts(FILE* f, const AsnOcts* v, unsigned /*indent*/) {
  print_hex(f, v->octs, v->count);
  std::fputs("  -- \"", f);
  for (uint32_t i = 0; i < v->count; ++i) std::fputc(std::isprint(v->octs[i]) != 0 ? v->octs[i] : '.', f);
  std::fputs("\" --", f);
}

bool AsnOctsEqual(const AsnOcts& a, const AsnOcts& b) {
  return a.count == b.count && same_octets(a.octs, b.octs, a.count);
}

bool AsnBitsEqual(const AsnBits& a, const AsnBits& b) {
  return a.count == b.count && same_octets(a.octs, b.octs, BitOctets(a.count));
}

void AsnBitsSet(AsnBits* v, uint32_t i) {
  if (i < v->count) v->octs[i / 8] = uint8_t(v->octs[i / 8] | mask_of(i));
}

void AsnBitsClear(AsnBits* v, uint32_t i) {
  if (i < v->count) v->octs[i / 8] = uint8_t(v->octs[i / 8] & ~mask_of(i));
}

bool AsnBitsTest(const AsnBits* v, uint32_t i) {
  return i < v->count && (v->octs[i / 8] & mask_of(i)) != 0;
}

}  // namespace qex
