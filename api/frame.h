// The frame of every export: lazy initialisation, recovery point, last ASN.1 error, release, and the rules by
// which caller records and output buffers are filled.
//
// An export checks its arguments, ensures the initialisation, decodes into a Decoded owner, fills the
// caller's record or buffer, and returns; owners release on every path. Nothing here throws, and nothing
// allocates except through arenas, AsnAlloc and the buffers.
#pragma once

#include <algorithm>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "api/qex.h"
#include "ber/buffer.h"
#include "ber/memory.h"
#include "ber/open_types.h"
#include "ber/primitives.h"
#include "ber/tag_length.h"

namespace qex {

// The code of the most recent recovery point: 0 on the normal path, else the jump's code.
extern std::atomic<int32_t> lastAsnError;

// Succeeded makes the code of a recovery point the last ASN.1 error and returns whether it is 0. What does
// not change is not written, so that threads whose calls all succeed share the word's cache line.
[[nodiscard]] inline bool Succeeded(AsnInt code) {
  if (lastAsnError.load(std::memory_order_relaxed) != code) lastAsnError = code;
  return code == 0;
}

// EnsureAsnInit registers the open types and sets the block size, once per process; threads may call it at
// the same time. False when an allocation fails: everything built so far is released, and the next call
// builds it again.
[[nodiscard]] bool EnsureAsnInit();

// ProcessAttach is the library's entry point where the system has one: it does nothing and
// returns true for every reason.
[[nodiscard]] bool ProcessAttach(void* module, uint32_t reason, void* reserved);

template <class T>
using Decoder = void (*)(ExpBuf**, T*, AsnLen*, AsnJmpEnv&);

// DecodeBytes runs a full decoder over `length` bytes of the caller, which are not copied, and returns the
// number of octets read. Octets after them are ignored.
template <class T>
AsnLen DecodeBytes(Decoder<T> decode, const uint8_t* data, size_t length, T* value, AsnJmpEnv& env) {
  ExpBuf block;
  ExpBufWrapData(&block, data, length);
  ExpBuf* buf = &block;
  AsnLen bytes = 0;
  decode(&buf, value, &bytes, env);
  return bytes;
}

// Decoded owns a value and the arena of its parts: zeroed at first, released at the end, also when the
// decoder was left half way. Do not pass it to its type's Free routine.
template <class T>
class Decoded {
 public:
  Decoded() = default;
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;

  // decode is DecodeBytes under a recovery point, whose code it returns. `*bytes`, unless null, becomes the
  // number of octets read, if the value is complete.
  [[nodiscard]] AsnInt decode(Decoder<T> decoder, const uint8_t* data, size_t length,
                              AsnLen* bytes = nullptr) {
    arena_.expect(length);
    const auto work = [&](AsnJmpEnv& env) {
      const AsnLen read = DecodeBytes<T>(decoder, data, length, &value, env);
      if (bytes != nullptr) *bytes = read;
    };
    return AsnCatch(work, &arena_);
  }

  T value{};

 private:
  Arena arena_;
};

// EncodeInto runs an encoder into the empty buffer `buf` and rewinds it for reading. False when
// an allocation fails, or when the encoding is longer than a 32-bit length can say.
template <std::invocable<ExpBuf**> F>
[[nodiscard]] bool EncodeInto(ExpBufHolder& buf, F encode) {
  if (!buf) return false;
  encode(buf.handle());
  if (buf.failed() || ExpBufLength(ExpBufFirst(buf.block())) > UINT32_MAX) return false;
  ExpBufRewind(buf.handle());
  return true;
}

// EncodedLength returns the number of bytes that EncodeInto left in `buf`.
inline uint32_t EncodedLength(const ExpBufHolder& buf) {
  return uint32_t(ExpBufLength(buf.block()));
}

// EncodingEquals returns whether the rewound `buf` holds these octets and no more.
[[nodiscard]] bool EncodingEquals(const ExpBufHolder& buf, const uint8_t* octets, size_t length);

// CopyOut hands the rewound `buf` out under the output-buffer rule: `*outLength` is set to its
// length, and the bytes are copied when `out` is not null and `capacity` suffices. Returns
// QEX_OK or QEX_E_SIZE.
[[nodiscard]] int32_t CopyOut(ExpBufHolder& buf, uint8_t* out, uint32_t capacity, uint32_t* outLength);

// ValueAs returns the value of an open type as a T when its type was registered under `anyId`, and null for
// any other type: an identifier in the input must never decide how memory is interpreted.
template <class T>
T* ValueAs(const AsnAny& any, int32_t anyId) {
  return any.ai != nullptr && any.ai->anyId == anyId ? static_cast<T*>(any.value) : nullptr;
}

// NullParameters returns the open value NULL, which nobody owns and which serves encoding only.
AsnAny NullParameters();

// --- Filling records ---------------------------------------------------------

// CopyOctets copies `value` into a field, up to its size, and returns whether all of it fitted.
template <size_t kSize>
[[nodiscard]] bool CopyOctets(uint8_t (&field)[kSize], const AsnOcts& value) {
  const size_t n = std::min<size_t>(value.count, kSize);
  if (n != 0) std::memcpy(field, value.octs, n);
  return value.count <= kSize;
}

// CopyText copies `value` into a cleared text field, leaving room for the terminator.
template <size_t kSize>
void CopyText(char (&field)[kSize], const AsnOcts& value) {
  const size_t n = std::min<size_t>(value.count, kSize - 1);
  if (n != 0) std::memcpy(field, value.octs, n);
}

// IsTerminated returns whether a text field of the caller holds a zero byte.
template <size_t kSize>
[[nodiscard]] bool IsTerminated(const char (&field)[kSize]) {
  return std::memchr(field, 0, kSize) != nullptr;
}

// AsnIntToU64 converts the contents octets of an INTEGER, taken as unsigned. Returns 0, or -1
// when the value does not fit (9 octets fit when the first is a sign octet of 0); `*out` is
// then 0. No octets are 0.
[[nodiscard]] int32_t AsnIntToU64(const AsnOcts& value, QEX_U64* out);

// U64ToAsnInt stores the minimal contents octets of a non-negative INTEGER in `*out`; 0 has none. The octets
// are allocated with AsnAlloc and freed by the caller with AsnFree. Returns 0, or -1 when allocation fails.
[[nodiscard]] int32_t U64ToAsnInt(const QEX_U64& in, AsnOcts* out);

}  // namespace qex
