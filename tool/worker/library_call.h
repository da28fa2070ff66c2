// Calling exports that read foreign octets: lengths, outputs, and what a failed call becomes.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "api/qex.h"
#include "tool/base/bytes.h"
#include "tool/base/failure.h"
#include "tool/message/facts.h"

namespace qex::tool {

// LibraryStop returns where an export stopped that answered `code` on `message`; the last ASN.1 error must
// still be that of the call. An identifier that the library has no type for is named. Throws the Failure of
// memory that ran out.
Stop LibraryStop(const std::string& what, int32_t code, ByteView message);

// FailureOf returns the failure for a stop when no other reader reads the message: exit status 7 for an
// algorithm without a type, else that of the code.
Failure FailureOf(const Stop& stop);

// LibraryFailure is both together.
Failure LibraryFailure(const std::string& what, int32_t code, ByteView message);

// RequireMemory throws the Failure of a call that ran out of memory, in the library or in a decoder of
// it; nothing is known about the message then. The last ASN.1 error must still be that of the call.
// Any other code passes: it is a result like others.
void RequireMemory(const std::string& what, int32_t code);

// CallWithMemory is RequireMemory for a call of which any code but QEX_OK may be due to a failed allocation,
// so that a check seems to fail. A failed allocation leaves its mark in errno.
template <class Call>
[[nodiscard]] int32_t CallWithMemory(const std::string& what, Call call) {
  errno = 0;
  const int32_t code = call();
  if (code != QEX_OK && errno == ENOMEM) throw std::bad_alloc();
  RequireMemory(what, code);
  return code;
}

// LengthOf returns the length in the type of the exports; messages are at most kMaxMessage long.
inline uint32_t LengthOf(ByteView data) {
  return uint32_t(data.size());
}

// FieldOf returns the octets of a record's field; `length` may be that of a value that was cut.
template <size_t kSize>
ByteView FieldOf(const uint8_t (&octets)[kSize], size_t length) {
  return {octets, std::min(length, kSize)};
}

// FetchOutput fills `out` by an export that returns the length needed with QEX_E_SIZE. `call(data, length)`
// returns the code. The first try has room for `guess` octets; 0 asks for the length.
template <class Call>
[[nodiscard]] int32_t FetchOutput(Bytes& out, size_t guess, Call call) {
  out.resize(guess);
  uint32_t length = LengthOf(out);
  int32_t code = call(guess == 0 ? nullptr : out.data(), &length);
  if (code == QEX_E_SIZE) {
    out.resize(length);
    code = call(out.data(), &length);
  }
  out.resize(code == QEX_OK ? length : 0);
  return code;
}

}  // namespace qex::tool
