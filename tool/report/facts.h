// Reads the documents that `qex show --json` and `qex verify --json` print: the report has no other facts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/base/json_fwd.h"

namespace qex::tool {

// TextOf returns a member that is a text; empty for an absent one and for any other type.
std::string TextOf(const Json& object, const char* name);

// PartOf returns a member; null for an absent one.
const Json* PartOf(const Json& object, const char* name);

// SubjectName returns the name of a certificate's subject.
std::string SubjectName(const Json& certificate);

// IssuerName returns the name of its issuer, the first of several.
std::string IssuerName(const Json& certificate);

// FindCheck returns the last check of that name; null when `verified` has none.
const Json* FindCheck(const Json& verified, std::string_view name);

// SecondsOf reads an ISO time of a document, without its fraction, as seconds since 1970; nothing for a text
// that is not a time.
[[nodiscard]] std::optional<int64_t> SecondsOf(std::string_view time);

// The certificates of a message from the signer's to a root, by the names of their issuers: a certificate
// that is drawn as an issuer has the name of one, and its key was not tried.
struct CertificatePath {
  std::vector<const Json*> certificates;  // the signer's first; empty: the message does not hold it
  std::string missing;  // the issuer that the message does not hold; empty: the last is a root
  size_t others = 0;    // certificates that are not in the path
  bool circle = false;  // that issuer is one of the path itself
  bool cut = false;     // the path goes on
};

// PathOf returns the path of a token, a reply or a certificate.
CertificatePath PathOf(const Json& shown);

}  // namespace qex::tool
