// Rows: tokens and replies. make_material.py makes the files.
#include "bench/peers/row.h"

namespace qex::bench {

std::vector<Row> TokenRows() {
  return {
      {"Verify a token", "RSA 1024", Job::VerifyToken, "rsa1024.token"},
      {"Verify a token", "RSA 2048", Job::VerifyToken, "rsa2048.token"},
      {"Verify a token", "RSA 3072", Job::VerifyToken, "rsa3072.token"},
      {"Verify a token", "RSA 4096", Job::VerifyToken, "rsa4096.token"},
      {"Verify a token", "RSA 2048, e = 3", Job::VerifyToken, "rsa2048e3.token"},
      {"Verify a token", "DSA 1024/160", Job::VerifyToken, "dsa1024.token"},
      {"Verify a token", "DSA 2048/256", Job::VerifyToken, "dsa2048.token"},
      {"Messages", "decode a reply, 2 certificates", Job::DecodeReply, "two.tsr"},
      {"Messages", "decode a reply, 5 certificates", Job::DecodeReply, "five.tsr"},
      {"Messages", "decode a token without certificates", Job::DecodeToken, "bare.token"},
      {"Messages", "token to TSTInfo fields", Job::ReadInfo, "rsa2048.token"},
      {"Messages", "token to certificate", Job::ReadCertificate, "rsa2048.token"},
      {"Messages", "reply to token, encoded again", Job::EncodeToken, "two.tsr"},
  };
}

}  // namespace qex::bench
