// Directory names as text.
#include "api/name_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "asn1/names.h"
#include "asn1/oids.h"
#include "asn1/x520.h"
#include "tests/support/der.h"
#include "tests/support/guarded.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

// DecodedName is an RDNSequence as the codec decodes it.
class DecodedName {
 public:
  explicit DecodedName(const Octets& encoding) {
    EXPECT_TRUE(EnsureAsnInit());
    const Guarded input(encoding);
    EXPECT_EQ(list_.decode(BDecDistinguishedName, input.data(), input.size()), 0);
  }
  const AsnList* list() const { return &list_.value; }

 private:
  Decoded<AsnList> list_;
};

struct Rendered {
  int32_t code;
  std::string text;
  bool operator==(const Rendered&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Rendered& rendered) {
  return out << rendered.code << " \"" << rendered.text << "\"";
}

// rendered stops at the first zero octet, and expects only zeros after the text.
Rendered rendered(const AsnList* name, size_t size = 512, bool zeros_inside = false) {
  Guarded output(size);
  const int32_t code = NameToText(reinterpret_cast<char*>(output.data()), size, name);
  const Octets octets = output.octets();
  const auto end = std::find(octets.begin(), octets.end(), 0);
  if (!zeros_inside) {
    EXPECT_EQ(std::count(end, octets.end(), 0), octets.end() - end) << "the rest is cleared";
  }
  return {code, std::string(octets.begin(), end)};
}

Rendered rendered(const Octets& encoding, size_t size = 512, bool zeros_inside = false) {
  return rendered(DecodedName(encoding).list(), size, zeros_inside);
}

const Octets kCountry = der::printable_string("GB");

TEST(NameToText, WritesEntriesInTheirOrder) {
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.6", kCountry},
                                    {"2.5.4.10", der::utf8_string("Example")},
                                    {"2.5.4.3", der::printable_string("TSA")}})),
            (Rendered{0, "C=GB;O=Example;CN=TSA"}));
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", der::printable_string("TSA")}, {"2.5.4.6", kCountry}})),
            (Rendered{0, "CN=TSA;C=GB"}));
}

TEST(NameToText, EveryRowHasItsName) {
  const Octets directory = der::utf8_string("value");
  const Octets printable = der::printable_string("value");
  const struct {
    const char* type;
    Octets value;
    const char* text;
  } rows[] = {
      {"1.2.840.113549.1.9.1", der::ia5_string("value"), "E=value"},
      {"2.5.4.3", directory, "CN=value"},
      {"2.5.4.10", directory, "O=value"},
      {"2.5.4.6", printable, "C=value"},
      {"2.5.4.11", directory, "OU=value"},
      {"2.5.4.7", directory, "L=value"},
      {"2.5.4.8", directory, "S=value"},
      {"2.5.4.54", directory, "DmdName=value"},
      {"2.5.4.5", printable, "SerialNumber=value"},
      {"2.5.4.9", directory, "STREET=value"},
      {"2.5.4.13", directory, "Description=value"},
      {"2.5.4.15", directory, "BusinessCategory=value"},
      {"2.5.4.16", der::sequence(directory), ""},
      {"2.5.4.26", der::sequence(directory), ""},
      {"2.5.4.17", directory, "PostalCode=value"},
      {"2.5.4.18", directory, "PostOfficeBox=value"},
      {"2.5.4.19", directory, "PhysicalDeliveryOfficeName=value"},
      {"2.5.4.20", printable, "TelephoneNumber=value"},
      {"2.5.4.21",
       der::sequence(der::printable_string("123"), der::printable_string("44"),
                     der::printable_string("answer")),
       "TelexNumber=123 44 answer"},
      {"2.5.4.23", der::sequence(printable), "FacsimileTelephoneNumber=value"},
      {"2.5.4.23", der::sequence(printable, der::bit_string({0x80}, 7)), "FacsimileTelephoneNumber=value"},
      {"2.5.4.24", der::element(0x12, der::octets("311")), "x121Address=311"},
      {"2.5.4.25", der::element(0x12, der::octets("49")), "InternationaliSDNNumber=49"},
      {"2.5.4.27", printable, "DestinationIndicator=value"},
      {"2.5.4.51", directory, "HouseIdentifier=value"},
      {"2.5.4.65", directory, "Pseudonym=value"},
      {"2.5.4.30", der::oid("2.5.9.1"), "SupportedApplicationContext=2.5.9.1"},
      // For any other type the name is the dotted text of the type.
      {"2.5.4.12", directory, "2.5.4.12=value"},
      {"2.5.4.46", printable, "2.5.4.46=value"},
      {"2.5.4.45", der::bit_string(der::octets("bits"), 0), "2.5.4.45=bits"},
      {"2.5.4.66", der::element(0x06, der::octets("oid")), "2.5.4.66=oid"},
      {"1.2.840.113549.1.7.1", der::octet_string(der::octets("octets")), "1.2.840.113549.1.7.1=octets"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(rendered(DirectoryName({{row.type, row.value}})), (Rendered{0, row.text})) << row.type;
  }
}

TEST(NameToText, BitsThatFillNoOctetCountAsTheirOctets) {
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.45", der::bit_string({'a', 'b', 0x80}, 7)}})).text,
            "2.5.4.45=ab\x80");
}

