// One visitor a type names its members; Writer and Reader go through it.
#include "tool/message/facts_json.h"

#include <stdexcept>
#include <type_traits>
#include <utility>

#include "tool/base/json.h"
#include "tool/message/facts_members.h"

namespace qex::tool {
namespace {

template <class T>
concept Scalar = std::is_same_v<T, std::string> || std::is_same_v<T, bool> || std::is_integral_v<T>;

// Types with members of their own and without an overload that reads or writes them as a whole.
template <class T>
concept Record = std::is_class_v<T> && std::is_aggregate_v<T>;

// The values of an enumeration; any other number is invalid.
template <class E>
constexpr int kLast = -1;
template <>
constexpr int kLast<inspect::Kind> = int(inspect::Kind::AttributeCertificate);
template <>
constexpr int kLast<SignatureResult> = int(SignatureResult::NoCertificate);
template <>
constexpr int kLast<EssMatch> = int(EssMatch::Unreadable);
template <>
constexpr int kLast<ValidityResult> = int(ValidityResult::Unreadable);
template <>
constexpr int kLast<ChainResult> = int(ChainResult::NoTime);
template <>
constexpr int kLast<RevocationResult> = int(RevocationResult::ListBad);
template <>
constexpr int kLast<Rewriting> = int(Rewriting::IdData);
template <>
constexpr int kLast<ExitStatus> = int(ExitStatus::Internal);

// A growing object copies its members, so reserve room for most of them.
Json roomy_object() {
  constexpr size_t kMembers = 18;
  Json json = Json::object();
  json.get_ref<Json::object_t&>().reserve(kMembers);
  return json;
}

struct Writer {
  Json json = roomy_object();

  template <class T>
  void operator()(const char* name, const T& value) {
    json[name] = write(value);
  }

  template <Scalar T>
  static Json write(const T& value) {
    return value;
  }
  static Json write(const Bytes& value) { return Json::binary(value); }
  template <class T>
  static Json write(const std::optional<T>& value) {
    return value ? write(*value) : Json();
  }
  template <class T>
  static Json write(const std::vector<T>& values) {
    Json list = Json::array();
    for (const T& value : values) list.push_back(write(value));
    return list;
  }
  template <class T>
  requires std::is_enum_v<T>
  static Json write(const T& value) { return int(value); }
  template <Record T>
  static Json write(const T& value) {
    Writer writer;
    members(writer, const_cast<T&>(value));  // one list works in both directions; the writer changes nothing
    return std::move(writer.json);
  }
};

[[noreturn]] void refuse(const char* what) {
  throw std::invalid_argument(what);
}

struct Reader {
  const Json& json;
  size_t read = 0;

  template <class T>
  void operator()(const char* name, T& value) {
    const auto found = json.find(name);
    if (found == json.end()) refuse(name);
    into(*found, value);
    ++read;
  }

  static void into(const Json& json, std::string& value) {
    if (!json.is_string()) refuse("a text is needed");
    value = json.get_ref<const std::string&>();
  }
  static void into(const Json& json, bool& value) {
    if (!json.is_boolean()) refuse("true or false is needed");
    value = json.get<bool>();
  }
  template <class T>
  requires std::is_integral_v<T>
  static void into(const Json& json, T& value) {
    if (!json.is_number_integer()) refuse("an integer is needed");
    const bool fits = json.is_number_unsigned() ? std::in_range<T>(json.get<uint64_t>())
                                                : std::in_range<T>(json.get<int64_t>());
    if (!fits) refuse("the integer is too large");
    value = json.get<T>();
  }
  static void into(const Json& json, Bytes& value) {
    if (!json.is_binary()) refuse("octets are needed");
    value = json.get_binary();
  }
  template <class T>
  static void into(const Json& json, std::optional<T>& value) {
    value.reset();
    if (!json.is_null()) into(json, value.emplace());
  }
  template <class T>
  static void into(const Json& json, std::vector<T>& values) {
    if (!json.is_array()) refuse("a list is needed");
    values.clear();
    for (const Json& element : json) into(element, values.emplace_back());
  }
  template <class T>
  requires std::is_enum_v<T>
  static void into(const Json& json, T& value) {
    static_assert(kLast<T> >= 0, "an enumeration names its last value");
    int number = 0;
    into(json, number);
    if (number < 0 || number > kLast<T>) refuse("no value of the enumeration");
    value = static_cast<T>(number);
  }
  template <class T>
  requires std::is_class_v<T>
  static void into(const Json& json, T& value) {
    if (!json.is_object()) refuse("an object is needed");
    Reader reader{json};
    members(reader, value);
    if (reader.read != json.size()) refuse("a member that nobody knows");
  }
};

template <class T>
Json to_json(const T& value) {
  return Writer::write(value);
}

template <class T>
T read_from(const Json& json) {
  T value{};
  Reader::into(json, value);
  return value;
}

}  // namespace

Json ToJson(const Facts& facts) {
  return to_json(facts);
}

Facts FactsFrom(const Json& json) {
  return read_from<Facts>(json);
}

Json ToJson(const Job& job) {
  return to_json(job);
}

Job JobFrom(const Json& json) {
  return read_from<Job>(json);
}

Json ToJson(const Failure& failure) {
  return to_json(failure);
}

Failure FailureFrom(const Json& json) {
  return read_from<Failure>(json);
}

}  // namespace qex::tool
