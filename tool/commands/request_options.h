// The options that `stamp` and `request` share.
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/exchange/request.h"

namespace CLI {
class App;
}

namespace qex::tool {

void AddRequestOptions(CLI::App& app, RequestOptions& options);

// ReadDigest reads the text of --digest: ALG:HEX, which sets the algorithm in `options`, or HEX of the
// algorithm set there. Throws a Failure.
Bytes ReadDigest(const std::string& text, RequestOptions& options);

}  // namespace qex::tool