TEST(NameToText, EveryStringKindIsCopiedByteForByte) {
  for (const uint8_t tag :
       std::initializer_list<uint8_t>{0x14, 0x13, 0x1C, 0x0C}) {  // teletex, printable, universal, UTF-8
    EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", der::element(tag, Octets{'a', 0xE9, 'z'})}})),
              (Rendered{0, "CN=a\xE9z"}))
        << int{tag};
  }
}

// Deliberate: no conversion of characters, and a zero octet ends the text for the next value appended.
TEST(NameToText, TwoOctetCharactersEndTheText) {
  const Octets bmp = der::element(0x1E, Octets{0x00, 'A', 0x00, 'B'});
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", bmp}}), 512, true), (Rendered{0, "CN="}));
  const Octets other = der::element(0x1E, Octets{0x20, 'A', 0x00, 'B'});
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", other}, {"2.5.4.6", kCountry}}), 512, true),
            (Rendered{0, "CN= A;C=GB"}));
}

// Deliberate: values are copied over the text and end only where the text was cleared, so leftover octets of
// a value with a zero octet remain visible after a shorter value that replaces it.
TEST(NameToText, OctetsAfterAZeroOctetRemainVisibleAfterAShorterValue) {
  const Octets example = der::element(0x1E, Octets{0, 'E', 0, 'x', 0, 'a', 0, 'm'});
  const Octets three = der::element(0x1E, Octets{0, 'T', 0, 'S', 0, 'A'});
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", three}, {"2.5.4.6", kCountry}}), 512, true),
            (Rendered{0, "CN=;C=GBA"}));
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.10", example}, {"2.5.4.3", der::utf8_string("TSA")}}), 512, true),
            (Rendered{0, "O=;CN=TSAm"}));
  EXPECT_EQ(
      rendered(DirectoryName({{"2.5.4.3", three}, {"2.5.4.6", kCountry}, {"2.5.4.10", example}}), 512, true),
      (Rendered{0, "CN=;C=GBA;O="}));
  // An empty value shows nothing: its "=" is an end too.
  const Octets tail = der::element(0x0C, Octets{0, 'a', 'b', 'c', 'd', 'e'});
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.3", tail}, {"2.5.4.6", der::printable_string("")}}), 512, true),
            (Rendered{0, "CN=;C="}));
}

TEST(NameToText, NothingIsEscaped) {
  EXPECT_EQ(
      rendered(DirectoryName({{"2.5.4.3", der::utf8_string("a;b=c,\\\"\n")}, {"2.5.4.6", kCountry}})).text,
      "CN=a;b=c,\\\"\n;C=GB");
}

TEST(NameToText, FirstAttributeOfASeveralValuedNameCounts) {
  const Octets cn = der::sequence(der::oid("2.5.4.3"), der::utf8_string("first"));
  const Octets ou = der::sequence(der::oid("2.5.4.11"), der::utf8_string("second"));
  const Octets country = der::set(der::sequence(der::oid("2.5.4.6"), kCountry));
  EXPECT_EQ(rendered(der::sequence(der::set(cn, ou), country)), (Rendered{0, "CN=first;C=GB"}));
}

TEST(NameToText, NoNameGivesClearedText) {
  EXPECT_EQ(rendered(static_cast<const AsnList*>(nullptr)), (Rendered{0, ""}));
  EXPECT_EQ(rendered(der::sequence()), (Rendered{0, ""}));
}

