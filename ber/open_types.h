// Open types: ANY and ANY DEFINED BY, resolved through two tables of registered types, one
// keyed by OBJECT IDENTIFIER and one by INTEGER.
//
// Deliberate: tables hash their keys and compare nothing but the hashes, so that two keys of the
// same 32-bit hash are one key, and the first registration wins. Code that reads a value as a type
// asks for the descriptor, not for the key.
// InstallAnyByInt has no caller in the library; it is part of what this header offers.
// The caller serialises registration, which happens once; lookups change nothing.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ber/primitives.h"

namespace qex {

using AnyEncode = AsnLen (*)(ExpBuf** b, const void* v);
using AnyDecode = void (*)(ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env);
using AnyFree = void (*)(void* v);
using AnyPrint = void (*)(FILE* f, const void* v, unsigned indent);

// One registered type. The identifier's octets stay those of the registering code.
struct AnyInfo {
  int32_t anyId;
  AsnOid oid;
  int32_t intId;
  uint32_t size;  // bytes of the value record
  AnyEncode Encode;
  AnyDecode Decode;
  AnyFree Free;
  AnyPrint Print;
};

struct AsnAny {
  const AnyInfo* ai;  // null when the type is not known
  void* value;
};

// Open types nest at most this deep. A deeper value is refused with
// kOpenTypeDepthCode, so that no input decides how much stack is used.
inline constexpr uint32_t kMaxOpenTypeDepth = 64;
inline constexpr AsnInt kOpenTypeDepthCode = -29;

// InstallAnyByOid and InstallAnyByInt register a type. False when an allocation fails; a key that is
// already present keeps its first registration and counts as success.
[[nodiscard]] bool InstallAnyByOid(int32_t anyId, const AsnOid& oid, uint32_t size, AnyEncode encode,
                                   AnyDecode decode, AnyFree free, AnyPrint print);
[[nodiscard]] bool InstallAnyByInt(int32_t anyId, int32_t intId, uint32_t size, AnyEncode encode,
                                   AnyDecode decode, AnyFree free, AnyPrint print);

// FreeAnyTables releases both tables and their descriptors, so that no AsnAny may be used
// after it; it runs at the end of the process too.
void FreeAnyTables();

// SetAnyTypeByOid and SetAnyTypeByInt look the type up; null is stored when it is not registered.
void SetAnyTypeByOid(AsnAny* any, const AsnOid& oid);
void SetAnyTypeByInt(AsnAny* any, int32_t intId);

// AnyKeyHash is the hash of a key of `n` octets: h * 65587 + octet for each, the octet taken as
// signed, in 32 bits.
[[nodiscard]] uint32_t AnyKeyHash(const uint8_t* octets, size_t n);

// BDecAny allocates the value and decodes it, including tag and length. An unknown type raises -44, one
// nested too deep kOpenTypeDepthCode. The value belongs to `any`, also when its decoder has raised half way;
// FreeAny releases it.
void BDecAny(ExpBuf** b, AsnAny* any, AsnLen* bytes, AsnJmpEnv& env);
// BEncAny writes the value, or nothing when the type is not known or there is no value.
AsnLen BEncAny(ExpBuf** b, const AsnAny* any);
// FreeAny releases the value, and its contents by the type's own Free routine.
void FreeAny(AsnAny* any);
// PrintAny prints the value; one that is absent or of no known type shows as a comment.
void PrintAny(FILE* f, const AsnAny* any, unsigned indent);

}  // namespace qex
