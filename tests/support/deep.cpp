// Elements inside each other, made from the innermost outwards.
#include "tests/support/deep.h"

namespace qex::test {
namespace {

// push_reversed_length puts length octets of the definite form at the end of octets that are in reverse
// order.
void push_reversed_length(Octets* reversed, size_t n) {
  if (n < 128) return reversed->push_back(uint8_t(n));
  uint8_t count = 0;
  for (; n != 0; n >>= 8, ++count) reversed->push_back(uint8_t(n));
  reversed->push_back(0x80 | count);
}

}  // namespace

Octets Nested(size_t levels, const std::vector<Wrap>& level, const Octets& innermost, Lengths lengths) {
  Octets reversed(innermost.rbegin(), innermost.rend());  // grows at its end, which is the front
  size_t ends = 0;                                        // octets of end-of-contents after all that
  for (size_t i = 0; i < levels; ++i) {
    for (auto wrap = level.rbegin(); wrap != level.rend(); ++wrap) {
      reversed.insert(reversed.end(), wrap->before.rbegin(), wrap->before.rend());
      if (lengths == Lengths::kDefinite) {
        push_reversed_length(&reversed, reversed.size());
      } else {
        reversed.push_back(0x80);
        ends += 2;
      }
      reversed.push_back(wrap->tag);
    }
  }
  std::reverse(reversed.begin(), reversed.end());
  reversed.insert(reversed.end(), ends, 0);
  return reversed;
}

}  // namespace qex::test
