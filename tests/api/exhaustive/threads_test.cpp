// Eight threads in the library at once, over every export. The library has no thread of its own. Its threads
// share only the tables, which the first call of the process builds, and the process-wide words.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "api/signing_certificate.h"
#include "asn1/oids.h"
#include "ber/constructed.h"
#include "ber/error_hook.h"
#include "tests/support/export_calls.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/files.h"
#include "tests/support/fresh_process.h"
#include "tests/support/messages.h"
#include "tests/support/readers.h"

namespace qex::test {
namespace {

constexpr size_t kThreads = 8;

// Together runs `work(i)` in each of the threads and waits for them. They start at the same time, as far as
// there are processors: all are awake when the start is given.
template <class F>
void Together(const F& work) {
  std::atomic<size_t> ready{0};
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ++ready;
      while (ready < kThreads) {
      }
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// The reports of refused input are many lines, and not under test here.
class Silence {
 public:
  Silence() : before_(std::exchange(AsnErrorHandler, [](const char*, int) {})) {}
  ~Silence() { AsnErrorHandler = before_; }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  void (*before_)(const char*, int);
};

std::vector<Ran> run_all(const std::vector<ExportCall>& calls) {
  std::vector<Ran> all;
  for (const ExportCall& call : calls) all.push_back(RunCall(call));
  return all;
}

// run_around runs all calls, starting with `first` and wrapping around, and puts each outcome in its place.
std::vector<Ran> run_around(const std::vector<ExportCall>& calls, size_t first) {
  std::vector<Ran> all(calls.size());
  for (size_t i = 0; i < calls.size(); ++i) {
    const size_t at = (first + i) % calls.size();
    all[at] = RunCall(calls[at]);
  }
  return all;
}

void expect_same(const std::vector<ExportCall>& calls, const std::vector<Ran>& expected,
                 const std::vector<Ran>& all, size_t thread) {
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(all[i].code, expected[i].code)
        << calls[i].name() << ", " << calls[i].sample << ", thread " << thread;
    EXPECT_TRUE(all[i].memory == expected[i].memory)
        << calls[i].name() << ", " << calls[i].sample << ", thread " << thread;
  }
}

TEST(Threads, EveryExportIsAmongTheCalls) {
  std::set<std::string> called;
  for (const ExportCall& call : ExportCalls()) called.insert(call.exports.begin(), call.exports.end());
  EXPECT_EQ(called, PublishedExports());
  EXPECT_EQ(called.size(), 36u);
}

// Each thread has its own inputs and outputs and starts the calls at another place.
TEST(Threads, EachGetsTheResultsOfASingleThread) {
  constexpr size_t kRounds = 8;
  const Silence silence;
  const std::vector<ExportCall> calls = ExportCalls();
  const std::vector<Ran> expected = run_all(calls);
  Together([&](size_t thread) {
    const std::vector<ExportCall> own = calls;
    for (size_t round = 0; round < kRounds && !::testing::Test::HasFailure(); ++round) {
      const size_t first = (thread * own.size() / kThreads + round * 29) % own.size();
      expect_same(own, expected, run_around(own, first), thread);
    }
  });
  RecordProperty("calls", int(kThreads * kRounds * calls.size()));
}

// race_first_calls lets each thread make all calls, beginning with another one, in a process that has made
// none.
void race_first_calls(const std::vector<ExportCall>& calls, uint32_t expected_switch) {
  const Silence silence;
  AsnAny any{};
  SetAnyTypeByOid(&any, kIdSignedData);
  ASSERT_EQ(any.ai, nullptr) << "the tables are not built yet";
  ASSERT_EQ(essCertIdV2Switch, kEssCertIdV2Unread);

  const std::vector<std::vector<ExportCall>> copies(kThreads, calls);
  std::vector<std::vector<Ran>> all(kThreads);
  Together(
      [&](size_t thread) { all[thread] = run_around(copies[thread], thread * calls.size() / kThreads); });
  EXPECT_EQ(essCertIdV2Switch, expected_switch);
  const std::vector<Ran> expected = run_all(calls);
  for (size_t thread = 0; thread < kThreads; ++thread) expect_same(calls, expected, all[thread], thread);
}

// Under either version of the signing-certificate attribute, which is chosen at its first use.
TEST(Threads, FirstCallsOfTheProcessGiveTheResultsOfLaterOnes) {
  InFreshProcess(nullptr, [] { race_first_calls(ExportCalls(), 0); });
  InFreshProcess("1", [] { race_first_calls(ExportCalls(), 1); });
}

// The first calls, of eight different exports, find no tables and race to build them. How threads come
// together is a matter of luck, and so it is tried several times, with inputs that take no time to make.
TEST(Threads, FirstCallsOfTheProcessRace) {
  const Octets token = ReadFile(QEX_TEST_DATA "/samples/token_sha256_v2_cert.der");
  const Octets certificate = ReadFile(QEX_TEST_DATA "/samples/certificate_tsa.der");
  std::vector<ExportCall> calls;
  const auto add = [&](const Readers& readers, const Octets& input) {
    for (const Reader& reader : readers) {
      calls.push_back({{reader.name}, "", reader.memory, [read = reader.read, input](uint8_t* memory) {
                         return read(input.data(), uint32_t(input.size()), memory);
                       }});
    }
  };
  add(RequestReaders(), RequestWith(der::integer(5)));
  add(ReplyReaders(), Response(StatusInfo(0), token));
  add(TokenReaders(certificate, {}), token);
  for (int i = 0; i < 5; ++i) InFreshProcess("1", [&] { race_first_calls(calls, 1); });
}

// Initialisations that fail for lack of memory, in all threads at once, undo their own work and nothing else;
// the first that has memory builds the tables for all.
TEST(Threads, InitialisationsThatFailAtOnceLeaveTheNextToBuild) {
  InFreshProcess(nullptr, [] {
    const Octets reply = Response(StatusInfo(0));
    const auto read = [&] {
      QEX_TSR_STATUS status;
      return QEX_GetTSR_Status(&status, reply.data(), uint32_t(reply.size()));
    };
    std::atomic<size_t> done{0};
    Together([&](size_t thread) {
      const long before = LiveBlocks();
      for (size_t round = 0; round < 200; ++round) {
        const FailingAlloc failing((thread * 37 + round * 13) % 150);
        EXPECT_EQ(read(), QEX_E_NOMEM);
      }
      EXPECT_EQ(LiveBlocks(), before);
      ++done;
      while (done < kThreads) std::this_thread::yield();
      EXPECT_EQ(read(), QEX_OK);
    });
  });
}

// All threads store and read the words of the process. Each value read is one that some thread stored.
TEST(Threads, TheWordsOfTheProcessAreWhole) {
  constexpr int kRounds = 400;
  const Silence silence;
  lastUnusedBits = 0;
  // The first thread to ask reads the environment again.
  essCertIdV2Switch = kEssCertIdV2Unread;
  const char* const value = std::getenv("QEX_VERIFY_ESSCERTIDV2");
  const uint32_t switched = value != nullptr && std::string_view(value) == "1" ? 1 : 0;
  // Components without unused bits: the word of the last unused bits is stored with each, and stays 0.
  const Octets fail_info = der::element(0x23, der::bit_string({0x00, 0x00}), der::bit_string({0x80, 0x00}));
  const Octets granted = Response(StatusInfo(2, fail_info));
  const Octets no_status = Response(StatusInfo(2, der::element(0x03)));  // a BIT STRING of no octets
  const Octets long_status = Response(der::sequence(der::element(0x02, Octets(5, 1))));  // an INTEGER of five
  const struct {
    const Octets& reply;
    int32_t code;
    int32_t error;
  } kinds[] = {{granted, QEX_OK, 0}, {no_status, QEX_E_DECODE, -4}, {long_status, QEX_E_DECODE, -7}};
  std::set<int32_t> errors;
  for (const auto& kind : kinds) {
    QEX_TSR_STATUS status{};
    ASSERT_EQ(QEX_GetTSR_Status(&status, kind.reply.data(), uint32_t(kind.reply.size())), kind.code);
    ASSERT_EQ(QEX_GetLastAsnError(), kind.error);
    errors.insert(kind.error);
  }

  Together([&](size_t thread) {
    for (int round = 0; round < kRounds && !::testing::Test::HasFailure(); ++round) {
      const auto& kind = kinds[(thread + size_t(round)) % std::size(kinds)];
      const Octets reply = kind.reply;
      QEX_TSR_STATUS status{};
      EXPECT_EQ(QEX_GetTSR_Status(&status, reply.data(), uint32_t(reply.size())), kind.code);
      EXPECT_EQ(status.status, kind.code == QEX_OK ? 2 : 0);
      EXPECT_EQ(status.failInfo, kind.code == QEX_OK ? 31u : 0u);  // 32 bits
      EXPECT_TRUE(errors.contains(QEX_GetLastAsnError()));
      EXPECT_EQ(lastUnusedBits, 0);
      EXPECT_EQ(UseEssCertIdV2(), switched);
    }
  });
  EXPECT_EQ(lastUnusedBits, 0);
}

}  // namespace
}  // namespace qex::test
