// The digest exports: their digests, the ownership of contexts, and the update that two names share.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <set>

#include "api/qex.h"
#include "tests/crypto/digest/digest_cases.h"
#include "tests/support/failing_alloc.h"

#if defined(__SANITIZE_ADDRESS__)
#define WITH_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WITH_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef WITH_ADDRESS_SANITIZER
// From the interface of the sanitizer, whose headers not every compiler brings along.
extern "C" size_t __sanitizer_get_allocated_size(const volatile void* p);
#endif

namespace {

using digest_cases::hex;
using digest_cases::message;

// by_export digests `data` in two updates through one family of exports.
template <size_t kSize, class Context>
std::string by_export(Context* (*init)(), void (*update)(Context*, const uint8_t*, uint32_t),
                      void (*final)(Context*, uint8_t*), const digest_cases::Octets& data) {
  uint8_t out[kSize];
  const uint32_t half = uint32_t(data.size() / 2);
  Context* ctx = init();
  update(ctx, data.data(), half);
  update(ctx, data.data() + half, uint32_t(data.size()) - half);
  final(ctx, out);
  return hex(out, kSize);
}

std::vector<std::string> by_all_exports(const digest_cases::Octets& data) {
  return {by_export<16>(QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final, data),
          by_export<20>(QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final, data),
          by_export<32>(QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final, data),
          by_export<48>(QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final, data),
          by_export<64>(QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final, data)};
}

// The digests of nothing, and of "abc", in the order of by_all_exports.
const std::vector<std::string> kOfNothing = {
    "d41d8cd98f00b204e9800998ecf8427e",
    "da39a3ee5e6b4b0d3255bfef95601890afd80709",
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
    "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da"
    "274edebfe76f65fbd51ad2f14898b95b",
    "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
    "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e",
};
const std::vector<std::string> kOfAbc = {
    "900150983cd24fb0d6963f7d28e17f72",
    "a9993e364706816aba3e25717850c26c9cd0d89d",
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
    "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
    "8086072ba1e7cc2358baeca134c825a7",
    "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
    "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
};

TEST(DigestExports, EmptyMessageThroughInitAndFinalAlone) {
  uint8_t out[64];
  QEX_MD5_Final(QEX_MD5_Init(), out);
  EXPECT_EQ(hex(out, 16), kOfNothing[0]);
  QEX_SHA1_Final(QEX_SHA1_Init(), out);
  EXPECT_EQ(hex(out, 20), kOfNothing[1]);
  QEX_SHA256_Final(QEX_SHA256_Init(), out);
  EXPECT_EQ(hex(out, 32), kOfNothing[2]);
  QEX_SHA384_Final(QEX_SHA384_Init(), out);
  EXPECT_EQ(hex(out, 48), kOfNothing[3]);
  QEX_SHA512_Final(QEX_SHA512_Init(), out);
  EXPECT_EQ(hex(out, 64), kOfNothing[4]);
}

TEST(DigestExports, UpdateWithNullAndNoLengthIsAllowed) {
  EXPECT_EQ(by_all_exports({}), kOfNothing);
}

TEST(DigestExports, AbcGivesTheDigestsOfTheStandards) {
  EXPECT_EQ(by_all_exports({'a', 'b', 'c'}), kOfAbc);
}

TEST(DigestExports, EveryLengthToThreeHundred) {
  for (const auto& row : digest_cases::rows("digests_by_length.txt")) {
    const auto digests = by_all_exports(message(std::stoul(row[0])));
    for (size_t i = 0; i < digests.size(); ++i) EXPECT_EQ(digests[i].substr(0, 16), row[i + 1]) << row[0];
  }
}

TEST(DigestExports, ContextsAreIndependent) {
  QEX_SHA256_CTX* one = QEX_SHA256_Init();
  QEX_SHA256_CTX* other = QEX_SHA256_Init();
  uint8_t out[32];
  QEX_SHA256_Update(one, reinterpret_cast<const uint8_t*>("a"), 1);
  QEX_SHA256_Final(other, out);
  EXPECT_EQ(hex(out, 32), kOfNothing[2]);
  QEX_SHA256_Update(one, reinterpret_cast<const uint8_t*>("bc"), 2);
  QEX_SHA256_Final(one, out);
  EXPECT_EQ(hex(out, 32), kOfAbc[2]);
}

TEST(DigestExports, Sha384ContextGoesThroughTheUpdateOfSha512) {
  EXPECT_EQ(by_export<48>(QEX_SHA384_Init, QEX_SHA512_Update, QEX_SHA384_Final, {'a', 'b', 'c'}), kOfAbc[3]);
  EXPECT_EQ(by_export<64>(QEX_SHA512_Init, QEX_SHA384_Update, QEX_SHA512_Final, {'a', 'b', 'c'}), kOfAbc[4]);
}

TEST(DigestExports, UpdateOfSha384AndSha512IsOneEntry) {
  // volatile: a compiler takes two names for two addresses, and would settle the comparison itself.
  using Update = void (*)(QEX_SHA512_CTX*, const uint8_t*, uint32_t);
  Update volatile sha384 = QEX_SHA384_Update;
  Update volatile sha512 = QEX_SHA512_Update;
  EXPECT_EQ(sha384, sha512);
}

TEST(DigestExports, AllOtherEntriesAreTheirOwn) {
  void (*volatile const kEntries[])() = {
      reinterpret_cast<void (*)()>(QEX_MD5_Init),      reinterpret_cast<void (*)()>(QEX_MD5_Update),
      reinterpret_cast<void (*)()>(QEX_MD5_Final),     reinterpret_cast<void (*)()>(QEX_SHA1_Init),
      reinterpret_cast<void (*)()>(QEX_SHA1_Update),   reinterpret_cast<void (*)()>(QEX_SHA1_Final),
      reinterpret_cast<void (*)()>(QEX_SHA256_Init),   reinterpret_cast<void (*)()>(QEX_SHA256_Update),
      reinterpret_cast<void (*)()>(QEX_SHA256_Final),  reinterpret_cast<void (*)()>(QEX_SHA384_Init),
      reinterpret_cast<void (*)()>(QEX_SHA384_Update), reinterpret_cast<void (*)()>(QEX_SHA384_Final),
      reinterpret_cast<void (*)()>(QEX_SHA512_Init),   reinterpret_cast<void (*)()>(QEX_SHA512_Update),
      reinterpret_cast<void (*)()>(QEX_SHA512_Final),
  };
  std::set<void (*)()> distinct;
  for (void (*entry)() : kEntries) distinct.insert(entry);
  EXPECT_EQ(std::size(kEntries), 15u);
  EXPECT_EQ(distinct.size(), 14u);
}

#ifdef WITH_ADDRESS_SANITIZER
TEST(DigestExports, InitAllocatesExactlyTheContext) {
  uint8_t out[64];
  QEX_MD5_CTX* md5 = QEX_MD5_Init();
  EXPECT_EQ(__sanitizer_get_allocated_size(md5), 92u);
  QEX_MD5_Final(md5, out);
  QEX_SHA1_CTX* sha1 = QEX_SHA1_Init();
  EXPECT_EQ(__sanitizer_get_allocated_size(sha1), 96u);
  QEX_SHA1_Final(sha1, out);
  QEX_SHA256_CTX* sha256 = QEX_SHA256_Init();
  EXPECT_EQ(__sanitizer_get_allocated_size(sha256), 108u);
  QEX_SHA256_Final(sha256, out);
  QEX_SHA512_CTX* sha384 = QEX_SHA384_Init();
  EXPECT_EQ(__sanitizer_get_allocated_size(sha384), 212u);
  QEX_SHA384_Final(sha384, out);
  QEX_SHA512_CTX* sha512 = QEX_SHA512_Init();
  EXPECT_EQ(__sanitizer_get_allocated_size(sha512), 212u);
  QEX_SHA512_Final(sha512, out);
}
#else
// The sanitizer answers a fault itself, so this is for other builds.
template <class F>
void without_memory(const F& init) {
  const qex::test::FailingAlloc none(0);
  init();
  std::_Exit(0);
}

TEST(DigestExportsDeathTest, InitFaultsWhenMemoryIsOut) {
#ifdef _WIN32
  const testing::ExitedWithCode fault(int(0xC0000005));  // an access violation
#else
  const testing::KilledBySignal fault(SIGSEGV);
#endif
  EXPECT_EXIT(without_memory(QEX_MD5_Init), fault, "");
  EXPECT_EXIT(without_memory(QEX_SHA1_Init), fault, "");
  EXPECT_EXIT(without_memory(QEX_SHA256_Init), fault, "");
  EXPECT_EXIT(without_memory(QEX_SHA384_Init), fault, "");
  EXPECT_EXIT(without_memory(QEX_SHA512_Init), fault, "");
}
#endif

}  // namespace
