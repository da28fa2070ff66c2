// Calls of the exports that read an attribute certificate, input and record at the end of readable memory,
// and input that none of them takes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "api/qex.h"
#include "tests/support/der.h"
#include "tests/support/guarded.h"
#include "tests/support/token_parts.h"

namespace qex::test {

// Reading is a record, filled with Guarded::kFill before, and the outcome of a call that fills it.
template <class Record>
class Reading {
 public:
  template <class Export>
  Reading(Export call, const Octets& tac) {
    const Guarded input(tac);
    code = call(record_.get(), input.data(), input.size());
  }
  const Record* operator->() const { return record_.get(); }
  const Record& operator*() const { return *record_.get(); }
  [[nodiscard]] bool untouched() const { return record_.untouched(); }

  int32_t code;

 private:
  GuardedRecord<Record> record_;
};

struct Metrics : Reading<QEX_TIMING_METRICS_EX> {
  explicit Metrics(const Octets& tac) : Reading(QEX_GetTAC_TimingMetricsEx, tac) {}
};
struct ShortMetrics : Reading<QEX_TIMING_METRICS> {
  explicit ShortMetrics(const Octets& tac) : Reading(QEX_GetTAC_TimingMetrics, tac) {}
};
struct Policy : Reading<QEX_TIMING_POLICY> {
  explicit Policy(const Octets& tac) : Reading(QEX_GetTAC_TimingPolicy, tac) {}
};
struct ShortCertInfo : Reading<QEX_TACINFO> {
  explicit ShortCertInfo(const Octets& tac) : Reading(QEX_GetTAC_CertInfo, tac) {}
};
// The long record takes its size with it.
struct CertInfo : Reading<QEX_TACINFO_EX> {
  explicit CertInfo(const Octets& tac, uint32_t size = sizeof(QEX_TACINFO_EX))
      : Reading(
            [size](QEX_TACINFO_EX* record, const uint8_t* data, uint32_t length) {
              record->size = size;
              return QEX_GetTAC_CertInfoEx(record, data, length);
            },
            tac) {}
};

// Field returns all octets of a field, FieldText those before its terminator, or "unterminated".
template <class T, size_t kSize>
Octets Field(const T (&field)[kSize]) {
  return Octets(field, field + kSize);
}
template <size_t kSize>
std::string FieldText(const char (&field)[kSize]) {
  const char* const end = std::find(field, field + kSize, '\0');
  return end == field + kSize ? "unterminated" : std::string(field, end);
}
// TextAndFill is a text field to which only text and terminator were written.
inline Octets TextAndFill(const std::string& text, size_t size) {
  Octets field = der::concat(der::octets(text), Octets{0});
  field.resize(size, Guarded::kFill);
  return field;
}
// TextAndZeros is a cleared text field with that text.
inline Octets TextAndZeros(const std::string& text, size_t size) {
  Octets field = der::octets(text);
  field.resize(size, 0);
  return field;
}

// An object identifier whose text is longer than a field of 128 bytes, and its text.
inline std::string LongIdentifier() {
  std::string text = "1.3";
  for (int i = 0; i < 13; ++i) text += ".429496729" + std::to_string(i % 6);
  return text;
}

// Inputs that no export accepts as an attribute certificate.
inline std::vector<Octets> NoAttributeCertificates() {
  const Octets tac = ByHand(AttrCertParts());
  AttrCertParts unknown;
  unknown.attributes = {PlainAttribute()};
  unknown.attributes[0].type = "1.2.3.4";  // a type that is not registered
  // No validity period: the one field that all others surround.
  const Octets info = der::sequence(der::integer(1), der::sequence(), der::context(0),
                                    der::algorithm(kSha256WithRsa), der::integer(1), der::sequence());
  const Octets no_validity = der::sequence(info, der::algorithm(kSha256WithRsa), der::bit_string({0}));
  return {{},
          {0x30},
          {0x30, 0x00},
          {0x31, 0x00},
          Octets(tac.begin(), tac.end() - 1),
          der::sequence(der::sequence()),
          der::sequence(der::algorithm(kSha256WithRsa), der::bit_string({0})),  // no signed part
          ByHand(unknown),
          no_validity,
          ByHand(TokenParts())};
}

}  // namespace qex::test
