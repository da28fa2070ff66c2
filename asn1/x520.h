// Attribute syntaxes of X.520, as directory names hold them.
#pragma once

#include "asn1/codec.h"
#include "asn1/names.h"

namespace qex {

struct X520TelexNumber {
  AsnOcts telexNumber;
  AsnOcts countryCode;
  AsnOcts answerback;
};

struct X520FacsimileTelephoneNumber {
  AsnOcts telephoneNumber;
  AsnBits parameters;
};

struct X520PresentationAddress {
  AsnOcts pSelector;
  AsnOcts sSelector;
  AsnOcts tSelector;
  AsnList* nAddresses;  // of AsnOcts
};

struct X520ProtocolInformation {
  AsnOcts nAddress;
  AsnList* profiles;  // of AsnOid
};

struct X520UniqueMember {
  AsnList* dn;  // DistinguishedName
  AsnBits uid;
};

ASN1_TYPE_OF(PrintableString1, AsnOcts);
ASN1_DECODER(PrintableString1, PrintableString1, AsnOcts);
ASN1_TYPE_OF(X520InternationalISDNNumber, AsnOcts);
ASN1_DECODER(X520InternationalISDNNumber, X520InternationalISDNNumber, AsnOcts);
ASN1_TYPE_OF(X121Address, AsnOcts);
ASN1_DECODER(X121Address, X121Address, AsnOcts);
ASN1_TYPE_OF(DomainComponent, AsnOcts);
ASN1_DECODER(DomainComponent, DomainComponent, AsnOcts);
ASN1_TYPE_OF(Pkcs9email, AsnOcts);
ASN1_DECODER(Pkcs9email, Pkcs9email, AsnOcts);
ASN1_TYPE_OF(X520PreferredDeliveryMethod, AsnList);  // SEQUENCE OF INTEGER
ASN1_DECODER(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod, AsnList);
ASN1_TYPE_OF(X520PostalAddress, AsnList);  // SEQUENCE OF DirectoryString
ASN1_DECODER(X520PostalAddress, X520PostalAddress, AsnList);
ASN1_TOP_TYPE(X520TelexNumber);
ASN1_TOP_TYPE(X520FacsimileTelephoneNumber);
ASN1_TYPE_OF(NetworkAddresses, AsnList);  // SET OF OCTET STRING
ASN1_TOP_TYPE(X520PresentationAddress);
ASN1_TYPE_OF(ProtocolProfiles, AsnList);  // SET OF OBJECT IDENTIFIER
ASN1_TOP_TYPE(X520ProtocolInformation);
ASN1_TOP_TYPE(X520UniqueMember);

}  // namespace qex
