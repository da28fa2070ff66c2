// Replies: status, texts, failures and the token (RFC 3161, 2.4.2).
#include <gtest/gtest.h>

#include "tests/support/der.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

using tool::ReadReplyStrictly;
using tool::Stop;

template <class... Parts>
Octets reply(const Parts&... status) {
  return der::sequence(der::sequence(status...));
}

TEST(StrictReply, TheStatusIsItsInteger) {
  for (const int64_t value : {int64_t{0}, int64_t{5}, int64_t{-1}, int64_t{256}, INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(ReadReplyStrictly(reply(der::integer(value))).status.value, value);
  }
  EXPECT_THROW(ReadReplyStrictly(reply(der::big_integer({1, 0, 0, 0, 0, 0, 0, 0, 0}))), Stop);
  EXPECT_THROW(ReadReplyStrictly(reply(der::big_integer({}))), Stop);
  EXPECT_THROW(ReadReplyStrictly(reply()), Stop);
}

TEST(StrictReply, TextsAreKeptInOrder) {
  const auto status = ReadReplyStrictly(reply(der::integer(2), der::sequence(der::utf8_string("one"),
                                                                             der::utf8_string("two"))))
                          .status;
  EXPECT_EQ(status.texts, (std::vector<std::string>{"one", "two"}));
  EXPECT_FALSE(status.failures);
  EXPECT_THROW(ReadReplyStrictly(reply(der::integer(2), der::sequence(der::integer(1)))), Stop);
}

TEST(StrictReply, FailuresAreTheBitsThatAreSet) {
  const auto failures = [](const Octets& bits, unsigned unused) {
    return *ReadReplyStrictly(reply(der::integer(2), der::bit_string(bits, unused))).status.failures;
  };
  using Numbers = std::vector<uint32_t>;
  EXPECT_EQ(failures({0x80}, 7), Numbers{0});
  EXPECT_EQ(failures({0x24}, 2), (Numbers{2, 5}));
  EXPECT_EQ(failures({0, 0, 0, 0x40}, 6), Numbers{25});
  EXPECT_EQ(failures({0xFF}, 6), (Numbers{0, 1}));  // bits beyond the end do not count
  EXPECT_EQ(failures({}, 0), Numbers{});
  EXPECT_THROW(failures({}, 3), Stop);
  EXPECT_THROW(failures({0x80}, 8), Stop);
}

TEST(StrictReply, TheTokenIsTakenOutWhole) {
  const Octets token = der::sequence(der::oid("1.2.840.113549.1.7.2"), der::context(0, der::null()));
  EXPECT_EQ(ReadReplyStrictly(der::sequence(der::sequence(der::integer(0)), token)).token, token);
  EXPECT_FALSE(ReadReplyStrictly(reply(der::integer(0))).token);
}

TEST(StrictReply, ForeignPartsAreRefused) {
  const Octets good = reply(der::integer(0));
  EXPECT_THROW(ReadReplyStrictly(der::concat(good, good)), Stop);
  EXPECT_THROW(ReadReplyStrictly({}), Stop);
  EXPECT_THROW(ReadReplyStrictly(der::sequence()), Stop);
  EXPECT_THROW(ReadReplyStrictly(der::sequence(der::sequence(der::integer(0)), der::integer(1))), Stop);
  EXPECT_THROW(ReadReplyStrictly(reply(der::integer(0), der::null())), Stop);
  EXPECT_NO_THROW(ReadReplyStrictly(der::indefinite(0x30, der::indefinite(0x30, der::integer(0)))));
}

}  // namespace
}  // namespace qex::test
