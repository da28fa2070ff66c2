// Chinese remainders (RFC 8017, 5.1.2) of Montgomery exponentiations (HAC 14.36), in words of 32 bits, least
// significant first.
#include "tests/support/rsa_arithmetic.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace qex::test {
namespace {

using Words = std::vector<uint32_t>;

// to_words returns the `count` words of a number from the word `first` on.
Words to_words(const Octets& big_endian, size_t count, size_t first = 0) {
  Words words(count);
  for (size_t i = 0; i < 4 * count && 4 * first + i < big_endian.size(); ++i) {
    words[i / 4] |= uint32_t{big_endian[big_endian.size() - 1 - 4 * first - i]} << (i % 4 * 8);
  }
  return words;
}

Octets to_octets(const Words& words, size_t size) {
  Octets octets(size);
  for (size_t i = 0; i < size; ++i) octets[size - 1 - i] = uint8_t(words[i / 4] >> (i % 4 * 8));
  return octets;
}

// add_product adds a * w to the `count` words at `t`.
void add_product(uint32_t* t, size_t count, const Words& a, uint32_t w) {
  uint64_t carry = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    carry += uint64_t{a[i]} * w + t[i];
    t[i] = uint32_t(carry);
    carry >>= 32;
  }
  for (size_t i = a.size(); i < count; ++i) {
    carry += t[i];
    t[i] = uint32_t(carry);
    carry >>= 32;
  }
}

// Montgomery computes modulo an odd number of k words; r is 2^(32k).
class Montgomery {
 public:
  explicit Montgomery(const Octets& modulus)
      : n_(to_words(modulus, (modulus.size() + 3) / 4)), inverse_(1), square_(n_.size()) {
    for (int i = 0; i < 5; ++i) inverse_ *= 2 + n_[0] * inverse_;
    square_[0] = 1;
    for (size_t i = 0; i < 64 * n_.size(); ++i) square_ = plus(square_, square_);
  }

  // times_over_r returns a * b / r, for a or b below the modulus.
  Words times_over_r(const Words& a, const Words& b) const {
    const size_t k = n_.size();
    Words t(2 * k + 1);
    for (size_t i = 0; i < k; ++i) {
      add_product(&t[i], k + 2, b, a[i]);
      add_product(&t[i], k + 2, n_, t[i] * inverse_);
    }
    return reduced(Words(t.begin() + ptrdiff_t(k), t.end() - 1), t.back());
  }

  Words times(const Words& a, const Words& b) const { return times_over_r(times_over_r(a, b), square_); }

  Words plus(Words a, const Words& b) const {
    uint64_t carry = 0;
    for (size_t i = 0; i < a.size(); ++i) {
      carry += uint64_t{a[i]} + b[i];
      a[i] = uint32_t(carry);
      carry >>= 32;
    }
    return reduced(std::move(a), uint32_t(carry));
  }

  // minus returns a - b, for both below the modulus.
  Words minus(const Words& a, const Words& b) const {
    Words complement = n_;
    subtract(&complement, b);
    return plus(a, complement);
  }

  // power returns base ^ exponent, for a base of any length.
  Words power(const Octets& base, const Octets& exponent) const {
    const size_t k = n_.size();
    Words base_r(k);
    for (size_t first = (base.size() / 4 / k + 1) * k; first > 0; first -= k) {
      base_r = plus(times_over_r(base_r, square_), times_over_r(to_words(base, k, first - k), square_));
    }
    const Words one = to_words({1}, k);
    Words power_r = times_over_r(one, square_);
    for (const uint8_t octet : exponent) {
      for (int bit = 7; bit >= 0; --bit) {
        power_r = times_over_r(power_r, power_r);
        if ((octet >> bit & 1) != 0) power_r = times_over_r(power_r, base_r);
      }
    }
    return times_over_r(power_r, one);
  }

 private:
  static void subtract(Words* a, const Words& b) {
    uint64_t borrow = 0;
    for (size_t i = 0; i < a->size(); ++i) {
      const uint64_t difference = uint64_t{(*a)[i]} - b[i] - borrow;
      (*a)[i] = uint32_t(difference);
      borrow = difference >> 63;
    }
  }

  // reduced returns what is left of a, with `carry` above it, which is below twice the modulus.
  Words reduced(Words a, uint32_t carry) const {
    if (carry == 0) {
      size_t i = n_.size();
      while (i > 0 && a[i - 1] == n_[i - 1]) --i;
      if (i > 0 && a[i - 1] < n_[i - 1]) return a;
    }
    subtract(&a, n_);
    return a;
  }

  Words n_;
  uint32_t inverse_;  // -1/n mod 2^32
  Words square_;      // r^2 mod n
};

Octets private_operation(const RsaKey& key, const Octets& block) {
  const Montgomery modulo_p(key.p);
  const Words by_p = modulo_p.power(block, key.dp), by_q = Montgomery(key.q).power(block, key.dq);
  const size_t k = by_p.size();
  const Words h = modulo_p.times(modulo_p.minus(by_p, by_q), to_words(key.qinv, k));
  const Words q = to_words(key.q, k);
  Words result = by_q;  // by_q + h * q
  result.resize(2 * k);
  for (size_t i = 0; i < k; ++i) add_product(&result[i], 2 * k - i, q, h[i]);
  return to_octets(result, key.n.size());
}

}  // namespace

Octets RsaPrivate(const RsaKey& key, const Octets& block) {
  // Two thirds of the tokens that a test program signs it has signed before.
  static std::mutex mutex;
  static std::map<std::pair<Octets, Octets>, Octets> known;
  const std::lock_guard lock(mutex);
  Octets& result = known[{key.n, block}];
  if (result.empty()) result = private_operation(key, block);
  return result;
}

}  // namespace qex::test
