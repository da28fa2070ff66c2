// Fields as nested definition lists.
#include "tool/commands/html.h"

#include <algorithm>
#include <string_view>

#include "tool/base/escape.h"

namespace qex::tool {
namespace {

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<title>qex show</title>
<style>
body { font: 15px/1.5 sans-serif; max-width: 70em; margin: 2em auto; padding: 0 1em; color: #222; }
h1 { font-size: 1.2em; border-bottom: 1px solid #ccc; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .2em 1.5em; margin: 0; }
dt { color: #666; }
dd { margin: 0; font-family: monospace; overflow-wrap: anywhere; }
ul { margin: 0; padding-left: 1.2em; }
</style>
</head>
<body>
)";

std::string markup(std::string_view text) {
  std::string shown;
  for (const char c : Escaped(text)) {
    switch (c) {
      case '&': shown += "&amp;"; break;
      case '<': shown += "&lt;"; break;
      case '>': shown += "&gt;"; break;
      case '"': shown += "&quot;"; break;
      default: shown += c; break;
    }
  }
  return shown;
}

std::string render(const Json& value) {
  if (value.is_string()) return markup(value.get_ref<const std::string&>());
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_array()) {
    std::string list = "<ul>";
    for (const Json& element : value) list += "<li>" + render(element) + "</li>";
    return list + "</ul>";
  }
  if (!value.is_object()) return markup(value.dump());
  std::string list = "<dl>\n";
  for (const auto& [name, member] : value.items()) {
    std::string label = name;
    std::ranges::replace(label, '_', ' ');
    list += "<dt>" + markup(label) + "</dt><dd>" + render(member) + "</dd>\n";
  }
  return list + "</dl>";
}

}  // namespace

std::string HtmlPage(const std::vector<HtmlSection>& sections) {
  std::string page = kHead;
  for (const HtmlSection& section : sections) {
    page += "<h1>" + markup(section.title) + "</h1>\n" + render(section.fields) + "\n";
  }
  return page + "</body>\n</html>\n";
}

}  // namespace qex::tool
