// The steps of every test of an ASN.1 type: decode octets into a record, check it, encode it again.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "asn1/codec.h"
#include "asn1/oids.h"
#include "tests/support/ber_forms.h"
#include "tests/support/der.h"
#include "tests/support/error_capture.h"
#include "tests/support/octets.h"

namespace qex::test {

// The places where a decoder of a type fails, each with an error code of its own (asn1/codes.h).
enum class Site { WrongTag, Missing, InnerTag, Unexpected, Length, Trailing };

// site_code returns the code of a site, kNoCode where the type does not have it; `field` counts for Missing
// and InnerTag.
inline AsnInt site_code(const Type& t, Site site, size_t field = 0) {
  switch (site) {
    case Site::WrongTag: return t.wrongTagCode;
    case Site::Missing: return field < t.fields.size() ? t.fields[field].missingCode : kNoCode;
    case Site::InnerTag: return field < t.fields.size() ? t.fields[field].innerTagCode : kNoCode;
    case Site::Unexpected: return t.unexpectedCode;
    case Site::Length: return t.lengthCode;
    case Site::Trailing: return t.trailingCode;
  }
  return kNoCode;
}

// The routines of a type, under the names by which they are called.
template <class R>
struct Routines {
  void (*decodeContent)(ExpBuf**, AsnTag, AsnLen, R*, AsnLen*, AsnJmpEnv&);
  AsnLen (*encode)(ExpBuf**, const R*);
  AsnLen (*encodeContent)(ExpBuf**, const R*);
  void (*free)(R*);
  void (*print)(FILE*, const R*, unsigned);
  void (*decodeFull)(ExpBuf**, R*, AsnLen*, AsnJmpEnv&);
};
template <class R>
using ContentDecoder = void (*)(ExpBuf**, AsnTag, AsnLen, R*, AsnLen*, AsnJmpEnv&);
template <class R>
using Encoder = AsnLen (*)(ExpBuf**, const R*);

template <class R>
Routines<R> routines_of(ContentDecoder<R> decodeContent, Encoder<R> encode, Encoder<R> encodeContent,
                        void (*free)(R*), void (*print)(FILE*, const R*, unsigned),
                        void (*decodeFull)(ExpBuf**, R*, AsnLen*, AsnJmpEnv&) = nullptr) {
  return {decodeContent, encode, encodeContent, free, print, decodeFull};
}

#define QEX_ROUTINES(Name)                                                                          \
  &::qex::BDec##Name##Content, &::qex::BEnc##Name, &::qex::BEnc##Name##Content, &::qex::Free##Name, \
      &::qex::Print##Name
// NESTED: a type that is reached through its content decoder; TOP: one with a full decoder of its
// own name; TOP_AS: one whose full decoder has another name.
#define NESTED(Name)          ::qex::test::routines_of(QEX_ROUTINES(Name))
#define TOP(Name)             ::qex::test::routines_of(QEX_ROUTINES(Name), &::qex::BDec##Name)
#define TOP_AS(Name, Decoder) ::qex::test::routines_of(QEX_ROUTINES(Name), &::qex::BDec##Decoder)

// A decoded value, or as much of it as there was when the decoder was left; released at the end.
template <class R>
class Decoded {
 public:
  Decoded(const Routines<R>& routines, const Octets& octets)
      : Decoded(routines, std::vector<Octets>{octets}) {}
  Decoded(const Routines<R>& routines, std::vector<Octets> blocks) : routines_(routines) {
    static const bool registered = RegisterOpenTypes();
    EXPECT_TRUE(registered);
    Input input(std::move(blocks));
    outcome = OutcomeOf([&](AsnJmpEnv& env) {
      if (routines_.decodeFull != nullptr) return routines_.decodeFull(input.handle(), &value, &used, env);
      const AsnTag tag = BDecTag(input.handle(), &used, env);
      const AsnLen length = BDecLen(input.handle(), &used, env);
      routines_.decodeContent(input.handle(), tag, length, &value, &used, env);
    });
  }
  ~Decoded() { routines_.free(&value); }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;

