// What `qex show` shows, as a page for a browser.
#pragma once

#include <string>
#include <vector>

#include "tool/base/json.h"

namespace qex::tool {

struct HtmlSection {
  std::string title;
  Json fields;
};

// HtmlPage renders sections of fields as one page that needs no other file. All text is escaped: what a
// message holds is shown, never taken for markup.
std::string HtmlPage(const std::vector<HtmlSection>& sections);

}  // namespace qex::tool
