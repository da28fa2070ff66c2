// A unit compiled with -fno-exceptions, where results are asked and not unwrapped.
#include "support.h"

#if defined(__cpp_exceptions)
#error "this unit is compiled without exceptions"
#endif

namespace hpp_test {

qex::result<qex::tst_info> content_without_exceptions(qex::bytes_in reply, qex::bytes_in certificate) {
  qex::result<qex::bytes> token = qex::extract_token(reply);
  if (!token) return qex::unexpected(token.error());
  if (const auto verified = qex::verify_signature(*token, certificate); !verified) {
    return qex::unexpected(verified.error());
  }
  return qex::read_token(*token);
}

}  // namespace hpp_test
