// MD5: the vectors of RFC 1321, A.5, and the cases of every digest.
#include "crypto/digest/md5.h"

#include "tests/crypto/digest/digest_cases.h"

namespace {

using namespace digest_cases;

constexpr Digest<QEX_MD5_CTX> kMD5 = {"MD5",
                                      1,
                                      16,
                                      64,
                                      qex::MD5Init,
                                      qex::MD5Update,
                                      qex::MD5Final,
                                      qex::MD5Digest,
                                      [](QEX_MD5_CTX* ctx, uint64_t low, uint64_t) {
                                        ctx->bitCountLow = uint32_t(low);
                                        ctx->bitCountHigh = uint32_t(low >> 32);
                                      }};

TEST(MD5, VectorsOfRfc1321) {
  expect_vectors(kMD5,
                 {
                     {"", "d41d8cd98f00b204e9800998ecf8427e"},
                     {"a", "0cc175b9c0f1b6a831c399e269772661"},
                     {"abc", "900150983cd24fb0d6963f7d28e17f72"},
                     {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                     {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                     {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                      "d174ab98d277d9f5a5611c2c9f419d9f"},
                     {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
                      "57edf4a22be3c955ac49da2e2107b67a"},
                 });
}

TEST(MD5, MillionTimesA) {
  expect_million_a(kMD5, "7707d6ae4e027c70eea2a935c2296f21");
}

TEST(MD5, EveryLengthToThreeHundred) {
  expect_every_length(kMD5);
}

TEST(MD5, EveryCutGivesTheSameDigest) {
  expect_every_cut(kMD5);
}

TEST(MD5, PiecesGiveTheDigestOfTheWhole) {
  expect_pieces_to_agree(kMD5);
}

TEST(MD5, OddAddressesGiveTheSameDigest) {
  expect_addresses_to_agree(kMD5);
}

TEST(MD5, CountCarriesAndWraps) {
  expect_counts(kMD5);
}

TEST(MD5, EmptyUpdateChangesNothing) {
  expect_nothing_from_empty_updates(kMD5);
}

TEST(MD5, InitStartsAgain) {
  expect_init_to_begin_anew(kMD5);
}

TEST(MD5, UpdateOfMoreThanTwoToThe29Octets) {
  expect_long_update(kMD5, "2e5f0e0511525334d941ba58742cd862");
}

}  // namespace
