// The tables of a section: checks, and fields.
#pragma once

#include <string>

#include "tool/base/json_fwd.h"

namespace qex::tool {

// ChecksTable renders the checks of a document of `qex verify`; empty when it has none.
std::string ChecksTable(const Json& verified);

// FieldsTable renders every member of the document of `qex show`, a group of rows for each object. A row's
// identifier is the path of the member: f1-token-serial. Lists, texts and the whole are bounded, and a line
// says what was left out.
std::string FieldsTable(const Json& shown, size_t number);

// VerdictTable renders what a document of `qex verify` says apart from checks and the token's contents.
std::string VerdictTable(const Json& verified, size_t number);

}  // namespace qex::tool
