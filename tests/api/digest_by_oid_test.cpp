// Digests named by an AlgorithmIdentifier.
#include "api/digest_by_oid.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>

#include "tests/support/octets.h"
#include "tests/support/rsa_signer.h"

namespace qex::test {
namespace {

// Digests of "abc" (FIPS 180-4 examples, RFC 1321).
const struct {
  const char* algorithm;
  const char* digest;
} kOfAbc[] = {
    {kSha1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {kMd5, "900150983cd24fb0d6963f7d28e17f72"},
    {kSha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {kSha384,
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
    {kSha512,
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd"
     "454d4423643ce80e2a9ac94fa54ca49f"},
};

TEST(DigestByOid, DigestsWithTheAlgorithmThatIsNamed) {
  for (const auto& row : kOfAbc) {
    Input input(Octets{'a', 'b', 'c'});
    const Octets contents = der::oid_content(row.algorithm);
    DigestValue digest;
    DigestByOid(input.block(), {OidOf(contents), {}}, &digest);
    EXPECT_EQ(ToHex(digest.octets, digest.length), row.digest) << row.algorithm;
  }
}

TEST(DigestByOid, TakesAllBlocksFromTheFirstOn) {
  for (const auto& row : kOfAbc) {
    Input input(std::vector<Octets>{{}, {'a'}, {}, {'b', 'c'}, {}});
    const Octets contents = der::oid_content(row.algorithm);
    ExpBuf* const last = ExpBufLast(input.block());
    DigestValue digest;
    DigestByOid(last, {OidOf(contents), {}}, &digest);
    EXPECT_EQ(ToHex(digest.octets, digest.length), row.digest) << row.algorithm;
  }
}

TEST(DigestByOid, ReadBlocksAreDigestedToo) {
  Input input(std::vector<Octets>{{'a', 'b'}, {'c'}});
  for (int i = 0; i < 3; ++i) ExpBufGetByte(input.handle());
  const Octets contents = der::oid_content(kSha256);
  DigestValue digest;
  DigestByOid(input.block(), {OidOf(contents), {}}, &digest);
  EXPECT_EQ(ToHex(digest.octets, digest.length), kOfAbc[2].digest);
}

TEST(DigestByOid, UnknownAlgorithmLeavesTheDigestUnchanged) {
  for (const char* unknown :
       {"1.3.36.3.2.1", "1.2.840.113549.2.2", "2.16.840.1.101.3.4.2", "2.16.840.1.101.3.4.2.1.1"}) {
    Input input(Octets{'a', 'b', 'c'});
    const Octets contents = der::oid_content(unknown);
    DigestValue digest;
    std::memset(digest.octets, 0xA5, sizeof digest.octets);
    DigestByOid(input.block(), {OidOf(contents), {}}, &digest);
    EXPECT_EQ(digest.length, 0u);
    for (const uint8_t octet : digest.octets) EXPECT_EQ(octet, 0xA5);
  }
}

// The first version of the signing-certificate attribute has SHA-1 alone (RFC 2634, 5.4). Of the digests that
// the second version may have (RFC 5035) the library takes SHA-2.
TEST(FindDigestAlgorithm, KnowsEachDigestOnceWithWhatDependsOnIt) {
  const struct {
    const char* digest;
    uint32_t octets;
    Parameters parameters;
    EssVersion version;
    const char* with_rsa;
    const char* with_dsa;
  } rows[] = {
      {kSha1, 20, Parameters::Absent, EssVersion::V1, "1.2.840.113549.1.1.5", "1.2.840.10040.4.3"},
      {kMd5, 16, Parameters::Null, EssVersion::None, "1.2.840.113549.1.1.4", nullptr},
      {kSha256, 32, Parameters::Absent, EssVersion::V2, "1.2.840.113549.1.1.11", "2.16.840.1.101.3.4.3.2"},
      {kSha384, 48, Parameters::Absent, EssVersion::V2, "1.2.840.113549.1.1.12", nullptr},
      {kSha512, 64, Parameters::Absent, EssVersion::V2, "1.2.840.113549.1.1.13", nullptr},
  };
  EXPECT_EQ(std::size(kDigestAlgorithms), std::size(rows));
  const auto text = [](const char* dotted) {
    return dotted == nullptr ? "" : ToHex(der::oid_content(dotted));
  };
  for (const auto& row : rows) {
    const Octets contents = der::oid_content(row.digest);
    const DigestAlgorithm* found = FindDigestAlgorithm({uint32_t(contents.size()), contents.data()});
    ASSERT_NE(found, nullptr) << row.digest;
    EXPECT_EQ(found->hash->hashsz, row.octets) << row.digest;
    EXPECT_EQ(found->parameters, row.parameters) << row.digest;
    EXPECT_EQ(found->essVersion, row.version) << row.digest;
    EXPECT_EQ(ToHex(*found->withRsa), text(row.with_rsa)) << row.digest;
    EXPECT_EQ(found->withDsa == nullptr ? "" : ToHex(*found->withDsa), text(row.with_dsa)) << row.digest;
  }
}

TEST(FindDigestAlgorithm, KnowsNoOtherIdentifier) {
  for (const char* unknown : {"1.3.36.3.2.1", "2.16.840.1.101.3.4.2", "2.16.840.1.101.3.4.2.1.1"}) {
    const Octets contents = der::oid_content(unknown);
    EXPECT_EQ(FindDigestAlgorithm({uint32_t(contents.size()), contents.data()}), nullptr) << unknown;
  }
  EXPECT_EQ(FindDigestAlgorithm({0, nullptr}), nullptr);
}

TEST(DigestEquals, ComparesLengthAndContent) {
  DigestValue digest;
  digest.length = 3;
  std::memcpy(digest.octets, "abcd", 4);
  const struct {
    const char* octets;
    uint32_t count;
    bool equal;
  } rows[] = {{"abc", 3, true}, {"abcd", 4, false}, {"ab", 2, false}, {"abd", 3, false}, {"", 0, false}};
  for (const auto& row : rows) {
    Octets octets(row.octets, row.octets + row.count);
    EXPECT_EQ(DigestEquals(digest, {row.count, octets.data()}), row.equal) << row.octets;
  }
}

}  // namespace
}  // namespace qex::test
