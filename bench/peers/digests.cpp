// Rows: digests of short, middling and long data.
#include "bench/peers/row.h"

namespace qex::bench {

std::vector<Row> DigestRows() {
  struct Digest {
    const char* name;
    Job job;
  };
  constexpr Digest kDigests[] = {{"MD5", Job::Md5},
                                 {"SHA-1", Job::Sha1},
                                 {"SHA-256", Job::Sha256},
                                 {"SHA-384", Job::Sha384},
                                 {"SHA-512", Job::Sha512}};
  std::vector<Row> rows;
  for (const Digest& digest : kDigests) {
    rows.push_back({digest.name, "64 octets", digest.job, "64"});
    rows.push_back({digest.name, "1 KiB", digest.job, "1024"});
    rows.push_back({digest.name, "64 KiB", digest.job, "65536"});
    rows.push_back({digest.name, "16 MiB", digest.job, "16777216"});
  }
  return rows;
}

}  // namespace qex::bench
