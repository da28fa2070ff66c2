// SHA-384 and SHA-512: the examples of FIPS 180, the cases of every digest, and their shared parts.
#include "crypto/digest/sha512.h"

#include "tests/crypto/digest/digest_cases.h"

namespace {

using namespace digest_cases;

void set_count(QEX_SHA512_CTX* ctx, uint64_t low, uint64_t above) {
  ctx->byteCountLow = uint32_t(low);
  ctx->byteCountHigh = uint32_t(low >> 32);
  ctx->byteCountExt[0] = uint32_t(above);
  ctx->byteCountExt[1] = uint32_t(above >> 32);
}

constexpr Digest<QEX_SHA512_CTX> kSHA384 = {
    "SHA384", 4, 48, 128, qex::SHA384Init, qex::SHA512Update, qex::SHA384Final, qex::SHA384Digest, set_count};

constexpr Digest<QEX_SHA512_CTX> kSHA512 = {
    "SHA512", 5, 64, 128, qex::SHA512Init, qex::SHA512Update, qex::SHA512Final, qex::SHA512Digest, set_count};

TEST(SHA384, ExamplesOfFips180) {
  expect_vectors(kSHA384, {
                              {"",
                               "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da"
                               "274edebfe76f65fbd51ad2f14898b95b"},
                              {"abc",
                               "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
                               "8086072ba1e7cc2358baeca134c825a7"},
                              {kTwoBlocksOf64,
                               "3391fdddfc8dc7393707a65b1b4709397cf8b1d162af05abfe8f450de5f36bc6"
                               "b0455a8520bc4e6f5fe95b1fe3c8452b"},
                              {kTwoBlocksOf128,
                               "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712"
                               "fcc7c71a557e2db966c3e9fa91746039"},
                          });
}

TEST(SHA384, MillionTimesA) {
  expect_million_a(kSHA384,
                   "9d0e1809716474cb086e834e310a4a1ced149e9c00f248527972cec5704c2a5b"
                   "07b8b3dc38ecc4ebae97ddd87f3d8985");
}

TEST(SHA384, EveryLengthToThreeHundred) {
  expect_every_length(kSHA384);
}

TEST(SHA384, EveryCutGivesTheSameDigest) {
  expect_every_cut(kSHA384);
}

TEST(SHA384, PiecesGiveTheDigestOfTheWhole) {
  expect_pieces_to_agree(kSHA384);
}

TEST(SHA384, OddAddressesGiveTheSameDigest) {
  expect_addresses_to_agree(kSHA384);
}

TEST(SHA384, CountCarriesAndWraps) {
  expect_counts(kSHA384);
}

TEST(SHA384, EmptyUpdateChangesNothing) {
  expect_nothing_from_empty_updates(kSHA384);
}

TEST(SHA384, InitStartsAgain) {
  expect_init_to_begin_anew(kSHA384);
}

TEST(SHA512, ExamplesOfFips180) {
  expect_vectors(kSHA512, {
                              {"",
                               "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
                               "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
                              {"abc",
                               "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                               "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
                              {kTwoBlocksOf64,
                               "204a8fc6dda82f0a0ced7beb8e08a41657c16ef468b228a8279be331a703c335"
                               "96fd15c13b1b07f9aa1d3bea57789ca031ad85c7a71dd70354ec631238ca3445"},
                              {kTwoBlocksOf128,
                               "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
                               "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
                          });
}

TEST(SHA512, MillionTimesA) {
  expect_million_a(kSHA512,
                   "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
                   "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b");
}

TEST(SHA512, EveryLengthToThreeHundred) {
  expect_every_length(kSHA512);
}

TEST(SHA512, EveryCutGivesTheSameDigest) {
  expect_every_cut(kSHA512);
}

TEST(SHA512, PiecesGiveTheDigestOfTheWhole) {
  expect_pieces_to_agree(kSHA512);
}

TEST(SHA512, OddAddressesGiveTheSameDigest) {
  expect_addresses_to_agree(kSHA512);
}

TEST(SHA512, CountCarriesAndWraps) {
  expect_counts(kSHA512);
}

TEST(SHA512, EmptyUpdateChangesNothing) {
  expect_nothing_from_empty_updates(kSHA512);
}

TEST(SHA512, InitStartsAgain) {
  expect_init_to_begin_anew(kSHA512);
}

TEST(SHA512, StateHoldsTheHighWordOfEachValueFirst) {
  QEX_SHA512_CTX ctx;
  qex::SHA512Init(&ctx);
  EXPECT_EQ(ctx.state[0], 0x6a09e667u);
  EXPECT_EQ(ctx.state[1], 0xf3bcc908u);
  qex::SHA384Init(&ctx);
  EXPECT_EQ(ctx.state[14], 0x47b5481du);
  EXPECT_EQ(ctx.state[15], 0xbefa4fa4u);
}

TEST(SHA512, CountExtensionNeverAdvances) {
  QEX_SHA512_CTX ctx;
  qex::SHA512Init(&ctx);
  ctx.byteCountLow = 0xffffffff;
  ctx.byteCountHigh = 0xffffffff;
  qex::SHA512Update(&ctx, reinterpret_cast<const uint8_t*>("a"), 1);
  EXPECT_EQ(ctx.byteCountLow, 0u);
  EXPECT_EQ(ctx.byteCountHigh, 0u);
  EXPECT_EQ(ctx.byteCountExt[0], 0u);
  EXPECT_EQ(ctx.byteCountExt[1], 0u);
}

// Final leaves the last block in the buffer, and count and fill as they were.
TEST(SHA512, FinalLeavesTheLastBlock) {
  QEX_SHA512_CTX ctx;
  uint8_t out[64];
  qex::SHA512Init(&ctx);
  qex::SHA512Update(&ctx, reinterpret_cast<const uint8_t*>("abc"), 3);
  qex::SHA512Final(&ctx, out);
  EXPECT_EQ(digest_cases::hex(ctx.buffer, sizeof(ctx.buffer)), "61626380" + std::string(246, '0') + "18");
  EXPECT_EQ(ctx.byteCountLow, 3u);
  EXPECT_EQ(ctx.fill, 3u);
}

}  // namespace
