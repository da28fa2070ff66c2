// The descriptors: their sizes, and that their operations are those of the digest.
#include "crypto/digest/hashinfo.h"

#include "tests/crypto/digest/digest_cases.h"

namespace {

using qex::HashInfo;

struct Row {
  const char* name;
  const HashInfo* info;
  uint32_t hashsz, blocksz, ctxsz, auxsz;
  const char* ofAbc;
};

const Row kRows[] = {
    {"SHA1", &qex::kSHA1Info, 20, 64, 96, 60, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {"SHA256", &qex::kSHA256Info, 32, 64, 108, 64,
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"SHA384", &qex::kSHA384Info, 48, 128, 212, 128,
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
     "8086072ba1e7cc2358baeca134c825a7"},
    {"SHA512", &qex::kSHA512Info, 64, 128, 212, 128,
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    {"MD5", &qex::kMD5Info, 16, 64, 92, 64, "900150983cd24fb0d6963f7d28e17f72"},
};

TEST(HashInfo, SizesAreThoseOfTheDigest) {
  for (const Row& row : kRows) {
    EXPECT_EQ(row.info->hashsz, row.hashsz) << row.name;
    EXPECT_EQ(row.info->blocksz, row.blocksz) << row.name;
    EXPECT_EQ(row.info->ctxsz, row.ctxsz) << row.name;
    EXPECT_EQ(row.info->auxsz, row.auxsz) << row.name;
  }
}

TEST(HashInfo, OperationsDigest) {
  for (const Row& row : kRows) {
    alignas(uint32_t) uint8_t ctx[250];
    uint8_t out[64];
    row.info->init(ctx);
    row.info->update(ctx, reinterpret_cast<const uint8_t*>("ab"), 2);
    row.info->update(ctx, reinterpret_cast<const uint8_t*>("c"), 1);
    row.info->final(ctx, out);
    EXPECT_EQ(digest_cases::hex(out, row.hashsz), row.ofAbc) << row.name;
  }
}

TEST(HashInfo, OperationsStayInsideTheContext) {
  for (const Row& row : kRows) {
    alignas(uint32_t) uint8_t ctx[250];
    uint8_t out[64];
    std::memset(ctx, 0xa5, sizeof(ctx));
    row.info->init(ctx);
    const digest_cases::Octets data = digest_cases::message(300);
    row.info->update(ctx, data.data(), 300);
    row.info->final(ctx, out);
    for (size_t i = row.ctxsz; i < sizeof(ctx); ++i) ASSERT_EQ(ctx[i], 0xa5) << row.name << " at " << i;
  }
}

TEST(HashInfo, InitReturnsTheContextItWasGiven) {
  for (const Row& row : kRows) {
    alignas(uint32_t) uint8_t ctx[250];
    EXPECT_EQ(row.info->init(ctx), ctx) << row.name;
  }
}

TEST(HashInfo, Sha384AndSha512ShareTheUpdate) {
  EXPECT_EQ(qex::kSHA384Info.update, qex::kSHA512Info.update);
  EXPECT_NE(qex::kSHA384Info.init, qex::kSHA512Info.init);
  EXPECT_NE(qex::kSHA384Info.final, qex::kSHA512Info.final);
}

}  // namespace
