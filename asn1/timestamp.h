// The messages of the Time-Stamp Protocol (RFC 3161 section 2.4). The module has IMPLICIT TAGS.
#pragma once

#include "asn1/cms.h"
#include "asn1/codec.h"
#include "asn1/x509.h"

namespace qex {

// MessageImprint ::= SEQUENCE {  (RFC 3161, 2.4.1)
//   hashAlgorithm  AlgorithmIdentifier,
//   hashedMessage  OCTET STRING }
struct MessageImprint {
  AlgorithmIdentifier* hashAlgorithm;
  AsnOcts hashedMessage;
};
inline constexpr Sequence kMessageImprint = {
    "MessageImprint",
    must(FIELD(MessageImprint, hashAlgorithm), kAlgorithmIdentifier),
    must(FIELD(MessageImprint, hashedMessage), kAsnOcts),
};
ASN1_TYPE(MessageImprint);

// TimeStampReq ::= SEQUENCE {  (RFC 3161, 2.4.1)
//   version             INTEGER { v1(1) },
//   messageImprint      MessageImprint,
//   reqPolicy           TSAPolicyId OPTIONAL,
//   nonce               INTEGER OPTIONAL,
//   certReq             BOOLEAN DEFAULT FALSE,
//   extensions      [0] IMPLICIT Extensions OPTIONAL }
// TSAPolicyId ::= OBJECT IDENTIFIER  (RFC 3161, 2.4.1)
struct TimeStampReq {
  AsnInt version;
  MessageImprint* messageImprint;
  AsnOid reqPolicy;
  AsnOcts nonce;
  AsnBool* certReq;
  ListOf<Extension>* extensions;
};
inline constexpr Sequence kTimeStampReq = {
    "TimeStampReq",
    Top::Yes,
    must(FIELD(TimeStampReq, version), kAsnInt),
    must(FIELD(TimeStampReq, messageImprint), kMessageImprint),
    may(FIELD(TimeStampReq, reqPolicy), kAsnOid),
    may(FIELD(TimeStampReq, nonce), kBigInteger),
    may_default(FIELD(TimeStampReq, certReq), kAsnBool),
    may(FIELD(TimeStampReq, extensions), kExtensions, implicit_tag(0)),
};
ASN1_TOP_TYPE(TimeStampReq);

// PKIFreeText ::= SEQUENCE OF UTF8String  (RFC 4210, 5.1.1)
inline constexpr SequenceOf kPKIFreeText = {"PKIFreeText", kUTF8String};
ASN1_TYPE(PKIFreeText);

// PKIStatusInfo ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   status        PKIStatus,
//   statusString  PKIFreeText OPTIONAL,
//   failInfo      PKIFailureInfo OPTIONAL }
// PKIStatus ::= INTEGER  (RFC 3161, 2.4.2)
// PKIFailureInfo ::= BIT STRING  (RFC 3161, 2.4.2)
struct PKIStatusInfo {
  AsnInt status;
  ListOf<AsnOcts>* statusString;
  AsnBits failInfo;
};
inline constexpr Sequence kPKIStatusInfo = {
    "PKIStatusInfo",
    must(FIELD(PKIStatusInfo, status), kAsnInt),
    may(FIELD(PKIStatusInfo, statusString), kPKIFreeText),
    may(FIELD(PKIStatusInfo, failInfo), kAsnBits),
};
ASN1_TYPE(PKIStatusInfo);

// TimeStampResp ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   status          PKIStatusInfo,
//   timeStampToken  TimeStampToken OPTIONAL }
// TimeStampToken ::= ContentInfo  (RFC 3161, 2.4.2)
struct TimeStampResp {
  PKIStatusInfo* status;
  ContentInfo* timeStampToken;
};
inline constexpr Sequence kTimeStampResp = {
    "TimeStampResp",
    Top::Yes,
    must(FIELD(TimeStampResp, status), kPKIStatusInfo),
    may(FIELD(TimeStampResp, timeStampToken), kContentInfo),
};
ASN1_TOP_TYPE(TimeStampResp);

// Accuracy ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   seconds     INTEGER OPTIONAL,
//   millis  [0] INTEGER OPTIONAL,
//   micros  [1] INTEGER OPTIONAL }
struct Accuracy {
  AsnInt* seconds;
  AsnInt* millis;
  AsnInt* micros;
};
inline constexpr Sequence kAccuracy = {
    "Accuracy",
    may(FIELD(Accuracy, seconds), kAsnInt),
    may(FIELD(Accuracy, millis), kAsnInt, implicit_tag(0)),
    may(FIELD(Accuracy, micros), kAsnInt, implicit_tag(1)),
};
ASN1_TYPE(Accuracy);

// TSTInfo ::= SEQUENCE {  (RFC 3161, 2.4.2)
//   version             INTEGER { v1(1) },
//   policy              TSAPolicyId,
//   messageImprint      MessageImprint,
//   serialNumber        INTEGER,
//   genTime             GeneralizedTime,
//   accuracy            Accuracy OPTIONAL,
//   ordering            BOOLEAN DEFAULT FALSE,
//   nonce               INTEGER OPTIONAL,
//   tsa             [0] GeneralName OPTIONAL,
//   extensions      [1] IMPLICIT Extensions OPTIONAL }
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
  ListOf<Extension>* extensions;
};
inline constexpr Sequence kTSTInfo = {
    "TSTInfo",
    Top::Yes,
    must(FIELD(TSTInfo, version), kAsnInt),
    must(FIELD(TSTInfo, policy), kAsnOid),
    must(FIELD(TSTInfo, messageImprint), kMessageImprint),
    must(FIELD(TSTInfo, serialNumber), kBigInteger),
    must(FIELD(TSTInfo, genTime), kGeneralizedTime),
    may(FIELD(TSTInfo, accuracy), kAccuracy),
    may_default(FIELD(TSTInfo, ordering), kAsnBool),
    may(FIELD(TSTInfo, nonce), kBigInteger),
    may(FIELD(TSTInfo, tsa), kGeneralName, explicit_tag(0)),
    may(FIELD(TSTInfo, extensions), kExtensions, implicit_tag(1)),
};
ASN1_TOP_TYPE(TSTInfo);

}  // namespace qex
