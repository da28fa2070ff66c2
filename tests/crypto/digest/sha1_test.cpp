// SHA-1: the examples of FIPS 180, and the cases of every digest.
#include "crypto/digest/sha1.h"

#include "tests/crypto/digest/digest_cases.h"

namespace {

using namespace digest_cases;

constexpr Digest<QEX_SHA1_CTX> kSHA1 = {"SHA1",
                                        2,
                                        20,
                                        64,
                                        qex::SHA1Init,
                                        qex::SHA1Update,
                                        qex::SHA1Final,
                                        qex::SHA1Digest,
                                        [](QEX_SHA1_CTX* ctx, uint64_t low, uint64_t) {
                                          ctx->bitCountLow = uint32_t(low);
                                          ctx->bitCountHigh = uint32_t(low >> 32);
                                        }};

TEST(SHA1, ExamplesOfFips180) {
  expect_vectors(kSHA1, {
                            {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
                            {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
                            {kTwoBlocksOf64, "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
                            {kTwoBlocksOf128, "a49b2446a02c645bf419f995b67091253a04a259"},
                        });
}

TEST(SHA1, MillionTimesA) {
  expect_million_a(kSHA1, "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(SHA1, EveryLengthToThreeHundred) {
  expect_every_length(kSHA1);
}

TEST(SHA1, EveryCutGivesTheSameDigest) {
  expect_every_cut(kSHA1);
}

TEST(SHA1, PiecesGiveTheDigestOfTheWhole) {
  expect_pieces_to_agree(kSHA1);
}

TEST(SHA1, OddAddressesGiveTheSameDigest) {
  expect_addresses_to_agree(kSHA1);
}

TEST(SHA1, CountCarriesAndWraps) {
  expect_counts(kSHA1);
}

TEST(SHA1, EmptyUpdateChangesNothing) {
  expect_nothing_from_empty_updates(kSHA1);
}

TEST(SHA1, InitStartsAgain) {
  expect_init_to_begin_anew(kSHA1);
}

TEST(SHA1, UpdateOfMoreThanTwoToThe29Octets) {
  expect_long_update(kSHA1, "4e9e0cd421ea370b6042a7676544345507f3ffb6");
}

TEST(SHA1, UnfinishedBlockIsHeldAsTheWordsOfTheStandard) {
  QEX_SHA1_CTX ctx;
  qex::SHA1Init(&ctx);
  qex::SHA1Update(&ctx, reinterpret_cast<const uint8_t*>("abcdefg"), 7);
  EXPECT_EQ(ctx.fill, 7u);
  EXPECT_EQ(ctx.block[0], 0x61626364u);
  EXPECT_EQ(ctx.block[1], 0x65666700u);
}

// Deliberate: Final counts its padding as a message and empties the block, whose last words remain.
TEST(SHA1, FinalLeavesTheLastBlockAndCountsThePadding) {
  const struct {
    uint32_t length, bits, second, last;
  } rows[] = {{7, 512, 0x65666780, 56}, {55, 512, 0x65666768, 440}, {56, 1024, 0, 448}, {64, 1024, 0, 512}};
  std::string text = "abcdefgh";
  while (text.size() < 64) text += text;
  for (const auto& row : rows) {
    QEX_SHA1_CTX ctx;
    uint8_t out[20];
    qex::SHA1Init(&ctx);
    qex::SHA1Update(&ctx, reinterpret_cast<const uint8_t*>(text.data()), row.length);
    qex::SHA1Final(&ctx, out);
    EXPECT_EQ(ctx.bitCountLow, row.bits) << row.length;
    EXPECT_EQ(ctx.bitCountHigh, 0u) << row.length;
    EXPECT_EQ(ctx.fill, 0u) << row.length;
    EXPECT_EQ(ctx.block[1], row.second) << row.length;
    EXPECT_EQ(ctx.block[15], row.last) << row.length;
  }
}

}  // namespace
