// The digests of qex.hpp. Expected values: RFC 1321 and FIPS 180-4, and openssl for the digests of nothing.
#include <gtest/gtest.h>

#include "support.h"

namespace hpp_test {
namespace {

template <class Digest>
void expect_digests(std::string_view of_abc, std::string_view of_nothing) {
  SCOPED_TRACE(Digest::name);
  using namespace std::string_view_literals;
  EXPECT_EQ(hex(Digest::of("abc"sv)), of_abc);
  EXPECT_EQ(hex(Digest::of({})), of_nothing);
  Digest pieces;
  pieces.update("a"sv).update(std::string_view()).update(std::array{std::byte{'b'}, std::byte{'c'}});
  EXPECT_EQ(hex(pieces.finish()), of_abc);
  EXPECT_EQ(hex(pieces.finish()), of_nothing) << "a finished object starts anew";
  typename Digest::value_type out{};
  pieces.update("abc"sv).finish(out);
  EXPECT_EQ(hex(out), of_abc);

  Digest first;
  first.update("ab"sv);
  Digest second(std::move(first));
  first.update("abc"sv);  // NOLINT(bugprone-use-after-move): it starts anew
  EXPECT_EQ(hex(second.update("c"sv).finish()), of_abc);
  EXPECT_EQ(hex(first.finish()), of_abc);
  second.update("not used"sv);
  first.update("abc"sv);
  second = std::move(first);
  EXPECT_EQ(hex(second.finish()), of_abc);
  EXPECT_EQ(hex(first.finish()), of_nothing);  // NOLINT(bugprone-use-after-move)
  Digest dropped;
  dropped.update("abc"sv);  // its context is released with it, which LeakSanitizer sees
}

TEST(Digests, AreThoseOfTheStandards) {
  expect_digests<qex::md5>("900150983cd24fb0d6963f7d28e17f72", "d41d8cd98f00b204e9800998ecf8427e");
  expect_digests<qex::sha1>("a9993e364706816aba3e25717850c26c9cd0d89d",
                            "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  expect_digests<qex::sha256>("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
                              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  expect_digests<qex::sha384>(
      "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7",
      "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b");
  expect_digests<qex::sha512>(
      "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
      "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
      "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
      "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e");
}

TEST(Digests, PassFromUnitToUnit) {
  EXPECT_EQ(hex(hash_begun_elsewhere(kStamped.substr(0, 8)).update(kStamped.substr(8)).finish()),
            kSha256OfStamped);
}

}  // namespace
}  // namespace hpp_test
