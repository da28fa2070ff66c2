// Text in a field of a caller's record.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

namespace qex {

// A text of fixed room that is terminated after every append and cut where the room ends.
class TextWriter {
 public:
  TextWriter(char* text, size_t size) : text_(text), size_(size) {
    if (size_ != 0) text_[0] = '\0';
  }

  void append(std::string_view s) {
    const size_t room = size_ == 0 ? 0 : size_ - 1 - used_;
    const size_t n = std::min(room, s.size());
    cut_ = cut_ || n < s.size();
    if (n == 0) return;
    std::memcpy(text_ + used_, s.data(), n);
    used_ += n;
    text_[used_] = '\0';
  }
  void append(uint32_t number) {
    char digits[10];
    append({digits, size_t(std::to_chars(digits, std::end(digits), number).ptr - digits)});
  }

  // append_arc appends a dot and the number. Where there is certainly room it is written in place.
  void append_arc(uint32_t number) {
    constexpr size_t kLongest = 11;
    char apart[kLongest];
    const bool fits = size_ > kLongest && used_ < size_ - kLongest;  // the terminator too
    char* const text = fits ? text_ + used_ : apart;
    text[0] = '.';
    size_t n = 2;
    text[1] = char('0' + number % 10);  // usually all of it
    if (number > 9) n = size_t(std::to_chars(text + 1, text + kLongest, number).ptr - text);
    if (!fits) return append({text, n});
    used_ += n;
    text_[used_] = '\0';
  }

  size_t used() const { return used_; }
  [[nodiscard]] bool cut() const { return cut_; }

 private:
  char* text_;
  size_t size_;
  size_t used_ = 0;
  bool cut_ = false;
};

}  // namespace qex
