// Every allocation of a call fails once: the call must report it, and leak nothing.
#pragma once

#include <gtest/gtest.h>

#include "crypto/bignum/bignum.h"
#include "tests/support/failing_alloc.h"

namespace qex::test {

// EachAllocationFails runs `call` with memory for 0, 1, 2, ... allocations (every `stride`th of these
// numbers), until none fails. `call` returns a code of the big numbers and frees its results. It must return
// KXBN_NOMEM when an allocation failed, `expected` in the end, and leak no block.
template <class Call>
void EachAllocationFails(Call call, uint32_t expected = KXBN_OK, size_t stride = 1) {
  for (size_t allowed = 0;; allowed += stride) {
    const long before = LiveBlocks();
    uint32_t rc;
    size_t refused;
    {
      FailingAlloc memory(allowed);
      rc = call();
      refused = memory.refused();
    }
    ASSERT_EQ(LiveBlocks(), before) << allowed;
    ASSERT_EQ(rc, refused == 0 ? expected : uint32_t{KXBN_NOMEM}) << allowed;
    if (refused != 0) continue;
    EXPECT_GT(allowed, 0u);
    return;
  }
}

}  // namespace qex::test
