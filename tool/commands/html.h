// The output of `qex show`, as a page for a browser.
#pragma once

#include <string>
#include <vector>

#include "tool/base/json.h"

namespace qex::tool {

struct HtmlSection {
  std::string title;
  Json fields;
};

// HtmlPage renders sections of fields as one self-contained page. It escapes all text, so text from a message
// is never read as markup.
std::string HtmlPage(const std::vector<HtmlSection>& sections);

}  // namespace qex::tool
