// X.400 originator/recipient addresses, as general names carry them (RFC 5280 appendix A.1).
// The module has EXPLICIT TAGS.
#pragma once

#include "asn1/codec.h"

namespace qex {

// CountryName ::= [APPLICATION 1] CHOICE {  (RFC 5280, A.1)
//   x121-dcc-code         NumericString,
//   iso-3166-alpha2-code  PrintableString }
struct CountryName {
  enum : AsnInt { kX121DccCode, kIso3166Alpha2Code };
  AsnInt choice;
  union {
    AsnOcts* x121DccCode;
    AsnOcts* iso3166Alpha2Code;
  };
};
inline constexpr Choice kCountryName = {
    "CountryName",
    must(FIELD_AS(CountryName, x121DccCode, "x121-dcc-code"), kNumericString),
    must(FIELD_AS(CountryName, iso3166Alpha2Code, "iso-3166-alpha2-code"), kPrintableString),
};
ASN1_TYPE(CountryName);

// AdministrationDomainName ::= [APPLICATION 2] CHOICE {  (RFC 5280, A.1)
//   numeric    NumericString,
//   printable  PrintableString }
struct AdministrationDomainName {
  enum : AsnInt { kNumeric, kPrintable };
  AsnInt choice;
  union {
    AsnOcts* numeric;
    AsnOcts* printable;
  };
};
inline constexpr Choice kAdministrationDomainName = {
    "AdministrationDomainName",
    must(FIELD(AdministrationDomainName, numeric), kNumericString),
    must(FIELD(AdministrationDomainName, printable), kPrintableString),
};
ASN1_TYPE(AdministrationDomainName);

// PrivateDomainName ::= CHOICE {  (RFC 5280, A.1)
//   numeric    NumericString,
//   printable  PrintableString }
struct PrivateDomainName {
  enum : AsnInt { kNumeric, kPrintable };
  AsnInt choice;
  union {
    AsnOcts* numeric;
    AsnOcts* printable;
  };
};
inline constexpr Choice kPrivateDomainName = {
    "PrivateDomainName",
    must(FIELD(PrivateDomainName, numeric), kNumericString),
    must(FIELD(PrivateDomainName, printable), kPrintableString),
};
ASN1_TYPE(PrivateDomainName);

// PersonalName ::= SET {  (RFC 5280, A.1)
//   surname               [0] IMPLICIT PrintableString,
//   given-name            [1] IMPLICIT PrintableString OPTIONAL,
//   initials              [2] IMPLICIT PrintableString OPTIONAL,
//   generation-qualifier  [3] IMPLICIT PrintableString OPTIONAL }
struct PersonalName {
  AsnOcts surname;
  AsnOcts givenName;
  AsnOcts initials;
  AsnOcts generationQualifier;
};
inline constexpr Set kPersonalName = {
    "PersonalName",
    must(FIELD(PersonalName, surname), kPrintableString, implicit_tag(0)),
    may(FIELD_AS(PersonalName, givenName, "given-name"), kPrintableString, implicit_tag(1)),
    may(FIELD(PersonalName, initials), kPrintableString, implicit_tag(2)),
    may(FIELD_AS(PersonalName, generationQualifier, "generation-qualifier"), kPrintableString,
        implicit_tag(3)),
};
ASN1_TYPE(PersonalName);

// OrganizationalUnitNames ::= SEQUENCE OF OrganizationalUnitName  (RFC 5280, A.1)
// OrganizationalUnitName ::= PrintableString  (RFC 5280, A.1)
inline constexpr SequenceOf kOrganizationalUnitNames = {"OrganizationalUnitNames", kPrintableString};
ASN1_TYPE(OrganizationalUnitNames);

// BuiltInStandardAttributes ::= SEQUENCE {  (RFC 5280, A.1)
//   country-name                    CountryName OPTIONAL,
//   administration-domain-name      AdministrationDomainName OPTIONAL,
//   network-address             [0] IMPLICIT NetworkAddress OPTIONAL,
//   terminal-identifier         [1] IMPLICIT TerminalIdentifier OPTIONAL,
//   private-domain-name         [2] PrivateDomainName OPTIONAL,
//   organization-name           [3] IMPLICIT OrganizationName OPTIONAL,
//   numeric-user-identifier     [4] IMPLICIT NumericUserIdentifier OPTIONAL,
//   personal-name               [5] IMPLICIT PersonalName OPTIONAL,
//   organizational-unit-names   [6] IMPLICIT OrganizationalUnitNames OPTIONAL }
// NetworkAddress ::= X121Address  (RFC 5280, A.1)
// TerminalIdentifier ::= PrintableString  (RFC 5280, A.1)
// OrganizationName ::= PrintableString  (RFC 5280, A.1)
// NumericUserIdentifier ::= NumericString  (RFC 5280, A.1)
struct BuiltInStandardAttributes {
  CountryName* countryName;
  AdministrationDomainName* administrationDomainName;
  AsnOcts networkAddress;
  AsnOcts terminalIdentifier;
  PrivateDomainName* privateDomainName;
  AsnOcts organizationName;
  AsnOcts numericUserIdentifier;
  PersonalName* personalName;
  ListOf<AsnOcts>* organizationalUnitNames;
};
inline constexpr Sequence kBuiltInStandardAttributes = {
    "BuiltInStandardAttributes",
    may(FIELD_AS(BuiltInStandardAttributes, countryName, "country-name"), kCountryName,
        explicit_application_tag(1)),
    may(FIELD_AS(BuiltInStandardAttributes, administrationDomainName, "administration-domain-name"),
        kAdministrationDomainName, explicit_application_tag(2)),
    may(FIELD_AS(BuiltInStandardAttributes, networkAddress, "network-address"), kNumericString,
        implicit_tag(0)),
    may(FIELD_AS(BuiltInStandardAttributes, terminalIdentifier, "terminal-identifier"), kPrintableString,
        implicit_tag(1)),
    may(FIELD_AS(BuiltInStandardAttributes, privateDomainName, "private-domain-name"), kPrivateDomainName,
        explicit_tag(2)),
    may(FIELD_AS(BuiltInStandardAttributes, organizationName, "organization-name"), kPrintableString,
        implicit_tag(3)),
    may(FIELD_AS(BuiltInStandardAttributes, numericUserIdentifier, "numeric-user-identifier"), kNumericString,
        implicit_tag(4)),
    may(FIELD_AS(BuiltInStandardAttributes, personalName, "personal-name"), kPersonalName, implicit_tag(5)),
    may(FIELD_AS(BuiltInStandardAttributes, organizationalUnitNames, "organizational-unit-names"),
        kOrganizationalUnitNames, implicit_tag(6)),
};
ASN1_TYPE(BuiltInStandardAttributes);

// BuiltInDomainDefinedAttribute ::= SEQUENCE {  (RFC 5280, A.1)
//   type   PrintableString,
//   value  PrintableString }
struct BuiltInDomainDefinedAttribute {
  AsnOcts type;
  AsnOcts value;
};
inline constexpr Sequence kBuiltInDomainDefinedAttribute = {
    "BuiltInDomainDefinedAttribute",
    must(FIELD(BuiltInDomainDefinedAttribute, type), kPrintableString),
    must(FIELD(BuiltInDomainDefinedAttribute, value), kPrintableString),
};
ASN1_TYPE(BuiltInDomainDefinedAttribute);

// BuiltInDomainDefinedAttributes ::= SEQUENCE OF BuiltInDomainDefinedAttribute  (RFC 5280, A.1)
inline constexpr SequenceOf kBuiltInDomainDefinedAttributes = {"BuiltInDomainDefinedAttributes",
                                                               kBuiltInDomainDefinedAttribute};
ASN1_TYPE(BuiltInDomainDefinedAttributes);

// ExtensionAttribute ::= SEQUENCE {  (RFC 5280, A.1)
//   extension-attribute-type   [0] IMPLICIT INTEGER,
//   extension-attribute-value  [1] ANY DEFINED BY extension-attribute-type }
struct ExtensionAttribute {
  AsnInt extensionAttributeType;
  AsnAny extensionAttributeValue;
};
inline constexpr Sequence kExtensionAttribute = {
    "ExtensionAttribute",
    must(FIELD_AS(ExtensionAttribute, extensionAttributeType, "extension-attribute-type"), kAsnInt,
         implicit_tag(0)),
    defined_by(FIELD(ExtensionAttribute, extensionAttributeType),
               must(FIELD_AS(ExtensionAttribute, extensionAttributeValue, "extension-attribute-value"),
                    kAsnAny, explicit_tag(1))),
};
ASN1_TYPE(ExtensionAttribute);

// ExtensionAttributes ::= SET OF ExtensionAttribute  (RFC 5280, A.1)
inline constexpr SetOf kExtensionAttributes = {"ExtensionAttributes", kExtensionAttribute};
ASN1_TYPE(ExtensionAttributes);

// ORAddress ::= SEQUENCE {  (RFC 5280, A.1)
//   built-in-standard-attributes        BuiltInStandardAttributes,
//   built-in-domain-defined-attributes  BuiltInDomainDefinedAttributes OPTIONAL,
//   extension-attributes                ExtensionAttributes OPTIONAL }
struct ORAddress {
  BuiltInStandardAttributes* builtInStandardAttributes;
  ListOf<BuiltInDomainDefinedAttribute>* builtInDomainDefinedAttributes;
  ListOf<ExtensionAttribute>* extensionAttributes;
};
inline constexpr Sequence kORAddress = {
    "ORAddress",
    must(FIELD_AS(ORAddress, builtInStandardAttributes, "built-in-standard-attributes"),
         kBuiltInStandardAttributes),
    may(FIELD_AS(ORAddress, builtInDomainDefinedAttributes, "built-in-domain-defined-attributes"),
        kBuiltInDomainDefinedAttributes),
    may(FIELD_AS(ORAddress, extensionAttributes, "extension-attributes"), kExtensionAttributes),
};
ASN1_TYPE(ORAddress);

}  // namespace qex
