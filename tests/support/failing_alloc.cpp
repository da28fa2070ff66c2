// The linker's --wrap sends each call of an allocation function here.
#include "tests/support/failing_alloc.h"

#include <cstdint>

extern "C" {
void* __real_malloc(size_t n);
void* __real_calloc(size_t count, size_t n);
void* __real_realloc(void* p, size_t n);
void __real_free(void* p);
}

namespace qex::test {

namespace {

thread_local size_t allowed = SIZE_MAX;
thread_local size_t to_refuse = 0;
thread_local size_t refusals = 0;
thread_local long live = 0;
thread_local size_t largest = 0;
thread_local size_t requested = 0;

[[nodiscard]] bool allow(size_t n) {
  if (n > largest) largest = n;
  ++requested;
  if (allowed == SIZE_MAX) return true;
  if (allowed != 0) {
    --allowed;
    return true;
  }
  if (refusals == to_refuse) return true;
  ++refusals;
  return false;
}

void* count_in(void* p) {
  if (p != nullptr) ++live;
  return p;
}

}  // namespace

FailingAlloc::FailingAlloc(size_t succeed, size_t fail) {
  refusals = 0;
  to_refuse = fail;
  allowed = succeed;
}
FailingAlloc::~FailingAlloc() {
  allowed = SIZE_MAX;
}
size_t FailingAlloc::refused() const {
  return refusals;
}

long LiveBlocks() {
  return live;
}
size_t LargestRequest() {
  return largest;
}
size_t Requests() {
  return requested;
}
void ForgetRequests() {
  largest = 0;
  requested = 0;
}

extern "C" {
void* __wrap_malloc(size_t n) {
  return allow(n) ? count_in(__real_malloc(n)) : nullptr;
}
void* __wrap_calloc(size_t count, size_t n) {
  return allow(count * n) ? count_in(__real_calloc(count, n)) : nullptr;
}
void* __wrap_realloc(void* p, size_t n) {
  if (!allow(n)) return nullptr;
  void* q = __real_realloc(p, n);
  return p == nullptr ? count_in(q) : q;
}
void __wrap_free(void* p) {
  if (p != nullptr) --live;
  __real_free(p);
}
}

}  // namespace qex::test
