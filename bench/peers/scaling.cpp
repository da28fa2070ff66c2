// Rows that show how time grows: with the certificates of a token, with its content, and with threads.
#include "bench/peers/row.h"

namespace qex::bench {

std::vector<Row> ScalingRows() {
  return {
      {"Certificates in a token", "1", Job::VerifyToken, "certificates1.token"},
      {"Certificates in a token", "10", Job::VerifyToken, "certificates10.token"},
      {"Certificates in a token", "100", Job::VerifyToken, "certificates100.token"},
      {"Certificates in a token", "1000", Job::VerifyToken, "certificates1000.token"},
      {"Content of a token", "1 KiB", Job::VerifyToken, "content1.token"},
      {"Content of a token", "64 KiB", Job::VerifyToken, "content64.token"},
      {"Content of a token", "1 MiB", Job::VerifyToken, "content1024.token"},
      {"Content of a token", "64 MiB", Job::VerifyToken, "content65536.token"},
      {"Threads that verify", "1", Job::VerifyToken, "rsa2048.token", 1},
      {"Threads that verify", "2", Job::VerifyToken, "rsa2048.token", 2},
  };
}

}  // namespace qex::bench
