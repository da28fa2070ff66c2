// Lengths near the ends of 32 bits, through every decoder of the runtime: nothing wraps, and nothing is
// allocated for missing octets.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <functional>

#include "ber/constructed.h"
#include "ber/primitives.h"
#include "tests/support/der.h"
#include "tests/support/error_capture.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/guarded.h"

namespace qex::test {
namespace {

constexpr bool kWideAddresses = sizeof(size_t) > 4;

// DecoderCase is a full decoder, over a value that is released again.
struct DecoderCase {
  const char* name;
  uint8_t tag;
  std::function<void(ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env)> decode;
};

template <class T>
std::function<void(ExpBuf**, AsnLen*, AsnJmpEnv&)> decoder(void (*decode)(ExpBuf**, T*, AsnLen*, AsnJmpEnv&),
                                                           void (*free)(T*)) {
  return [=](ExpBuf** b, AsnLen* bytes, AsnJmpEnv& env) {
    struct Value {
      T value{};
      void (*release)(T*);
      ~Value() { release(&value); }
    } owner{{}, free};
    decode(b, &owner.value, bytes, env);
  };
}

const DecoderCase kDecoders[] = {
    {"BOOLEAN", 0x01, decoder(BDecAsnBool, FreeAsnBool)},
    {"INTEGER", 0x02, decoder(BDecAsnInt, FreeAsnInt)},
    {"unsigned INTEGER", 0x02, decoder(BDecUAsnInt, FreeUAsnInt)},
    {"BIT STRING", 0x03, decoder(BDecAsnBits, FreeAsnBits)},
    {"constructed BIT STRING", 0x23, decoder(BDecAsnBits, FreeAsnBits)},
    {"OCTET STRING", 0x04, decoder(BDecAsnOcts, FreeAsnOcts)},
    {"constructed OCTET STRING", 0x24, decoder(BDecAsnOcts, FreeAsnOcts)},
    {"NULL", 0x05, decoder(BDecAsnNull, FreeAsnNull)},
    {"OBJECT IDENTIFIER", 0x06, decoder(BDecAsnOid, FreeAsnOid)},
};

// outcome_of decodes octets at the end of readable memory.
Outcome outcome_of(const DecoderCase& one, const Octets& octets) {
  const Guarded input(octets);
  lastUnusedBits = 0;
  ForgetRequests();
  const long before = LiveBlocks();
  const Outcome outcome = OutcomeOf([&](AsnJmpEnv& env) {
    ExpBuf block;
    ExpBufWrapData(&block, input.data(), input.size());
    ExpBuf* b = &block;
    AsnLen bytes = 0;
    one.decode(&b, &bytes, env);
  });
  EXPECT_EQ(LiveBlocks(), before);
  EXPECT_LT(LargestRequest(), 16384u);
  return outcome;
}

Octets four(uint32_t n) {
  return {0x84, uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
}

constexpr uint32_t kLengths[] = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFD, 0xFFFFFFFE};

TEST(AnnouncedLengths, BeyondTheDataAreAllAlike) {
  for (const DecoderCase& one : kDecoders) {
    SCOPED_TRACE(one.name);
    // A content that all of them could begin with; in a constructed one, a component.
    for (const Octets& content : {Octets{}, Octets{0x00}, Octets{0x00, 0x01}, Octets{one.tag, 0x01, 0x00},
                                  Octets{uint8_t(one.tag & ~0x20), 0x01, 0x00}}) {
      const Outcome expected = outcome_of(one, der::concat(Octets{one.tag}, four(1000), content));
      EXPECT_LT(expected.code, 0);
      for (const uint32_t length : kLengths) {
        EXPECT_EQ(outcome_of(one, der::concat(Octets{one.tag}, four(length), content)), expected) << length;
      }
      // 0xFFFFFFFF is the number of the open length.
      EXPECT_EQ(outcome_of(one, der::concat(Octets{one.tag}, four(0xFFFFFFFF), content)),
                outcome_of(one, der::concat(Octets{one.tag, 0x80}, content)));
    }
  }
}

TEST(AnnouncedLengths, OfStringsEndAsTheDataDo) {
  const struct {
    size_t decoder;
    int32_t code;
  } cases[] = {{3, -4}, {5, -20}, {8, -21}};
  for (const auto& [decoder, code] : cases) {
    const DecoderCase& one = kDecoders[decoder];
    SCOPED_TRACE(one.name);
    const Outcome at_end = outcome_of(one, {one.tag, 0x03, 0x00, 0x01});
    EXPECT_EQ(at_end.code, code);
    for (const uint32_t length : {3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
      EXPECT_EQ(outcome_of(one, der::concat(Octets{one.tag}, four(length), Octets{0x00, 0x01})), at_end)
          << length;
    }
    for (const uint32_t length : {1u, 2u}) {
      EXPECT_EQ(outcome_of(one, der::concat(Octets{one.tag}, four(length), Octets{0x00, 0x01})), kDecoded);
    }
  }
}

// Components that together announce far more than 32 bits hold, adjacent and nested.
TEST(AnnouncedLengths, OfComponentsMaySumBeyond32Bits) {
  for (const DecoderCase& one : kDecoders) {
    if ((one.tag & 0x20) == 0) continue;
    SCOPED_TRACE(one.name);
    const auto primitive = uint8_t(one.tag & ~0x20);
    const auto nested = [&](uint32_t announced) {
      Octets octets = {one.tag, 0x80};
      for (int i = 0; i < 5; ++i) octets = der::concat(octets, Octets{one.tag}, four(announced));
      return der::concat(octets, Octets{primitive, 0x02, 0x00, 0x61, 0x00, 0x00});
    };
    const Outcome expected = outcome_of(one, nested(1000));
    EXPECT_EQ(expected.code, primitive == 0x04 ? -19 : -3) << "an end-of-contents where none of them is open";
    for (const uint32_t length : kLengths) EXPECT_EQ(outcome_of(one, nested(length)), expected) << length;

    // Inner strings that end, inside an outer one whose length only a wrapped sum would reach.
    const Octets parts =
        der::concat(Octets{primitive, 0x02, 0x00, 0x61}, Octets{primitive, 0x02, 0x00, 0x62});
    for (const uint32_t length : kLengths) {
      EXPECT_EQ(outcome_of(one, der::concat(Octets{one.tag}, four(length), parts)).code, -26) << length;
    }
  }
}

// --- More data than 32 bits count --------------------------------------------------------------

// Zeros is `n` octets of 0, which take no memory until they are written to.
class Zeros {
 public:
  explicit Zeros(uint64_t size) : size_(size_t(size)) {
    void* const memory =
        mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    data_ = memory == MAP_FAILED ? nullptr : static_cast<uint8_t*>(memory);
  }
  ~Zeros() {
    if (data_ != nullptr) munmap(data_, size_);
  }
  Zeros(const Zeros&) = delete;
  Zeros& operator=(const Zeros&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  void put(uint64_t at, const Octets& octets) { std::memcpy(data_ + at, octets.data(), octets.size()); }

 private:
  size_t size_;
  uint8_t* data_;
};

// code_over decodes with memory for `allocations`: if a decoding gets to allocate the value itself, it raises
// -27.
AsnInt code_over(const DecoderCase& one, const Zeros& input, size_t allocations) {
  lastUnusedBits = 0;
  const FailingAlloc failing(allocations);
  return OutcomeOf([&](AsnJmpEnv& env) {
           ExpBuf block;
           ExpBufWrapData(&block, input.data(), input.size());
           ExpBuf* b = &block;
           AsnLen bytes = 0;
           one.decode(&b, &bytes, env);
         })
      .code;
}

// in_two_components writes a constructed string of two components, followed by zeros that end it.
void in_two_components(Zeros& input, uint8_t primitive, uint32_t first, uint32_t second) {
  input.put(0, der::concat(Octets{uint8_t(primitive | 0x20), 0x80, primitive}, four(first)));
  input.put(8 + uint64_t{first}, der::concat(Octets{primitive}, four(second)));
}

constexpr uint32_t kBitsAreFull = uint32_t{1} << 29;  // octets whose bits 32 bits do not count

TEST(LargeStrings, BitsBeyond32BitsAreRefused) {
  Zeros input(uint64_t{kBitsAreFull} + 16);
  if (input.data() == nullptr) GTEST_SKIP() << "no address space";
  const auto code = [&](uint32_t octets) {
    input.put(0, der::concat(Octets{0x03}, four(octets + 1)));  // and the unused bits
    return code_over(kDecoders[3], input, 0);
  };
  EXPECT_EQ(code(kBitsAreFull - 1), kOutOfMemoryCode);
  EXPECT_EQ(code(kBitsAreFull), -4);
}

TEST(LargeStrings, BitsOfComponentsAreAddedUp) {
  Zeros input(uint64_t{kBitsAreFull} + 64);
  if (input.data() == nullptr) GTEST_SKIP() << "no address space";
  const auto code = [&](uint32_t second) {
    in_two_components(input, 0x03, kBitsAreFull / 2 + 1, second + 1);
    return code_over(kDecoders[4], input, 0);
  };
  EXPECT_EQ(code(kBitsAreFull / 2 - 1), kOutOfMemoryCode);
  EXPECT_EQ(code(kBitsAreFull / 2), -4);
}

// A string of 0xFFFFFFFF octets has no room for the octet after it.
TEST(LargeStrings, OctetsOfComponentsAreAddedUp) {
  if (!kWideAddresses) GTEST_SKIP() << "no address space";
  Zeros input((uint64_t{1} << 32) + 64);
  if (input.data() == nullptr) GTEST_SKIP() << "no address space";
  const auto code = [&](uint32_t second) {
    in_two_components(input, 0x04, 0x80000000, second);
    return code_over(kDecoders[6], input, 0);
  };
  EXPECT_EQ(code(0x7FFFFFFE), kOutOfMemoryCode);
  EXPECT_EQ(code(0x7FFFFFFF), -20);
  EXPECT_EQ(code(0x80000000), -20);
}

TEST(LargeStrings, MemoryIsRequestedForPresentOctets) {
  if (!kWideAddresses) GTEST_SKIP() << "no address space";
  Zeros input((uint64_t{1} << 32) + 64);
  if (input.data() == nullptr) GTEST_SKIP() << "no address space";
  input.put(0, der::concat(Octets{0x04}, four(0xFFFFFFFE)));
  ForgetRequests();
  EXPECT_EQ(code_over(kDecoders[5], input, 0), kOutOfMemoryCode);
  EXPECT_EQ(uint64_t{LargestRequest()}, 0xFFFFFFFFu);
  input.put(0, der::concat(Octets{0x06}, four(0xFFFFFFFE)));
  ForgetRequests();
  EXPECT_EQ(code_over(kDecoders[8], input, 0), kOutOfMemoryCode);
  EXPECT_EQ(uint64_t{LargestRequest()}, 0xFFFFFFFEu);
}

}  // namespace
}  // namespace qex::test
