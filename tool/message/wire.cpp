// Writing and reading CBOR. What is read is built here rather than by the JSON library's own builder: its
// objects keep their members in a vector of which a larger one is a copy, and most of the time of a short
// exchange went there.
#include "tool/message/wire.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tool/base/json.h"

namespace qex::tool {
namespace {

class Builder final : public nlohmann::json_sax<Json> {
 public:
  Json Take() { return std::move(root_); }

  bool null() override { return put(nullptr); }
  bool boolean(bool value) override { return put(value); }
  bool number_integer(number_integer_t value) override { return put(value); }
  bool number_unsigned(number_unsigned_t value) override { return put(value); }
  bool number_float(number_float_t value, const string_t&) override { return put(value); }
  bool string(string_t& value) override { return put(std::move(value)); }
  bool binary(binary_t& value) override { return put(Json::binary(std::move(value))); }
  bool start_object(size_t members) override {
    Json& object = open(Json::object());
    object.get_ref<Json::object_t&>().reserve(std::min(members, kRoom));
    return true;
  }
  bool key(string_t& name) override {
    name_ = std::move(name);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(size_t) override {
    open(Json::array());
    return true;
  }
  bool end_array() override { return close(); }
  bool parse_error(size_t, const std::string&, const Json::exception&) override {
    root_ = Json(Json::value_t::discarded);
    return false;
  }

 private:
  static constexpr size_t kRoom = 64;  // however many members are announced

  // Nothing is added to an object or array while one within it is open, so its place is good until then.
  Json& add(Json value) {
    if (open_.empty()) return root_ = std::move(value);
    Json& parent = *open_.back();
    if (!parent.is_object()) return parent.emplace_back(std::move(value));
    return parent.get_ref<Json::object_t&>().emplace_back(std::move(name_), std::move(value)).second;
  }
  bool put(Json value) {
    add(std::move(value));
    return true;
  }
  Json& open(Json value) {
    open_.push_back(&add(std::move(value)));
    return *open_.back();
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  Json root_;
  std::vector<Json*> open_;
  std::string name_;
};

}  // namespace

std::string WireFrom(const Json& json) {
  std::string octets;
  Json::to_cbor(json, nlohmann::detail::output_adapter<char>(octets));
  return octets;
}

Json FromWire(const std::string& octets) {
  Builder builder;
  Json::sax_parse(octets, &builder, Json::input_format_t::cbor);
  return builder.Take();
}

}  // namespace qex::tool
