// Object identifiers and directory names as text.
//
// The forms are part of the interface: callers compare these texts, so what looks odd in them
// stays as it is and is marked.
#include "api/names.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

#include "api/frame.h"
#include "asn1/names.h"
#include "asn1/oids.h"
#include "asn1/x520.h"

namespace qex {
namespace {

constexpr size_t kScratchSize = 2048;  // of a text that is built before it is known to fit

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

  size_t used() const { return used_; }
  bool cut() const { return cut_; }

 private:
  char* text_;
  size_t size_;
  size_t used_ = 0;
  bool cut_ = false;
};

}  // namespace

size_t OidToText(const uint8_t* contents, size_t length, char* text, size_t size, bool* cut) {
  if (cut != nullptr) *cut = false;
  if (contents == nullptr || length == 0) return 0;
  TextWriter out(text, size);
  const uint32_t first = contents[0];
  const uint32_t root = first >= 80 ? 2 : first / 40;
  out.append(root);
  out.append(".");
  out.append(first - 40 * root);
  size_t i = 1;
  while (i < length && !out.cut()) {
    uint32_t arc = 0;
    while (i < length && (contents[i] & 0x80) != 0) arc = arc << 7 | (contents[i++] & 0x7F);
    if (i == length) return 0;
    arc = arc << 7 | contents[i++];
    out.append(".");
    out.append(arc);
  }
  if (cut != nullptr) *cut = out.cut();
  return out.used();
}

// --- Text to identifier --------------------------------------------------------

namespace {

constexpr size_t kMaxOidText = 255;
constexpr int32_t kMaxArc = 0x7FFFFFFF;

bool is_dotted_text(std::string_view text) {
  return !text.empty() && text.size() <= kMaxOidText && text.find_first_not_of("0123456789.") == text.npos &&
         text.front() != '.' && text.back() != '.' && text.find("..") == text.npos;
}

// next_arc takes the arc in front of `*rest` and the dot behind it off.
std::string_view next_arc(std::string_view* rest) {
  const std::string_view arc = rest->substr(0, rest->find('.'));
  rest->remove_prefix(std::min(rest->size(), arc.size() + 1));
  return arc;
}

// arc_value returns the number of a text of digits; above 2147483647 it is 2147483647.
int32_t arc_value(std::string_view digits) {
  int32_t value = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return read.ec == std::errc() ? value : kMaxArc;
}

// append_arc writes `arc` base 128 and returns the octets written, 1 to 5.
// Deliberate: a group of zeros between non-zero ones is dropped, so that 16384 gives 81 00.
// Authorities and callers have the octets of this encoding on record.
size_t append_arc(uint32_t arc, uint8_t* out) {
  size_t n = 0;
  for (int shift = 28; shift > 0; shift -= 7) {
    const auto group = uint8_t(arc >> shift & 0x7F);
    if (group != 0) out[n++] = group | 0x80;
  }
  out[n++] = arc & 0x7F;
  return n;
}

}  // namespace

uint32_t TextToOid(const char* text, uint8_t* contents) {
  if (text == nullptr) return 0;
  // One character more than the longest text tells that it is too long; the rest is not looked at.
  const void* terminator = std::memchr(text, 0, kMaxOidText + 1);
  if (terminator == nullptr) return 0;
  std::string_view rest(text, size_t(static_cast<const char*>(terminator) - text));
  if (!is_dotted_text(rest)) return 0;

  const std::string_view root = next_arc(&rest);
  if (root.size() != 1 || root[0] > '2' || rest.empty()) return 0;
  const std::string_view second = next_arc(&rest);
  if (second.size() > 3) return 0;
  const int32_t number = arc_value(second);
  if (number > 175 || (root != "2" && number > 39)) return 0;
  contents[0] = uint8_t((root[0] - '0') * 40 + number);

  size_t n = 1;
  while (!rest.empty()) {
    const std::string_view arc = next_arc(&rest);
    // Deliberate: compared as text, so that an arc of eleven digits and more that begins with 1
    // passes and is taken as 2147483647.
    if (arc.size() >= 10 && arc >= "2147483648") return 0;
    n += append_arc(uint32_t(arc_value(arc)), contents + n);
  }
  return uint32_t(n);
}

// --- Directory names -----------------------------------------------------------

