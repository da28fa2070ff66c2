// A process without any free memory: not only the library's allocations fail but also those of the run-time
// library for leaving a decoder.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <utility>
#include <vector>

#include "api/qex.h"
#include "ber/error_hook.h"
#include "tests/support/export_calls.h"
#include "tests/support/fresh_process.h"
#include "tests/support/instrumentation.h"

namespace qex::test {
namespace {

constexpr size_t kMoreThanTheLimit = size_t{256} << 20;

// Eaten is all memory that the process can get, as a list of blocks.
class Eaten {
 public:
  Eaten() {
    for (size_t size = size_t{1} << 20; size >= sizeof(void*); size /= 2) {
      while (total_ < kMoreThanTheLimit && eat(size)) total_ += size;
    }
  }
  ~Eaten() {
    while (last_ != nullptr) std::free(std::exchange(last_, *static_cast<void**>(last_)));
  }
  Eaten(const Eaten&) = delete;
  Eaten& operator=(const Eaten&) = delete;

  size_t total() const { return total_; }

 private:
  bool eat(size_t size) {
    void* const block = std::malloc(size);
    if (block == nullptr) return false;
    *static_cast<void**>(block) = last_;
    last_ = block;
    return true;
  }

  void* last_ = nullptr;
  size_t total_ = 0;
};

// While it lives, the address space cannot grow.
class NoMoreMemory {
 public:
  NoMoreMemory() {
    unsigned long pages = 0;
    if (!(std::ifstream("/proc/self/statm") >> pages)) std::abort();
    if (getrlimit(RLIMIT_AS, &before_) != 0) std::abort();
    const rlimit limit{pages * rlim_t(sysconf(_SC_PAGESIZE)), before_.rlim_max};
    if (setrlimit(RLIMIT_AS, &limit) != 0) std::abort();
  }
  ~NoMoreMemory() { setrlimit(RLIMIT_AS, &before_); }
  NoMoreMemory(const NoMoreMemory&) = delete;
  NoMoreMemory& operator=(const NoMoreMemory&) = delete;

 private:
  rlimit before_{};
};

TEST(Exhaustion, EveryExportAnswersWithoutAnyMemory) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs memory of its own";
  if (Emulated()) GTEST_SKIP() << "an emulator keeps no limit of memory";
  InFreshProcess(nullptr, [] {
    AsnErrorHandler = [](const char*, int) {};
    std::vector<ExportCall> calls = ExportCalls();
    std::erase_if(calls, [](const ExportCall& call) { return call.exports.size() > 1; });  // the digests
    const std::vector<ExportCall> again = calls;
    std::vector<Ran> expected;
    for (const ExportCall& call : calls) expected.push_back(RunCall(call));
    std::vector<int32_t> codes(calls.size());

    {
      const NoMoreMemory limit;
      const Eaten eaten;
      ASSERT_LT(eaten.total(), kMoreThanTheLimit) << "the system keeps no limit of memory";
      for (size_t i = 0; i < calls.size(); ++i) codes[i] = calls[i].call(calls[i].memory.data());
    }
    size_t refused = 0;
    for (size_t i = 0; i < calls.size(); ++i) {
      // Calls that need no memory work; every other call begins with a decoding, an encoding or a copy.
      if (codes[i] == expected[i].code) continue;
      ++refused;
      EXPECT_TRUE(codes[i] == QEX_E_DECODE || codes[i] == QEX_E_BADTOKEN || codes[i] == QEX_E_NOMEM)
          << calls[i].name() << " returned " << codes[i];
      EXPECT_TRUE(RunCall(again[i]) == expected[i]) << calls[i].name();
    }
    EXPECT_GT(refused, calls.size() / 2);
  });
}

}  // namespace
}  // namespace qex::test
