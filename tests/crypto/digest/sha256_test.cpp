// SHA-256: the examples of FIPS 180, and the cases of every digest.
#include "crypto/digest/sha256.h"

#include "tests/crypto/digest/digest_cases.h"

namespace {

using namespace digest_cases;

constexpr Digest<QEX_SHA256_CTX> kSHA256 = {"SHA256",
                                            3,
                                            32,
                                            64,
                                            qex::SHA256Init,
                                            qex::SHA256Update,
                                            qex::SHA256Final,
                                            qex::SHA256Digest,
                                            [](QEX_SHA256_CTX* ctx, uint64_t low, uint64_t) {
                                              ctx->byteCountLow = uint32_t(low);
                                              ctx->byteCountHigh = uint32_t(low >> 32);
                                            }};

TEST(SHA256, ExamplesOfFips180) {
  expect_vectors(kSHA256,
                 {
                     {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
                     {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
                     {kTwoBlocksOf64, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
                     {kTwoBlocksOf128, "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
                 });
}

TEST(SHA256, MillionTimesA) {
  expect_million_a(kSHA256, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(SHA256, EveryLengthToThreeHundred) {
  expect_every_length(kSHA256);
}

TEST(SHA256, EveryCutGivesTheSameDigest) {
  expect_every_cut(kSHA256);
}

TEST(SHA256, PiecesGiveTheDigestOfTheWhole) {
  expect_pieces_to_agree(kSHA256);
}

TEST(SHA256, OddAddressesGiveTheSameDigest) {
  expect_addresses_to_agree(kSHA256);
}

TEST(SHA256, CountCarriesAndWraps) {
  expect_counts(kSHA256);
}

TEST(SHA256, EmptyUpdateChangesNothing) {
  expect_nothing_from_empty_updates(kSHA256);
}

TEST(SHA256, InitStartsAgain) {
  expect_init_to_begin_anew(kSHA256);
}

TEST(SHA256, OctetCountCarriesIntoTheHighWord) {
  QEX_SHA256_CTX ctx;
  qex::SHA256Init(&ctx);
  ctx.byteCountLow = 0xffffffff;
  qex::SHA256Update(&ctx, reinterpret_cast<const uint8_t*>("ab"), 2);
  EXPECT_EQ(ctx.byteCountLow, 1u);
  EXPECT_EQ(ctx.byteCountHigh, 1u);
}

// Final leaves the last block in the buffer, and count and fill as they were.
TEST(SHA256, FinalLeavesTheLastBlock) {
  QEX_SHA256_CTX ctx;
  uint8_t out[32];
  qex::SHA256Init(&ctx);
  qex::SHA256Update(&ctx, reinterpret_cast<const uint8_t*>("abc"), 3);
  qex::SHA256Final(&ctx, out);
  EXPECT_EQ(digest_cases::hex(ctx.buffer, sizeof(ctx.buffer)), "61626380" + std::string(118, '0') + "18");
  EXPECT_EQ(ctx.byteCountLow, 3u);
  EXPECT_EQ(ctx.fill, 3u);
}

}  // namespace
