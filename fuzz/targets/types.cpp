// The engine, through the types that start a decoding and those that open types hold. The first octet chooses
// the type; fuzz/support/values.h describes the checks.
#include "asn1/attrcert.h"
#include "asn1/cades.h"
#include "asn1/cms.h"
#include "asn1/ess.h"
#include "asn1/timestamp.h"
#include "asn1/timing.h"
#include "asn1/x509.h"
#include "asn1/x520.h"
#include "fuzz/support/values.h"

namespace qex::fuzz {
namespace {

// The corpus names types by their place: new ones go to the end.
constexpr const Type* kTypes[] = {
    &kContentInfo,
    &kSignedData,
    &kCertificate,
    &kTimeStampReq,
    &kTimeStampResp,
    &kTSTInfo,
    &kAttributeCertificate,
    &kTimingMetrics,
    &kTimingMeticsObj,
    &kTimingPolicy,
    &kTimingPolicyObj,
    &kRSAPublicKey,
    &kDss_Parms,
    &kDss_Sig_Value,
    &kBigIntegerStr,
    &kDistinguishedName,
    &kDirectoryString,
    &kSigningCertificate,
    &kSigningCertificateV2,
    &kSignaturePolicyIdentifier,
    &kSignerAttribute,
    &kExtensionRequest0,
    &kAttrContentType,
    &kAttrMsgDigest,
    &kTime,
    &kX520TelexNumber,
    &kX520FacsimileTelephoneNumber,
    &kX520PresentationAddress,
    &kX520ProtocolInformation,
    &kX520UniqueMember,
    &kX520PostalAddress,
    &kX520PreferredDeliveryMethod,
    &kPrintableString1,
};

}  // namespace

size_t NotEncodings(View) {
  return 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  CheckType(*kTypes[data[0] % std::size(kTypes)], {data + 1, size - 1});
  return 0;
}

}  // namespace qex::fuzz
