// The peak memory of each export, for inputs built to hurt.
//
// usage: qex_peak_memory [OCTETS] [--check]
//
// For each input, of about OCTETS octets (by default 16 MiB), it prints the largest number of bytes allocated
// at one time, per octet of input, without and with the overhead of a heap that rounds up as glibc's does.
// With --check it fails when a call exceeds the bound, leaks memory or returns an unexpected code.
//
// malloc and its family are linked to count here (--wrap), and operator new is replaced: each block is
// preceded by its size.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "api/frame.h"
#include "bench/hostile.h"
#include "ber/error_hook.h"
#include "tests/support/heap_size.h"
#include "tests/support/instrumentation.h"

extern "C" {
void* __real_malloc(size_t n);
void __real_free(void* p);
}

namespace {

// The most that a call may hold at one time. A decoded value takes 42 bytes for each octet of its encoding,
// as tests/asn1/memory_bound_test.cpp works out; an octet of a token's content takes one more inside the
// token, and an encoding one and its share of block headers and longer lengths. Blocks are large, so that the
// overhead of the heap adds little. Under AddressSanitizer each value has a block of its own with a link of
// 16 octets, two of them for a value that takes two octets: 16 more for an octet, and the overhead of the
// heap. The rest does not grow with the input.
constexpr double kAskedPerOctet = qex::test::kSanitized ? 61 : 45;
constexpr double kHeapPerOctet = qex::test::kSanitized ? 99 : 45;
constexpr double kRest = 65536;

struct alignas(16) Header {
  size_t size;
};

struct Account {
  size_t live = 0;
  size_t peak = 0;

  void add(size_t n) {
    live += n;
    peak = std::max(peak, live);
  }
};
Account asked, heap;

void* take(size_t n) {
  if (n > SIZE_MAX - sizeof(Header)) return nullptr;
  auto* const header = static_cast<Header*>(__real_malloc(sizeof(Header) + n));
  if (header == nullptr) return nullptr;
  header->size = n;
  asked.add(n);
  heap.add(qex::test::HeapSize(n));
  return header + 1;
}

void give_back(void* p) {
  if (p == nullptr) return;
  Header* const header = static_cast<Header*>(p) - 1;
  asked.live -= header->size;
  heap.live -= qex::test::HeapSize(header->size);
  __real_free(header);
}

}  // namespace

extern "C" {
void* __wrap_malloc(size_t n) {
  return take(n);
}
void* __wrap_calloc(size_t count, size_t n) {
  if (n != 0 && count > SIZE_MAX / n) return nullptr;
  void* const p = take(count * n);
  if (p != nullptr) std::memset(p, 0, count * n);
  return p;
}
void* __wrap_realloc(void* p, size_t n) {
  void* const q = take(n);  // both count until the old one is copied, as where a block has to move
  if (q == nullptr || p == nullptr) return q;
  std::memcpy(q, p, std::min(n, (static_cast<Header*>(p) - 1)->size));
  give_back(p);
  return q;
}
void __wrap_free(void* p) {
  give_back(p);
}
}

void* operator new(size_t n) {
  if (void* const p = take(n)) return p;
  throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept {
  return take(n);
}
void operator delete(void* p) noexcept {
  give_back(p);
}
void operator delete(void* p, size_t) noexcept {
  give_back(p);
}

namespace {

// measure makes the call and prints its row; false when something is not as it shall be.
[[nodiscard]] bool measure(const qex::bench::HostileCase& one, size_t size) {
  qex::bench::HostileInput input = one.build(size);
  const size_t before = asked.live, heap_before = heap.live;
  asked.peak = before;
  heap.peak = heap_before;
  const int32_t code = one.call(input);
  const auto octets = double(input.size());
  const auto most = double(asked.peak - before), taken = double(heap.peak - heap_before);
  std::printf("%8.2f %8.2f  %s\n", most / octets, taken / octets, one.name.c_str());
  const bool bounded = most <= kAskedPerOctet * octets + kRest && taken <= kHeapPerOctet * octets + kRest;
  if (!bounded) std::printf("  passes the bound\n");
  if (code != one.code) std::printf("  answers %d instead of %d\n", int(code), int(one.code));
  if (asked.live != before) std::printf("  leaks %zu bytes\n", asked.live - before);
  return bounded && code == one.code && asked.live == before;
}

}  // namespace

int main(int argc, char** argv) {
  size_t size = size_t{16} << 20;
  bool check = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--check") == 0) {
      check = true;
    } else {
      size = std::strtoul(argv[i], nullptr, 10);
    }
  }
  if (size == 0 || !qex::EnsureAsnInit()) return 2;  // the tables of open types stay
  qex::AsnErrorHandler = [](const char*, int) {};
  std::printf("bytes at the peak by octet of input: asked for, with the overhead of the heap\n");
  bool all = true;
  for (const auto& family : {qex::bench::HostileCases(), qex::bench::HostileKeys()}) {
    for (const qex::bench::HostileCase& one : family) all &= measure(one, size);
  }
  return check && !all ? 1 : 0;
}
