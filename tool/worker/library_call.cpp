// Failures of exports in words.
#include "tool/worker/library_call.h"

#include "tool/base/escape.h"
#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/inspect/describe.h"

namespace qex::tool {
namespace {

// Last ASN.1 errors: an identifier without a type, an allocation that failed.
constexpr int32_t kUnknownType = -44;
constexpr int32_t kOutOfMemory = -27;

Failure unknown_identifier(const std::string& what, const inspect::UnknownIdentifier& unknown, int32_t code) {
  const std::string named = std::string(unknown.role) + ' ' + Escaped(unknown.name);
  if (unknown.algorithm) {
    return {ExitStatus::Unsupported, what + ": the " + named + " is not supported",
            "ask for a token with RSA or DSA and a supported hash", code, kUnknownType};
  }
  return {ExitStatus::Input, what + ": it holds the " + named + ", a type that the library does not know",
          "such a message cannot be read; ask its maker for one without it", code, kUnknownType};
}

// A decoder that runs out of memory answers with the code of a message that is wrong.
std::optional<Failure> memory_failure(const std::string& what, int32_t code) {
  const int32_t asn1Error = QEX_GetLastAsnError();
  if (code != QEX_E_NOMEM && (code == QEX_OK || asn1Error != kOutOfMemory)) return std::nullopt;
  return Failure{ExitStatus::Internal, what + ": it takes more memory than is allowed",
                 "no time-stamp message needs that much; do not rely on it", code, asn1Error};
}

}  // namespace

std::optional<Failure> UnknownIdentifierFailure(const std::string& what, int32_t code, ByteView message) {
  if (QEX_GetLastAsnError() != kUnknownType) return std::nullopt;
  const auto unknown = inspect::FindUnknownIdentifier(message);
  return unknown ? std::optional(unknown_identifier(what, *unknown, code)) : std::nullopt;
}

void RequireMemory(const std::string& what, int32_t code) {
  if (const auto failure = memory_failure(what, code)) throw Failure{*failure};
}

Failure LibraryFailure(const std::string& what, int32_t code, ByteView message) {
  const int32_t asn1Error = QEX_GetLastAsnError();
  if (const auto unknown = UnknownIdentifierFailure(what, code, message)) return *unknown;
  if (const auto failure = memory_failure(what, code)) return *failure;
  std::string text = what + ": " + inspect::CodeMeaning(code);
  if (const auto meaning = inspect::Asn1ErrorMeaning(asn1Error); meaning && asn1Error != 0) {
    text += " (" + *meaning + ", ASN.1 error " + std::to_string(asn1Error) + ")";
  }
  return {ExitOfCode(code), text, "fetch it again, or look inside with 'qex show --asn1'", code, asn1Error};
}

}  // namespace qex::tool
