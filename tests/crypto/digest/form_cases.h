// The test cases of every form of a block function: messages padded here, against digests of another
// implementation, and runs of blocks, against the portable form one block at a time.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "crypto/digest/forms.h"
#include "tests/crypto/digest/digest_cases.h"
#include "tests/support/guarded.h"

namespace form_cases {

using digest_cases::Octets;

// Digest is the one of its block function whose `column` in digests_by_length.txt is given; `portable` is the
// form that the others must agree with.
template <size_t kWords>
struct Digest {
  using Blocks = void (*)(uint32_t (&state)[kWords], const uint8_t* data, size_t blocks);

  size_t column;
  Blocks portable;
  uint32_t initial[kWords];
  const char* ofAbc;
  const char* ofMillionA;

  static constexpr size_t kBlock = kWords == 16 ? 128 : 64;
  static constexpr size_t kLength = kBlock / 8;  // octets of the length at the end of the last block
};

inline constexpr Digest<5> kSHA1 = {2,
                                    qex::SHA1CompressBlocks_portable,
                                    {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0},
                                    "a9993e364706816aba3e25717850c26c9cd0d89d",
                                    "34aa973cd4c4daa4f61eeb2bdbad27316534016f"};

inline constexpr Digest<8> kSHA256 = {
    3,
    qex::SHA256CompressBlocks_portable,
    {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19},
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"};

inline constexpr Digest<16> kSHA512 = {
    5,
    qex::SHA512CompressBlocks_portable,
    {0x6a09e667, 0xf3bcc908, 0xbb67ae85, 0x84caa73b, 0x3c6ef372, 0xfe94f82b, 0xa54ff53a, 0x5f1d36f1,
     0x510e527f, 0xade682d1, 0x9b05688c, 0x2b3e6c1f, 0x1f83d9ab, 0xfb41bd6b, 0x5be0cd19, 0x137e2179},
    "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
    "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
    "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
    "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b"};

// padded returns the message in whole blocks, by FIPS 180-4, section 5.1.
template <size_t kWords>
Octets padded(const Digest<kWords>& d, Octets octets) {
  const uint64_t bits = uint64_t{8} * octets.size();
  octets.push_back(0x80);
  while ((octets.size() + d.kLength) % d.kBlock != 0) octets.push_back(0);
  octets.resize(octets.size() + d.kLength - sizeof(bits));
  for (int shift = 56; shift >= 0; shift -= 8) octets.push_back(uint8_t(bits >> shift));
  return octets;
}

// digest_at returns the digest of the padded message at `data`.
template <size_t kWords>
std::string digest_at(const Digest<kWords>& d, typename Digest<kWords>::Blocks form, const uint8_t* data,
                      size_t length) {
  uint32_t state[kWords];
  std::copy(d.initial, d.initial + kWords, state);
  form(state, data, length / d.kBlock);
  Octets octets;
  for (const uint32_t word : state) {
    for (int shift = 24; shift >= 0; shift -= 8) octets.push_back(uint8_t(word >> shift));
  }
  return digest_cases::hex(octets.data(), octets.size());
}

template <class D, class Form>
void expect_examples(const D& d, Form form) {
  const Octets abc = padded(d, {'a', 'b', 'c'});
  EXPECT_EQ(digest_at(d, form, abc.data(), abc.size()), d.ofAbc);
  const Octets long_one = padded(d, Octets(1000000, 'a'));
  EXPECT_EQ(digest_at(d, form, long_one.data(), long_one.size()), d.ofMillionA);
}

// Every length to 300 octets, each at 65 addresses.
template <class D, class Form>
void expect_every_length_and_address(const D& d, Form form) {
  const auto table = digest_cases::rows("digests_by_length.txt");
  for (size_t n = 0; n < table.size(); ++n) {
    const Octets message = padded(d, digest_cases::message(n));
    for (size_t offset = 0; offset <= 64; ++offset) {
      Octets room(offset + message.size());
      std::copy(message.begin(), message.end(), room.begin() + std::ptrdiff_t(offset));
      ASSERT_EQ(digest_at(d, form, room.data() + offset, message.size()).substr(0, 16), table[n][d.column])
          << n << " octets at " << offset;
    }
  }
}

// Runs of blocks, from any state, leave what as many calls of the portable form with one block leave. Nothing
// after the last block is read, and nothing after the state is written.
template <size_t kWords>
void expect_runs(const Digest<kWords>& d, typename Digest<kWords>::Blocks form) {
  uint32_t random = 1;
  for (size_t blocks = 1; blocks <= 20; ++blocks) {
    qex::test::Guarded data(blocks * d.kBlock);
    for (size_t k = 0; k < data.size(); ++k) {
      random = random * 1664525 + 1013904223;
      data[k] = blocks == 1 ? 0xff : uint8_t(random >> 24);
    }
    uint32_t expected[kWords];
    for (uint32_t& word : expected) word = ~random;
    qex::test::GuardedRecord<uint32_t[kWords]> state;
    std::memcpy(state.get(), expected, sizeof(expected));
    for (size_t k = 0; k < blocks; ++k) d.portable(expected, data.data() + k * d.kBlock, 1);
    const size_t first = blocks / 3;
    if (first != 0) form(*state, data.data(), first);
    form(*state, data.data() + first * d.kBlock, blocks - first);
    EXPECT_EQ(std::memcmp(state.get(), expected, sizeof(expected)), 0) << blocks << " blocks";
  }
}

template <class D, class Form>
void expect_form(const D& d, Form form) {
  expect_examples(d, form);
  expect_every_length_and_address(d, form);
  expect_runs(d, form);
}

}  // namespace form_cases
