// Failures of exports in words.
#include "tool/worker/library_call.h"

#include "tool/worker/inspect/code_texts.h"
#include "tool/worker/inspect/describe.h"

namespace qex::tool {
namespace {

// The last ASN.1 error of an allocation that failed.
constexpr int32_t kOutOfMemory = -27;

// A decoder that runs out of memory answers with the code of a message that is wrong.
[[nodiscard]] std::optional<Failure> memory_failure(const std::string& what, int32_t code) {
  const int32_t asn1Error = QEX_GetLastAsnError();
  if (code != QEX_E_NOMEM && (code == QEX_OK || asn1Error != kOutOfMemory)) return std::nullopt;
  return Failure{ExitStatus::Internal, what + ": it takes more memory than is allowed",
                 "no time-stamp message needs that much; do not rely on it", code, asn1Error};
}

}  // namespace

void RequireMemory(const std::string& what, int32_t code) {
  if (const auto failure = memory_failure(what, code)) throw Failure{*failure};
}

Stop LibraryStop(const std::string& what, int32_t code, ByteView message) {
  const int32_t asn1Error = QEX_GetLastAsnError();
  RequireMemory(what, code);
  Stop stop;
  stop.code = code;
  stop.asn1Error = asn1Error;
  if (const auto unknown = asn1Error != 0 ? inspect::FindUnknownIdentifier(message) : std::nullopt) {
    stop.identifier = std::string(unknown->role) + ' ' + unknown->name;
    stop.algorithm = unknown->algorithm;
    stop.text = what + ": it holds the " + stop.identifier + ", of a type that the library does not know";
    return stop;
  }
  stop.text = what + ": " + inspect::CodeMeaning(code);
  if (const auto meaning = inspect::Asn1ErrorMeaning(asn1Error); meaning && asn1Error != 0) {
    stop.text += " (" + *meaning + ", ASN.1 error " + std::to_string(asn1Error) + ")";
  }
  return stop;
}

Failure FailureOf(const Stop& stop) {
  if (stop.algorithm) {
    return {ExitStatus::Unsupported, "the " + stop.identifier + " is not supported",
            "ask for a token with RSA or DSA and a supported hash", stop.code, stop.asn1Error};
  }
  const char* hint = stop.identifier.empty()
                         ? "fetch it again, or look inside with 'qex show --asn1'"
                         : "such a message cannot be read; ask its maker for one without it";
  return {stop.code == 0 ? ExitStatus::Input : ExitOfCode(stop.code), stop.text, hint, stop.code,
          stop.asn1Error};
}

Failure LibraryFailure(const std::string& what, int32_t code, ByteView message) {
  return FailureOf(LibraryStop(what, code, message));
}

}  // namespace qex::tool
