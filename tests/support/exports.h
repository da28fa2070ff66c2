// Calls of exports that write to an output buffer, with the octets at the end of readable memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>

#include "api/qex.h"
#include "tests/support/der.h"
#include "tests/support/guarded.h"

namespace qex::test {

// Output is the outcome of such a call: its code, the length it set, and the whole buffer.
struct Output {
  int32_t code = 0;
  uint32_t length = 0;
  Octets octets;
  bool operator==(const Output&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Output& output) {
  return out << "code " << output.code << ", length " << output.length;
}

inline constexpr uint32_t kUnset = 0xA5A5A5A5;  // a length that no call sets

// Call runs `call(out, &length)` with a buffer of exactly `capacity` octets.
template <class F>
Output Call(uint32_t capacity, const F& call) {
  Guarded buffer(capacity);
  uint32_t length = capacity;
  const int32_t code = call(buffer.data(), &length);
  return {code, length, buffer.octets()};
}

// AskLength runs `call` with a null buffer and `length` in its length.
template <class F>
Output AskLength(const F& call, uint32_t length = 0) {
  const int32_t code = call(static_cast<uint8_t*>(nullptr), &length);
  return {code, length, {}};
}

// Fetch asks for the length and calls again with a buffer of exactly that length. If there is no length, it
// returns the result of the first call.
template <class F>
Output Fetch(const F& call) {
  const Output asked = AskLength(call);
  return asked.code == QEX_E_SIZE ? Call(asked.length, call) : asked;
}

// Calls of the single exports, in the form for Call and Fetch. Input is copied to guarded memory, and so are
// the octets that they refer to: keep the caller alive while it is used.
class EncodedToken {
 public:
  explicit EncodedToken(const Octets& response) : response_(response) {}
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return QEX_GetTSR_EncodedToken(out, length, response_.data(), response_.size());
  }

 private:
  Guarded response_;
};

class TsaCert {
 public:
  explicit TsaCert(const Octets& token) : token_(token) {}
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return QEX_GetTST_TSACert(out, length, token_.data(), token_.size());
  }

 private:
  Guarded token_;
};

class EncodedRequest {
 public:
  EncodedRequest(const QEX_TSQ_DATA_EX& request, uint32_t transport)
      : request_(request), transport_(transport) {}
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return QEX_EncodeTSQ_Ex(request_.get(), out, length, transport_);
  }

 private:
  GuardedRecord<QEX_TSQ_DATA_EX> request_;
  uint32_t transport_;
};

class EncodedShortRequest {
 public:
  EncodedShortRequest(const QEX_TSQ_DATA& request, int32_t transport)
      : request_(request), transport_(transport) {}
  int32_t operator()(uint8_t* out, uint32_t* length) const {
    return QEX_EncodeTSQ(request_.get(), out, length, transport_);
  }

 private:
  GuardedRecord<QEX_TSQ_DATA> request_;
  int32_t transport_;
};

// Verify runs QEX_VerifyTST_Signature; without a certificate its pointer is null.
[[nodiscard]] inline int32_t Verify(const Octets& token) {
  const Guarded input(token);
  return QEX_VerifyTST_Signature(input.data(), input.size(), nullptr, 0);
}
[[nodiscard]] inline int32_t Verify(const Octets& token, const Octets& certificate) {
  const Guarded input(token);
  const Guarded given(certificate);
  return QEX_VerifyTST_Signature(input.data(), input.size(), given.data(), given.size());
}

// Verdict is the code of such a run and the last ASN.1 error after it.
struct Verdict {
  int32_t code;
  int32_t error;
  bool operator==(const Verdict&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Verdict& verdict) {
  return out << "code " << verdict.code << ", error " << verdict.error;
}

inline constexpr Verdict kVerifies{QEX_OK, 0};
inline constexpr int32_t kLacksAPart = 100;  // the error of a token that decodes but lacks a part

inline Verdict VerdictOn(const Octets& token) {
  const int32_t code = Verify(token);
  return {code, QEX_GetLastAsnError()};
}
inline Verdict VerdictOn(const Octets& token, const Octets& certificate) {
  const int32_t code = Verify(token, certificate);
  return {code, QEX_GetLastAsnError()};
}

// OctetsOfValue returns the octets of a record, or a word, in memory.
template <class T>
Octets OctetsOfValue(const T& value) {
  Octets octets(sizeof value);
  std::memcpy(octets.data(), &value, sizeof value);
  return octets;
}

// PutText stores a text in a field of a record, followed by zeros.
template <size_t kSize>
void PutText(char (&field)[kSize], std::string_view text) {
  std::fill(field, field + kSize, '\0');
  std::copy(text.begin(), text.end(), field);
}

// PutOctets stores octets at the start of a field.
template <size_t kSize>
void PutOctets(uint8_t (&field)[kSize], const Octets& octets) {
  std::copy(octets.begin(), octets.end(), field);
}

// OctetsOfField returns the first `count` octets of a field.
template <size_t kSize>
Octets OctetsOfField(const uint8_t (&field)[kSize], size_t count) {
  return Octets(field, field + count);
}

}  // namespace qex::test
