// What people and scripts read: text and JSON on standard output, errors on standard error.
#pragma once

#include <string>
#include <string_view>

#include "tool/base/failure.h"
#include "tool/base/json.h"
#include "tool/base/options.h"

namespace qex::tool {

enum class Tone { Plain, Good, Bad, Aside };

// Colored returns `text` in the colour of its tone when standard output takes colours.
std::string Colored(std::string_view text, Tone tone, const Options& options);

// NewDocument returns the head of a JSON document: schema, command, subject (left out when empty),
// exit, code, asn1_error, error and hint, as of a success.
Json NewDocument(std::string_view command, std::string_view subject);

// SetFailure enters a failure into a document.
void SetFailure(Json& document, const Failure& failure);

// WriteJson writes one document as one line.
void WriteJson(const Json& document);

// WriteFields writes the members of an object as indented lines "name  value".
void WriteFields(const Json& object, int indent = 0);

// WriteFailure writes the lines `qex: error: ...` and `qex: hint: ...` to standard error, and with -v
// what the library wrote.
void WriteFailure(const Failure& failure, const Options& options);

// WriteLibraryMessages writes, under -v, what the library wrote to standard error.
void WriteLibraryMessages(const std::string& messages, const Options& options);

}  // namespace qex::tool
