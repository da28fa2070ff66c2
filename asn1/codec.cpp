// Decoding, encoding and release by descriptor.
//
// The decoders of the kinds call each other as deep as values nest and are kept out of line: if they were
// merged, each level would take the stack frames of all of them.
#include "asn1/codec.h"

#include <cstdio>
#include <string_view>

#include "asn1/member_access.h"
#include "ber/memory.h"

namespace qex {
namespace {

// --- Decoding ------------------------------------------------------------------
//
// The decoders of the kinds (decode_sequence, decode_set, decode_choice, decode_list, decode_open_list and
// decode_explicit) share one contract. `tag` and `len` are the identifier and the length of the value; the
// caller has read them and counted their octets, and `len` may be INDEFINITE_LEN. The decoder reads from the
// first octet of the content on, counts what it reads in `used`, and adds that to the caller's `*bytes` when
// the value is complete; decode_choice and decode_explicit do not need the sum and let their parts add to
// `*bytes`. After a raise the counts mean nothing. An indefinite length is closed by the decoder that
// receives it: the end-of-contents octets count as content, and no caller looks for them. A definite one is
// compared with `used` by decode_sequence and decode_set; a list ends where `used` reaches it.

void decode_sequence(const Type& t, ExpBuf** b, AsnLen len, void* rec, AsnLen* bytes, AsnJmpEnv& env);
void decode_set(const Type& t, ExpBuf** b, AsnLen len, void* rec, AsnLen* bytes, AsnJmpEnv& env);
void decode_choice(const Type& t, ExpBuf** b, AsnTag tag, AsnLen len, void* rec, AsnLen* bytes,
                   AsnJmpEnv& env);
void decode_list(const Type& t, ExpBuf** b, AsnLen len, void* v, AsnLen* bytes, AsnJmpEnv& env);

inline void decode_content(const Type& t, ExpBuf** b, AsnTag tag, AsnLen len, void* v, AsnLen* bytes,
                           AsnJmpEnv& env) {
  switch (t.kind) {
    case Kind::Primitive: return t.codec->decode(b, tag, len, v, bytes, env);
    case Kind::Sequence: return decode_sequence(t, b, len, v, bytes, env);
    case Kind::Set: return decode_set(t, b, len, v, bytes, env);
    case Kind::Choice: return decode_choice(t, b, tag, len, v, bytes, env);
    case Kind::ListOf: return decode_list(t, b, len, v, bytes, env);
    case Kind::Any:
    case Kind::OpenList: break;  // reached through the field that names their type
  }
}

[[nodiscard]] bool starts_with_tag(const Type& t, AsnTag tag);

// An untagged CHOICE has no tag in its row.
[[nodiscard]] inline bool matches(const Field& f, AsnTag tag) {
  if (tag == f.firstTag || tag == f.secondTag) return true;
  return f.firstTag == kNoTag && starts_with_tag(*f.type, tag);
}

// An untagged CHOICE is recognised by the tags of its alternatives.
bool starts_with_tag(const Type& t, AsnTag tag) {
  if (t.kind != Kind::Choice) return tag == t.tag || (t.altTag != 0 && tag == t.altTag);
  for (const Field& f : t.fields) {
    if (matches(f, tag)) return true;
  }
  return false;
}

// An open type that is not wrapped in an EXPLICIT tag: the registered decoder reads the tag.
[[nodiscard]] bool reads_own_tag(const Field& f) {
  return f.type->kind == Kind::Any && f.tagging == Tagging::None;
}

// Where the field's value is to be decoded: in the record, or newly allocated and hung there.
void* place_for(const Field& f, void* rec, AsnJmpEnv& env) {
  void* slot = SlotOf(rec, f);
  if (f.held == Held::Inline) return slot;
  void* v = AsnNew(f.type->size, env);
  StorePointer(slot, v);
  return v;
}

// For some identifiers a value may have another type than the registered one. Out of line, as its callers
// have a frame on the stack at every level.
[[gnu::noinline]] const OpenShape* find_shape(const Type& t, const AsnOid& identifier, AsnTag tag,
                                              ShapePlace place) {
  for (const OpenShape& s : t.shapes) {
    if (s.place == place && s.type->tag == tag && AsnOidEqual(s.identifier, identifier)) {
      return &s;
    }
  }
  return nullptr;
}

const AsnOid& identifier_for(const Field& f, const void* rec) {
  return *reinterpret_cast<const AsnOid*>(static_cast<const char*>(rec) + f.definedBy);
}

// The shape of the one value that replaces, under `tag`, the SET that the field names.
const OpenShape* shape_in_place(const Field& f, AsnTag tag, const void* rec) {
  if (f.type->kind != Kind::OpenList || tag == f.type->tag) return nullptr;
  return find_shape(*f.type, identifier_for(f, rec), tag, ShapePlace::WholeSet);
}

// Reads the end of an indefinite length if it comes next. The end of the data is left to the
// tag decoder, which reports it.
[[nodiscard]] bool end_of_contents(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
  if (ExpBufPeekByte(b) != 0) return false;
  BDecTag(b, bytes, env);
  BDecSecondEocOctet(b, bytes, env);
  return true;
}

AsnAny* append_any(AsnList* list, AsnJmpEnv& env) {
  void** slot = AsnListAppendNew(list, env);
  *slot = AsnNew(sizeof(AsnAny), env);
  return static_cast<AsnAny*>(*slot);
}

// The values of an attribute: a SET OF ANY DEFINED BY its type, or one value instead of the SET.
[[gnu::noinline]] void decode_open_list(const Field& f, ExpBuf** b, AsnTag tag, AsnLen len, void* rec,
                                        AsnLen* bytes, AsnJmpEnv& env) {
  const AsnOid& identifier = identifier_for(f, rec);
  auto* list = static_cast<AsnList*>(place_for(f, rec, env));
  list->dataSize = sizeof(void*);
  if (const OpenShape* shape = shape_in_place(f, tag, rec)) {
    AsnAny* any = append_any(list, env);
    any->ai = shape->info;
    any->value = AsnNew(shape->type->size, env);
    DecodeContent(*shape->type, b, tag, len, any->value, bytes, env);
    return;
  }
  // Looked up once: the identifier may be as long as the input, and so may the number of values.
  AsnAny registered{};
  SetAnyTypeByOid(&registered, identifier);
  AsnLen used = 0;
  while (len == INDEFINITE_LEN || used < len) {
    if (len == INDEFINITE_LEN && end_of_contents(b, &used, env)) break;
    AsnAny* any = append_any(list, env);
    const OpenShape* shape =
        find_shape(*f.type, identifier, AsnTag{ExpBufPeekByte(b)} << 24, ShapePlace::Element);
    any->ai = shape != nullptr ? shape->info : registered.ai;
    BDecAny(b, any, &used, env);
  }
  *bytes += used;
}

void decode_any(const Field& f, ExpBuf** b, void* rec, AsnLen* bytes, AsnJmpEnv& env) {
  auto* any = static_cast<AsnAny*>(SlotOf(rec, f));
  const void* identifier = static_cast<const char*>(rec) + f.definedBy;
  if (f.definedByInt) {
    SetAnyTypeByInt(any, *static_cast<const AsnInt*>(identifier));
  } else {
    SetAnyTypeByOid(any, *static_cast<const AsnOid*>(identifier));
  }
  BDecAny(b, any, bytes, env);
}

// Deliberate: a definite length of the EXPLICIT tag is not compared; the lengths around it decide.
[[gnu::noinline]] void decode_explicit(const Field& f, ExpBuf** b, AsnLen len, void* rec, AsnLen* bytes,
                                       AsnJmpEnv& env) {
  if (f.type->kind == Kind::Any) {
    decode_any(f, b, rec, bytes, env);
  } else {
    const AsnTag inner = BDecTag(b, bytes, env);
    if (f.checksInnerTag && !starts_with_tag(*f.type, inner)) AsnRaise(env, f.innerTagCode);
    const AsnLen innerLen = BDecLen(b, bytes, env);
    DecodeContent(*f.type, b, inner, innerLen, place_for(f, rec, env), bytes, env);
  }
  if (len == INDEFINITE_LEN) BDecEoc(b, bytes, env);
}

// Decodes the value of a field, whose tag and length have been read.
inline void decode_field(const Field& f, ExpBuf** b, AsnTag tag, AsnLen len, void* rec, AsnLen* bytes,
                         AsnJmpEnv& env) {
  if (f.tagging == Tagging::Explicit) return decode_explicit(f, b, len, rec, bytes, env);
  if (f.type->kind == Kind::OpenList) return decode_open_list(f, b, tag, len, rec, bytes, env);
  decode_content(*f.type, b, tag, len, place_for(f, rec, env), bytes, env);
}

// How far the content of a SEQUENCE has been read.
struct SequenceProgress {
  AsnLen used = 0;
  AsnTag tag = 0;
  bool tagIsPending = false;  // `tag` has been read, and no field has taken it yet
};

// The next element of a SEQUENCE.
enum class Next : uint8_t {
  End,       // of the content; an end-of-contents marker has been read
  Tag,       // a tag, now pending: read just now, or left by an OPTIONAL field that is absent
  OpenValue  // a value whose decoder reads the tag itself
};

// next_in_sequence reads what comes next when field i is due. The content may end here only if no mandatory
// field is left: before one, an end-of-contents marker is a tag like any other.
Next next_in_sequence(const Type& t, size_t i, ExpBuf** b, AsnLen len, SequenceProgress* at, AsnJmpEnv& env) {
  if (at->tagIsPending) return Next::Tag;
  const bool mayEnd = i >= t.mandatory;
  const bool indefinite = len == INDEFINITE_LEN;
  if (mayEnd && !indefinite && at->used == len) return Next::End;
  if (reads_own_tag(t.fields[i])) {
    const bool ends = mayEnd && indefinite && end_of_contents(b, &at->used, env);
    return ends ? Next::End : Next::OpenValue;
  }
  at->tag = BDecTag(b, &at->used, env);
  if (mayEnd && indefinite && at->tag == 0) {
    BDecSecondEocOctet(b, &at->used, env);
    return Next::End;
  }
  at->tagIsPending = true;
  return Next::Tag;
}

// close_sequence tests what follows the last field: nothing, or the end of an indefinite length.
void close_sequence(const Type& t, ExpBuf** b, AsnLen len, SequenceProgress* at, AsnJmpEnv& env) {
  if (at->tagIsPending) AsnRaise(env, t.trailingCode);
  if (len == INDEFINITE_LEN) {
    BDecEoc(b, &at->used, env);
  } else if (at->used != len) {
    AsnRaise(env, t.lengthCode);
  }
}

[[gnu::noinline]] void decode_sequence(const Type& t, ExpBuf** b, AsnLen len, void* rec, AsnLen* bytes,
                                       AsnJmpEnv& env) {
  SequenceProgress at;
  Next next = Next::Tag;
  for (size_t i = 0; i < t.fields.size(); ++i) {
    const Field& f = t.fields[i];
    next = next_in_sequence(t, i, b, len, &at, env);
    if (next == Next::End) break;
    if (next == Next::OpenValue) {
      decode_any(f, b, rec, &at.used, env);
    } else if (matches(f, at.tag) || shape_in_place(f, at.tag, rec) != nullptr) {
      at.tagIsPending = false;
      const AsnLen fieldLen = BDecLen(b, &at.used, env);
      decode_field(f, b, at.tag, fieldLen, rec, &at.used, env);
    } else if (f.need == Need::Mandatory) {
      AsnRaise(env, f.missingCode);
    }
  }
  if (next != Next::End) close_sequence(t, b, len, &at, env);
  *bytes += at.used;
}

[[noreturn, gnu::cold, gnu::noinline]] void fail_named(AsnJmpEnv& env, AsnInt code, const char* routine,
                                                       const char* what) {
  char text[128];
  constexpr std::string_view kLongestWhat = "Content: ERROR - non-optional elmt missing from SET\n";
  static_assert(4 + kLongestTypeName + kLongestWhat.size() < sizeof text,
                "a text has room for the longest name");
  std::snprintf(text, sizeof text, "BDec%s%s", routine, what);
  AsnFail(env, code, text);
}

// Releases the value of a field, which is absent after that: a null pointer, an empty list, no octets.
void release_field(const Field& f, void* rec) {
  void* v = ValueOf(rec, f);
  FreeValue(*f.type, v);
  if (f.held == Held::Inline) return;
  AsnFree(v);
  StorePointer(SlotOf(rec, f), nullptr);
}

// The value of a field that a SET repeats is replaced by the later one; in an arena it is just abandoned.
void drop_field(const Field& f, void* rec, const AsnJmpEnv& env) {
  if (env.arena == nullptr) return release_field(f, rec);
  std::memset(SlotOf(rec, f), 0, f.held == Held::Inline ? f.type->size : sizeof(void*));
}

[[gnu::noinline]] void decode_set(const Type& t, ExpBuf** b, AsnLen len, void* rec, AsnLen* bytes,
                                  AsnJmpEnv& env) {
  AsnLen used = 0;
  uint32_t seen = 0;
  while (len == INDEFINITE_LEN || used < len) {
    const AsnTag tag = BDecTag(b, &used, env);
    if (tag == 0 && len == INDEFINITE_LEN) {
      BDecSecondEocOctet(b, &used, env);
      break;
    }
    size_t i = 0;
    while (i < t.fields.size() && !matches(t.fields[i], tag)) ++i;
    if (i == t.fields.size()) {
      fail_named(env, t.unexpectedCode, t.name, "Content: ERROR - Unexpected tag in SET\n");
    }
    if ((seen >> i & 1) != 0) drop_field(t.fields[i], rec, env);  // of a repeated field the last one stays
    seen |= uint32_t{1} << i;
    const AsnLen fieldLen = BDecLen(b, &used, env);
    decode_field(t.fields[i], b, tag, fieldLen, rec, &used, env);
  }
  for (size_t i = 0; i < t.fields.size(); ++i) {
    if (t.fields[i].need == Need::Mandatory && (seen >> i & 1) == 0) {
      fail_named(env, t.fields[i].missingCode, t.name,
                 "Content: ERROR - non-optional elmt missing from SET\n");
    }
  }
  if (len != INDEFINITE_LEN && used != len) AsnRaise(env, t.lengthCode);
  *bytes += used;
}

[[gnu::noinline]] void decode_choice(const Type& t, ExpBuf** b, AsnTag tag, AsnLen len, void* rec,
                                     AsnLen* bytes, AsnJmpEnv& env) {
  for (size_t i = 0; i < t.fields.size(); ++i) {
    if (!matches(t.fields[i], tag)) continue;
    *static_cast<AsnInt*>(rec) = AsnInt(i);
    return decode_field(t.fields[i], b, tag, len, rec, bytes, env);
  }
  AsnFail(env, t.unexpectedCode, "ERROR - unexpected tag in CHOICE\n");
}

// Deliberate: the last element may run past the end of the list; the lengths around it decide.
[[gnu::noinline]] void decode_list(const Type& t, ExpBuf** b, AsnLen len, void* v, AsnLen* bytes,
                                   AsnJmpEnv& env) {
  auto* list = static_cast<AsnList*>(v);
  const Type& element = *t.element;
  list->dataSize = sizeof(void*);
  AsnLen used = 0;
  while (len == INDEFINITE_LEN || used < len) {
    const AsnTag tag = BDecTag(b, &used, env);
    if (tag == 0 && len == INDEFINITE_LEN) {
      BDecSecondEocOctet(b, &used, env);
      break;
    }
    if (!starts_with_tag(element, tag)) AsnFail(env, t.unexpectedCode, "Unexpected Tag\n");
    const AsnLen elementLen = BDecLen(b, &used, env);
    void** slot = AsnListAppendNew(list, env);
    *slot = AsnNew(element.size, env);
    AsnLen elementUsed = 0;
    decode_content(element, b, tag, elementLen, *slot, &elementUsed, env);
    // An indefinite element has been closed by its own content decoder.
    if (elementLen != INDEFINITE_LEN && elementUsed != elementLen) AsnRaise(env, t.lengthCode);
    used += elementUsed;
  }
  *bytes += used;
}

// --- Encoding ------------------------------------------------------------------

// Deliberate: a DEFAULT value that is there is written, also when it equals the default.
[[nodiscard]] bool is_absent(const Field& f, const void* v) {
  if (v == nullptr) return true;
  if (f.held == Held::Pointer || f.need == Need::Mandatory) return false;
  if (f.type->kind == Kind::Any) return static_cast<const AsnAny*>(v)->value == nullptr;
  return f.type->codec->absent(v);
}

AsnLen encode_field(const Field& f, ExpBuf** b, const void* v) {
  const Type& t = *f.type;
  if (f.tagging == Tagging::Implicit) return BEncLenAndTag(b, f.tag, EncodeContent(t, b, v));
  const AsnLen n = EncodeFull(t, b, v);
  return f.tagging == Tagging::Explicit ? BEncLenAndTag(b, f.tag, n) : n;
}

// Deliberate: the elements of a SET OF are not sorted; a list is written in its own order.
AsnLen encode_list(const Type& element, ExpBuf** b, const AsnList* list) {
  AsnLen n = 0;
  for (const AsnListNode* p = list->last; p != nullptr; p = p->prev) n += EncodeFull(element, b, p->data[0]);
  return n;
}

// Whether the list holds the single value that replaces its SET.
[[nodiscard]] bool is_in_place(const Type& t, const AsnList* list) {
  const auto* any = FirstOf<const AsnAny>(list);
  if (any == nullptr) return false;
  for (const OpenShape& s : t.shapes) {
    if (s.place == ShapePlace::WholeSet && any->ai == s.info) return true;
  }
  return false;
}

}  // namespace

void DecodeContent(const Type& t, ExpBuf** b, AsnTag tag, AsnLen len, void* v, AsnLen* bytes,
                   AsnJmpEnv& env) {
  decode_content(t, b, tag, len, v, bytes, env);
}

void DecodeFull(const Type& t, ExpBuf** b, void* v, AsnLen* bytes, AsnJmpEnv& env) {
  const AsnTag tag = BDecTag(b, bytes, env);
  if (t.kind != Kind::Choice && !starts_with_tag(t, tag)) {
    fail_named(env, t.wrongTagCode, t.name, ": ERROR - wrong tag\n");
  }
  const AsnLen len = BDecLen(b, bytes, env);
  DecodeContent(t, b, tag, len, v, bytes, env);
}

AsnLen EncodeContent(const Type& t, ExpBuf** b, const void* v) {
  switch (t.kind) {
    case Kind::Primitive: return t.codec->encode(b, v);
    case Kind::Any: return BEncAny(b, static_cast<const AsnAny*>(v));
    case Kind::ListOf: return encode_list(*t.element, b, static_cast<const AsnList*>(v));
    case Kind::OpenList: return encode_list(kAsnAny, b, static_cast<const AsnList*>(v));
    case Kind::Choice: {
      const Field& f = t.fields[size_t(*static_cast<const AsnInt*>(v))];
      const void* alternative = ValueOf(v, f);
      return alternative == nullptr ? 0 : encode_field(f, b, alternative);
    }
    case Kind::Sequence:
    case Kind::Set: break;
  }
  AsnLen n = 0;
  for (size_t i = t.fields.size(); i-- > 0;) {
    const void* fieldValue = ValueOf(v, t.fields[i]);
    if (!is_absent(t.fields[i], fieldValue)) n += encode_field(t.fields[i], b, fieldValue);
  }
  return n;
}

AsnLen EncodeFull(const Type& t, ExpBuf** b, const void* v) {
  const AsnLen n = EncodeContent(t, b, v);
  // The alternative of a CHOICE, an open type and a value in place of a SET bring their own tag.
  if (t.kind == Kind::Choice || t.kind == Kind::Any) return n;
  if (t.kind == Kind::OpenList && is_in_place(t, static_cast<const AsnList*>(v))) return n;
  return BEncLenAndTag(b, t.tag, n);
}

void FreeValue(const Type& t, void* v) {
  if (v == nullptr) return;
  switch (t.kind) {
    case Kind::Primitive:
      if (t.codec->free != nullptr) t.codec->free(v);
      return;
    case Kind::Any: FreeAny(static_cast<AsnAny*>(v)); return;
    case Kind::Sequence:
    case Kind::Set:
      for (const Field& f : t.fields) release_field(f, v);
      return;
    case Kind::Choice: release_field(t.fields[size_t(*static_cast<AsnInt*>(v))], v); return;
    case Kind::ListOf:
    case Kind::OpenList: {
      auto* list = static_cast<AsnList*>(v);
      const Type& element = t.kind == Kind::OpenList ? kAsnAny : *t.element;
      for (AsnListNode* p = list->first; p != nullptr; p = p->next) {
        FreeValue(element, p->data[0]);
        AsnFree(p->data[0]);
      }
      AsnListFreeNodes(list);
      return;
    }
  }
}

}  // namespace qex
