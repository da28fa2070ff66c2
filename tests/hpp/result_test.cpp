// result<T>: what std::expected promises for the members that it has.
#include <gtest/gtest.h>

#include <memory>

#include "support.h"

namespace hpp_test {
namespace {

using qex::result;
using qex::result_code;
using qex::unexpected;

TEST(Result, HoldsAValueOrAFailure) {
  const result<int> good = 5, bad = unexpected(result_code::decode);
  EXPECT_TRUE(good.has_value() && good);
  EXPECT_EQ(*good, 5);
  EXPECT_EQ(good.value(), 5);
  EXPECT_FALSE(bad.has_value() || bad);
  EXPECT_EQ(bad.error(), result_code::decode);
  EXPECT_EQ(bad.error(), (qex::failure{result_code::decode, 0, 0}));
  EXPECT_NE(bad.error(), (qex::failure{result_code::decode, 1, 0}));
  EXPECT_EQ(good.value_or(7), 5);
  EXPECT_EQ(bad.value_or(7), 7);
  const result<void> done, failed = unexpected(result_code::signature);
  EXPECT_TRUE(done.has_value() && done);
  EXPECT_FALSE(failed.has_value() || failed);
  EXPECT_EQ(failed.error().text(), "the signature does not verify");
  static_assert(!std::is_convertible_v<std::size_t, result<qex::bytes>>, "no vector of so many octets");
}

TEST(Result, ValueThrowsTheFailure) {
  const result<int> bad = unexpected(qex::failure{result_code::size, 12, 0});
  try {
    (void)bad.value();
    FAIL();
  } catch (const qex::bad_result_access& thrown) {
    EXPECT_EQ(thrown.error().length, 12u);
    EXPECT_STREQ(thrown.what(), "does not fit the output buffer or a field of the record");
  }
  EXPECT_THROW(result<void>(unexpected(result_code::argument)).value(), std::exception);
  EXPECT_NO_THROW(result<void>().value());
}

TEST(Result, StepsFollowAValueAndStopAtAFailure) {
  const auto half = [](int n) { return n % 2 == 0 ? result<int>(n / 2) : unexpected(result_code::argument); };
  EXPECT_EQ(*result<int>(12).and_then(half).and_then(half), 3);
  EXPECT_EQ(result<int>(6).and_then(half).and_then(half).error(), result_code::argument);
  const result<int> twelve = 12;
  EXPECT_EQ(*twelve.transform([](int n) { return std::to_string(n); }), "12");
  EXPECT_EQ(*twelve.and_then(half), 6);
  EXPECT_EQ(*result<int>(3).and_then(half).or_else([](const qex::failure&) { return result<int>(-1); }), -1);
  EXPECT_EQ(*result<void>().and_then([] { return result<int>(2); }), 2);
  EXPECT_EQ(result<void>(unexpected(result_code::missing)).and_then([] { return result<int>(2); }).error(),
            result_code::missing);
}

TEST(Result, ValuesAreMovedAndLeaveAnObjectThatCanBeUsed) {
  result<std::unique_ptr<int>> from = std::make_unique<int>(4);
  result<std::unique_ptr<int>> to = std::move(from);
  EXPECT_TRUE(from.has_value()) << "as with std::expected";  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(*from, nullptr);
  EXPECT_EQ(**to, 4);
  from = unexpected(result_code::decode);
  EXPECT_EQ(from.error(), result_code::decode);
  const std::unique_ptr<int> taken = *std::move(to);
  EXPECT_EQ(*taken, 4);
  result<qex::bytes> octets = qex::bytes{1, 2};
  EXPECT_EQ(std::move(octets).value(), (qex::bytes{1, 2}));
  EXPECT_EQ(*result<std::unique_ptr<int>>(std::make_unique<int>(1)).transform([](std::unique_ptr<int> p) {
    return *p;
  }),
            1);
}

TEST(Result, EveryCodeOfACallArrives) {
  for (int code = 0; code >= -17; --code) {
    SCOPED_TRACE(code);
    std::array<std::uint8_t, 8> out{};
    const auto written = qex::detail::write({}, out, [&](std::uint8_t*, std::uint32_t* length) {
      *length = 5;
      return code;
    });
    EXPECT_EQ(written.has_value(), code == 0);
    if (code == 0) {
      EXPECT_EQ(*written, 5u);
    } else {
      EXPECT_EQ(written.error(), (qex::failure{qex::result_code{code}, code == QEX_E_SIZE ? 5u : 0u, 0}));
    }
    EXPECT_EQ(qex::detail::outcome(code).has_value(), code == 0);
  }
}

TEST(Result, VectorGrowsWhenTheFirstGuessIsTooSmall) {
  const auto needs = [](std::uint32_t needed) {
    return [needed, calls = 0](std::uint8_t* out, std::uint32_t* length) mutable -> std::int32_t {
      const bool fits = *length >= needed;
      *length = needed;
      if (!fits) return ++calls < 3 ? QEX_E_SIZE : QEX_E_MISSING;
      std::fill_n(out, needed, std::uint8_t{7});
      return QEX_OK;
    };
  };
  for (const std::uint32_t needed : {1u, 100u, 101u, 16384u, 16385u, 70000u}) {
    EXPECT_EQ(*qex::detail::make({}, 100, needs(needed)), qex::bytes(needed, 7));
    EXPECT_EQ(*qex::detail::make({}, 1 << 20, needs(needed)), qex::bytes(needed, 7));
  }
}

}  // namespace
}  // namespace hpp_test
