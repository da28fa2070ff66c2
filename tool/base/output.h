// The output for people and scripts: text and JSON on standard output, errors on standard error. These are
// the sinks: they escape everything they write (escape.h), so no other code has to.
#pragma once

#include <string>
#include <string_view>

#include "tool/base/failure.h"
#include "tool/base/json_fwd.h"
#include "tool/base/options.h"

namespace qex::tool {

enum class Tone { Plain, Good, Bad, Aside };

// Colored returns `text` in the colour of its tone when standard output takes colours.
std::string Colored(std::string_view text, Tone tone, const Options& options);

// NewDocument returns the start of a JSON document: schema, command, subject (and its octets, if it is
// escaped or not UTF-8), exit, code, asn1_error, error and hint, with the values of a success.
Json NewDocument(std::string_view command, std::string_view subject);

// SetFailure enters a failure into a document.
void SetFailure(Json& document, const Failure& failure);

// JsonLine renders one document as one line, escaped; WriteJson writes it.
std::string JsonLine(Json document);
void WriteJson(const Json& document);

// FieldsText renders the members of an object as indented lines "name  value", escaped; WriteFields writes
// them.
std::string FieldsText(const Json& object, int indent = 0);
void WriteFields(const Json& object, int indent = 0);

// WriteText writes lines to standard output, escaped; throws a Failure when writing fails.
void WriteText(std::string_view text);

// FailureText renders the lines `qex: error: ...` and `qex: hint: ...`, escaped.
std::string FailureText(const Failure& failure);

// WriteFailure writes them to standard error, and with -v the library's messages.
void WriteFailure(const Failure& failure, const Options& options);

// LibraryMessagesText renders, under -v, the messages that the library wrote to standard error; else nothing.
std::string LibraryMessagesText(const std::string& messages, const Options& options);

// WriteLibraryMessages writes, under -v, those messages to standard error.
void WriteLibraryMessages(const std::string& messages, const Options& options);

}  // namespace qex::tool
