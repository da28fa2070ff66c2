// Montgomery exponentiation in words of 32 bits (HAC 14.36), least significant first.
#include "tests/support/rsa_signer.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "api/qex.h"

namespace qex::test {
namespace {

using Words = std::vector<uint32_t>;

Words to_words(const Octets& big_endian, size_t count) {
  Words words(count);
  for (size_t i = 0; i < big_endian.size(); ++i) {
    const size_t place = big_endian.size() - 1 - i;
    if (place / 4 < count) words[place / 4] |= uint32_t{big_endian[i]} << (place % 4 * 8);
  }
  return words;
}

Octets to_octets(const Words& words, size_t size) {
  Octets octets(size);
  for (size_t i = 0; i < size; ++i) octets[size - 1 - i] = uint8_t(words[i / 4] >> (i % 4 * 8));
  return octets;
}

// subtract_if_not_less computes a -= n when a, with `carry` above it, is n or more.
void subtract_if_not_less(Words* a, uint32_t carry, const Words& n) {
  bool less = carry == 0;
  if (less) {
    size_t i = n.size();
    while (i > 0 && (*a)[i - 1] == n[i - 1]) --i;
    less = i > 0 && (*a)[i - 1] < n[i - 1];
  }
  if (less) return;
  uint64_t borrow = 0;
  for (size_t i = 0; i < n.size(); ++i) {
    const uint64_t difference = uint64_t{(*a)[i]} - n[i] - borrow;
    (*a)[i] = uint32_t(difference);
    borrow = difference >> 63;
  }
}

struct Montgomery {
  Words n;
  uint32_t inverse;  // -1/n mod 2^32

  explicit Montgomery(Words modulus) : n(std::move(modulus)), inverse(1) {
    for (int i = 0; i < 5; ++i) inverse *= 2 + n[0] * inverse;
  }

  // times returns a * b / 2^(32 * words) mod n.
  Words times(const Words& a, const Words& b) const {
    const size_t k = n.size();
    Words t(k + 2);
    for (size_t i = 0; i < k; ++i) {
      add_product(&t, b, a[i]);
      add_product(&t, n, t[0] * inverse);
      t.erase(t.begin());
      t.push_back(0);
    }
    const uint32_t carry = t[k];
    t.resize(k);
    subtract_if_not_less(&t, carry, n);
    return t;
  }

  static void add_product(Words* t, const Words& a, uint32_t w) {
    uint64_t carry = 0;
    for (size_t i = 0; i < a.size(); ++i) {
      carry += uint64_t{a[i]} * w + (*t)[i];
      (*t)[i] = uint32_t(carry);
      carry >>= 32;
    }
    for (size_t i = a.size(); i < t->size(); ++i) {
      carry += (*t)[i];
      (*t)[i] = uint32_t(carry);
      carry >>= 32;
    }
  }

  // doubled returns 2a mod n.
  Words doubled(Words a) const {
    uint32_t carry = 0;
    for (uint32_t& word : a) {
      const uint32_t out = word >> 31;
      word = word << 1 | carry;
      carry = out;
    }
    subtract_if_not_less(&a, carry, n);
    return a;
  }
};

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
  return keys[name] = {TestValue(name + ".n"), TestValue(name + ".e"), TestValue(name + ".d")};
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

Octets RsaPower(const Octets& base, const Octets& exponent, const Octets& modulus) {
  const size_t k = (modulus.size() + 3) / 4;
  const Montgomery m(to_words(modulus, k));
  Words square(k);  // 1, doubled to R^2 mod n
  square[0] = 1;
  for (size_t i = 0; i < 64 * k; ++i) square = m.doubled(std::move(square));
  const Words one = to_words({1}, k);
  const Words b = m.times(to_words(base, k), square);
  Words power = m.times(one, square);
  for (const uint8_t octet : exponent) {
    for (int bit = 7; bit >= 0; --bit) {
      power = m.times(power, power);
      if ((octet >> bit & 1) != 0) power = m.times(power, b);
    }
  }
  return to_octets(m.times(power, one), modulus.size());
}

Octets RsaPublicKeyInfo(const RsaKey& key) {
  return der::sequence(
      der::algorithm(kRsaEncryption, der::null()),
      der::bit_string(der::sequence(der::unsigned_integer(key.n), der::unsigned_integer(key.e))));
}

}  // namespace qex::test
