// The report of `qex show --html`.
#pragma once

#include <string>
#include <vector>

#include "tool/base/exit_status.h"
#include "tool/base/options.h"

namespace qex::tool {

// ShowPage writes one page about all files. A token is also verified, against the data and the request next
// to it but with nobody to trust; its verdict is on the page and does not count for the exit status. A file
// that cannot be shown has its failure there, and that counts. An empty `output` is standard output.
[[nodiscard]] ExitStatus ShowPage(const std::vector<std::string>& files, const std::string& output,
                                  const Options& options);

}  // namespace qex::tool
