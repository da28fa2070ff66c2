// A pool of big numbers that a test owns.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "crypto/bignum/bignum.h"

namespace qex::test {

// Pool owns a pool for numbers of `bits` bits. Pass it wherever an operation takes the record.
class Pool {
 public:
  explicit Pool(int32_t bits) { EXPECT_EQ(KXBN_pool_new(bits, &pool_), KXBN_OK); }
  ~Pool() { KXBN_pool_free(pool_); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  operator KXBN_Pool*() const { return pool_; }
  KXBN_Pool* operator->() const { return pool_; }

  // all_free returns whether every number went back, to this pool and to those that were added behind it.
  [[nodiscard]] bool all_free() const {
    for (const KXBN_Pool* each = pool_; each != nullptr; each = each->next) {
      if (each->freeMask != UINT32_MAX) return false;
    }
    return true;
  }

 private:
  KXBN_Pool* pool_ = nullptr;
};

}  // namespace qex::test
