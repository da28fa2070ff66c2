// Big numbers from and to octets, in either order.
#include "crypto/bignum/internal.h"
#include "crypto/octets.h"

namespace qex {
namespace {

enum class Order { kBigEndian, kLittleEndian };

// position returns the place of the octet of weight 256^i.
size_t position(size_t i, size_t length, Order order) {
  return order == Order::kBigEndian ? length - 1 - i : i;
}

// word_at returns the word of weight 2^(32i), of which all four octets are there.
[[nodiscard]] uint32_t word_at(const uint8_t* octets, size_t i, size_t length, Order order) {
  return order == Order::kBigEndian ? LoadBE32(octets + length - 4 * i - 4) : LoadLE32(octets + 4 * i);
}

[[nodiscard]] uint32_t from_octets(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool,
                                   Order order) {
  *out = nullptr;
  if (length > kMaxOctets) return KXBN_BADARG;
  if (const uint32_t rc = KXBN_new(pool, int32_t(length * 8 + 64), out)) return rc;
  KXBN* const n = *out;
  const size_t whole = length / 4;
  for (size_t i = 0; i < whole; ++i) n->digits[i] = word_at(octets, i, length, order);
  uint32_t top = 0;
  for (size_t i = length; i-- > 4 * whole;) top = top << 8 | octets[position(i, length, order)];
  n->digits[whole] = top;
  n->used = uint32_t(whole + 1);
  KXBN_trim(n);
  return KXBN_OK;
}

[[nodiscard]] uint32_t to_octets(const KXBN* n, uint8_t* buffer, size_t length, Order order) {
  const size_t needed = (size_t{KXBN_bits(n)} + 7) / 8;
  if (length > kMaxOctets || length < 1 || length < needed) return KXBN_BADARG;
  const size_t whole = needed / 4;
  for (size_t i = 0; i < whole; ++i) {
    const uint32_t word = n->digits[i];
    if (order == Order::kBigEndian) {
      StoreBE32(buffer + length - 4 * i - 4, word);
    } else {
      StoreLE32(buffer + 4 * i, word);
    }
  }
  for (size_t i = 4 * whole; i < length; ++i) {
    const uint32_t word = i < needed ? n->digits[i / 4] : 0;
    buffer[position(i, length, order)] = uint8_t(word >> 8 * (i % 4));
  }
  return KXBN_OK;
}

}  // namespace

uint32_t KXBN_frombytes(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool) {
  return from_octets(out, octets, length, pool, Order::kBigEndian);
}

uint32_t KXBN_tobytes(const KXBN* n, uint8_t* buffer, size_t length) {
  return to_octets(n, buffer, length, Order::kBigEndian);
}

uint32_t KXBN_frombytes_le(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool) {
  return from_octets(out, octets, length, pool, Order::kLittleEndian);
}

uint32_t KXBN_tobytes_le(const KXBN* n, uint8_t* buffer, size_t length) {
  return to_octets(n, buffer, length, Order::kLittleEndian);
}

}  // namespace qex