TEST(NameToText, PostalAndRegisteredAddressesEndTheText) {
  for (const char* type : {"2.5.4.16", "2.5.4.26"}) {
    const Octets address = der::sequence(der::utf8_string("Street 1"), der::utf8_string("Town"));
    EXPECT_EQ(rendered(DirectoryName(
                  {{"2.5.4.6", kCountry}, {type, address}, {"2.5.4.3", der::utf8_string("TSA")}})),
              (Rendered{0, "C=GB;"}))
        << type;
  }
}

TEST(NameToText, AddressKeepsTheResultSoFar) {
  const Octets address = der::sequence(der::utf8_string("Street 1"));
  EXPECT_EQ(
      rendered(DirectoryName({{"2.5.4.3", der::utf8_string(std::string(100, 'x'))}, {"2.5.4.16", address}}),
               50),
      (Rendered{-1, ""}));
}

TEST(NameToText, NameWithoutAttributesIsSkipped) {
  const Octets country = der::set(der::sequence(der::oid("2.5.4.6"), kCountry));
  EXPECT_EQ(rendered(der::sequence(der::set(), country)), (Rendered{0, "C=GB"}));
  EXPECT_EQ(rendered(der::sequence(country, der::set())), (Rendered{0, "C=GB;"}));
}

TEST(NameToText, ValueOfAnotherStructuredTypeIsSkipped) {
  // preferredDeliveryMethod is a SEQUENCE OF INTEGER.
  const Octets methods = der::sequence(der::integer(1));
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.28", methods}, {"2.5.4.6", kCountry}})), (Rendered{0, "C=GB"}));
  // distinguishedName is a name in a name.
  const Octets inner = DirectoryName({{"2.5.4.6", kCountry}});
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.6", kCountry}, {"2.5.4.49", inner}})), (Rendered{0, "C=GB;"}));
}

TEST(NameToText, EmptyValueIsWrittenAsSuch) {
  EXPECT_EQ(
      rendered(DirectoryName({{"2.5.4.3", der::utf8_string("")}, {"2.5.4.6", der::printable_string("")}})),
      (Rendered{0, "CN=;C="}));
}

TEST(NameToText, EntryThatDoesNotFitIsLeftOutAndOthersStay) {
  const std::string longest(60, 'x');
  EXPECT_EQ(rendered(DirectoryName({{"2.5.4.6", kCountry},
                                    {"2.5.4.10", der::utf8_string(longest)},
                                    {"2.5.4.3", der::utf8_string("TSA")}}),
                     40),
            (Rendered{-1, "C=GB;CN=TSA"}));
}

TEST(NameToText, EntryFitsUpToNamePlusValuePlus2OrPlus3) {
  // The last entry: 2 + 10 + 2 octets.
  const Octets last = DirectoryName({{"2.5.4.3", der::utf8_string("0123456789")}});
  EXPECT_EQ(rendered(last, 14), (Rendered{0, "CN=0123456789"}));
  EXPECT_EQ(rendered(last, 13), (Rendered{-1, ""}));
  // One followed by another: 2 + 10 + 3, and the other 1 + 2 + 2 at 14.
  const Octets both = DirectoryName({{"2.5.4.3", der::utf8_string("0123456789")}, {"2.5.4.6", kCountry}});
  EXPECT_EQ(rendered(both, 19), (Rendered{0, "CN=0123456789;C=GB"}));
  EXPECT_EQ(rendered(both, 18), (Rendered{-1, "CN=0123456789;"}));
  EXPECT_EQ(rendered(both, 15), (Rendered{-1, "CN=0123456789;"}));
  EXPECT_EQ(rendered(both, 14), (Rendered{-1, "C=GB"}));
}

TEST(NameToText, LongNameFillsItsSizeAndNotMore) {
  std::vector<std::pair<std::string, Octets>> attributes(2000, {"2.5.4.11", der::utf8_string("unit")});
  const Rendered whole = rendered(DirectoryName(attributes), 512);
  EXPECT_EQ(whole.code, -1);
  EXPECT_LT(whole.text.size(), 512u);
  EXPECT_EQ(whole.text.substr(0, 16), "OU=unit;OU=unit;");
}

TEST(NameToText, TelexNumberIsBuiltInAScratchTextOf2048Octets) {
  const auto telex = [](size_t n) {
    return DirectoryName(
        {{"2.5.4.21", der::sequence(der::printable_string(std::string(n, '1')), der::printable_string("2"),
                                    der::printable_string("3"))}});
  };
  EXPECT_EQ(rendered(telex(480)).text, "TelexNumber=" + std::string(480, '1') + " 2 3");
  EXPECT_EQ(rendered(telex(3000)), (Rendered{-1, ""}));
}

