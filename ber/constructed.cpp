// The constructed forms of OCTET STRING and BIT STRING. Clauses are those of X.690.
//
// One loop walks both. It counts the octets read since the string's content began; of every
// string that is open it keeps the count at which it ends, so a closed one costs nothing.
#include "ber/constructed.h"

#include <cstring>

namespace qex {

std::atomic<uint16_t> lastUnusedBits{0};

namespace {

constexpr uint64_t kOpenEnded = UINT64_MAX;

// end_of is the count at which a string ends whose content of `len` octets begins at `start`.
uint64_t end_of(uint64_t start, AsnLen len) {
  return len == INDEFINITE_LEN ? kOpenEnded : start + len;
}

// How the two types differ.
struct StringKind {
  AsnTag tag;  // of a primitive component
  AsnInt short_code;
  const char* short_text;
  AsnInt tag_code;
  const char* tag_text;
};

constexpr StringKind kOctetString = {
    .tag = 0x04000000,
    .short_code = -18,
    .short_text = "BDecConsOctetString: ERROR - attempt to decode past end of data\n",
    .tag_code = -19,
    .tag_text =
        "BDecConsOctetString: ERROR - decoded non-OCTET STRING tag inside a constructed OCTET STRING\n"};

constexpr StringKind kBitString = {
    .tag = 0x03000000,
    .short_code = -2,
    .short_text = "FillBitStringStk: ERROR - expecting more data\n",
    .tag_code = -3,
    .tag_text = "FillBitStringStk: ERROR - decoded non-BIT STRING tag inside a constructed BIT STRING\n"};

// collect_octets pushes the `n` octets of a primitive component, a segment for each block.
void collect_octets(ExpBuf** b, AsnLen n, const StringKind& kind, SegmentStack* stack, AsnJmpEnv& env) {
  while (n != 0) {
    size_t run = n;
    const uint8_t* octets = ExpBufGetSegment(b, &run);
    if (run == 0) AsnFail(env, kind.short_code, kind.short_text);
    stack->push(octets, run, env);
    n -= AsnLen(run);  // run <= n
  }
}

// walk reads components until the string of length `len` ends and passes the length of each primitive one to
// `component`, which reads its content.
//
// A component has the universal tag of the type, whatever tag the string itself has (8.6.4, 8.7.3, and 8.14.3
// of an IMPLICIT tag), and may itself be constructed. One that runs past the end of a definite length around
// it is not refused here: the count includes it, and the caller compares the count.
template <class Component>
void walk(ExpBuf** b, AsnLen len, const StringKind& kind, AsnLen* bytes, AsnJmpEnv& env,
          Component component) {
  DecoderStack<uint64_t> outer;  // ends of the strings around the innermost one
  uint64_t end = end_of(0, len);
  uint64_t at = 0;
  for (;;) {
    while (at >= end && !outer.empty()) end = outer.pop();
    if (at >= end) break;

    AsnLen read = 0;
    const AsnTag tag = BDecTag(b, &read, env);
    if (tag == 0 && end == kOpenEnded) {  // end-of-contents, 8.1.5
      BDecSecondEocOctet(b, &read, env);
      at += read;
      if (outer.empty()) break;
      end = outer.pop();
      continue;
    }
    const AsnLen n = BDecLen(b, &read, env);
    at += read;
    if (tag == kind.tag) {
      component(n);
      at += n;
    } else if (tag == (kind.tag | kConstructedBit)) {
      outer.push(end, env);
      end = end_of(at, n);
    } else {
      AsnFail(env, kind.tag_code, kind.tag_text);
    }
  }
  *bytes += AsnLen(at);
}

}  // namespace

void SegmentStack::copy_to(uint8_t* dst) const {
  for (const Segment& segment : segments) {
    std::memcpy(dst, segment.octets, segment.count);
    dst += segment.count;
  }
}

void BDecConsOctetString(ExpBuf** b, AsnLen len, SegmentStack* stack, AsnLen* bytes, AsnJmpEnv& env) {
  walk(b, len, kOctetString, bytes, env, [&](AsnLen n) { collect_octets(b, n, kOctetString, stack, env); });
}

uint32_t FillBitStringStk(ExpBuf** b, AsnLen len, SegmentStack* stack, AsnLen* bytes, AsnJmpEnv& env) {
  uint32_t unused = 0;
  walk(b, len, kBitString, bytes, env, [&](AsnLen n) {
    // All components but the last have a multiple of eight bits (8.6.4).
    if (lastUnusedBits.load(std::memory_order_relaxed) != 0) {
      AsnFail(env, -1,
              "FillBitStringStk: ERROR - a component of a constructed BIT STRING that is not the last has "
              "non-zero unused bits\n");
    }
    // Without the initial octet that 8.6.2.2 asks for, a component adds no bits; one above 7 is accepted, as
    // in the primitive form (ber/primitives.h).
    if (n == 0) return;
    unused = ExpBufGetByte(b);
    if ((*b)->readError != 0) AsnFail(env, kBitString.short_code, kBitString.short_text);
    lastUnusedBits.store(uint16_t(unused), std::memory_order_relaxed);
    collect_octets(b, n - 1, kBitString, stack, env);
  });
  return unused;
}

}  // namespace qex
