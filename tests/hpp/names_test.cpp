// The names of qex.hpp: exports, codes and texts beside those of the library, and the linker's view.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <type_traits>

#include "support.h"

namespace hpp_test {
namespace {

// named returns the first group of each match.
std::set<std::string> named(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) found.insert((*it)[1]);
  return found;
}

TEST(Names, EveryExportIsCalledByTheLayer) {
  const std::string comment = "//[^\n]*";
  const auto code_of = [&](const std::string& path) {
    return std::regex_replace(read_text(QEX_SOURCE_DIR "/" + path), std::regex(comment), "");
  };
  const std::set<std::string> exports =
      named(read_text(QEX_SOURCE_DIR "/cmake/qex.map"), "\\b(QEX_[A-Za-z0-9_]+);");
  EXPECT_EQ(exports.size(), 36u);
  const std::set<std::string> used = named(code_of("include/qex.hpp"), "\\b(QEX_[A-Za-z0-9_]+)[(,)]");
  for (const std::string& name : exports) EXPECT_EQ(used.count(name), 1u) << name;
}

TEST(Names, CodesHaveTheNamesAndTextsOfTheLibrarysTable) {
  const std::string table = read_text(QEX_SOURCE_DIR "/api/result_texts.cpp");
  const std::regex row("\\{(QEX_\\w+),\\s*\"QEX_\\w+\",\\s*\"([^\"]*)\"\\}");
  std::size_t rows = 0;
  for (std::sregex_iterator it(table.begin(), table.end(), row), end; it != end; ++it, ++rows) {
    bool met = false;
    for (int code = 0; code >= -17; --code) {
      if (qex::name_of(qex::result_code{code}) != (*it)[1].str()) continue;
      EXPECT_EQ(qex::text_of(qex::result_code{code}), (*it)[2].str());
      met = true;
    }
    EXPECT_TRUE(met) << (*it)[1];
  }
  EXPECT_EQ(rows, 17u);
  EXPECT_EQ(qex::name_of(qex::result_code{-4}), "unknown");
  EXPECT_EQ(qex::text_of(qex::result_code{1}), "unknown result code");
}

TEST(Names, StatusAndFailureHaveTheNamesOfRfc3161) {
  EXPECT_EQ(qex::text_of(qex::pki_status{1}), "grantedWithMods");
  EXPECT_EQ(qex::text_of(qex::pki_status{2}), "rejection");
  EXPECT_EQ(qex::text_of(qex::pki_status{6}), "unknown status");
  const struct {
    std::uint32_t bit;
    std::string_view name;
  } bits[] = {{0, "badAlg"},
              {2, "badRequest"},
              {5, "badDataFormat"},
              {14, "timeNotAvailable"},
              {15, "unacceptedPolicy"},
              {16, "unacceptedExtension"},
              {17, "addInfoNotAvailable"},
              {25, "systemFailure"},
              {1, "unknown failure"}};
  for (const auto& [bit, name] : bits) EXPECT_EQ(qex::text_of(qex::pki_failure{bit}), name);
}

TEST(Names, TheLinkerTellsThemFromTheLibrarysOwn) {
  (void)qex::read_token(sample("samples/token_sha256_v2_cert.der"));
  EXPECT_EQ(qex::last_asn_error(), 0);
}

TEST(Names, ViewsAreMadeOfOctetsAndOfNothingElse) {
  using qex::bytes_in;
  using qex::bytes_out;
  static_assert(std::is_convertible_v<std::span<const std::byte>, bytes_in>);
  static_assert(std::is_convertible_v<std::span<std::byte, 3>, bytes_in>);
  static_assert(std::is_convertible_v<std::span<const std::uint8_t>, bytes_in>);
  static_assert(std::is_convertible_v<std::vector<std::byte>, bytes_in>);
  static_assert(std::is_convertible_v<std::string_view, bytes_in>);
  static_assert(std::is_convertible_v<const std::string&, bytes_in>);
  static_assert(std::is_convertible_v<const std::uint8_t(&)[4], bytes_in>);
  static_assert(!std::is_convertible_v<const char(&)[4], bytes_in>);
  static_assert(!std::is_convertible_v<const char*, bytes_in>);
  static_assert(!std::is_convertible_v<std::vector<int>, bytes_in>);
  static_assert(std::is_convertible_v<std::span<std::byte>, bytes_out>);
  static_assert(std::is_convertible_v<std::vector<std::uint8_t>&, bytes_out>);
  static_assert(std::is_convertible_v<std::uint8_t(&)[4], bytes_out>);
  static_assert(!std::is_convertible_v<const std::vector<std::uint8_t>&, bytes_out>);
  static_assert(!std::is_convertible_v<std::vector<std::uint8_t>, bytes_out>);
  static_assert(!std::is_convertible_v<std::span<const std::byte>, bytes_out>);
  const std::byte octets[] = {std::byte{1}, std::byte{2}};
  EXPECT_EQ(hex(std::span(octets)), "0102");
  EXPECT_NE(bytes_in().data(), nullptr);
  EXPECT_EQ(bytes_out().data(), nullptr);
}

}  // namespace
}  // namespace hpp_test
