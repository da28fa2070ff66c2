// How the engine reaches the members that fields describe.
//
// Members that are pointers are read and written as bytes: their pointee type is known to the
// declaration, not to the engine.
#pragma once

#include <cstring>

#include "asn1/schema.h"

namespace qex {

inline void* LoadPointer(const void* slot) {
  void* p;
  std::memcpy(&p, slot, sizeof p);
  return p;
}
inline void StorePointer(void* slot, void* p) {
  std::memcpy(slot, &p, sizeof p);
}

// SlotOf returns the member of record `rec` that `f` describes.
inline void* SlotOf(void* rec, const Field& f) {
  return static_cast<char*>(rec) + f.offset;
}
inline const void* SlotOf(const void* rec, const Field& f) {
  return static_cast<const char*>(rec) + f.offset;
}

// ValueOf returns the field's value, null when it is held by a null pointer.
inline const void* ValueOf(const void* rec, const Field& f) {
  const void* slot = SlotOf(rec, f);
  return f.held == Held::Pointer ? LoadPointer(slot) : slot;
}
inline void* ValueOf(void* rec, const Field& f) {
  void* slot = SlotOf(rec, f);
  return f.held == Held::Pointer ? LoadPointer(slot) : slot;
}

}  // namespace qex
