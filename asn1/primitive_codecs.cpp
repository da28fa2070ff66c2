// The primitive types' content routines in the form that descriptors hold.
#include "asn1/schema.h"

namespace qex {
namespace {

template <class T, auto Decode, auto Encode, auto Print>
struct Adapt {
  static void decode(ExpBuf** b, AsnTag tag, AsnLen len, void* v, AsnLen* bytes, AsnJmpEnv& env) {
    Decode(b, tag, len, static_cast<T*>(v), bytes, env);
  }
  static AsnLen encode(ExpBuf** b, const void* v) { return Encode(b, static_cast<const T*>(v)); }
  static void print(FILE* f, const void* v, unsigned indent) { Print(f, static_cast<const T*>(v), indent); }
};

// Values without octets of their own are never absent when they are inline.
template <class T, auto Decode, auto Encode, auto Print>
constexpr Codec plain_codec() {
  using A = Adapt<T, Decode, Encode, Print>;
  return {.decode = A::decode,
          .encode = A::encode,
          .free = nullptr,
          .print = A::print,
          .absent = [](const void*) { return false; }};
}

template <class T, auto Decode, auto Encode, auto Free, auto Print>
constexpr Codec octets_codec() {
  using A = Adapt<T, Decode, Encode, Print>;
  return {.decode = A::decode,
          .encode = A::encode,
          .free = [](void* v) { Free(static_cast<T*>(v)); },
          .print = A::print,
          .absent = [](const void* v) { return static_cast<const T*>(v)->octs == nullptr; }};
}

}  // namespace

constinit const Codec kIntCodec = plain_codec<AsnInt, BDecAsnIntContent, BEncAsnIntContent, PrintAsnInt>();
constinit const Codec kBoolCodec =
    plain_codec<AsnBool, BDecAsnBoolContent, BEncAsnBoolContent, PrintAsnBool>();
constinit const Codec kNullCodec =
    plain_codec<AsnNull, BDecAsnNullContent, BEncAsnNullContent, PrintAsnNull>();
constinit const Codec kOctsCodec =
    octets_codec<AsnOcts, BDecOctetString, BEncAsnOctsContent, FreeAsnOcts, PrintAsnOcts>();
constinit const Codec kBitsCodec =
    octets_codec<AsnBits, BDecAsnBitsContent, BEncAsnBitsContent, FreeAsnBits, PrintAsnBits>();
constinit const Codec kOidCodec =
    octets_codec<AsnOid, BDecAsnOidContent, BEncAsnOidContent, FreeAsnOid, PrintAsnOid>();

}  // namespace qex
