// Attribute syntaxes of X.520, as directory names hold them. The module has EXPLICIT TAGS.
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"

namespace qex {

// The syntax of dnQualifier, countryName, serialNumber, telephoneNumber and destinationIndicator.
//
// PrintableString1 ::= PrintableString  (of this library)
inline constexpr auto kPrintableString1 = named("PrintableString1", kPrintableString);
ASN1_TOP_TYPE(PrintableString1);

// InternationalISDNNumber ::= NumericString  (X.520)  -- here: named X520InternationalISDNNumber
inline constexpr auto kX520InternationalISDNNumber = named("X520InternationalISDNNumber", kNumericString);
ASN1_TOP_TYPE(X520InternationalISDNNumber);

// X121Address ::= NumericString  (RFC 5280, A.1)
inline constexpr auto kX121Address = named("X121Address", kNumericString);
ASN1_TOP_TYPE(X121Address);

// DomainComponent ::= IA5String  (RFC 5280, A.1)
inline constexpr auto kDomainComponent = named("DomainComponent", kIA5String);
ASN1_TOP_TYPE(DomainComponent);

// EmailAddress ::= IA5String  (RFC 5280, A.1)  -- here: named Pkcs9email
inline constexpr auto kPkcs9email = named("Pkcs9email", kIA5String);
ASN1_TOP_TYPE(Pkcs9email);

// PreferredDeliveryMethod ::= SEQUENCE OF INTEGER  (X.520)  -- here: named X520PreferredDeliveryMethod
inline constexpr SequenceOf kX520PreferredDeliveryMethod = {"X520PreferredDeliveryMethod", kAsnInt, Top::Yes};
ASN1_TOP_TYPE(X520PreferredDeliveryMethod);

// PostalAddress ::= SEQUENCE OF DirectoryString  (X.520)  -- here: named X520PostalAddress
inline constexpr SequenceOf kX520PostalAddress = {"X520PostalAddress", kDirectoryString, Top::Yes};
ASN1_TOP_TYPE(X520PostalAddress);

// TelexNumber ::= SEQUENCE {  (X.520)  -- here: named X520TelexNumber
//   telexNumber  PrintableString,
//   countryCode  PrintableString,
//   answerback   PrintableString }
struct X520TelexNumber {
  AsnOcts telexNumber;
  AsnOcts countryCode;
  AsnOcts answerback;
};
inline constexpr Sequence kX520TelexNumber = {
    "X520TelexNumber",
    Top::Yes,
    must(FIELD(X520TelexNumber, telexNumber), kPrintableString),
    must(FIELD(X520TelexNumber, countryCode), kPrintableString),
    must(FIELD(X520TelexNumber, answerback), kPrintableString),
};
ASN1_TOP_TYPE(X520TelexNumber);

// FacsimileTelephoneNumber ::= SEQUENCE {  (X.520)  -- here: named X520FacsimileTelephoneNumber
//   telephoneNumber  PrintableString,
//   parameters       G3FacsimileNonBasicParameters OPTIONAL }
// G3FacsimileNonBasicParameters ::= BIT STRING  (X.411)
struct X520FacsimileTelephoneNumber {
  AsnOcts telephoneNumber;
  AsnBits parameters;
};
inline constexpr Sequence kX520FacsimileTelephoneNumber = {
    "X520FacsimileTelephoneNumber",
    Top::Yes,
    must(FIELD(X520FacsimileTelephoneNumber, telephoneNumber), kPrintableString),
    may(FIELD(X520FacsimileTelephoneNumber, parameters), kAsnBits),
};
ASN1_TOP_TYPE(X520FacsimileTelephoneNumber);

// NetworkAddresses ::= SET OF OCTET STRING  (in PresentationAddress)
inline constexpr SetOf kNetworkAddresses = {"NetworkAddresses", kAsnOcts};
ASN1_TYPE(NetworkAddresses);

// PresentationAddress ::= SEQUENCE {  (RFC 5280, A.1)  -- here: named X520PresentationAddress
//   pSelector   [0] EXPLICIT OCTET STRING OPTIONAL,
//   sSelector   [1] EXPLICIT OCTET STRING OPTIONAL,
//   tSelector   [2] EXPLICIT OCTET STRING OPTIONAL,
//   nAddresses  [3] EXPLICIT SET OF OCTET STRING }
struct X520PresentationAddress {
  AsnOcts pSelector;
  AsnOcts sSelector;
  AsnOcts tSelector;
  ListOf<AsnOcts>* nAddresses;
};
inline constexpr Sequence kX520PresentationAddress = {
    "X520PresentationAddress",
    Top::Yes,
    may(FIELD(X520PresentationAddress, pSelector), kAsnOcts, explicit_tag(0)),
    may(FIELD(X520PresentationAddress, sSelector), kAsnOcts, explicit_tag(1)),
    may(FIELD(X520PresentationAddress, tSelector), kAsnOcts, explicit_tag(2)),
    must(FIELD(X520PresentationAddress, nAddresses), kNetworkAddresses, explicit_tag(3)),
};
ASN1_TOP_TYPE(X520PresentationAddress);

// ProtocolProfiles ::= SET OF OBJECT IDENTIFIER  (in ProtocolInformation)
inline constexpr SetOf kProtocolProfiles = {"ProtocolProfiles", kAsnOid};
ASN1_TYPE(ProtocolProfiles);

// ProtocolInformation ::= SEQUENCE {  (X.520)  -- here: named X520ProtocolInformation
//   nAddress  OCTET STRING,
//   profiles  SET OF OBJECT IDENTIFIER }
struct X520ProtocolInformation {
  AsnOcts nAddress;
  ListOf<AsnOid>* profiles;
};
inline constexpr Sequence kX520ProtocolInformation = {
    "X520ProtocolInformation",
    Top::Yes,
    must(FIELD(X520ProtocolInformation, nAddress), kAsnOcts),
    must(FIELD(X520ProtocolInformation, profiles), kProtocolProfiles),
};
ASN1_TOP_TYPE(X520ProtocolInformation);

// NameAndOptionalUID ::= SEQUENCE {  (X.520)  -- here: named X520UniqueMember
//   dn   DistinguishedName,
//   uid  UniqueIdentifier OPTIONAL }
struct X520UniqueMember {
  ListOf<ListOf<AttributeTypeAndValue>>* dn;
  AsnBits uid;
};
inline constexpr Sequence kX520UniqueMember = {
    "X520UniqueMember",
    Top::Yes,
    must(FIELD(X520UniqueMember, dn), kDistinguishedName),
    may(FIELD(X520UniqueMember, uid), kAsnBits),
};
ASN1_TOP_TYPE(X520UniqueMember);

}  // namespace qex
