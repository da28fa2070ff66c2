// Big numbers from and to octets, in either order.
#include "crypto/bignum/internal.h"
#include "crypto/bignum/words.h"

namespace qex {
namespace {

enum class Order { kBigEndian, kLittleEndian };

// position returns the place of the octet of weight 256^i.
size_t position(size_t i, size_t length, Order order) {
  return order == Order::kBigEndian ? length - 1 - i : i;
}

[[nodiscard]] uint32_t from_octets(KXBN** out, const uint8_t* octets, size_t length, KXBN_Pool* pool,
                                   Order order) {
  *out = nullptr;
  if (length > kMaxOctets) return KXBN_BADARG;
  if (const uint32_t rc = KXBN_new(pool, int32_t(length * 8 + 64), out)) return rc;
  KXBN* const n = *out;
  n->used = uint32_t(length / 4 + 1);
  ClearWords(n->digits, n->used);
  for (size_t i = 0; i < length; ++i) {
    n->digits[i / 4] |= uint32_t{octets[position(i, length, order)]} << 8 * (i % 4);
  }
  KXBN_trim(n);
  return KXBN_OK;
}

[[nodiscard]] uint32_t to_octets(const KXBN* n, uint8_t* buffer, size_t length, Order order) {
  const size_t needed = (size_t{KXBN_bits(n)} + 7) / 8;
  if (length > kMaxOctets || length < 1 || length < needed) return KXBN_BADARG;
  for (size_t i = 0; i < length; ++i) {
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
