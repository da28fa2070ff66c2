// Text, colour and JSON.
#include "tool/base/output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tool/base/bytes.h"
#include "tool/base/escape.h"
#include "tool/base/files.h"
#include "tool/base/json.h"
#include "tool/base/system.h"

namespace qex::tool {
namespace {

// See no-color.org: any value but an empty one counts.
[[nodiscard]] bool environment_forbids_color() {
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return (noColor != nullptr && *noColor != '\0') ||
         (terminal != nullptr && std::string_view(terminal) == "dumb");
}

[[nodiscard]] bool takes_color(const Options& options) {
  if (options.color == "always") return true;
  if (options.color == "never") return false;
  return IsTerminal(STDOUT_FILENO) && !environment_forbids_color();
}

constexpr size_t kWidestScalar = 600;  // wider than any digest or number that is shown

std::string scalar_text(const Json& value) {
  if (value.is_string()) return Escaped(Folded(value.get<std::string>(), kWidestScalar));
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  return value.dump();
}

std::string label_of(std::string name) {
  std::ranges::replace(name, '_', ' ');
  return name;
}

void append_fields(std::string& text, const Json& object, int indent);

void append_list(std::string& text, const Json& list, int indent) {
  for (const Json& element : list) {
    if (element.is_object()) {
      std::string block;
      append_fields(block, element, indent + 2);
      block[size_t(indent)] = '-';
      text += block;
    } else {
      text += std::string(size_t(indent), ' ') + "- " + scalar_text(element) + "\n";
    }
  }
}

void append_fields(std::string& text, const Json& object, int indent) {
  size_t width = 0;
  for (const auto& [name, value] : object.items()) {
    if (!value.is_structured()) width = std::max(width, name.size());
  }
  const std::string margin(size_t(indent), ' ');
  for (const auto& [name, value] : object.items()) {
    if (value.is_null() || (value.is_structured() && value.empty())) continue;
    text += margin + label_of(name);
    if (value.is_structured()) {
      text += '\n';
      value.is_array() ? append_list(text, value, indent + 2) : append_fields(text, value, indent + 2);
    } else {
      text += std::string(width - name.size() + 2, ' ') + scalar_text(value) + '\n';
    }
  }
}

// Every text of a document, escaped.
void escape_texts(Json& value) {
  if (value.is_string()) {
    value = EscapedLines(value.get_ref<const std::string&>());
  } else if (value.is_structured()) {
    for (Json& part : value) escape_texts(part);
  }
}

}  // namespace

std::string Colored(std::string_view text, Tone tone, const Options& options) {
  if (tone == Tone::Plain || !takes_color(options)) return std::string(text);
  const char* color = tone == Tone::Good ? "\033[32m" : tone == Tone::Bad ? "\033[31m" : "\033[33m";
  return color + std::string(text) + "\033[0m";
}

Json NewDocument(std::string_view command, std::string_view subject) {
  Json document;
  document["schema"] = 1;
  document["command"] = command;
  document["subject"] = subject;
  if (EscapedLines(subject) != subject) {
    document["subject_hex"] = ToHex({reinterpret_cast<const uint8_t*>(subject.data()), subject.size()});
  }
  document["exit"] = 0;
  document["code"] = 0;
  document["asn1_error"] = 0;
  document["error"] = nullptr;
  document["hint"] = nullptr;
  return document;
}

void SetFailure(Json& document, const Failure& failure) {
  document["exit"] = int(failure.exit);
  document["code"] = failure.code;
  document["asn1_error"] = failure.asn1Error;
  document["error"] = failure.message;
  if (!failure.hint.empty()) document["hint"] = failure.hint;
  if (!failure.libraryMessages.empty()) document["library_messages"] = failure.libraryMessages;
}

std::string JsonLine(Json document) {
  escape_texts(document);
  return document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void WriteJson(const Json& document) {
  WriteData(JsonLine(document));
}

std::string FieldsText(const Json& object, int indent) {
  std::string text;
  append_fields(text, object, indent);
  return text;
}

void WriteFields(const Json& object, int indent) {
  WriteData(FieldsText(object, indent));
}

void WriteText(std::string_view text) {
  WriteData(EscapedLines(text));
}

std::string FailureText(const Failure& failure) {
  std::string text = "qex: error: " + Escaped(failure.message) + "\n";
  if (!failure.hint.empty()) text += "qex: hint: " + Escaped(failure.hint) + "\n";
  return text;
}

void WriteFailure(const Failure& failure, const Options& options) {
  WriteLibraryMessages(failure.libraryMessages, options);
  std::fputs(FailureText(failure).c_str(), stderr);
}

std::string LibraryMessagesText(const std::string& messages, const Options& options) {
  std::string text;
  if (!options.verbose) return text;
  for (size_t at = 0; at < messages.size();) {
    const size_t end = std::min(messages.find('\n', at), messages.size());
    if (end > at) text += "qex: library: " + Escaped(messages.substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return text;
}

void WriteLibraryMessages(const std::string& messages, const Options& options) {
  std::fputs(LibraryMessagesText(messages, options).c_str(), stderr);
}

}  // namespace qex::tool
