// Encodings as trees of tag, length and value (X.690 8.1), read and written without the library.
//
// The mutator edits these trees, and targets compare the library's results with their contents. This reader
// accepts well-formed input only; of types it knows only that OCTET STRINGs and BIT STRINGs may hold an
// encoding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qex::fuzz {

using Octets = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

struct Tlv {
  Octets tag;               // identifier octets
  bool indefinite = false;  // written with an end-of-contents marker
  bool nested = false;      // the content is `lead` and `children`, else `content`
  Octets lead;              // the unused-bits octet before an encoding inside a BIT STRING
  Octets content;
  std::vector<Tlv> children;
  Octets length;  // when not empty, written in place of the right length

  [[nodiscard]] bool constructed() const { return (tag[0] & 0x20) != 0; }
  // is returns whether the one identifier octet is `octet`; of a primitive tag the constructed form counts
  // too.
  [[nodiscard]] bool is(uint8_t octet) const {
    return tag.size() == 1 && (tag[0] == octet || tag[0] == (octet | 0x20));
  }
};

// Primitive and Constructed make an element with a tag of one octet.
Tlv Primitive(uint8_t tag, Octets content);
Tlv Constructed(uint8_t tag, std::vector<Tlv> children);

enum class Inside : bool { Leave, Open };  // whether encodings inside of strings are opened

// ReadTlv reads one element at the start of `in` and returns the octets that it takes; nothing when it is not
// well-formed: contents that do not end where the length says, an indefinite length of a primitive element, a
// tag of 0, a tag or length of more than four octets, nesting above 100.
[[nodiscard]] std::optional<size_t> ReadTlv(View in, Tlv* out, Inside inside = Inside::Leave);

// ReadForest reads elements until the input ends or one is not well-formed, and returns the octets read.
size_t ReadForest(View in, std::vector<Tlv>* out, Inside inside);

// Write appends the encoding of `tlv` to `out`; lengths are computed, in their shortest form.
void Write(const Tlv& tlv, Octets* out);
Octets Written(const Tlv& tlv);

// LengthOctets returns the shortest definite form of a length.
Octets LengthOctets(size_t length);

// IsDefinite returns whether `in` is one element without indefinite lengths, all lengths as short as they can
// be, and nothing after it.
[[nodiscard]] bool IsDefinite(View in);

// StringOf returns the content of a string: that of its components, one after another, when it
// is constructed; nothing when a component is not of the primitive type `component`.
[[nodiscard]] std::optional<Octets> StringOf(const Tlv& string, uint8_t component);

// HasEmptyInteger returns whether there is, anywhere inside, a primitive element without content that may be
// an INTEGER, by its own tag or under an implicit one.
[[nodiscard]] bool HasEmptyInteger(const Tlv& tlv);

// Fields walks the elements of a SEQUENCE in their order.
class Fields {
 public:
  explicit Fields(const Tlv* sequence) : sequence_(sequence) {}

  // take returns the next element when it `is` that, and moves past it.
  const Tlv* take(uint8_t octet) {
    if (sequence_ == nullptr || next_ == sequence_->children.size()) return nullptr;
    const Tlv& child = sequence_->children[next_];
    if (!child.is(octet)) return nullptr;
    ++next_;
    return &child;
  }
  [[nodiscard]] bool done() const { return sequence_ != nullptr && next_ == sequence_->children.size(); }

 private:
  const Tlv* sequence_;
  size_t next_ = 0;
};

}  // namespace qex::fuzz
