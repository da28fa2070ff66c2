// The search for many certificates among the identifiers of a token.
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "api/signing_certificate.h"
#include "api/token.h"
#include "tests/support/big.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/fresh_process.h"
#include "tests/support/naming_tokens.h"

namespace qex::test {
namespace {

// Identifier is the hash of an identifier and its algorithm; no algorithm is the default of the second
// version.
struct Identifier {
  std::string algorithm;
  Octets hash;
};

Octets token_of_identifiers(const std::vector<Identifier>& identifiers, bool v2) {
  std::vector<Octets> encoded;
  for (const Identifier& id : identifiers) {
    const Octets algorithm = id.algorithm.empty() ? Octets{} : der::algorithm(id.algorithm);
    encoded.push_back(v2 ? EssCertIdV2(algorithm, id.hash) : EssCertId(id.hash));
  }
  return v2 ? TokenNaming({}, encoded) : TokenNaming(encoded, {});
}

// named_later compares one by one: it returns whether an identifier after the first is that of `certificate`.
bool named_later(const std::vector<Identifier>& identifiers, bool v2, const Octets& certificate) {
  for (size_t i = 1; i < identifiers.size(); ++i) {
    const std::string algorithm = !v2                                ? kSha1
                                  : identifiers[i].algorithm.empty() ? kSha256
                                                                     : identifiers[i].algorithm;
    if (v2 && algorithm != kSha256 && algorithm != kSha384 && algorithm != kSha512) continue;
    if (Digest(algorithm, certificate) == identifiers[i].hash) return true;
  }
  return false;
}

// generated_identifier is that of one of `certificates`, or one that misses it by little.
Identifier generated_identifier(Random& random, bool v2, const std::vector<Octets>& certificates) {
  static const std::string algorithms[] = {kSha256, kSha384, kSha512, "", kSha1, kMd5, "1.2.3"};
  const std::string label = v2 ? algorithms[random() % std::size(algorithms)] : kSha1;
  const std::string digest = random() % 8 == 0 ? kSha384 : label.empty() ? kSha256 : label;
  Octets hash = Digest(digest, certificates[random() % certificates.size()]);
  if (hash.empty()) return {label, hash};
  switch (random() % 8) {
    case 0: hash.back() ^= 1; break;
    case 1: hash.front() ^= 0x80; break;
    case 2: hash.pop_back(); break;
    case 3: hash.push_back(0); break;
    case 4: hash.clear(); break;
    default: break;
  }
  return {label, hash};
}

void expect_what_one_by_one_finds(Switch which) {
  const bool v2 = which == Switch::On;
  ASSERT_TRUE(EnsureAsnInit());
  Random random(v2 ? 2 : 1);
  std::vector<Octets> certificates;
  for (uint8_t i = 0; i < 40; ++i) certificates.push_back(Octets(1 + i % 7, i));
  size_t named = 0, others = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<Identifier> identifiers;
    for (size_t n = 1 + random() % 40; n > 0; --n) {
      identifiers.push_back(generated_identifier(random, v2, certificates));
    }
    const Octets token = token_of_identifiers(identifiers, v2);
    DecodedToken decoded;
    ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
    SigningCertificateIds ids(decoded.value);
    for (const Octets& certificate : certificates) {
      ExpBuf buffer;
      ExpBufWrapData(&buffer, certificate.data(), certificate.size());
      const int32_t expected =
          named_later(identifiers, v2, certificate) ? int32_t{QEX_OK} : int32_t{QEX_E_MISMATCH};
      ASSERT_EQ(ids.FindAmongOthers(&buffer), expected) << "round " << round;
      ASSERT_EQ(ids.Check(&buffer, Identifiers::Others), expected) << "round " << round;
      ++(expected == QEX_OK ? named : others);
    }
  }
  EXPECT_GT(named, 100u);
  EXPECT_GT(others, 100u);
}

TEST(FindAmongOthers, AgreesWithComparingOneByOne) {
  InFreshProcess("0", [] { expect_what_one_by_one_finds(Switch::Off); });
  InFreshProcess("1", [] { expect_what_one_by_one_finds(Switch::On); });
}

TEST(FindAmongOthers, WithoutAnIdentifierIsADecodeFailure) {
  ASSERT_TRUE(EnsureAsnInit());
  const Octets a = der::octets("a"), token = TokenNaming({}, {});
  DecodedToken decoded;
  ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
  ExpBuf buffer;
  ExpBufWrapData(&buffer, a.data(), a.size());
  EXPECT_EQ(SigningCertificateIds(decoded.value).FindAmongOthers(&buffer), QEX_E_DECODE);
}

TEST(FindAmongOthers, AloneNeedsMemoryAndReportsFailure) {
  ASSERT_TRUE(EnsureAsnInit());
  const Octets a = der::octets("a"), b = der::octets("b"), token = TokenNaming({NameV1(a), NameV1(b)}, {});
  DecodedToken decoded;
  ASSERT_TRUE(DecodeToken(token.data(), uint32_t(token.size()), &decoded));
  ExpBuf first, second;
  ExpBufWrapData(&first, a.data(), a.size());
  ExpBufWrapData(&second, b.data(), b.size());
  const long before = LiveBlocks();
  {
    SigningCertificateIds ids(decoded.value);
    {
      const FailingAlloc failing(0);
      EXPECT_EQ(ids.Check(&first, Identifiers::First), QEX_OK);
      EXPECT_EQ(ids.Check(&second, Identifiers::Others), QEX_OK);
      EXPECT_EQ(CheckSigningCertificate(decoded.value, &second, Identifiers::Others), QEX_OK);
      EXPECT_EQ(failing.refused(), 0u);
      EXPECT_EQ(ids.FindAmongOthers(&second), QEX_E_NOMEM);
      EXPECT_EQ(ids.FindAmongOthers(&second), QEX_E_NOMEM);
    }
    EXPECT_EQ(ids.FindAmongOthers(&second), QEX_OK);
    EXPECT_EQ(ids.FindAmongOthers(&first), QEX_E_MISMATCH);
  }
  EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace qex::test
