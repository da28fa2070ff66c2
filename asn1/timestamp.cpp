// Tables of the time-stamp protocol types.
#include "asn1/timestamp.h"

namespace qex {

constexpr Field kMessageImprintFields[] = {
    must(FIELD(MessageImprint, hashAlgorithm), kAlgorithmIdentifier),
    must(FIELD(MessageImprint, hashedMessage), kAsnOcts),
};
constexpr TypeOf<MessageImprint> kMessageImprint =
    sequence<MessageImprint>("MessageImprint", kMessageImprintFields);

constexpr Field kTimeStampReqFields[] = {
    must(FIELD(TimeStampReq, version), kAsnInt),
    must(FIELD(TimeStampReq, messageImprint), kMessageImprint),
    may(FIELD(TimeStampReq, reqPolicy), kAsnOid),
    may(FIELD(TimeStampReq, nonce), kBigInteger),
    may(FIELD(TimeStampReq, certReq), kAsnBool),  // DEFAULT FALSE
    may(FIELD(TimeStampReq, extensions), kExtensions, implicit_tag(0)),
};
constexpr TypeOf<TimeStampReq> kTimeStampReq =
    sequence<TimeStampReq>("TimeStampReq", kTimeStampReqFields, Top::Yes);
static_assert(site_code(kTimeStampReq, Site::WrongTag) == -640);
static_assert(site_code(kTimeStampReq, Site::Missing, 0) == -641);
static_assert(site_code(kTimeStampReq, Site::Missing, 1) == -642);
static_assert(site_code(kTimeStampReq, Site::Length) == -643);
static_assert(site_code(kTimeStampReq, Site::Trailing) == -644);

constexpr TypeOf<AsnList> kPKIFreeText = sequence_of("PKIFreeText", kUTF8String);
constexpr Field kPKIStatusInfoFields[] = {
    must(FIELD(PKIStatusInfo, status), kAsnInt),
    may(FIELD(PKIStatusInfo, statusString), kPKIFreeText),
    may(FIELD(PKIStatusInfo, failInfo), kAsnBits),
};
constexpr TypeOf<PKIStatusInfo> kPKIStatusInfo =
    sequence<PKIStatusInfo>("PKIStatusInfo", kPKIStatusInfoFields);

constexpr Field kTimeStampRespFields[] = {
    must(FIELD(TimeStampResp, status), kPKIStatusInfo),
    may(FIELD(TimeStampResp, timeStampToken), kContentInfo),
};
constexpr TypeOf<TimeStampResp> kTimeStampResp =
    sequence<TimeStampResp>("TimeStampResp", kTimeStampRespFields, Top::Yes);

constexpr Field kAccuracyFields[] = {
    may(FIELD(Accuracy, seconds), kAsnInt),
    may(FIELD(Accuracy, millis), kAsnInt, implicit_tag(0)),
    may(FIELD(Accuracy, micros), kAsnInt, implicit_tag(1)),
};
constexpr TypeOf<Accuracy> kAccuracy = sequence<Accuracy>("Accuracy", kAccuracyFields);

constexpr Field kTSTInfoFields[] = {
    must(FIELD(TSTInfo, version), kAsnInt),
    must(FIELD(TSTInfo, policy), kAsnOid),
    must(FIELD(TSTInfo, messageImprint), kMessageImprint),
    must(FIELD(TSTInfo, serialNumber), kBigInteger),
    must(FIELD(TSTInfo, genTime), kGeneralizedTime),
    may(FIELD(TSTInfo, accuracy), kAccuracy),
    may(FIELD(TSTInfo, ordering), kAsnBool),  // DEFAULT FALSE
    may(FIELD(TSTInfo, nonce), kBigInteger),
    may(FIELD(TSTInfo, tsa), kGeneralName, explicit_tag(0)),
    may(FIELD(TSTInfo, extensions), kExtensions, implicit_tag(1)),
};
constexpr TypeOf<TSTInfo> kTSTInfo = sequence<TSTInfo>("TSTInfo", kTSTInfoFields, Top::Yes);

}  // namespace qex
