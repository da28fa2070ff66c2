// Wrong lengths, at every element of messages of every kind, through every export that decodes; and wrong
// capacities, through every export that writes.
//
// An element that announces almost 4 GiB must have the same outcome as one that announces a little more than
// there is: a sum of lengths that wrapped would change it. And it must not allocate more memory.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "api/frame.h"
#include "api/qex.h"
#include "ber/constructed.h"
#include "tests/support/deep.h"
#include "tests/support/error_capture.h"
#include "tests/support/export_calls.h"
#include "tests/support/exports.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/guarded.h"
#include "tests/support/readers.h"
#include "tests/support/small_messages.h"

namespace qex::test {
namespace {

constexpr size_t kLargestBlock = 64 * 1024;  // far above what these messages need

Octets announced(const Octets& message, const Place& place, const Octets& length) {
  return Replaced(message, place, der::concat(Octets{place.tag}, length, ContentAt(message, place)));
}

Octets in_four_octets(size_t n) {
  return {0x84, uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
}

// Seen is everything that can be seen of one reading.
struct Seen {
  Ran ran;
  int32_t error;
  std::string text;
  bool operator==(const Seen&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Seen& seen) {
  return out << "code " << seen.ran.code << ", error " << seen.error << ", " << seen.text;
}

// The input ends at the end of readable memory, and nothing allocated for it leaks.
Seen see(const Reader& reader, const Octets& message) {
  const Guarded input(message);
  Seen seen{{0, reader.memory}, 0, ""};
  lastUnusedBits = 0;
  ForgetRequests();
  const long before = LiveBlocks();
  {
    const ErrorCapture capture;
    seen.ran.code = reader.read(input.data(), input.size(), seen.ran.memory.data());
    seen.text = capture.text();
  }
  seen.error = QEX_GetLastAsnError();
  // An output, or its length, repeats parts of the input, including their lengths.
  const bool is_output = seen.ran.memory.size() == OutputMemory().size();
  if (is_output && seen.ran.code != reader.refusal) seen.ran.memory.clear();
  EXPECT_EQ(LiveBlocks(), before);
  EXPECT_LT(LargestRequest(), kLargestBlock);
  EXPECT_EQ(input.octets(), message);
  return seen;
}

bool is_end_of_string(int32_t error) {
  return error == -4 || error == -20 || error == -21;
}

// try_place announces other lengths at one element.
void try_place(const Readers& readers, const Octets& message, const Place& place, bool in_string) {
  const Octets too_long = announced(message, place, in_four_octets(message.size() + 1000));
  const Octets open = announced(message, place, {0x80});
  const Octets cut(message.begin(),
                   message.begin() + ptrdiff_t(place.end) - (place.end > place.content ? 1 : 0));
  for (const Reader& reader : readers) {
    SCOPED_TRACE(reader.name + " " + reader.detail);
    const Seen expected = see(reader, too_long);
    for (const uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu}) {
      EXPECT_EQ(see(reader, announced(message, place, in_four_octets(length))), expected) << length;
    }
    // The largest length is the number of the indefinite length.
    EXPECT_EQ(see(reader, announced(message, place, in_four_octets(0xFFFFFFFF))), see(reader, open));
    // A string ends as it does where the data end.
    if (!in_string && is_end_of_string(expected.error)) {
      const Seen at_end = see(reader, cut);
      if (is_end_of_string(at_end.error)) {
        EXPECT_EQ(expected, at_end);
      }
    }
    const size_t length = place.end - place.content;
    see(reader, announced(message, place, in_four_octets(length + 1)));
    if (length != 0) see(reader, announced(message, place, in_four_octets(length - 1)));
  }
}

void try_all(const Readers& readers, const Octets& message) {
  ASSERT_TRUE(EnsureAsnInit());
  ASSERT_EQ(readers[0](message).code, QEX_OK);
  const std::vector<Place> places = PlacesIn(message, PlaceAt(message, 0));
  EXPECT_GT(places.size(), 10u);
  for (const Place& place : places) {
    try_place(readers, message, place, IsInString(places, place));
    if (::testing::Test::HasFailure()) FAIL() << "at " << place.start << ", identifier " << int{place.tag};
  }
}

TEST(AnnouncedLengths, OfRequests) {
  try_all(RequestReaders(), SmallRequest());
}

TEST(AnnouncedLengths, OfReplies) {
  try_all(ReplyReaders(), SmallReply(der::bit_string({0x20}, 5)));
}

TEST(AnnouncedLengths, OfTokens) {
  try_all(TokenReaders(AuthorityCertificate(), ByHand(SmallAttrCert())), ByHand(SmallToken()));
}

TEST(AnnouncedLengths, OfTheCertificateOfTheCaller) {
  try_all(CertificateReaders(TokenMaker().encode()), AuthorityCertificate());
}

TEST(AnnouncedLengths, OfAttributeCertificates) {
  try_all(AttributeCertificateReaders(), ByHand(AttrCertParts()));
}

// --- Capacities --------------------------------------------------------------------------------

// A buffer of just the length that is needed, up to the next word, ends at an inaccessible page, and any
// capacity may be claimed.
void try_capacities(const ExportCall& call, const Octets& output) {
  const auto n = uint32_t(output.size());
  for (const uint32_t capacity :
       {0u, 1u, n - 1, n, n + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    Guarded memory(sizeof capacity + (n + 3) / 4 * 4);
    std::memcpy(memory.data(), &capacity, sizeof capacity);
    const int32_t code = call.call(memory.data());
    uint32_t length = 0;
    std::memcpy(&length, memory.data(), sizeof length);
    Octets expected = capacity < n ? Octets(n, Guarded::kFill) : output;
    expected.resize((n + 3) / 4 * 4, Guarded::kFill);
    EXPECT_EQ(code, capacity < n ? QEX_E_SIZE : QEX_OK) << capacity;
    EXPECT_EQ(length, n) << capacity;
    EXPECT_EQ(Octets(memory.data() + sizeof capacity, memory.data() + memory.size()), expected) << capacity;
  }
}

TEST(OutputCapacities, AreOnlyCompared) {
  std::set<std::string> tried;
  for (const ExportCall& call : ExportCalls()) {
    if (call.memory.size() != OutputMemory().size()) continue;
    const Ran ran = RunCall(call);
    if (ran.code != QEX_OK) continue;
    SCOPED_TRACE(call.name() + ", " + call.sample);
    uint32_t length = 0;
    std::memcpy(&length, ran.memory.data(), sizeof length);
    const auto output = ran.memory.begin() + sizeof length;
    try_capacities(call, Octets(output, output + ptrdiff_t(length)));
    tried.insert(call.name());
  }
  EXPECT_EQ(tried, (std::set<std::string>{"QEX_EncodeTSQ", "QEX_EncodeTSQ_Ex", "QEX_GetTSR_EncodedToken",
                                          "QEX_GetTST_TSACert", "QEX_GetTST_TimeAttributeCert",
                                          "QEX_RemoveAttrCerts", "QEX_TSTInfoToIDData"}));
}

}  // namespace
}  // namespace qex::test
