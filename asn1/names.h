// Directory names and general names (RFC 5280 sections 4.1.2.4 and 4.2.1.6).
//
// General names are of the module A.2, which has IMPLICIT TAGS. The tag over a CHOICE is explicit all the
// same, as X.680 rules: that of directoryName, and those of EDIPartyName.
#pragma once

#include "asn1/codec.h"
#include "asn1/x400.h"

namespace qex {

// AttributeTypeAndValue ::= SEQUENCE {  (RFC 5280, 4.1.2.4)
//   type   AttributeType,
//   value  AttributeValue }
// AttributeType ::= OBJECT IDENTIFIER  (RFC 5280, 4.1.2.4)
// AttributeValue ::= ANY -- DEFINED BY AttributeType  (RFC 5280, 4.1.2.4)
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

// RelativeDistinguishedName ::= SET OF AttributeTypeAndValue  (RFC 5280, 4.1.2.4)
inline constexpr SetOf kRelativeDistinguishedName = {"RelativeDistinguishedName", kAttributeTypeAndValue};
ASN1_TYPE(RelativeDistinguishedName);

// DistinguishedName ::= RDNSequence  (RFC 5280, A.1)
// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName  (RFC 5280, 4.1.2.4)
inline constexpr SequenceOf kDistinguishedName = {"DistinguishedName", kRelativeDistinguishedName, Top::Yes};
ASN1_TOP_TYPE(DistinguishedName);

// Name ::= CHOICE {  (RFC 5280, 4.1.2.4)
//   rdnSequence  RDNSequence }
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

// DirectoryString ::= CHOICE {  (RFC 5280, 4.1.2.4)
//   teletexString    TeletexString,
//   printableString  PrintableString,
//   universalString  UniversalString,
//   utf8String       UTF8String,
//   bmpString        BMPString }
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

// OtherName ::= SEQUENCE {  (RFC 5280, 4.2.1.6)
//   type-id     OBJECT IDENTIFIER,
//   value   [0] EXPLICIT ANY DEFINED BY type-id }
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

// EDIPartyName ::= SEQUENCE {  (RFC 5280, 4.2.1.6)
//   nameAssigner  [0] DirectoryString OPTIONAL,
//   partyName     [1] DirectoryString }
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

// GeneralName ::= CHOICE {  (RFC 5280, 4.2.1.6)
//   otherName                  [0] OtherName,
//   rfc822Name                 [1] IA5String,
//   dNSName                    [2] IA5String,
//   x400Address                [3] ORAddress,
//   directoryName              [4] Name,
//   ediPartyName               [5] EDIPartyName,
//   uniformResourceIdentifier  [6] IA5String,
//   iPAddress                  [7] OCTET STRING,
//   registeredID               [8] OBJECT IDENTIFIER }
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

// GeneralNames ::= SEQUENCE OF GeneralName  (RFC 5280, 4.2.1.6)
inline constexpr SequenceOf kGeneralNames = {"GeneralNames", kGeneralName};
ASN1_TYPE(GeneralNames);

}  // namespace qex
