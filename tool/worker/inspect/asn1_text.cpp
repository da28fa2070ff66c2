// Whole messages by the library's print routines.
#include <cstdio>

#include "asn1/attrcert.h"
#include "asn1/cms.h"
#include "asn1/oids.h"
#include "asn1/timestamp.h"
#include "tool/base/system.h"
#include "tool/worker/inspect/decoded.h"
#include "tool/worker/inspect/describe.h"

namespace qex::inspect {
namespace {

// The output of `print`, and a line feed.
template <class Print>
std::string printed(Print print) {
  return tool::WrittenText([&](FILE* stream) {
    print(stream);
    std::fputc('\n', stream);
  });
}

template <class T, auto kDecode, auto kFree>
[[nodiscard]] std::optional<std::string> print_message(const Type& type, View data) {
  const Decoded<T, kDecode, kFree> value(data);
  if (!value) return std::nullopt;
  return printed([&](FILE* stream) { PrintValue(type, stream, &*value, 0); });
}

// A token with the content that is signed, decoded too.
[[nodiscard]] std::optional<std::string> print_token(View data) {
  const Decoded<ContentInfo, BDecContentInfo, FreeContentInfo> token(data);
  if (!token) return std::nullopt;
  const std::string text = printed([&](FILE* stream) { PrintValue(kContentInfo, stream, &*token, 0); });
  const AsnAny& content = token->content;
  if (content.value == nullptr || content.ai == nullptr || content.ai->anyId != kAnySignedData) return text;
  const auto* signedData = static_cast<const SignedData*>(content.value);
  if (signedData->encapContentInfo == nullptr) return text;
  const AsnOcts& eContent = signedData->encapContentInfo->eContent;
  const Decoded<TSTInfo, BDecTSTInfo, FreeTSTInfo> info({eContent.octs, eContent.count});
  if (!info) return text;
  return text + "\n-- eContent --\n" +
         printed([&](FILE* stream) { PrintValue(kTSTInfo, stream, &*info, 0); });
}

}  // namespace

std::optional<std::string> Asn1Text(Kind kind, View data) {
  switch (kind) {
    case Kind::Request:
      return print_message<TimeStampReq, BDecTimeStampReq, FreeTimeStampReq>(kTimeStampReq, data);
    case Kind::Reply:
      return print_message<TimeStampResp, BDecTimeStampResp, FreeTimeStampResp>(kTimeStampResp, data);
    case Kind::Token: return print_token(data);
    case Kind::Certificate:
      return print_message<Certificate, BDecCertificate, FreeCertificate>(kCertificate, data);
    case Kind::AttributeCertificate:
      return print_message<AttributeCertificate, BDecAttributeCertificate, FreeAttributeCertificate>(
          kAttributeCertificate, data);
    case Kind::Unknown: break;
  }
  return std::nullopt;
}

}  // namespace qex::inspect
