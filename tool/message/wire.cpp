// Writes and reads CBOR (RFC 8949); WireFrom accepts its plain part: definite lengths, no tags, no
// floating-point numbers. It has its own parser: the JSON library's reader works octet by octet, which took
// most of the time of a short exchange.
#include "tool/message/wire.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tool/base/bytes.h"
#include "tool/base/json.h"

namespace qex::tool {
namespace {

constexpr int kMaxDepth = 64;
constexpr size_t kRoom = 64;  // members for which room is made, however many are announced

enum Major : uint8_t { Unsigned, Negative, Octets, Text, Array, Map, Tag, Simple };
enum SimpleValue : uint8_t { False = 20, True = 21, Null = 22 };

class CborReader {
 public:
  explicit CborReader(std::string_view octets) : rest_(octets) {}

  Json Whole() {
    Json value = read(0);
    if (!rest_.empty()) refuse();
    return value;
  }

 private:
  [[noreturn]] static void refuse() { throw std::invalid_argument("no CBOR"); }

  std::string_view take(uint64_t length) {
    if (length > rest_.size()) refuse();
    const std::string_view taken = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return taken;
  }

  uint8_t octet() { return uint8_t(take(1).front()); }

  // The number after the major type: up to 23 in the same octet, larger ones in 1, 2, 4 or 8 octets.
  uint64_t argument(uint8_t initial) {
    const uint8_t low = initial & 0x1F;
    if (low < 24) return low;
    if (low > 27) refuse();
    uint64_t value = 0;
    for (const char c : take(uint64_t{1} << (low - 24))) value = value << 8 | uint8_t(c);
    return value;
  }

  Json read(int depth) {
    if (depth > kMaxDepth) refuse();
    const uint8_t initial = octet();
    const uint64_t value = argument(initial);
    switch (initial >> 5) {
      case Unsigned: return value;
      case Negative:
        if (value > uint64_t{std::numeric_limits<int64_t>::max()}) refuse();
        return -1 - int64_t(value);
      case Octets: {
        const ByteView octets = OctetsOf(take(value));
        return Json::binary({octets.begin(), octets.end()});
      }
      case Text: return take(value);
      case Array: return array(value, depth);
      case Map: return map(value, depth);
      case Simple: return simple(uint8_t(value));
      default: refuse();
    }
  }

  static Json simple(uint8_t value) {
    if (value == Null) return nullptr;
    if (value != False && value != True) refuse();
    return value == True;
  }

  Json array(uint64_t length, int depth) {
    Json list = Json::array();
    for (uint64_t i = 0; i < length; ++i) list.push_back(read(depth + 1));
    return list;
  }

  Json map(uint64_t length, int depth) {
    Json object = Json::object();
    auto& members = object.get_ref<Json::object_t&>();
    members.reserve(std::min<uint64_t>(length, kRoom));  // a larger vector of members would be a copy
    for (uint64_t i = 0; i < length; ++i) {
      const uint8_t initial = octet();
      if (initial >> 5 != Text) refuse();
      std::string name(take(argument(initial)));
      members.emplace_back(std::move(name), read(depth + 1));
    }
    return object;
  }

  std::string_view rest_;
};

}  // namespace

std::string WireFrom(const Json& json) {
  std::string octets;
  Json::to_cbor(json, nlohmann::detail::output_adapter<char>(octets));
  return octets;
}

Json FromWire(const std::string& octets) {
  try {
    return CborReader(octets).Whole();
  } catch (const std::invalid_argument&) {
    return Json(Json::value_t::discarded);
  }
}

}  // namespace qex::tool
