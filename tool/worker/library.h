// The library's findings on a token. Runs in a worker only (worker.h).
#pragma once

#include <string>

#include "tool/base/bytes.h"
#include "tool/message/facts.h"
#include "tool/message/job.h"
#include "tool/message/trust.h"

namespace qex::tool {

// ReadByLibrary reads a token and, when the job asks for it, verifies it: with the certificate that the
// caller trusts, or the token's own, or else with `found` (DER), which may be empty. Throws a Stop where the
// library cannot read the token, and a Failure when memory runs out.
LibraryReading ReadByLibrary(ByteView token, const Job& job, const Trust& trust, const Bytes& found,
                             const std::string& serves);

// The token of a reply by the library: its code, and the token when that is QEX_OK.
struct LibraryToken {
  int32_t code = 0;
  Bytes token;
};
LibraryToken TakeTokenByLibrary(ByteView reply);

// StatusByLibrary returns the status of a reply; throws a Stop.
[[nodiscard]] int32_t StatusByLibrary(ByteView reply);

// RequestCodeByLibrary returns the code of decoding a request.
[[nodiscard]] int32_t RequestCodeByLibrary(ByteView request);

// RewriteByLibrary returns the rewritten token; throws a Failure.
Bytes RewriteByLibrary(ByteView token, Rewriting how);

}  // namespace qex::tool
