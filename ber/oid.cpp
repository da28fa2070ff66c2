// OBJECT IDENTIFIER (X.690 8.19): kept as its contents octets, shown as arcs.
#include <algorithm>
#include <cstring>

#include "ber/memory.h"
#include "ber/primitives.h"

namespace qex {

namespace {

constexpr AsnTag kOidTag = 0x06000000;

// next_subidentifier reads a base-128 number from `*p` on, which it moves past it, no further
// than `end`. 64 bits hold every first sub-identifier of two arcs of 32 bits.
uint64_t next_subidentifier(const uint8_t** p, const uint8_t* end) {
  uint64_t value = 0;
  while (*p != end) {
    const uint8_t octet = *(*p)++;
    value = value << 7 | (octet & 0x7Fu);
    if ((octet & 0x80) == 0) break;
  }
  return value;
}

// for_each_arc calls `visit` for each arc, as long as it returns true. The first
// sub-identifier holds two arcs, 40 * first + second, and the first one is at most 2.
template <class Visit>
[[nodiscard]] bool for_each_arc(const AsnOid& oid, Visit visit) {
  if (oid.count == 0) return true;
  const uint8_t* p = oid.octs;
  const uint8_t* end = p + oid.count;
  const uint64_t both = next_subidentifier(&p, end);
  const uint64_t first = std::min<uint64_t>(both / 40, 2);
  if (!visit(uint32_t(first)) || !visit(uint32_t(both - 40 * first))) return false;
  while (p != end) {
    if (!visit(uint32_t(next_subidentifier(&p, end)))) return false;
  }
  return true;
}

size_t subidentifier_size(uint64_t value) {
  size_t n = 1;
  while ((value >>= 7) != 0) ++n;
  return n;
}

uint8_t* put_subidentifier(uint8_t* p, uint64_t value) {
  const size_t n = subidentifier_size(value);
  for (size_t i = n; i-- > 0; value >>= 7) {
    p[i] = uint8_t((value & 0x7F) | (i + 1 == n ? 0x00 : 0x80));
  }
  return p + n;
}

uint64_t first_subidentifier(const AsnArc* arcs) {
  return uint64_t{arcs->number} * 40 + arcs->next->number;
}

}  // namespace

void BDecAsnOidContent(ExpBuf** b, AsnTag /*tag*/, AsnLen len, AsnOid* v, AsnLen* bytes, AsnJmpEnv& env) {
  if (!ExpBufExpect(b, len)) {
    AsnFail(env, -21, "BDecAsnOidContent: ERROR - decoded past end of data\n");
  }
  *bytes += len;
  uint8_t* octets = AsnNewOctets(len, env);
  ExpBufCopyOut(octets, b, len);
  *v = {len, octets};
}

void BDecAsnOid(ExpBuf** b, AsnOid* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if (tag != kOidTag) AsnFail(env, -40, "BDecAsnOid: ERROR - wrong tag on OBJECT IDENTIFIER.\n");
  const AsnLen len = BDecLen(b, bytes, env);
  BDecAsnOidContent(b, tag, len, v, bytes, env);
}

AsnLen BEncAsnOidContent(ExpBuf** b, const AsnOid* v) {
  ExpBufPutSegRvs(b, v->octs, v->count);
  return v->count;
}

AsnLen BEncAsnOid(ExpBuf** b, const AsnOid* v) {
  return BEncLenAndTag(b, kOidTag, BEncAsnOidContent(b, v));
}

void FreeAsnOid(AsnOid* v) {
  AsnFree(const_cast<uint8_t*>(v->octs));
  *v = {};
}

void PrintAsnOid(FILE* f, const AsnOid* v, unsigned /*indent*/) {
  const char* format = "%u";
  std::fputc('{', f);
  (void)for_each_arc(*v, [&](uint32_t number) {
    std::fprintf(f, format, number);
    format = " %u";
    return true;
  });
  std::fputc('}', f);
}

bool AsnOidEqual(const AsnOid& a, const AsnOid& b) {
  return a.count == b.count && (a.count == 0 || std::memcmp(a.octs, b.octs, a.count) == 0);
}

AsnArc* AsnOidToArcs(const AsnOid& oid) {
  AsnArc* arcs = nullptr;
  AsnArc** tail = &arcs;
  const bool complete = for_each_arc(oid, [&](uint32_t number) {
    auto* arc = static_cast<AsnArc*>(AsnAlloc(sizeof(AsnArc)));
    if (arc == nullptr) return false;
    arc->number = number;
    *tail = arc;
    tail = &arc->next;
    return true;
  });
  if (complete) return arcs;
  AsnFreeArcs(arcs);
  return nullptr;
}

bool AsnArcsToOid(const AsnArc* arcs, AsnOid* oid) {
  const size_t n = AsnArcsEncodedSize(arcs);
  if (n == 0 || n > UINT32_MAX) return false;
  auto* octets = static_cast<uint8_t*>(AsnAlloc(n));
  if (octets == nullptr) return false;
  uint8_t* p = put_subidentifier(octets, first_subidentifier(arcs));
  for (const AsnArc* arc = arcs->next->next; arc != nullptr; arc = arc->next) {
    p = put_subidentifier(p, arc->number);
  }
  *oid = {uint32_t(n), octets};
  return true;
}

size_t AsnArcsEncodedSize(const AsnArc* arcs) {
  if (arcs == nullptr || arcs->next == nullptr) return 0;
  size_t n = subidentifier_size(first_subidentifier(arcs));
  for (const AsnArc* arc = arcs->next->next; arc != nullptr; arc = arc->next) {
    n += subidentifier_size(arc->number);
  }
  return n;
}

void AsnFreeArcs(AsnArc* arcs) {
  while (arcs != nullptr) {
    AsnArc* next = arcs->next;
    AsnFree(arcs);
    arcs = next;
  }
}

}  // namespace qex
