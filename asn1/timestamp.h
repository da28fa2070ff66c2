// The messages of the Time-Stamp Protocol (RFC 3161 section 2.4).
#pragma once

#include "asn1/cms.h"
#include "asn1/codec.h"
#include "asn1/x509.h"

namespace qex {

struct MessageImprint {
  AlgorithmIdentifier* hashAlgorithm;
  AsnOcts hashedMessage;
};

struct TimeStampReq {
  AsnInt version;
  MessageImprint* messageImprint;
  AsnOid reqPolicy;
  AsnOcts nonce;
  AsnBool* certReq;
  AsnList* extensions;  // of Extension
};

struct PKIStatusInfo {
  AsnInt status;
  AsnList* statusString;  // of AsnOcts (UTF8String)
  AsnBits failInfo;
};

struct TimeStampResp {
  PKIStatusInfo* status;
  ContentInfo* timeStampToken;
};

struct Accuracy {
  AsnInt* seconds;
  AsnInt* millis;
  AsnInt* micros;
};

struct TSTInfo {
  AsnInt version;
  AsnOid policy;
  MessageImprint* messageImprint;
  AsnOcts serialNumber;
  AsnOcts genTime;
  Accuracy* accuracy;
  AsnBool* ordering;
  AsnOcts nonce;
  GeneralName* tsa;
  AsnList* extensions;  // of Extension
};

ASN1_TYPE(MessageImprint);
ASN1_TOP_TYPE(TimeStampReq);
ASN1_TYPE_OF(PKIFreeText, AsnList);  // SEQUENCE OF UTF8String
ASN1_TYPE(PKIStatusInfo);
ASN1_TOP_TYPE(TimeStampResp);
ASN1_TYPE(Accuracy);
ASN1_TOP_TYPE(TSTInfo);

}  // namespace qex
