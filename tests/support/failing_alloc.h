// Lets allocations of the C heap fail, and counts the blocks in use.
//
// The test programs are linked so that malloc, calloc, realloc and free of the library under
// test pass through here; those of the C++ run-time library do not.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qex::test {

// While it lives, `succeed` more allocations of this thread succeed, the next `fail` fail, and later ones
// succeed again.
class FailingAlloc {
 public:
  explicit FailingAlloc(size_t succeed, size_t fail = SIZE_MAX);
  ~FailingAlloc();
  FailingAlloc(const FailingAlloc&) = delete;
  FailingAlloc& operator=(const FailingAlloc&) = delete;

  // refused is the number of allocations that failed.
  size_t refused() const;
};

// LiveBlocks is the number of blocks this thread has allocated and not freed.
long LiveBlocks();

// LargestRequest is the size of the largest allocation of this thread since ForgetRequests, and Requests
// their number.
size_t LargestRequest();
size_t Requests();
void ForgetRequests();

}  // namespace qex::test