namespace {

enum class Form : uint8_t {
  Bytes,  // the bytes of the value as they stand
  Telex,  // three strings, joined by blanks
  Oid,    // dotted text
  Ends    // the rendering ends here
};

struct NameRow {
  AsnOid type;
  const char* name;
  Form form;
};

// clang-format off
constexpr NameRow kNameRows[] = {
    {kIdEmailAddress,                    "E",                           Form::Bytes},
    {kIdDomainComponent,                 "DC",                          Form::Bytes},
    {kIdAtCommonName,                    "CN",                          Form::Bytes},
    {kIdAtOrganizationName,              "O",                           Form::Bytes},
    {kIdAtCountryName,                   "C",                           Form::Bytes},
    {kIdAtOrganizationalUnitName,        "OU",                          Form::Bytes},
    {kIdAtLocalityName,                  "L",                           Form::Bytes},
    {kIdAtStateOrProvinceName,           "S",                           Form::Bytes},
    {kIdAtDmdName,                       "DmdName",                     Form::Bytes},
    {kIdAtSerialNumber,                  "SerialNumber",                Form::Bytes},
    {kIdAtStreetAddress,                 "STREET",                      Form::Bytes},
    {kIdAtDescription,                   "Description",                 Form::Bytes},
    {kIdAtBusinessCategory,              "BusinessCategory",            Form::Bytes},
    // Deliberate: a postal or registered address ends the text; later names are not written.
    {kIdAtPostalAddress,                 "",                            Form::Ends},
    {kIdAtRegisteredAddress,             "",                            Form::Ends},
    {kIdAtPostalCode,                    "PostalCode",                  Form::Bytes},
    {kIdAtPostOfficeBox,                 "PostOfficeBox",               Form::Bytes},
    {kIdAtPhysicalDeliveryOfficeName,    "PhysicalDeliveryOfficeName",  Form::Bytes},
    {kIdAtTelephoneNumber,               "TelephoneNumber",             Form::Bytes},
    {kIdAtTelexNumber,                   "TelexNumber",                 Form::Telex},
    {kIdAtFacsimileTelephoneNumber,      "FacsimileTelephoneNumber",    Form::Bytes},
    {kIdAtX121Address,                   "x121Address",                 Form::Bytes},
    // Deliberate: the spelling.
    {kIdAtInternationalISDNNumber,       "InternationaliSDNNumber",     Form::Bytes},
    {kIdAtDestinationIndicator,          "DestinationIndicator",        Form::Bytes},
    {kIdAtHouseIdentifier,               "HouseIdentifier",             Form::Bytes},
    {kIdAtPseudonym,                     "Pseudonym",                   Form::Bytes},
    {kIdAtSupportedApplicationContext,   "SupportedApplicationContext", Form::Oid},
};
// clang-format on

// Deliberate: under 2.5.4 the third octet alone is compared, so that 2.5.4.3.1 is a "CN" too.
bool matches(const NameRow& row, const AsnOid& type) {
  const auto under = [&](const AsnOid& oid) {
    return oid.count > kIdAt.count && std::memcmp(oid.octs, kIdAt.octs, kIdAt.count) == 0;
  };
  if (!under(row.type)) return AsnOidEqual(row.type, type);
  return under(type) && type.octs[2] == row.type.octs[2];
}

const NameRow* find_row(const AsnOid& type) {
  const auto* row = std::ranges::find_if(kNameRows, [&](const NameRow& r) { return matches(r, type); });
  return row == std::end(kNameRows) ? nullptr : row;
}

// Octets of a value, null when there is none.
struct Bytes {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

Bytes directory_string_bytes(const DirectoryString& s) {
  const AsnOcts* chosen = nullptr;
  switch (s.choice) {
    case DirectoryString::kTeletex: chosen = s.teletexString; break;
    case DirectoryString::kPrintable: chosen = s.printableString; break;
    case DirectoryString::kUniversal: chosen = s.universalString; break;
    case DirectoryString::kUtf8: chosen = s.utf8String; break;
    case DirectoryString::kBmp: chosen = s.bmpString; break;
  }
  return chosen == nullptr ? Bytes{} : Bytes{chosen->octs, chosen->count};
}

// How the value records of the registered types are read as bytes, by runs of anyId. Types
// that are not listed have no bytes of their own.
enum class Record : uint8_t { Octets, Oid, Bits, Facsimile, DirectoryString };

struct RecordRow {
  int32_t firstId;
  int32_t lastId;
  Record record;
};

// clang-format off
constexpr RecordRow kRecordRows[] = {
    {20, 20, Record::Octets},           // CMS data
    {21, 23, Record::Oid},              // supportedApplicationContext to communicationsNetwork
    {24, 24, Record::Bits},             // uniqueIdentifier
    {26, 29, Record::Octets},           // dnQualifier to telephoneNumber
    {31, 31, Record::Facsimile},        // facsimileTelephoneNumber
    {32, 33, Record::Octets},           // internationalISDNNumber, destinationIndicator
    {38, 38, Record::Octets},           // emailAddress
    {40, 40, Record::Octets},           // x121Address
    {41, 50, Record::DirectoryString},  // commonName to businessCategory
    {52, 54, Record::DirectoryString},  // postalCode to physicalDeliveryOfficeName
    {56, 57, Record::DirectoryString},  // houseIdentifier, pseudonym
    {69, 69, Record::Octets},           // messageDigest
    {70, 70, Record::Oid},              // contentType
};
// clang-format on

Bytes value_bytes(const AsnAny& any) {
  if (any.ai == nullptr || any.value == nullptr) return {};
  const int32_t id = any.ai->anyId;
  for (const RecordRow& row : kRecordRows) {
    if (id < row.firstId || id > row.lastId) continue;
    switch (row.record) {
      case Record::Octets: {
        const auto* v = static_cast<const AsnOcts*>(any.value);
        return {v->octs, v->count};
      }
      case Record::Oid: {
        const auto* v = static_cast<const AsnOid*>(any.value);
        return {v->octs, v->count};
      }
      case Record::Bits: {
        const auto* v = static_cast<const AsnBits*>(any.value);
        return {v->octs, BitOctets(v->count)};
      }
      case Record::Facsimile: {
        const auto& v = static_cast<const X520FacsimileTelephoneNumber*>(any.value)->telephoneNumber;
        return {v.octs, v.count};
      }
      case Record::DirectoryString:
        return directory_string_bytes(*static_cast<const DirectoryString*>(any.value));
    }
  }
  return {};
}

std::string_view view(const AsnOcts& v) {
  return {reinterpret_cast<const char*>(v.octs), v.count};
}

// rendered_value returns what stands behind the "=", from the value itself or built in `scratch`.
Bytes rendered_value(Form form, const AsnAny& any, char (&scratch)[kScratchSize]) {
  TextWriter out(scratch, kScratchSize);
  if (form == Form::Telex) {
    const auto* telex = ValueAs<X520TelexNumber>(any, kAnyAtTelexNumber);
    if (telex == nullptr) return {};
    out.append(view(telex->telexNumber));
    out.append(" ");
    out.append(view(telex->countryCode));
    out.append(" ");
    out.append(view(telex->answerback));
    return {reinterpret_cast<const uint8_t*>(scratch), out.used()};
  }
  if (form == Form::Oid) {
    const auto* oid = ValueAs<AsnOid>(any, kAnyAtSupportedApplicationContext);
    if (oid == nullptr) return {};
    OidToText(oid->octs, oid->count, scratch, kScratchSize);
    return {reinterpret_cast<const uint8_t*>(scratch), std::strlen(scratch)};
  }
  return value_bytes(any);
}

}  // namespace

int32_t NameToText(char* text, size_t size, const AsnList* name) {
  if (size != 0) std::memset(text, 0, size);
  int32_t result = 0;
  for (const AsnListNode* node = name == nullptr ? nullptr : name->first; node != nullptr;
       node = node->next) {
    const auto* attribute = FirstOf<AttributeTypeAndValue>(static_cast<const AsnList*>(node->data[0]));
    if (attribute == nullptr) continue;
    const NameRow* row = find_row(attribute->type);
    if (row != nullptr && row->form == Form::Ends) break;

    char nameScratch[kScratchSize];
    nameScratch[0] = '\0';
    char valueScratch[kScratchSize];
    if (row == nullptr) OidToText(attribute->type.octs, attribute->type.count, nameScratch, kScratchSize);
    const std::string_view label = row != nullptr ? row->name : nameScratch;
    const Bytes value =
        rendered_value(row != nullptr ? row->form : Form::Bytes, attribute->value, valueScratch);
    if (value.data == nullptr) continue;

    // The "=", the ";" of all but the last entry, and the terminator.
    const bool last = node->next == nullptr;
    const size_t used = strnlen(text, size);
    const size_t room = size - used;
    if (value.size > room || label.size() + value.size + (last ? 2 : 3) > room) {
      result = -1;
      continue;
    }
    char* end = std::ranges::copy(label, text + used).out;
    std::memcpy(end, "=", 2);
    // Deliberate: a zero byte inside the value ends the text there, and what follows is put in its place. No
    // terminator is put behind the value, so that what a shorter one leaves of those bytes shows behind it.
    std::copy_n(reinterpret_cast<const char*>(value.data), value.size, end + 1);
    if (!last) std::memcpy(text + strnlen(text, size), ";", 2);
  }
  return result;
}

}  // namespace qex
