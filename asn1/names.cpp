// Tables of the name types.
#include "asn1/names.h"

#include "asn1/x400.h"

namespace qex {

constexpr Field kAttributeTypeAndValueFields[] = {
    must(FIELD(AttributeTypeAndValue, type), kAsnOid),
    defined_by(FIELD(AttributeTypeAndValue, type), must(FIELD(AttributeTypeAndValue, value), kAsnAny)),
};
constexpr TypeOf<AttributeTypeAndValue> kAttributeTypeAndValue =
    sequence<AttributeTypeAndValue>("AttributeTypeAndValue", kAttributeTypeAndValueFields);
constexpr TypeOf<AsnList> kRelativeDistinguishedName =
    set_of("RelativeDistinguishedName", kAttributeTypeAndValue);
constexpr TypeOf<AsnList> kDistinguishedName =
    sequence_of("DistinguishedName", kRelativeDistinguishedName, Top::Yes);

constexpr Field kNameAlternatives[] = {
    must(FIELD(Name, rdnSequence), kDistinguishedName),
};
constexpr TypeOf<Name> kName = choice<Name>("Name", kNameAlternatives);

constexpr Field kDirectoryStringAlternatives[] = {
    must(FIELD(DirectoryString, teletexString), kTeletexString),
    must(FIELD(DirectoryString, printableString), kPrintableString),
    must(FIELD(DirectoryString, universalString), kUniversalString),
    must(FIELD(DirectoryString, utf8String), kUTF8String),
    must(FIELD(DirectoryString, bmpString), kBMPString),
};
constexpr TypeOf<DirectoryString> kDirectoryString =
    choice<DirectoryString>("DirectoryString", kDirectoryStringAlternatives, Top::Yes);

constexpr Field kOtherNameFields[] = {
    must(FIELD_AS(OtherName, typeId, "type-id"), kAsnOid),
    defined_by(FIELD(OtherName, typeId), must(FIELD(OtherName, value), kAsnAny, explicit_tag(0))),
};
constexpr TypeOf<OtherName> kOtherName = sequence<OtherName>("OtherName", kOtherNameFields);

constexpr Field kEDIPartyNameFields[] = {
    may(FIELD(EDIPartyName, nameAssigner), kDirectoryString, explicit_tag(0)),
    must(FIELD(EDIPartyName, partyName), kDirectoryString, explicit_tag(1)),
};
constexpr TypeOf<EDIPartyName> kEDIPartyName = sequence<EDIPartyName>("EDIPartyName", kEDIPartyNameFields);

constexpr Field kGeneralNameAlternatives[] = {
    must(FIELD(GeneralName, otherName), kOtherName, implicit_tag(0)),
    must(FIELD(GeneralName, rfc822Name), kIA5String, implicit_tag(1)),
    must(FIELD(GeneralName, dNSName), kIA5String, implicit_tag(2)),
    must(FIELD(GeneralName, x400Address), kORAddress, implicit_tag(3)),
    must(FIELD(GeneralName, directoryName), kName, explicit_tag(4)),
    must(FIELD(GeneralName, ediPartyName), kEDIPartyName, implicit_tag(5)),
    must(FIELD(GeneralName, uniformResourceIdentifier), kIA5String, implicit_tag(6)),
    must(FIELD(GeneralName, iPAddress), kAsnOcts, implicit_tag(7)),
    must(FIELD(GeneralName, registeredID), kAsnOid, implicit_tag(8)),
};
constexpr TypeOf<GeneralName> kGeneralName = choice<GeneralName>("GeneralName", kGeneralNameAlternatives);
constexpr TypeOf<AsnList> kGeneralNames = sequence_of("GeneralNames", kGeneralName);

}  // namespace qex
