// Comparison of decoded values, and the checks that hold for every type.
#include "fuzz/support/values.h"

#include <cstdio>
#include <cstring>

#include "api/frame.h"
#include "ber/memory.h"

namespace qex::fuzz {
namespace {

template <class T>
const T& as(const void* v) {
  return *static_cast<const T*>(v);
}

const void* pointer_at(const void* slot) {
  void* p;
  std::memcpy(&p, slot, sizeof p);
  return p;
}

// A value of a type, released at the end.
class Value {
 public:
  explicit Value(const Type& t) : type_(t), record_(AsnAlloc(t.size)) {}
  ~Value() {
    FreeValue(type_, record_);
    AsnFree(record_);
  }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  void* get() const { return record_; }

 private:
  const Type& type_;
  void* record_;
};

struct Outcome {
  AsnInt code = 0;
  AsnLen bytes = 0;
};

Outcome decode(const Type& t, ExpBuf* block, void* v) {
  ResetProcess();
  Outcome outcome;
  outcome.code = AsnCatch([&](AsnJmpEnv& env) { DecodeFull(t, &block, v, &outcome.bytes, env); });
  return outcome;
}

Outcome decode(const Type& t, View in, void* v) {
  ExpBuf block;
  ExpBufWrapData(&block, in.data(), in.size());
  return decode(t, &block, v);
}

// encode returns the encoding written into blocks of `blockSize` octets.
Octets encode(const Type& t, const void* v, size_t blockSize) {
  ExpBufSetBlockSize(blockSize);
  ExpBufHolder buf;
  const AsnLen n = EncodeFull(t, buf.handle(), v);
  ExpBufSetBlockSize(kLibraryBlockSize);
  FUZZ_CHECK(!buf.failed(), 0);
  ExpBufRewind(buf.handle());
  const size_t length = ExpBufLength(buf.block());
  FUZZ_CHECK(length == n, n);
  Octets out(length);
  FUZZ_CHECK(ExpBufCopyOut(out.data(), buf.handle(), length) == length, length);
  return out;
}

[[nodiscard]] bool equal_any(const AsnAny& a, const AsnAny& b) {
  if (a.ai != b.ai || (a.value == nullptr) != (b.value == nullptr)) return false;
  if (a.value == nullptr || a.ai == nullptr) return true;
  const auto encoding = [](const AsnAny& any) {
    ExpBufHolder buf;
    BEncAny(buf.handle(), &any);
    ExpBufRewind(buf.handle());
    Octets out(ExpBufLength(buf.block()));
    ExpBufCopyOut(out.data(), buf.handle(), out.size());
    return out;
  };
  return encoding(a) == encoding(b);
}

[[nodiscard]] bool equal_primitive(const Type& t, const void* a, const void* b) {
  if (t.codec == &kIntCodec) return as<AsnInt>(a) == as<AsnInt>(b);
  if (t.codec == &kBoolCodec) return as<AsnBool>(a) == as<AsnBool>(b);
  if (t.codec == &kNullCodec) return true;
  // Absent and empty are not the same.
  if (t.codec == &kBitsCodec) {
    return (as<AsnBits>(a).octs == nullptr) == (as<AsnBits>(b).octs == nullptr) &&
           AsnBitsEqual(as<AsnBits>(a), as<AsnBits>(b));
  }
  if (t.codec == &kOidCodec) {
    return (as<AsnOid>(a).octs == nullptr) == (as<AsnOid>(b).octs == nullptr) &&
           AsnOidEqual(as<AsnOid>(a), as<AsnOid>(b));
  }
  return (as<AsnOcts>(a).octs == nullptr) == (as<AsnOcts>(b).octs == nullptr) &&
         AsnOctsEqual(as<AsnOcts>(a), as<AsnOcts>(b));
}

[[nodiscard]] bool equal_lists(const Type& element, const AsnList& a, const AsnList& b) {
  if (a.count != b.count) return false;
  const AsnListNode* q = b.first;
  for (const AsnListNode* p = a.first; p != nullptr; p = p->next, q = q->next) {
    if (q == nullptr || !EqualValues(element, p->data[0], q->data[0])) return false;
  }
  return q == nullptr;
}

[[nodiscard]] bool equal_fields(const Field& f, const void* a, const void* b) {
  const void* x = static_cast<const char*>(a) + f.offset;
  const void* y = static_cast<const char*>(b) + f.offset;
  if (f.held == Held::Pointer) {
    x = pointer_at(x);
    y = pointer_at(y);
    if (x == nullptr || y == nullptr) return x == y;
  }
  return EqualValues(*f.type, x, y);
}

void check_prefixes(const Type& t, View in, const Outcome& whole) {
  for (const uint64_t salt : {uint64_t{0}, uint64_t{1}, uint64_t{2}}) {
    const size_t n = salt == 0 ? whole.bytes - 1 : size_t(Mix(in, salt) % whole.bytes);
    const Input part(in.first(n));
    Value v(t);
    FUZZ_CHECK(decode(t, part.view(), v.get()).code != 0, n);
  }
}

void check_encoding(const Type& t, View in, const void* v) {
  const Octets once = encode(t, v, kLibraryBlockSize);
  FUZZ_CHECK(IsDefinite(once), once.size());
  FUZZ_CHECK(encode(t, v, size_t(1 + Mix(in, 3) % 40)) == once, once.size());
  Value again(t);
  const Input encoded(once);
  const Outcome outcome = decode(t, encoded.view(), again.get());
  FUZZ_CHECK(outcome.code == 0, outcome.code);
  FUZZ_CHECK(outcome.bytes == once.size(), outcome.bytes);
  FUZZ_CHECK(EqualValues(t, v, again.get()), once.size());
  FUZZ_CHECK(encode(t, again.get(), kLibraryBlockSize) == once, once.size());
}

FILE* nowhere() {
  static FILE* file = std::fopen("/dev/null", "w");
  return file;
}

}  // namespace

Chain::Chain(View in, uint64_t seed) {
  const uint64_t longest = in.size() < 256 ? 7 : 63;
  ExpBuf* last = nullptr;
  size_t at = 0;
  do {
    seed = seed * 6364136223846793005u + 1442695040888963407u;
    const size_t n = std::min(size_t(seed >> 33 & longest), in.size() - at);
    ExpBufSetBlockSize(n);
    ExpBuf* block = ExpBufNew();
    if (n != 0) {  // a new block is empty
      block->first = block->cursor = block->blockStart;
      std::memcpy(block->first, in.data() + at, n);
    }
    at += n;
    block->prevBlock = last;
    if (last == nullptr) {
      front_ = block;
    } else {
      last->nextBlock = block;
    }
    last = block;
  } while (at < in.size());
  ExpBufSetBlockSize(kLibraryBlockSize);
  // Reading begins at the front-most block that holds data.
  ExpBufRewind(&front_);
}

Chain::~Chain() {
  ExpBufFreeChain(ExpBufFirst(front_));
}

bool EqualValues(const Type& t, const void* a, const void* b) {
  switch (t.kind) {
    case Kind::Primitive: return equal_primitive(t, a, b);
    case Kind::Any: return equal_any(as<AsnAny>(a), as<AsnAny>(b));
    case Kind::ListOf: return equal_lists(*t.element, as<AsnList>(a), as<AsnList>(b));
    case Kind::OpenList: return equal_lists(kAsnAny, as<AsnList>(a), as<AsnList>(b));
    case Kind::Choice:
      return as<AsnInt>(a) == as<AsnInt>(b) && equal_fields(t.fields[size_t(as<AsnInt>(a))], a, b);
    case Kind::Sequence:
    case Kind::Set: break;
  }
  return std::all_of(t.fields.begin(), t.fields.end(), [&](const Field& f) { return equal_fields(f, a, b); });
}

void CheckType(const Type& t, View octets) {
  FUZZ_CHECK(EnsureAsnInit(), 0);
  const Input in(octets);
  Value v(t);
  const Outcome outcome = decode(t, in.view(), v.get());
  FUZZ_CHECK(outcome.code <= 0, outcome.code);
  {
    const Chain chain(in.view(), Mix(octets, 4));
    Value u(t);
    const Outcome byChain = decode(t, chain.front(), u.get());
    FUZZ_CHECK(byChain.code == outcome.code, byChain.code);
    if (outcome.code == 0) {
      FUZZ_CHECK(byChain.bytes == outcome.bytes, byChain.bytes);
      FUZZ_CHECK(EqualValues(t, v.get(), u.get()), outcome.bytes);
    }
  }
  if (outcome.code != 0) return;

  Tlv tlv;
  const auto wellFormed = ReadTlv(in.view(), &tlv);
  // An INTEGER of 32 bits without content takes an octet that it does not count, so the library reads the
  // next element from another place than a reader of elements.
  if (wellFormed && !HasEmptyInteger(tlv)) FUZZ_CHECK(outcome.bytes == *wellFormed, outcome.bytes);
  // A wrong length inside an EXPLICIT tag may count more octets than there are.
  if (outcome.bytes <= in.size()) check_prefixes(t, in.view(), outcome);
  check_encoding(t, in.view(), v.get());
  PrintValue(t, nowhere(), v.get(), 0);
}

}  // namespace qex::fuzz
