// The one engine of the routines of every structured type, and the macros that name them.
//
// Decoding (X.690, definite and indefinite lengths), encoding (definite lengths only), release and print all
// follow the type's descriptor. Errors leave through AsnRaise; the record then holds the parts decoded so
// far, and the Free routine of the top-level type releases them.
#pragma once

#include "asn1/schema.h"

namespace qex {

// DecodeFull reads tag, length and content into the zeroed record `v` and adds the octets read
// to `*bytes`. A wrong outer tag is reported under the type's own routine name.
void DecodeFull(const Type& t, ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env);

// DecodeContent reads the content whose `tag` and `len` have been read.
void DecodeContent(const Type& t, ExpBuf** b, AsnTag tag, AsnLen len, void* v, AsnLen* bytes, AsnJmpEnv& env);

// EncodeFull and EncodeContent write `v` backward and return the octets written.
AsnLen EncodeFull(const Type& t, ExpBuf** b, const void* v);
AsnLen EncodeContent(const Type& t, ExpBuf** b, const void* v);

// FreeValue releases everything that the decoder allocated inside `v`, but not the record itself. Partly
// decoded records and null are allowed. Afterwards pointers are null and lists empty, and a CHOICE keeps the
// number of its alternative, without a value: releasing again does nothing.
void FreeValue(const Type& t, void* v);

// PrintValue writes `v` as text; nothing for null.
void PrintValue(const Type& t, FILE* f, const void* v, unsigned indent);

// The routines of an open type, for its AnyInfo.
template <const auto& T>
struct OpenRoutines {
  static_assert(T.top || T.kind == Kind::Choice, "a type with a full decoder is declared with Top::Yes");
  static AsnLen encode(ExpBuf** b, const void* v) { return EncodeFull(T, b, v); }
  static void decode(ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) { DecodeFull(T, b, v, bytes, env); }
  static void free(void* v) { FreeValue(T, v); }
  static void print(FILE* f, const void* v, unsigned indent) { PrintValue(T, f, v, indent); }
};

// The argument of a type's routines: its record, or AsnList for any list.
template <class V>
struct RoutineRecord {
  using Record = V;
};
template <class E>
struct RoutineRecord<ListOf<E>> {
  using Record = AsnList;
};
template <class T>
using RecordOf = typename RoutineRecord<typename T::Value>::Record;

// ASN1_OPEN_LIST(Name) declares the routines BEncName, BEncNameContent, FreeName and PrintName of a SET OF
// ANY DEFINED BY whose descriptor is kName. It has no decoder of its own: the field that holds the list names
// the identifier by which its values are decoded.
#define ASN1_OPEN_LIST(Name)                                                                \
  inline AsnLen BEnc##Name(ExpBuf** b, const RecordOf<decltype(k##Name)>* v) {              \
    return EncodeFull(k##Name, b, v);                                                       \
  }                                                                                         \
  inline AsnLen BEnc##Name##Content(ExpBuf** b, const RecordOf<decltype(k##Name)>* v) {     \
    return EncodeContent(k##Name, b, v);                                                    \
  }                                                                                         \
  inline void Free##Name(RecordOf<decltype(k##Name)>* v) {                                  \
    FreeValue(k##Name, v);                                                                  \
  }                                                                                         \
  inline void Print##Name(FILE* f, const RecordOf<decltype(k##Name)>* v, unsigned indent) { \
    PrintValue(k##Name, f, v, indent);                                                      \
  }                                                                                         \
  static_assert(true)

// ASN1_TYPE(Name) declares the same of any other type, and its decoder BDecNameContent.
#define ASN1_TYPE(Name)                                                                               \
  ASN1_OPEN_LIST(Name);                                                                               \
  inline void BDec##Name##Content(ExpBuf** b, AsnTag tag, AsnLen len, RecordOf<decltype(k##Name)>* v, \
                                  AsnLen* bytes, AsnJmpEnv& env) {                                    \
    DecodeContent(k##Name, b, tag, len, v, bytes, env);                                               \
  }                                                                                                   \
  static_assert(true)

// ASN1_DECODER(Decoder, Name, Record) declares the full decoder BDecDecoder of type Name, which starts a
// decoding.
#define ASN1_DECODER(Decoder, Name)                                                                      \
  inline void BDec##Decoder(ExpBuf** b, RecordOf<decltype(k##Name)>* v, AsnLen* bytes, AsnJmpEnv& env) { \
    static_assert(k##Name.top || k##Name.kind == Kind::Choice,                                           \
                  "a type with a full decoder is declared with Top::Yes");                               \
    DecodeFull(k##Name, b, v, bytes, env);                                                               \
  }                                                                                                      \
  static_assert(true)
// ASN1_TOP_TYPE(Name) declares all of these, the full decoder under the name of the type.
#define ASN1_TOP_TYPE(Name) \
  ASN1_TYPE(Name);          \
  ASN1_DECODER(Name, Name)

}  // namespace qex
