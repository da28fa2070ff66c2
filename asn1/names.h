// Directory names and general names (RFC 5280 sections 4.1.2.4 and 4.2.1.6).
#pragma once

#include "asn1/codec.h"

namespace qex {

struct ORAddress;

struct AttributeTypeAndValue {
  AsnOid type;
  AsnAny value;
};

struct Name {
  enum : AsnInt { kRdnSequence };
  AsnInt choice;
  union {
    AsnList* rdnSequence;  // of AsnList (RelativeDistinguishedName) of AttributeTypeAndValue
  };
};

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

struct OtherName {
  AsnOid typeId;
  AsnAny value;
};

struct EDIPartyName {
  DirectoryString* nameAssigner;
  DirectoryString* partyName;
};

struct GeneralName {
  enum : AsnInt {
    kOtherName,
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

ASN1_TYPE(AttributeTypeAndValue);
ASN1_TYPE_OF(RelativeDistinguishedName, AsnList);  // SET OF AttributeTypeAndValue
ASN1_TYPE_OF(DistinguishedName, AsnList);          // SEQUENCE OF RelativeDistinguishedName
ASN1_DECODER(DistinguishedName, DistinguishedName, AsnList);
ASN1_TYPE(Name);
ASN1_TOP_TYPE(DirectoryString);
ASN1_TYPE(OtherName);
ASN1_TYPE(EDIPartyName);
ASN1_TYPE(GeneralName);
ASN1_TYPE_OF(GeneralNames, AsnList);  // SEQUENCE OF GeneralName

}  // namespace qex
