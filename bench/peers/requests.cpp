// Rows: requests.
#include "bench/peers/row.h"

namespace qex::bench {

std::vector<Row> RequestRows() {
  return {
      {"Messages", "build a request", Job::BuildRequest, "request.tsq"},
      {"Messages", "decode a request", Job::DecodeRequest, "request.tsq"},
  };
}

}  // namespace qex::bench
