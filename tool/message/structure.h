// The structure of an encoding, element by element (X.690 8.1), without knowing its types. It distinguishes
// messages, and reads parts for which the library has no type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qex::inspect {

using View = std::span<const uint8_t>;

// One element; the views are into the data that it was read from.
struct Element {
  uint8_t tag;   // identifier octet; tag numbers above 30 are not read
  View content;  // without the end-of-contents marker
  View whole;
};

// Elements reads a row of elements from its front.
class Elements {
 public:
  explicit Elements(View data) : rest_(data) {}

  // next returns the next element; nothing at the end and when the data are not well formed.
  [[nodiscard]] std::optional<Element> next();
  // next of one tag; nothing, and nothing is read, when the tag differs.
  [[nodiscard]] std::optional<Element> next(uint8_t tag);
  // skip passes over an element as next does, if there is one.
  void skip() { (void)next(); }
  void skip(uint8_t tag) { (void)next(tag); }
  [[nodiscard]] bool empty() const { return rest_.empty(); }

 private:
  View rest_;
};

enum class Kind : uint8_t { Unknown, Request, Reply, Token, Certificate, AttributeCertificate };

// KindOf determines the kind of the first element of `data` by its structure alone.
Kind KindOf(View data);

// TrailingOctets returns how many octets follow the first element of `data`.
size_t TrailingOctets(View data);

// KindName returns "request", "attribute certificate" and so on.
const char* KindName(Kind kind);

}  // namespace qex::inspect