  const R* operator->() const { return &value; }
  R* operator->() { return &value; }
  [[nodiscard]] bool ok() const { return outcome == kDecoded; }

  Octets encoded() const {
    AsnLen written = 0;
    const Octets octets = Encoded([&](ExpBuf** b) { return routines_.encode(b, &value); }, &written);
    EXPECT_EQ(written, octets.size());
    return octets;
  }
  std::string printed(unsigned indent = 0) const {
    return Printed([&](FILE* f) { routines_.print(f, &value, indent); });
  }

  R value{};
  Outcome outcome;
  AsnLen used = 0;

 private:
  Routines<R> routines_;
};

// ExpectWrittenBack decodes DER, in one block and octet by octet, and compares the encoder's output with the
// input. No shorter input may decode.
template <class R>
void ExpectWrittenBack(const Routines<R>& routines, const Octets& der) {
  SCOPED_TRACE(ToHex(der));
  for (const size_t n : {der.size(), size_t{1}}) {
    Decoded<R> v(routines, InBlocksOf(n, der));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.used, der.size());
    EXPECT_EQ(ToHex(v.encoded()), ToHex(der));
  }
  const size_t step = der.size() / 200 + 1;
  for (size_t n = 0; n < der.size(); n += step) {
    Decoded<R> v(routines, Octets(der.begin(), der.begin() + ptrdiff_t(n)));
    EXPECT_LT(v.outcome.code, 0) << n << " octets";
  }
}

// ExpectAnyForm decodes the other forms that BER allows for a DER encoding and compares the encoder's output
// with the DER.
template <class R>
void ExpectAnyForm(const Routines<R>& routines, const Octets& der) {
  SCOPED_TRACE(ToHex(der));
  for (const Form form : {Form::kIndefinite, Form::kLongLengths, Form::kConstructedStrings}) {
    const Octets ber = InForm(form, der);
    SCOPED_TRACE(ToHex(ber));
    Decoded<R> v(routines, ber);
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.used, ber.size());
    EXPECT_EQ(ToHex(v.encoded()), ToHex(der));
  }
}

template <class R>
void ExpectRoundTrip(const Routines<R>& routines, const Octets& der) {
  ExpectWrittenBack(routines, der);
  ExpectAnyForm(routines, der);
}

template <class R>
void ExpectRefused(const Routines<R>& routines, const Octets& octets, AsnInt code, const char* text = "") {
  Decoded<R> v(routines, octets);
  EXPECT_EQ(v.outcome, (Outcome{code, text})) << ToHex(octets);
}

// ExpectWrongTag: a full decoder refuses another outer tag with a text that names it, and a code of
// its own.
template <class R>
void ExpectWrongTag(const Routines<R>& routines, const char* text, uint8_t tag = 0x1D) {
  Decoded<R> v(routines, Octets{tag, 0});
  EXPECT_EQ(v.outcome.text, text);
  EXPECT_LE(v.outcome.code, kFirstTypeCode);
  EXPECT_GE(v.outcome.code, kLastTypeCode);
}

// At returns element `i` of a list.
template <class T>
T* At(const AsnList* list, size_t i) {
  const AsnListNode* node = list->first;
  for (; i != 0; --i) node = node->next;
  return static_cast<T*>(node->data[0]);
}

inline std::string TextOf(const AsnOcts& v) {
  return std::string(v.octs, v.octs + v.count);
}

// hex is FromHex, short enough to use between the parts of an encoding.
inline Octets hex(std::string_view digits) {
  return FromHex(digits);
}

// with_length is an element whose length octet says `length`, whatever its parts are.
template <class... Parts>
Octets with_length(uint8_t tag, uint8_t length, const Parts&... parts) {
  return der::concat(Octets{tag, length}, parts...);
}

// RowOf returns the row of the open-type table by which a value was decoded.
[[nodiscard]] inline int32_t RowOf(const AsnAny& any) {
  return any.ai == nullptr ? -1 : any.ai->anyId;
}

}  // namespace qex::test
