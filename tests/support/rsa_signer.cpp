// RSA keys for tests, from their file, and signatures made with them.
#include "tests/support/rsa_signer.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "api/qex.h"

namespace qex::test {
namespace {

Octets from_hex(std::string_view text) {
  const auto digit = [](char c) { return unsigned(c <= '9' ? c - '0' : c - 'a' + 10); };
  Octets octets;
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    octets.push_back(uint8_t(digit(text[i]) << 4 | digit(text[i + 1])));
  }
  return octets;
}

const std::map<std::string, Octets>& values() {
  static const std::map<std::string, Octets> all = [] {
    std::map<std::string, Octets> read;
    std::ifstream file(QEX_TEST_DATA "/signing_keys.txt");
    for (std::string line; std::getline(file, line);) {
      const size_t equals = line.find(" = ");
      if (line[0] != '#' && equals != std::string::npos) {
        read[line.substr(0, equals)] = from_hex(std::string_view(line).substr(equals + 3));
      }
    }
    return read;
  }();
  return all;
}

template <size_t kSize, class Context>
Octets digest_with(Context* (*init)(), void (*update)(Context*, const uint8_t*, uint32_t),
                   void (*final)(Context*, uint8_t*), const Octets& data) {
  Octets digest(kSize);
  Context* const context = init();
  update(context, data.data(), uint32_t(data.size()));
  final(context, digest.data());
  return digest;
}

}  // namespace

Octets TestValue(const std::string& name) {
  const auto found = values().find(name);
  if (found == values().end()) {
    std::fprintf(stderr, "signing_keys.txt has no %s\n", name.c_str());
    std::abort();
  }
  return found->second;
}

const RsaKey& TestKey(const std::string& name) {
  static std::map<std::string, RsaKey> keys;
  const auto found = keys.find(name);
  if (found != keys.end()) return found->second;
  const auto value = [&](const char* field) { return TestValue(name + "." + field); };
  return keys[name] = {value("n"), value("e"),  value("d"),  value("p"),
                       value("q"), value("dp"), value("dq"), value("qinv")};
}

// The library's digests have vectors of their own; here they are assumed right.
Octets Digest(std::string_view algorithm, const Octets& data) {
  if (algorithm == kSha1) return digest_with<20>(QEX_SHA1_Init, QEX_SHA1_Update, QEX_SHA1_Final, data);
  if (algorithm == kMd5) return digest_with<16>(QEX_MD5_Init, QEX_MD5_Update, QEX_MD5_Final, data);
  if (algorithm == kSha256) {
    return digest_with<32>(QEX_SHA256_Init, QEX_SHA256_Update, QEX_SHA256_Final, data);
  }
  if (algorithm == kSha384) {
    return digest_with<48>(QEX_SHA384_Init, QEX_SHA384_Update, QEX_SHA384_Final, data);
  }
  if (algorithm == kSha512) {
    return digest_with<64>(QEX_SHA512_Init, QEX_SHA512_Update, QEX_SHA512_Final, data);
  }
  return {};
}

Octets DigestInfo(std::string_view algorithm, const Octets& parameters, const Octets& digest) {
  return der::sequence(der::algorithm(algorithm, parameters), der::octet_string(digest));
}

Octets Padded(const Octets& tail, size_t size) {
  Octets block(size, 0xFF);
  block[0] = 0;
  block[1] = 1;
  block[size - tail.size() - 1] = 0;
  std::copy(tail.begin(), tail.end(), block.end() - ptrdiff_t(tail.size()));
  return block;
}

Octets RsaSignature(const RsaKey& key, std::string_view algorithm, const Octets& digest) {
  return RsaPrivate(key, Padded(DigestInfo(algorithm, der::null(), digest), key.n.size()));
}

Octets RsaPublicKeyInfo(const RsaKey& key) {
  return der::sequence(
      der::algorithm(kRsaEncryption, der::null()),
      der::bit_string(der::sequence(der::unsigned_integer(key.n), der::unsigned_integer(key.e))));
}

}  // namespace qex::test
