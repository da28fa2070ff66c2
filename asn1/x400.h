// X.400 originator/recipient addresses, as general names carry them (RFC 5280 appendix A.1).
#pragma once

#include "asn1/codec.h"

namespace qex {

struct CountryName {
  enum : AsnInt { kX121DccCode, kIso3166Alpha2Code };
  AsnInt choice;
  union {
    AsnOcts* x121DccCode;
    AsnOcts* iso3166Alpha2Code;
  };
};

struct AdministrationDomainName {
  enum : AsnInt { kNumeric, kPrintable };
  AsnInt choice;
  union {
    AsnOcts* numeric;
    AsnOcts* printable;
  };
};

struct PrivateDomainName {
  enum : AsnInt { kNumeric, kPrintable };
  AsnInt choice;
  union {
    AsnOcts* numeric;
    AsnOcts* printable;
  };
};

struct PersonalName {
  AsnOcts surname;
  AsnOcts givenName;
  AsnOcts initials;
  AsnOcts generationQualifier;
};

struct BuiltInStandardAttributes {
  CountryName* countryName;
  AdministrationDomainName* administrationDomainName;
  AsnOcts networkAddress;
  AsnOcts terminalIdentifier;
  PrivateDomainName* privateDomainName;
  AsnOcts organizationName;
  AsnOcts numericUserIdentifier;
  PersonalName* personalName;
  AsnList* organizationalUnitNames;  // of AsnOcts
};

struct BuiltInDomainDefinedAttribute {
  AsnOcts type;
  AsnOcts value;
};

struct ExtensionAttribute {
  AsnInt extensionAttributeType;
  AsnAny extensionAttributeValue;
};

struct ORAddress {
  BuiltInStandardAttributes* builtInStandardAttributes;
  AsnList* builtInDomainDefinedAttributes;  // of BuiltInDomainDefinedAttribute
  AsnList* extensionAttributes;             // of ExtensionAttribute
};

ASN1_TYPE(CountryName);
ASN1_TYPE(AdministrationDomainName);
ASN1_TYPE(PrivateDomainName);
ASN1_TYPE(PersonalName);
ASN1_TYPE_OF(OrganizationalUnitNames, AsnList);  // SEQUENCE OF PrintableString
ASN1_TYPE(BuiltInStandardAttributes);
ASN1_TYPE(BuiltInDomainDefinedAttribute);
ASN1_TYPE_OF(BuiltInDomainDefinedAttributes, AsnList);  // SEQUENCE OF
ASN1_TYPE(ExtensionAttribute);
ASN1_TYPE_OF(ExtensionAttributes, AsnList);  // SET OF
ASN1_TYPE(ORAddress);

}  // namespace qex