// --- Names that no decoding gives ------------------------------------------------

// A name of one attribute, put together in memory: of type `type`, its value registered under
// `registered_as`.
class BuiltName {
 public:
  BuiltName(const Octets& type, const AsnOid& registered_as, void* value)
      : type_(type), attribute_{{uint32_t(type_.size()), type_.data()}, {}} {
    EXPECT_TRUE(EnsureAsnInit());
    SetAnyTypeByOid(&attribute_.value, registered_as);
    attribute_.value.value = value;
    AsnListInit(&inner_, sizeof(void*));
    AsnListInit(&outer_, sizeof(void*));
    *static_cast<void**>(AsnListAppend(&inner_)) = &attribute_;
    *static_cast<void**>(AsnListAppend(&outer_)) = &inner_;
  }
  ~BuiltName() {
    AsnListFreeNodes(&inner_);
    AsnListFreeNodes(&outer_);
  }
  BuiltName(const BuiltName&) = delete;
  BuiltName& operator=(const BuiltName&) = delete;

  const AsnList* list() const { return &outer_; }

 private:
  Octets type_;
  AttributeTypeAndValue attribute_;
  AsnList inner_{};
  AsnList outer_{};
};

// Values of in-memory names.
struct Values {
  Octets text = der::octets("value");
  AsnOcts octs{uint32_t(text.size()), text.data()};
  DirectoryString directory{DirectoryString::kUtf8, {}};
  Values() { directory.utf8String = &octs; }
};

// Deliberate: under 2.5.4 the third octet alone is compared.
TEST(NameToText, TypeUnder2_5_4IsRecognisedByItsThirdOctetAlone) {
  Values values;
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x03, 0x01}, kIdAtCommonName, &values.directory).list()).text,
            "CN=value");
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x06, 0x81, 0x00}, kIdAtCountryName, &values.octs).list()).text,
            "C=value");
}

TEST(NameToText, OtherArcsAndTwoOctetsMatchNoRow) {
  Values values;
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04}, kIdAtCountryName, &values.octs).list()).text, "2.5.4=value");
  EXPECT_EQ(rendered(BuiltName({0x55, 0x05, 0x06}, kIdAtCountryName, &values.octs).list()).text,
            "2.5.5.6=value");
  EXPECT_EQ(rendered(BuiltName({0x2A, 0x04, 0x06}, kIdAtCountryName, &values.octs).list()).text,
            "1.2.4.6=value");
  EXPECT_EQ(
      rendered(BuiltName(der::oid_content("1.2.840.113549.1.9.1.1"), kIdEmailAddress, &values.octs).list())
          .text,
      "1.2.840.113549.1.9.1.1=value");
}

TEST(NameToText, DomainComponentIsWrittenAsDC) {
  Values values;
  // No decoding gives one, because no type is registered under its identifier.
  EXPECT_EQ(
      rendered(
          BuiltName(der::oid_content("0.9.2342.19200300.100.1.25"), kIdEmailAddress, &values.octs).list())
          .text,
      "DC=value");
}

TEST(NameToText, AbsentValueIsSkipped) {
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x06}, kIdAtCountryName, nullptr).list()), (Rendered{0, ""}));
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x03}, kIdAtCommonName, nullptr).list()), (Rendered{0, ""}));
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x15}, kIdAtTelexNumber, nullptr).list()), (Rendered{0, ""}));
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x1E}, kIdAtSupportedApplicationContext, nullptr).list()),
            (Rendered{0, ""}));
}

TEST(NameToText, DirectoryStringOfAnUnknownKindIsSkipped) {
  Values values;
  values.directory.choice = 5;
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x03}, kIdAtCommonName, &values.directory).list()),
            (Rendered{0, ""}));
}

TEST(NameToText, RowThatExpectsAnotherTypeThanIsRegisteredReadsNothingWrong) {
  Values values;
  // A DirectoryString under the row of a plain string, and the other way round.
  EXPECT_EQ(rendered(BuiltName({0x55, 0x04, 0x06, 0x01}, kIdAtTelexNumber, nullptr).list()).code, 0);
  const Rendered octets_for_directory =
      rendered(BuiltName({0x55, 0x04, 0x03}, kIdAtCountryName, &values.octs).list());
  EXPECT_TRUE(octets_for_directory.text.empty() || octets_for_directory.text == "CN=value")
      << octets_for_directory;
}

}  // namespace
}  // namespace qex::test
