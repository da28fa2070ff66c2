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
  struct Size {
    const char* name;
    const char* octets;
  };
  constexpr Size kSizes[] = {
      {"64 octets", "64"}, {"1 KiB", "1024"}, {"64 KiB", "65536"}, {"16 MiB", "16777216"}};
  std::vector<Row> rows;
  for (const Digest& digest : kDigests) {
    for (const Size& size : kSizes) {
      rows.push_back({"Digests", std::string(digest.name) + ", " + size.name, digest.job, size.octets});
    }
  }
  return rows;
}

}  // namespace qex::bench
