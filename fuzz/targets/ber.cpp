// The runtime decoders one by one: tags, lengths, ends of contents, each primitive type, constructed strings
// and open types. The first octet chooses the routine.
//
// Each runs over one block and over a chain of small ones, which must agree in code, octets counted and
// value; the result is also compared with that of a reader of elements.
#include "api/frame.h"
#include "ber/constructed.h"
#include "ber/memory.h"
#include "ber/open_types.h"
#include "fuzz/support/expected.h"
#include "fuzz/support/harness.h"
#include "fuzz/support/values.h"

namespace qex::fuzz {
namespace {

struct Outcome {
  AsnInt code = 0;
  AsnLen bytes = 0;
  Octets value;  // in whatever form the routine gives one
  bool operator==(const Outcome&) const = default;
};

template <class T>
Octets octets_of(const T& v) {
  const auto* p = reinterpret_cast<const uint8_t*>(&v);
  return {p, p + sizeof v};
}
Octets octets_of(const AsnOcts& v) {
  FUZZ_CHECK(v.octs != nullptr && v.octs[v.count] == 0, v.count);
  return {v.octs, v.octs + v.count};
}
Octets octets_of(const AsnOid& v) {
  return {v.octs, v.octs + v.count};
}
// The bit count, and the octets that hold bits.
Octets octets_of(const AsnBits& v) {
  Octets out = octets_of(v.count);
  out.insert(out.end(), v.octs, v.octs + BitOctets(v.count));
  return out;
}

// run returns the code and the result of `decode`, the same for one block and for a chain.
template <class Decode>
Outcome run(View in, Decode decode) {
  const auto once = [&](ExpBuf* block) {
    ResetProcess();
    Outcome o;
    o.code = AsnCatch([&](AsnJmpEnv& env) { decode(&block, &o, env); });
    if (o.code != 0) o.bytes = 0;
    return o;
  };
  ExpBuf block;
  ExpBufWrapData(&block, in.data(), in.size());
  Outcome o = once(&block);
  for (const uint64_t salt : {uint64_t{1}, uint64_t{2}}) {
    const Chain chain(in, Mix(in, salt));
    FUZZ_CHECK(once(chain.front()) == o, o.code);
  }
  return o;
}

// --- Tags, lengths, ends ---------------------------------------------------------

void check_tag(View in) {
  const Outcome o = run(in, [](ExpBuf** b, Outcome* out, AsnJmpEnv& env) {
    out->value = octets_of(BDecTag(b, &out->bytes, env));
  });
  uint32_t tag = 0;
  size_t n = 0;
  for (int shift = 24; shift >= 0; shift -= 8) {
    if (n == in.size()) {
      FUZZ_CHECK(o.code == -26, o.code);
      return;
    }
    tag |= uint32_t{in[n++]} << shift;
    if (n == 1 ? (in[0] & 0x1F) != 0x1F : (in[n - 1] & 0x80) == 0) break;
  }
  FUZZ_CHECK(o.code == 0 && o.bytes == n && o.value == octets_of(tag), o.code);
}

void check_length(View in) {
  const Outcome o = run(in, [](ExpBuf** b, Outcome* out, AsnJmpEnv& env) {
    out->value = octets_of(BDecLen(b, &out->bytes, env));
  });
  if (in.empty()) {
    FUZZ_CHECK(o.code == -13, o.code);
    return;
  }
  uint32_t length = in[0];
  size_t n = 1;
  if (in[0] == 0x80) length = 0xFFFFFFFF;
  if (in[0] > 0x80) {
    const size_t further = in[0] & 0x7F;
    if (further > 4 || in.size() < 1 + further) {
      FUZZ_CHECK(o.code == (further > 4 ? -14 : -15), o.code);
      return;
    }
    length = 0;
    for (; n <= further; ++n) length = length << 8 | in[n];
  }
  FUZZ_CHECK(o.code == 0 && o.bytes == n && o.value == octets_of(length), o.code);

  // Encoded again it has the shortest form, except at the boundary of the three-octet one.
  ExpBufHolder buf;
  const AsnLen written = BEncDefLen(buf.handle(), length);
  ExpBufRewind(buf.handle());
  Octets out(written);
  FUZZ_CHECK(ExpBufCopyOut(out.data(), buf.handle(), written + 1) == written, written);
  Octets expected = LengthOctets(length);
  if (length >= 16777126 && length <= 16777215) expected = {0x84, 0, 0xFF, 0xFF, uint8_t(length)};
  FUZZ_CHECK(out == expected, length);
}

void check_end_of_contents(View in) {
  const Outcome o = run(in, [](ExpBuf** b, Outcome* out, AsnJmpEnv& env) { BDecEoc(b, &out->bytes, env); });
  const bool ends = in.size() >= 2 && in[0] == 0 && in[1] == 0;
  FUZZ_CHECK(o.code == (ends ? 0 : -16) && o.bytes == (ends ? 2 : 0), o.code);
}

// A value of the heap that its Free routine releases.
template <class T, void (*Free)(T*)>
class Freed {
 public:
  Freed() = default;
  ~Freed() { Free(&value); }
  Freed(const Freed&) = delete;
  Freed& operator=(const Freed&) = delete;

