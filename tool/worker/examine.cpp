// One job: the kind of the message, and the findings of each reader.
#include "tool/worker/examine.h"

#include <utility>

#include "api/qex.h"
#include "tool/base/failure.h"
#include "tool/base/hash.h"
#include "tool/base/json.h"
#include "tool/worker/examine_tac.h"
#include "tool/worker/inspect/describe.h"
#include "tool/worker/library.h"
#include "tool/worker/library_call.h"
#include "tool/worker/strict/strict.h"

namespace qex::tool {
namespace {

using inspect::Kind;

std::string text_of(const Json& description) {
  return description.is_null() ? "" : description.dump(-1, ' ', false, Json::error_handler_t::replace);
}

inspect::ExtensionPrinter printer_for(const Job& job) {
  if (job.libraryOnly) return {};
  return [](inspect::View certificate) {
    std::vector<std::string> texts;
    for (const ExtensionText& extension : DescribeExtensions(certificate)) {
      texts.push_back(extension.name + (extension.critical ? ", critical" : "") + ": " + extension.value);
    }
    return texts;
  };
}

void read_strictly(Facts& facts, ByteView token, const Job& job, const Trust& trust) {
  try {
    facts.strict = ReadStrictly(token, trust, job.allowWeak);
  } catch (const Stop& stop) {
    facts.strictStop = stop;
  }
}

void read_by_library(Facts& facts, ByteView token, const Job& job, const Trust& trust,
                     const std::string& serves) {
  const Bytes found = facts.strict && facts.strict->signer ? facts.strict->signer->der : Bytes{};
  try {
    facts.library = ReadByLibrary(token, job, trust, found, serves);
  } catch (const Stop& stop) {
    facts.libraryStop = stop;
  }
}

// Results that only the library provides: attribute certificates and rewritten tokens. A token that it cannot
// read has neither.
void use_library(Facts& facts, ByteView token, const Job& job, const std::string& serves) {
  if (!facts.library) {
    if (job.rewriting != Rewriting::None || job.takeTac) throw FailureOf(*facts.libraryStop);
    return;
  }
  if (job.takeTac || job.describe) DescribeTacOfToken(facts, token, job.tac, serves);
  if (job.rewriting != Rewriting::None) facts.rewritten = RewriteByLibrary(token, job.rewriting);
}

// Why neither reader can read a token. An algorithm that the library lacks does not explain it if the strict
// reader, which decodes any algorithm, stops too.
Stop stop_of_both(const Facts& facts) {
  Stop stop = *facts.libraryStop;
  if (facts.strictStop && stop.algorithm) {
    stop.text = facts.strictStop->text;
    stop.identifier.clear();
    stop.algorithm = false;
  }
  return stop;
}

// A type that the library does not know stops no strict reader that is to describe the token.
Failure failure_of_both(const Facts& facts, const Job& job) {
  Failure failure = FailureOf(stop_of_both(facts));
  const bool strictWould = job.describe && !facts.libraryStop->identifier.empty();
  if (strictWould && !HasStrictReader()) failure.hint = "the strict reader of qex on Linux may read it";
  return failure;
}

void examine_token(Facts& facts, Bytes token, const Job& job, const Trust& trust, const std::string& serves) {
  // The strict reader gets one element; octets after it are for the structure check.
  const ByteView whole(token);
  const ByteView one = whole.first(whole.size() - inspect::TrailingOctets(whole));
  if (!job.libraryOnly && HasStrictReader()) read_strictly(facts, one, job, trust);
  read_by_library(facts, whole, job, trust, serves);
  if (!facts.library && !facts.strict) throw failure_of_both(facts, job);
  use_library(facts, whole, job, serves);
  facts.tsaName = inspect::TsaName(whole);
  if (job.describe) facts.description = text_of(inspect::DescribeToken(whole, printer_for(job)));
  facts.token = std::move(token);
}

[[nodiscard]] bool is_granted(int64_t status) {
  return status == 0 || status == 1;
}

// The library's status, or where it stopped.
struct LibraryStatus {
  std::optional<int32_t> value;
  std::optional<Stop> stop;
};

LibraryStatus library_status(ByteView reply) {
  try {
    return {StatusByLibrary(reply), {}};
  } catch (const Stop& stop) {
    return {{}, stop};
  }
}

// The token of a granted reply, from the reader that can extract it.
[[nodiscard]] std::optional<Bytes> token_of(Facts& facts, std::optional<StrictReply>& strict, const Job& job,
                                            const LibraryStatus& library) {
  if (!library.value) return strict ? strict->token : std::nullopt;
  LibraryToken taken = TakeTokenByLibrary(job.message);
  facts.tokenCode = taken.code;
  if (taken.code == QEX_OK) return std::move(taken.token);
  const bool expected = is_granted(facts.status->value);
  if (expected && taken.code != QEX_E_NOTOKEN) {
    throw LibraryFailure("the token cannot be taken out", taken.code, job.message);
  }
  return std::nullopt;
}

void examine_reply(Facts& facts, const Job& job, const Trust& trust, const std::string& serves) {
  std::optional<StrictReply> strict;
  std::optional<Stop> strictStop;
  try {
    const ByteView whole(job.message);
    strict = ReadReplyStrictly(whole.first(whole.size() - inspect::TrailingOctets(whole)));
  } catch (const Stop& stop) {
    strictStop = stop;
  }
  const LibraryStatus library = library_status(job.message);
  if (!strict) throw FailureOf(library.stop ? *library.stop : *strictStop);
  if (!library.value && job.libraryOnly) throw FailureOf(*library.stop);
  if (library.value && *library.value != strict->status.value) {
    throw Failure{ExitStatus::Input,
                  "the status is " + std::to_string(*library.value) + " to one reader and " +
                      std::to_string(strict->status.value) + " to the other",
                  "such a reply is not to be relied on; fetch it again"};
  }
  facts.status = strict->status;
  facts.libraryStop = library.stop;
  const std::optional<Bytes> own = strict->token;
  std::optional<Bytes> token = token_of(facts, strict, job, library);
  if (!token) return;
  // The library encodes the token again; read the octets that the authority sent.
  examine_token(facts, own.value_or(*token), job, trust, serves);
  facts.token = std::move(token);
}

void examine_request(Facts& facts, const Bytes& request) {
  facts.request = inspect::InspectRequest(request);
  if (!facts.request) {
    facts.requestFailure =
        LibraryFailure("the request cannot be read", RequestCodeByLibrary(request), request);
  }
}

void examine_certificate(Facts& facts, const Job& job) {
  const Json description = inspect::DescribeCertificate(job.message, printer_for(job));
  if (description.is_null()) return;
  SignerCertificate certificate;
  certificate.key = job.libraryOnly ? inspect::InspectKey(job.message) : KeyOf(job.message);
  certificate.der = job.message;
  certificate.sha256 = Sha256(job.message);
  certificate.subject = inspect::SubjectText(job.message);
  facts.certificate = std::move(certificate);
  facts.description = text_of(description);
}

}  // namespace

Facts Examine(const Job& job, const Trust& trust, const std::string& serves) {
  Facts facts;
  facts.kind = inspect::KindOf(job.message);
  facts.trailing = inspect::TrailingOctets(job.message);
  if (job.asn1) facts.asn1 = inspect::Asn1Text(facts.kind, job.message).value_or("");
  switch (facts.kind) {
    case Kind::Request: examine_request(facts, job.message); break;
    case Kind::Reply: examine_reply(facts, job, trust, serves); break;
    case Kind::Token: examine_token(facts, job.message, job, trust, serves); break;
    case Kind::Certificate: examine_certificate(facts, job); break;
    case Kind::AttributeCertificate: facts.tac = DescribeTac(job.message); break;
    case Kind::Unknown: break;
  }
  if (facts.kind == Kind::Request && facts.requestFailure) throw Failure{*facts.requestFailure};
  if (facts.token && !job.request.empty()) examine_request(facts, job.request);
  const bool unreadable = facts.kind == Kind::Certificate && !facts.certificate;
  if (facts.kind == Kind::Unknown || unreadable) {
    throw Failure{ExitStatus::Input, "is no time-stamp request, reply, token or certificate",
                  "look at where it came from"};
  }
  return facts;
}

}  // namespace qex::tool
