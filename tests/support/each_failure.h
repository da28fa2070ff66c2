// Every allocation of a call fails once: the call must report it, and leak nothing.
#pragma once

#include <gtest/gtest.h>

#include "crypto/bignum/number.h"
#include "tests/support/failing_alloc.h"

namespace qex::test {

struct Allocations {
  uint32_t expected = KXBN_OK;  // the code once none fails
  size_t stride = 1;            // 3: memory for 0, 3, 6, ... allocations
  size_t least = 1;             // the call makes so many of them, or more
};

// EachAllocationFails runs `call` with memory for 0, 1, 2, ... allocations, until none fails. `call` returns
// a code of the big numbers and frees its results. It must return KXBN_NOMEM when an allocation failed, and
// leak no block.
template <class Call>
void EachAllocationFails(Call call, Allocations allocations = {}) {
  for (size_t allowed = 0;; allowed += allocations.stride) {
    const long before = LiveBlocks();
    uint32_t rc;
    size_t refused;
    {
      FailingAlloc memory(allowed);
      rc = call();
      refused = memory.refused();
    }
    ASSERT_EQ(LiveBlocks(), before) << allowed;
    ASSERT_EQ(rc, refused == 0 ? allocations.expected : uint32_t{KXBN_NOMEM}) << allowed;
    if (refused != 0) continue;
    EXPECT_GE(allowed, allocations.least);
    return;
  }
}

// EachAllocationFailsAsItGrows does so for an operation on a number of one word, all ones, whose next word
// needs an allocation.
template <class Operation>
void EachAllocationFailsAsItGrows(Operation operation) {
  const auto call = [&]() -> uint32_t {
    Number n;
    if (const uint32_t rc = n.make(nullptr, 32)) return rc;
    KXBN_setword(n, UINT32_MAX);
    return operation(n);
  };
  EachAllocationFails(call, {.least = 2});
}

}  // namespace qex::test