  T value{};
};

// --- Primitive types -------------------------------------------------------------

// The result of a full decoder of a primitive type for a well-formed element: a code, else a value.
struct Verdict {
  AsnInt code = 0;
  std::optional<Octets> value;
};

template <class T, auto Decode, auto Encode, auto Free, auto Print>
Outcome run_primitive(View in) {
  const auto decode = [](ExpBuf** b, Outcome* out, AsnJmpEnv& env) {
    Freed<T, Free> v;
    Decode(b, &v.value, &out->bytes, env);
    out->value = octets_of(v.value);
  };
  Outcome o = run(in, decode);
  if (o.code != 0) return o;

  // A decoded value is encoded, and the encoding decodes to the same value.
  Freed<T, Free> v;
  ResetProcess();
  const AsnInt code =
      AsnCatch([&](AsnJmpEnv& env) { DecodeBytes<T>(Decode, in.data(), in.size(), &v.value, env); });
  FUZZ_CHECK(code == 0, code);
  const auto encoded = [](const T& value, size_t blockSize) {
    ExpBufSetBlockSize(blockSize);
    ExpBufHolder buf;
    const AsnLen n = Encode(buf.handle(), &value);
    ExpBufSetBlockSize(kLibraryBlockSize);
    ExpBufRewind(buf.handle());
    Octets out(ExpBufLength(buf.block()));
    ExpBufCopyOut(out.data(), buf.handle(), out.size());
    FUZZ_CHECK(out.size() == n, n);
    return out;
  };
  const Octets once = encoded(v.value, kLibraryBlockSize);
  FUZZ_CHECK(encoded(v.value, 3) == once, once.size());
  FUZZ_CHECK(IsDefinite(once), once.size());
  const Outcome again = run(once, decode);
  FUZZ_CHECK(again.code == 0 && again.value == o.value && again.bytes == once.size(), again.code);
  static FILE* nowhere = std::fopen("/dev/null", "w");
  Print(nowhere, &v.value, 0);
  return o;
}

Verdict boolean(const Tlv& t) {
  if (t.tag != Octets{0x01}) return {-40, {}};
  if (t.content.size() != 1) return {-5, {}};
  return {0, octets_of(AsnBool(t.content[0] != 0))};
}

Verdict integer(const Tlv& t) {
  if (t.tag != Octets{0x02}) return {-40, {}};
  if (t.content.size() > 4) return {-7, {}};
  if (const auto n = IntegerOf(&t)) return {0, octets_of(*n)};
  return {};  // no content: it reads an octet of the next element
}

Verdict unsigned_integer(const Tlv& t) {
  const Octets& c = t.content;
  if (t.tag != Octets{0x02}) return {-40, {}};
  if (c.empty()) return {};
  if (c.size() > 5) return {-9, {}};
  if (c[0] >= 0x80) return {-10, {}};
  if (c.size() == 5 && c[0] != 0) return {-11, {}};
  uint32_t n = 0;
  for (const uint8_t octet : c) n = n << 8 | octet;
  return {0, octets_of(n)};
}

Verdict null(const Tlv& t) {
  if (t.tag != Octets{0x05}) return {-40, {}};
  return {t.content.empty() ? 0 : -17, {}};
}

Verdict object_identifier(const Tlv& t) {
  if (t.tag != Octets{0x06}) return {-40, {}};
  return {0, t.content};
}

Verdict octet_string(const Tlv& t) {
  if (!t.is(0x04)) return {-40, {}};
  if (const auto octets = StringOf(t, 0x04)) return {0, octets};
  return {-19, {}};
}

// Collects the components; an octet of unused bits before the last one is an error of its own.
[[nodiscard]] bool collect_bits(const Tlv& t, Octets* octets, uint8_t* unused, AsnInt* code) {
  if (!t.is(0x03)) {
    *code = -3;
    return false;
  }
  if (t.constructed()) {
    return std::all_of(t.children.begin(), t.children.end(),
                       [&](const Tlv& child) { return collect_bits(child, octets, unused, code); });
  }
  if (*unused != 0) {
    *code = -1;
    return false;
  }
  if (t.content.empty()) return true;
  *unused = t.content[0];
  octets->insert(octets->end(), t.content.begin() + 1, t.content.end());
  return true;
}

Verdict bit_string(const Tlv& t) {
  if (!t.is(0x03)) return {-40, {}};
  if (!t.constructed() && t.content.empty()) return {-4, {}};
  Octets octets;
  uint8_t unused = 0;
  AsnInt code = 0;
  if (!collect_bits(t, &octets, &unused, &code)) return {code, {}};
  const auto bits = uint32_t(octets.size() * 8 < unused ? 0 : octets.size() * 8 - unused);
  octets.resize((bits + 7) / 8);
  Octets value = octets_of(bits);
  value.insert(value.end(), octets.begin(), octets.end());
  return {0, value};
}

using Judge = Verdict (*)(const Tlv&);

void check_primitive(View in, Judge judge, Outcome (*run_type)(View)) {
  const Outcome o = run_type(in);
  Tlv tlv;
  const auto used = ReadTlv(in, &tlv);
  if (!used) return;
  const Verdict v = judge(tlv);
  if (!v.value && v.code == 0 && o.code != 0) return;
  FUZZ_CHECK(o.code == v.code, o.code);
  if (v.value) FUZZ_CHECK(o.value == *v.value && o.bytes == *used, o.bytes);
}

// --- Open types ------------------------------------------------------------------

// An identifier, followed by the value that it selects.
void check_any(View in) {
  FUZZ_CHECK(EnsureAsnInit(), 0);
  Tlv identifier;
  const auto used = ReadTlv(in, &identifier);
  if (!used || identifier.nested) return;
  AsnOid oid{uint32_t(identifier.content.size()), identifier.content.data()};
  const View rest = in.subspan(*used);
  const Input value(rest);
  const auto decode = [&](AsnAny* any, ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
    SetAnyTypeByOid(any, oid);
    BDecAny(b, any, bytes, env);
  };
  const auto encode = [](const AsnAny& any) {
    ExpBufHolder buf;
    const AsnLen n = BEncAny(buf.handle(), &any);
    ExpBufRewind(buf.handle());
    Octets out(ExpBufLength(buf.block()));
    ExpBufCopyOut(out.data(), buf.handle(), out.size());
    FUZZ_CHECK(out.size() == n, n);
    return out;
  };
  const auto round = [&](ExpBuf** b, Outcome* out, AsnJmpEnv& env) {
    Freed<AsnAny, FreeAny> any;
    decode(&any.value, b, &out->bytes, env);
    out->value = encode(any.value);
  };
  const Outcome o = run(value.view(), round);
  if (o.code != 0) return;
  FUZZ_CHECK(IsDefinite(o.value), o.value.size());
  const Outcome again = run(o.value, round);
  FUZZ_CHECK(again.code == 0 && again.value == o.value && again.bytes == o.value.size(), again.code);
}

// Nothing is registered by number.
void check_any_by_number(View in) {
  FUZZ_CHECK(EnsureAsnInit(), 0);
  int32_t number = 0;
  for (const uint8_t octet : in.first(std::min<size_t>(in.size(), 4))) number = number << 8 | octet;
  const Outcome o = run(in, [&](ExpBuf** b, Outcome* out, AsnJmpEnv& env) {
    Freed<AsnAny, FreeAny> any;
    SetAnyTypeByInt(&any.value, number);
    BDecAny(b, &any.value, &out->bytes, env);
  });
  FUZZ_CHECK(o.code == -44, o.code);
}

template <Judge judge, auto runType>
void primitive(View in) {
  check_primitive(in, judge, runType);
}

// The corpus names routines by their place: new ones go to the end.
// clang-format off
constexpr void (*kChecks[])(View) = {
    check_tag,
    check_length,
    check_end_of_contents,
    primitive<boolean, run_primitive<AsnBool, BDecAsnBool, BEncAsnBool, FreeAsnBool, PrintAsnBool>>,
    primitive<integer, run_primitive<AsnInt, BDecAsnInt, BEncAsnInt, FreeAsnInt, PrintAsnInt>>,
    primitive<unsigned_integer, run_primitive<UAsnInt, BDecUAsnInt, BEncUAsnInt, FreeUAsnInt, PrintUAsnInt>>,
    primitive<bit_string, run_primitive<AsnBits, BDecAsnBits, BEncAsnBits, FreeAsnBits, PrintAsnBits>>,
    primitive<octet_string, run_primitive<AsnOcts, BDecAsnOcts, BEncAsnOcts, FreeAsnOcts, PrintAsnOcts>>,
    primitive<null, run_primitive<AsnNull, BDecAsnNull, BEncAsnNull, FreeAsnNull, PrintAsnNull>>,
    primitive<object_identifier, run_primitive<AsnOid, BDecAsnOid, BEncAsnOid, FreeAsnOid, PrintAsnOid>>,
    check_any,
    check_any_by_number,
};
// clang-format on

}  // namespace

size_t NotEncodings(View) {
  return 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const Input in({data + 1, size - 1});
  kChecks[data[0] % std::size(kChecks)](in.view());
  return 0;
}

}  // namespace qex::fuzz
