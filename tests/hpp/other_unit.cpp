// A second unit with the header: its types and functions are those of the first.
#include "qex.hpp"
#include "support.h"

namespace hpp_test {

qex::result<qex::tst_info> content_of_reply(qex::bytes_in reply) {
  return qex::extract_token(reply).and_then([](const qex::bytes& token) { return qex::read_token(token); });
}

qex::sha256 hash_begun_elsewhere(std::string_view data) {
  qex::sha256 hash;
  hash.update(data);
  return hash;
}

}  // namespace hpp_test
