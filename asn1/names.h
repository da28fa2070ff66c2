// Directory names and general names (RFC 5280 sections 4.1.2.4 and 4.2.1.6).
#pragma once

#include "asn1/codec.h"
#include "asn1/x400.h"

namespace qex {

struct AttributeTypeAndValue {
  AsnOid type;
  AsnAny value;
};
inline constexpr Sequence kAttributeTypeAndValue = {
    "AttributeTypeAndValue",
    must(FIELD(AttributeTypeAndValue, type), kAsnOid),
    defined_by(FIELD(AttributeTypeAndValue, type), must(FIELD(AttributeTypeAndValue, value), kAsnAny)),
};
ASN1_TYPE(AttributeTypeAndValue);

inline constexpr SetOf kRelativeDistinguishedName = {"RelativeDistinguishedName", kAttributeTypeAndValue};
ASN1_TYPE(RelativeDistinguishedName);

inline constexpr SequenceOf kDistinguishedName = {"DistinguishedName", kRelativeDistinguishedName, Top::Yes};
ASN1_TOP_TYPE(DistinguishedName);

struct Name {
  enum : AsnInt { kRdnSequence };
  AsnInt choice;
  union {
    ListOf<ListOf<AttributeTypeAndValue>>* rdnSequence;
  };
};
inline constexpr Choice kName = {
    "Name",
    must(FIELD(Name, rdnSequence), kDistinguishedName),
};
ASN1_TYPE(Name);

struct DirectoryString {
  enum : AsnInt { kTeletex, kPrintable, kUniversal, kUtf8, kBmp };
  AsnInt choice;
  union {
    AsnOcts* teletexString;
    AsnOcts* printableString;
    AsnOcts* universalString;
    AsnOcts* utf8String;
    AsnOcts* bmpString;
  };
};
inline constexpr Choice kDirectoryString = {
    "DirectoryString",
    Top::Yes,
    must(FIELD(DirectoryString, teletexString), kTeletexString),
    must(FIELD(DirectoryString, printableString), kPrintableString),
    must(FIELD(DirectoryString, universalString), kUniversalString),
    must(FIELD(DirectoryString, utf8String), kUTF8String),
    must(FIELD(DirectoryString, bmpString), kBMPString),
};
ASN1_TOP_TYPE(DirectoryString);

struct OtherName {
  AsnOid typeId;
  AsnAny value;
};
inline constexpr Sequence kOtherName = {
    "OtherName",
    must(FIELD_AS(OtherName, typeId, "type-id"), kAsnOid),
    defined_by(FIELD(OtherName, typeId), must(FIELD(OtherName, value), kAsnAny, explicit_tag(0))),
};
ASN1_TYPE(OtherName);

struct EDIPartyName {
  DirectoryString* nameAssigner;
  DirectoryString* partyName;
};
inline constexpr Sequence kEDIPartyName = {
    "EDIPartyName",
    may(FIELD(EDIPartyName, nameAssigner), kDirectoryString, explicit_tag(0)),
    must(FIELD(EDIPartyName, partyName), kDirectoryString, explicit_tag(1)),
};
ASN1_TYPE(EDIPartyName);

struct GeneralName {
  enum : AsnInt {
    kOther,
    kRfc822Name,
    kDNSName,
    kX400Address,
    kDirectoryName,
    kEdiPartyName,
    kUniformResourceIdentifier,
    kIPAddress,
    kRegisteredID
  };
  AsnInt choice;
  union {
    OtherName* otherName;
    AsnOcts* rfc822Name;
    AsnOcts* dNSName;
    ORAddress* x400Address;
    Name* directoryName;
    EDIPartyName* ediPartyName;
    AsnOcts* uniformResourceIdentifier;
    AsnOcts* iPAddress;
    AsnOid* registeredID;
  };
};
inline constexpr Choice kGeneralName = {
    "GeneralName",
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
ASN1_TYPE(GeneralName);

inline constexpr SequenceOf kGeneralNames = {"GeneralNames", kGeneralName};
ASN1_TYPE(GeneralNames);

}  // namespace qex
