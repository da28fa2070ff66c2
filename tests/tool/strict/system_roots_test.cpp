// The roots that the system trusts, of whatever keys and names, are all read.
#include <gtest/gtest.h>

#include <filesystem>

#include <openssl/bio.h>
#include <openssl/pem.h>

#include "tests/tool/strict/tokens.h"
#include "tool/worker/strict/strict.h"

namespace qex::test {
namespace {

constexpr const char* kBundle = "/etc/ssl/certs/ca-certificates.crt";

std::vector<Octets> certificates_in(const char* path) {
  std::vector<Octets> found;
  BIO* file = BIO_new_file(path, "r");
  char* name = nullptr;
  char* header = nullptr;
  unsigned char* octets = nullptr;
  long length = 0;
  while (file != nullptr && PEM_read_bio(file, &name, &header, &octets, &length) == 1) {
    found.emplace_back(octets, octets + length);
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(octets);
  }
  BIO_free(file);
  return found;
}

TEST(StrictSystemRoots, AllAreRead) {
  if (!std::filesystem::exists(kBundle)) GTEST_SKIP() << "no " << kBundle;
  tool::Trust trust;
  for (const Octets& root : certificates_in(kBundle)) {
    trust.roots.push_back(Item(root));
    const auto key = tool::KeyOf(root);
    EXPECT_TRUE(key.type == "rsa" || key.type == "ec") << key.name;
    EXPECT_GE(key.bits, 256u) << key.name;
    EXPECT_FALSE(tool::DescribeExtensions(root).empty());
  }
  EXPECT_GT(trust.roots.size(), 100u);
  EXPECT_NO_THROW(tool::CheckTrust(trust));
  // Among many roots the right one is found.
  const Certificate root = MakeRoot();
  trust.roots.push_back(Item(root.der()));
  trust.chainWanted = true;
  EXPECT_EQ(Read(TokenPlan(MakeSigner(root)).encode(), trust).chain->result, tool::ChainResult::Trusted);
}

}  // namespace
}  // namespace qex::test
