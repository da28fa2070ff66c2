// Tokens under DSA keys whose numbers break the rules, in every combination.
#include <gtest/gtest.h>

#include "tests/support/dsa_signer.h"
#include "tests/support/exports.h"
#include "tests/support/token_maker.h"

namespace qex::test {
namespace {

TEST(DsaKeys, OfHostileNumbersAloneEndInAnAnswer) {
  const Octets numbers[] = {{0}, {1}, {2}, Octets(20, 0xFE), Octets(64, 0xFF)};
  const Octets ones = Raw({{1}, {1}});
  DsaKey key;
  int answers = 0;
  for (const Octets& p : numbers) {
    for (const Octets& q : numbers) {
      for (const Octets& g : numbers) {
        for (const Octets& y : numbers) {
          key = {p, q, g, {}, y};
          TokenMaker maker = DsaTokenMaker(key, kSha1);
          const Octets certificate = maker.certificates[0];
          maker.signer().signature = ones;
          const int32_t code = Verify(maker.encode(), certificate);
          // Such a key may well give r = 1.
          EXPECT_TRUE(code == QEX_E_SIGNATURE || code == QEX_OK) << code;
          if (p.size() == 1 && p[0] < 2) {
            EXPECT_EQ(code, QEX_E_SIGNATURE);  // nothing is left over by 1
          }
          ++answers;
        }
      }
    }
  }
  EXPECT_EQ(answers, 625);
}

}  // namespace
}  // namespace qex::test
