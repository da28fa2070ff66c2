// Directory names as text.
//
// Callers compare these texts, so oddities remain and are marked.
#include "api/name_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "api/frame.h"
#include "api/oid_text.h"
#include "api/text_writer.h"
#include "asn1/names.h"
#include "asn1/oids.h"
#include "asn1/x520.h"

namespace qex {
namespace {

constexpr size_t kScratchSize = 2048;  // of a text that is built before it is known to fit

enum class Form : uint8_t {
  Bytes,  // the bytes of the value as they are
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
[[nodiscard]] bool matches(const NameRow& row, const AsnOid& type) {
  const auto under = [&](const AsnOid& oid) {
    return oid.count > kIdAt.count && std::memcmp(oid.octs, kIdAt.octs, kIdAt.count) == 0;
  };
  if (!under(row.type)) return AsnOidEqual(row.type, type);
  return under(type) && type.octs[2] == row.type.octs[2];
}

const NameRow* find_row(const AsnOid& type) {
  const auto* row = std::find_if(std::begin(kNameRows), std::end(kNameRows),
                                 [&](const NameRow& r) { return matches(r, type); });
  return row == std::end(kNameRows) ? nullptr : row;
}

std::string_view view(const AsnOcts& v) {
  return {reinterpret_cast<const char*>(v.octs), v.count};
}

// rendered_value returns the text after the "=", from the value itself or built in `scratch`.
OctetsView rendered_value(Form form, const AsnAny& any, char (&scratch)[kScratchSize]) {
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
  return OpenValueOctets(any);
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
    const OctetsView value =
        rendered_value(row != nullptr ? row->form : Form::Bytes, attribute->value, valueScratch);
    if (value.data() == nullptr) continue;

    // The "=", the ";" of all but the last entry, and the terminator.
    const bool last = node->next == nullptr;
    const size_t used = strnlen(text, size);
    const size_t room = size - used;
    if (value.size() > room || label.size() + value.size() + (last ? 2 : 3) > room) {
      result = -1;
      continue;
    }
    char* end = std::copy(label.begin(), label.end(), text + used);
    std::memcpy(end, "=", 2);
    // Deliberate: a zero byte inside the value ends the text there, and the next text is written in its
    // place. No terminator follows the value, so leftover bytes of the earlier value remain visible after a
    // shorter one.
    std::copy_n(reinterpret_cast<const char*>(value.data()), value.size(), end + 1);
    if (!last) std::memcpy(text + strnlen(text, size), ";", 2);
  }
  return result;
}

}  // namespace qex
