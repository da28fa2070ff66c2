// Decoded values made by hand, for the library's encoders.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "asn1/schema.h"
#include "ber/list.h"
#include "ber/open_types.h"
#include "ber/primitives.h"
#include "tests/support/der.h"
#include "tests/support/octets.h"

namespace qex::test {

// Records owns every record, list and octet string that it makes. Values made here are not for the Free
// routines.
class Records {
 public:
  Records() { EXPECT_TRUE(EnsureAsnInit()); }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  // make returns a zeroed record.
  template <class T>
  T* make() {
    return keep(std::make_shared<T>());
  }
  template <class T>
  T* make(const T& value) {
    return keep(std::make_shared<T>(value));
  }

  AsnOcts octs(const Octets& value) { return {uint32_t(value.size()), copy(value)}; }
  AsnOcts text(std::string_view value) { return octs(der::octets(value)); }
  AsnOid oid(std::string_view dotted) {
    const Octets content = der::oid_content(dotted);
    return {uint32_t(content.size()), copy(content)};
  }
  AsnBits bits(const Octets& value, unsigned unused = 0) {
    return {uint32_t(value.size() * 8 - unused), copy(value)};
  }

  template <class T>
  ListOf<T>* list(const std::vector<T*>& elements) {
    const std::shared_ptr<AsnList> made(AsnListNew(sizeof(void*)), AsnListFree);
    for (T* element : elements) {
      void* const value = element;
      std::memcpy(AsnListAppend(made.get()), &value, sizeof value);
    }
    return static_cast<ListOf<T>*>(keep(made));
  }

  // any is a value of the type that is registered for `identifier`.
  AsnAny any(const AsnOid& identifier, void* value) {
    AsnAny made{};
    SetAnyTypeByOid(&made, identifier);
    made.value = value;
    return made;
  }

  // decoded returns the result of a full decoder for `octets`, which must be valid.
  template <class T, class Decode, class Free>
  T* decoded(Decode decode, Free free, const Octets& octets) {
    const std::shared_ptr<T> value(new T(), [free](T* record) {
      free(record);
      delete record;
    });
    static_cast<void>(AsnCatch(
        [&](AsnJmpEnv& env) { DecodeBytes<T>(decode, octets.data(), octets.size(), value.get(), env); }));
    return keep(value);
  }

 private:
  template <class T>
  T* keep(const std::shared_ptr<T>& made) {
    kept_.push_back(made);
    return made.get();
  }
  uint8_t* copy(const Octets& value) {
    Octets* const held = make<Octets>(value);
    held->push_back(0);  // as decoders leave it: even no octets have a pointer
    return held->data();
  }

  std::vector<std::shared_ptr<void>> kept_;
};

}  // namespace qex::test
