// Ten thousand levels in the place of every single element of messages of every kind, on a stack of 256 KiB,
// which has 26 octets for each.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "api/qex.h"
#include "ber/constructed.h"
#include "ber/error_hook.h"
#include "tests/support/deep.h"
#include "tests/support/readers.h"
#include "tests/support/small_messages.h"
#include "tests/support/small_stack.h"

namespace qex::test {
namespace {

// Where frames are large, the bound counts and not the stack.
const size_t kLevelsEverywhere = kSmallFrames && !UnderValgrind() && !Emulated() ? 10000 : 500;

class DepthEverywhere : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(EnsureAsnInit());
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
        read_all(readers, Replaced(message, place, Nested(kLevelsEverywhere, {{tag, {}}}, {}, lengths)));
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

  // A string in strings equals the plain string where it is decoded; inside another string it may be opaque.
  void try_strings(const Readers& readers, const Octets& message, const std::vector<Place>& places,
                   const Place& place, Lengths lengths) {
    if ((place.tag & kConstructed) != 0) return;
    const auto with_levels = [&](size_t levels) {
      const uint8_t part = place.tag == 0x03 ? 0x03 : 0x04;
      const Octets content = ContentAt(message, place);
      return Replaced(message, place, NestedStrings(place.tag, part, content, levels, lengths));
    };
    const std::vector<Ran> all = read_all(readers, with_levels(1 + kLevelsEverywhere));
    if (IsInString(places, place)) return;
    const std::vector<Ran> expected = read_all(readers, with_levels(1));
    for (size_t i = 0; i < readers.size(); ++i) {
      EXPECT_TRUE(all[i] == expected[i]) << readers[i].name << " " << all[i].code << " " << expected[i].code;
    }
  }

  // As the parameters of an algorithm, and as the value of an attribute.
  void try_open_types(const Readers& readers, const Octets& message, const Place& place, Lengths lengths) {
    const Octets identifier = der::oid(kSelfContaining);
    const Octets deep = NestedOpenTypes(kLevelsEverywhere, lengths);
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
  try_all(RequestReaders(), SmallRequest());
}

TEST_F(DepthEverywhere, InAReply) {
  // Without unused bits: after some, the next reader would accept no constructed BIT STRING.
  try_all(ReplyReaders(), SmallReply(der::bit_string({0x20, 0x00})));
}

TEST_F(DepthEverywhere, InAToken) {
  try_all(TokenReaders(AuthorityCertificate(), ByHand(SmallAttrCert())), ByHand(SmallToken()));
}

TEST_F(DepthEverywhere, InTheCertificateOfTheCaller) {
  try_all(CertificateReaders(TokenMaker().encode()), AuthorityCertificate());
}

TEST_F(DepthEverywhere, InAnAttributeCertificate) {
  try_all(AttributeCertificateReaders(), ByHand(AttrCertParts()));
}

}  // namespace
}  // namespace qex::test
