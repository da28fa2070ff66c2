// Ten thousand levels in the place of every single element of messages of every kind, on a stack of 256 KiB,
// which has 26 octets for each.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "api/qex.h"
#include "ber/constructed.h"
#include "ber/memory.h"
#include "tests/support/deep.h"
#include "tests/support/messages.h"
#include "tests/support/readers.h"
#include "tests/support/small_stack.h"
#include "tests/support/token_parts.h"

namespace qex::test {
namespace {

// Where frames are large the bound is what counts, and not the stack.
const size_t kLevels = kSmallFrames && !UnderValgrind() && !Emulated() ? 10000 : 500;

// The identifier of an open type that holds a ContentInfo, which may hold the next.
constexpr const char* kSelfContaining = "1.3.6.1.4.1.311.3.2.1";

constexpr uint8_t kConstructed = 0x20;

// A string of `tag`, constructed, around `levels` constructed ones and the primitive one of `content`.
Octets strings_in(uint8_t tag, const Octets& content, size_t levels, Lengths lengths) {
  const uint8_t part = (tag & ~kConstructed) == 0x03 ? 0x03 : 0x04;
  return Nested(1, {{uint8_t(tag | kConstructed), {}}},
                Nested(levels, {{uint8_t(part | kConstructed), {}}}, der::element(part, content), lengths),
                lengths);
}

class DepthEverywhere : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureAsnInit();
    before_ = std::exchange(AsnErrorHandler, [](const char*, int) {});
  }
  void TearDown() override { AsnErrorHandler = before_; }

  // try_all puts each kind of nesting in the place of each element. All of it is made before the small stack
  // is entered, where the readers alone are called.
  void try_all(const Readers& readers, const Octets& message) {
    ASSERT_EQ(readers[0](message).code, QEX_OK);
    const std::vector<Place> places = PlacesIn(message, PlaceAt(message, 0));
    for (const Place& place : places) {
      for (const Lengths lengths : {Lengths::kDefinite, Lengths::kIndefinite}) {
        try_strings(readers, message, places, place, lengths);
        const auto tag = uint8_t(place.tag | kConstructed);
        read_all(readers, Replaced(message, place, Nested(kLevels, {{tag, {}}}, {}, lengths)));
        if (begins_with_identifier(message, place)) try_open_types(readers, message, place, lengths);
      }
      if (HasFailure()) FAIL() << "at " << place.start << ", identifier " << int{place.tag};
    }
    EXPECT_GT(too_deep_, 0u) << "open types were met";
  }

 private:
  static bool begins_with_identifier(const Octets& message, const Place& place) {
    return place.tag == 0x30 && place.end > place.content && message[place.content] == 0x06;
  }

  // A string in strings is what the string alone is, where it is decoded: inside another string it may be
  // opaque.
  void try_strings(const Readers& readers, const Octets& message, const std::vector<Place>& places,
                   const Place& place, Lengths lengths) {
    if ((place.tag & kConstructed) != 0) return;
    const bool in_string = std::any_of(places.begin(), places.end(), [&](const Place& around) {
      return (around.tag & kConstructed) == 0 && around.content <= place.start && place.end <= around.end;
    });
    const Octets content(message.begin() + ptrdiff_t(place.content), message.begin() + ptrdiff_t(place.end));
    const Octets deep = Replaced(message, place, strings_in(place.tag, content, kLevels, lengths));
    const Octets shallow = Replaced(message, place, strings_in(place.tag, content, 0, lengths));
    const std::vector<Ran> all = read_all(readers, deep);
    if (in_string) return;
    const std::vector<Ran> expected = read_all(readers, shallow);
    for (size_t i = 0; i < readers.size(); ++i) {
      EXPECT_TRUE(all[i] == expected[i]) << readers[i].name << " " << all[i].code << " " << expected[i].code;
    }
  }

  // As the parameters of an algorithm, and as the value of an attribute.
  void try_open_types(const Readers& readers, const Octets& message, const Place& place, Lengths lengths) {
    const Octets identifier = der::oid(kSelfContaining);
    const Octets deep = Nested(kLevels, {{0x30, identifier}, {0xA0, {}}}, der::null(), lengths);
    for (const Octets& value : {deep, der::set(deep), der::context(0, deep)}) {
      read_all(readers, Replaced(message, place, der::sequence(identifier, value)));
    }
  }

  std::vector<Ran> read_all(const Readers& readers, const Octets& input) {
    std::vector<Ran> all(readers.size());
    lastUnusedBits = 0;
    const size_t used = OnReleaseStack([&] {
      for (size_t i = 0; i < readers.size(); ++i) {
        all[i] = readers[i](input);
        if (QEX_GetLastAsnError() == kOpenTypeDepthCode) ++too_deep_;
      }
    });
    EXPECT_LT(used, kSmallStack / 4 * 3);
    return all;
  }

  void (*before_)(const char*, int) = nullptr;
  size_t too_deep_ = 0;
};

TEST_F(DepthEverywhere, InARequest) {
  try_all(RequestReaders(),
          RequestWith(der::oid("1.2.3"), der::integer(5), der::boolean(true),
                      der::context(0, der::sequence(der::oid("1.2.3"), der::octet_string({1, 2})))));
}

TEST_F(DepthEverywhere, InAReply) {
  const Octets text = der::sequence(der::utf8_string("no"), der::utf8_string("more"));
  try_all(ReplyReaders(), Response(StatusInfo(1, text, der::bit_string({0x20, 0x00})),
                                   der::sequence(der::oid(kData), der::context(0, der::octet_string({1})))));
}

TEST_F(DepthEverywhere, InAToken) {
  AttrCertParts tac;
  tac.signature = Octets(8, 0x5A);
  TstInfoMaker info;
  info.accuracy = der::sequence(der::integer(1), der::context_primitive(0, Octets{2}));
  info.nonce = der::integer(77);
  info.tsa = der::context(0, der::context(4, CertificateMaker().subject));
  TokenParts parts;
  parts.tst_info = info.encode();
  parts.certificates = {{PlainCertificate(), AttrCert(CertificateParts::kV1, tac), OtherFormat()}};
  parts.signer().signer_attributes = {{{{{PlainAttribute()}, {}}, {{}, tac}}}};
  try_all(TokenReaders(AuthorityCertificate(), ByHand(tac)), ByHand(parts));
}

TEST_F(DepthEverywhere, InTheCertificateOfTheCaller) {
  try_all(CertificateReaders(TokenMaker().encode()), AuthorityCertificate());
}

TEST_F(DepthEverywhere, InAnAttributeCertificate) {
  try_all(AttributeCertificateReaders(), ByHand(AttrCertParts()));
}

}  // namespace
}  // namespace qex::test
