// Nested values, a million levels deep, through every export that decodes, on a stack of 256 KiB.
//
// Open types are refused at their bound; strings inside strings decode at any depth; nesting that no type
// allows is refused by its tag. None of them needs stack per level.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "api/frame.h"
#include "api/qex.h"
#include "ber/constructed.h"
#include "ber/error_hook.h"
#include "tests/support/deep.h"
#include "tests/support/dsa_signer.h"
#include "tests/support/messages.h"
#include "tests/support/readers.h"
#include "tests/support/small_messages.h"
#include "tests/support/small_stack.h"

namespace qex::test {
namespace {

// Under sanitizers, valgrind and emulators, where each octet costs many times as much, a few of them do.
const size_t kLevels = kSanitized || UnderValgrind() || Emulated() ? 20000 : 1000000;

// --- Deep values -------------------------------------------------------------------------------

Octets same_tags(uint8_t tag, size_t levels, Lengths lengths) {
  return Nested(levels, {{tag, {}}}, {}, lengths);
}

constexpr Lengths kBoth[] = {Lengths::kDefinite, Lengths::kIndefinite};

// --- Messages ----------------------------------------------------------------------------------

// The element to replace by a deep value.
const Octets& mark() {
  static const Octets octets = der::element(0x04, der::octets("a deep value goes here"));
  return octets;
}

Octets with_deep(const Octets& message, const Octets& deep) {
  const auto at = std::search(message.begin(), message.end(), mark().begin(), mark().end());
  EXPECT_NE(at, message.end());
  return Replaced(message, PlaceAt(message, size_t(at - message.begin())), deep);
}

Octets self_containing_algorithm() {
  return der::algorithm(kSelfContaining, mark());
}

// A token with a part of every kind: all kinds of certificates, both versions of the attribute, claimed and
// certified attributes.
TokenParts token_of_all_parts() {
  TokenParts parts = SmallToken();
  TstInfoMaker info = SmallTstInfo();
  info.extensions = der::context(1, der::sequence(der::oid("1.2.3"), der::octet_string({1})));
  parts.tst_info = info.encode();
  parts.certificates->push_back(AttrCert(CertificateParts::kV2, SmallAttrCert()));
  parts.signer().certificate_ids_v2 = {{{"", Octets(32, 3)}, {kSha512, Octets(64, 4)}}};
  return parts;
}

class Depth : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(EnsureAsnInit());
    lastUnusedBits = 0;
    before_ = std::exchange(AsnErrorHandler, [](const char*, int) {});
  }
  void TearDown() override {
    AsnErrorHandler = before_;
    RecordProperty("octets_of_stack", int(stack_));
    if (kSmallFrames) std::printf("%zu levels, at most %zu octets of stack\n", kLevels, stack_);
  }

  // on_small_stack also notes how much of it was used.
  void on_small_stack(const std::function<void()>& work) {
    stack_ = std::max(stack_, OnReleaseStack(work));
    EXPECT_LT(stack_, kStackBound);
  }

  // expect_refused: every reader refuses; the last ASN.1 error is `error`, or any of a decoder's when that is
  // 0.
  void expect_refused(const Readers& readers, const Octets& input, int32_t error) {
    on_small_stack([&] {
      for (const Reader& reader : readers) {
        EXPECT_EQ(reader(input).code, reader.refusal) << reader.name;
        if (error != 0) {
          EXPECT_EQ(QEX_GetLastAsnError(), error) << reader.name;
        }
        EXPECT_LT(QEX_GetLastAsnError(), 0) << reader.name;
      }
    });
  }

  // expect_same: `deep` gives every reader the same result as `shallow`.
  void expect_same(const Readers& readers, const Octets& shallow, const Octets& deep) {
    on_small_stack([&] {
      for (const Reader& reader : readers) {
        const Ran expected = reader(shallow);
        const int32_t error = QEX_GetLastAsnError();
        const Ran ran = reader(deep);
        EXPECT_EQ(ran.code, expected.code) << reader.name << " " << reader.detail;
        EXPECT_TRUE(ran.memory == expected.memory) << reader.name;
        EXPECT_EQ(QEX_GetLastAsnError(), error) << reader.name;
      }
    });
  }

  // The three kinds of nesting in the place of the mark, a million levels of each.
  void expect_open_types_refused(const Readers& readers, const Octets& message) {
    for (const Lengths lengths : kBoth) {
      expect_refused(readers, with_deep(message, NestedOpenTypes(kLevels, lengths)), kOpenTypeDepthCode);
    }
  }
  void expect_strings_decode(const Readers& readers, const Octets& message, uint8_t tag, uint8_t part,
                             const Octets& content) {
    const Octets shallow = with_deep(message, NestedStrings(tag, part, content, 1, Lengths::kDefinite));
    for (const Lengths lengths : kBoth) {
      expect_same(readers, shallow, with_deep(message, NestedStrings(tag, part, content, kLevels, lengths)));
    }
  }
  void expect_other_tags_refused(const Readers& readers, const Octets& message) {
    for (const Lengths lengths : kBoth) {
      for (const uint8_t tag : {uint8_t{0x30}, uint8_t{0xA0}}) {
        expect_refused(readers, with_deep(message, same_tags(tag, kLevels, lengths)), 0);
      }
    }
  }
  // The whole input is nesting.
  void expect_nothing_else_decodes(const Readers& readers) {
    for (const Lengths lengths : kBoth) {
      for (const uint8_t tag : std::initializer_list<uint8_t>{0x30, 0xA0, 0x31, 0x24, 0x23}) {
        expect_refused(readers, same_tags(tag, kLevels, lengths), 0);
      }
    }
  }

 private:
  void (*before_)(const char*, int) = nullptr;
  size_t stack_ = 0;
};

Readers token_readers() {
  return TokenReaders(AuthorityCertificate(), ByHand(AttrCertParts()));
}

// --- A million levels --------------------------------------------------------------------------

TEST_F(Depth, OfRequests) {
  const Readers readers = RequestReaders();
  const Octets imprint = der::sequence(self_containing_algorithm(), der::octet_string(Octets(32, 1)));
  expect_open_types_refused(readers, der::sequence(der::integer(1), imprint));
  const Octets hashed = der::sequence(der::algorithm(kSha256), mark());
  expect_strings_decode(readers, der::sequence(der::integer(1), hashed), 0x04, 0x04, Octets(32, 1));
  expect_strings_decode(readers, RequestWith(mark()), 0x02, 0x04, {5});  // the nonce
  const Octets extension = der::sequence(der::oid("1.2.3"), mark());
  expect_strings_decode(readers, RequestWith(der::context(0, extension)), 0x04, 0x04, {1});
  expect_other_tags_refused(readers, RequestWith(der::context(0, mark())));
  expect_other_tags_refused(readers,
                            der::sequence(der::integer(1), der::sequence(der::algorithm(kMd5, mark()))));
  expect_nothing_else_decodes(readers);
}

TEST_F(Depth, OfReplies) {
  const Readers readers = ReplyReaders();
  expect_open_types_refused(readers, Response(StatusInfo(0), mark()));
  expect_strings_decode(readers, Response(StatusInfo(2, mark())), 0x03, 0x03, {0x00, 0x80});  // failInfo
  expect_strings_decode(readers, Response(StatusInfo(2, der::sequence(mark()))), 0x0C, 0x04,
                        der::octets("no"));
  expect_other_tags_refused(readers, Response(StatusInfo(2, der::sequence(mark()))));
  expect_other_tags_refused(readers, Response(StatusInfo(0), mark()));
  expect_nothing_else_decodes(readers);
}

TEST_F(Depth, OfTokens) {
  const Readers readers = token_readers();
  for (const Lengths lengths : kBoth) {
    expect_refused(readers, NestedOpenTypes(kLevels, lengths), kOpenTypeDepthCode);
  }
  expect_nothing_else_decodes(readers);
  TokenMaker maker;
  maker.signer().digest_algorithm = self_containing_algorithm();
  expect_open_types_refused(readers, maker.encode());
  maker = {};
  maker.signer().extra = {Attribute(kSelfContaining, {mark()})};
  expect_open_types_refused(readers, maker.encode());
  maker = {};
  maker.signer().extra = {mark()};
  expect_other_tags_refused(readers, maker.encode());
}

// Each of them keeps its value, so the token that contains them verifies.
TEST_F(Depth, OfStringsInTokens) {
  const Readers readers = token_readers();
  const Octets token = ByHand(token_of_all_parts());
  ASSERT_EQ(token_readers()[6](token).code, QEX_OK);
  const Octets info = der::octet_string(token_of_all_parts().tst_info);
  size_t replaced = 0;
  for (const Place& place : PlacesIn(token, PlaceAt(token, 0))) {
    const Octets element(token.begin() + ptrdiff_t(place.start), token.begin() + ptrdiff_t(place.end));
    const bool is_content = element == info;
    const bool is_signature = place.tag == 0x04 && element.size() > 128 && place.end == token.size();
    if (!is_content && !is_signature) continue;
    ++replaced;
    const Octets content = ContentAt(token, place);
    for (const Lengths lengths : kBoth) {
      const Octets deep = NestedStrings(0x04, 0x04, content, kLevels, lengths);
      expect_same(readers, token, Replaced(token, place, deep));
    }
  }
  EXPECT_EQ(replaced, 2u);
}

TEST_F(Depth, OfCertificatesInTokens) {
  const Readers readers = token_readers();
  const auto token_with = [](const Octets& element) {
    TokenMaker maker;
    maker.certificates = {AuthorityCertificate(), element};
    return maker.encode();
  };
  // Of each kind: certificate, attribute certificate of version 2 and of version 1, other.
  const Octets validity =
      der::sequence(der::generalized_time("20240101000000Z"), der::generalized_time("20250101000000Z"));
  const Octets info =
      der::sequence(der::integer(1), der::sequence(), der::context(0), self_containing_algorithm());
  const Octets attributes = der::sequence(Attribute(kSelfContaining, {mark()}));
  const Octets whole = der::sequence(der::integer(1), der::sequence(), der::context(0),
                                     der::algorithm(kSha256), der::integer(1), validity, attributes);
  for (const Octets& element :
       {der::sequence(der::sequence(der::integer(7), self_containing_algorithm())), der::context(2, info),
        der::context(1, whole), der::context(3, der::oid(kSelfContaining), mark())}) {
    expect_open_types_refused(readers, token_with(element));
  }
  expect_other_tags_refused(readers, token_with(mark()));
}

TEST_F(Depth, OfTheTstInfoInAToken) {
  TstInfoMaker info;
  info.imprint = der::sequence(self_containing_algorithm(), der::octet_string(Octets(32, 0x11)));
  TokenMaker maker;
  maker.tst_info = info.encode();
  Readers readers = token_readers();
  readers.resize(2);  // those that look into it
  ASSERT_EQ(readers[1].name, "QEX_GetTST_TSTInfo");
  expect_open_types_refused(readers, maker.encode());
  info = {};
  info.serial = mark();
  maker.tst_info = info.encode();
  expect_strings_decode(readers, maker.encode(), 0x02, 0x04, {0x12, 0x34});
  info = {};
  info.tsa = der::context(0, mark());
  maker.tst_info = info.encode();
  expect_other_tags_refused(readers, maker.encode());
}

TEST_F(Depth, OfTheCertificateOfTheCaller) {
  const Readers readers = CertificateReaders(TokenMaker().encode());
  const Octets certificate = AuthorityCertificate();
  expect_nothing_else_decodes(readers);
  expect_open_types_refused(readers,
                            der::sequence(der::sequence(der::integer(7), self_containing_algorithm())));
  CertificateMaker maker;
  maker.serial = mark();
  expect_strings_decode(readers, maker.encode(), 0x02, 0x04, {7});
  maker = {};
  maker.subject = DirectoryName({{kSelfContaining, mark()}});
  expect_open_types_refused(readers, maker.encode());
  // Keys are decoded apart: one that does not decode is missing.
  maker = {};
  maker.subject_public_key_info = der::sequence(der::algorithm(kRsaEncryption, der::null()),
                                                der::bit_string(der::sequence(mark(), der::integer(65537))));
  expect_strings_decode(readers, maker.encode(), 0x02, 0x04, der::concat(Octets{0}, maker.key.n));
  for (const Lengths lengths : kBoth) {
    on_small_stack([&] {
      const Octets input = with_deep(maker.encode(), same_tags(0x30, kLevels, lengths));
      EXPECT_EQ(readers[0](input).code, QEX_E_MISSING);
    });
  }
  const DsaKey key = TestDsaKey("1024/160 sha1");
  const Octets parms = der::sequence(mark(), der::unsigned_integer(key.q), der::unsigned_integer(key.g));
  maker.subject_public_key_info =
      der::sequence(der::algorithm(kDsa, parms), der::bit_string(der::unsigned_integer(key.y)));
  expect_strings_decode(readers, maker.encode(), 0x02, 0x04, der::concat(Octets{0}, key.p));
}

// A DSA signature is an encoding of its own.
TEST_F(Depth, OfDsaSignatures) {
  const DsaKey key = TestDsaKey("1024/160 sha1");
  TokenMaker maker = DsaTokenMaker(key);
  DsaPair pair;
  maker.signer().sign = [&](const Octets& hash) {
    pair = DsaSign(key, hash);
    return der::sequence(mark(), der::unsigned_integer(pair.s));
  };
  const Octets token = maker.encode();
  Readers readers = TokenReaders(maker.certificates[0], {});
  std::erase_if(readers, [](const Reader& reader) { return reader.name != "QEX_VerifyTST_Signature"; });
  ASSERT_EQ(readers[0](with_deep(token, der::unsigned_integer(pair.r))).code, QEX_OK);
  expect_strings_decode(readers, token, 0x02, 0x04, der::concat(Octets{0}, pair.r));
  for (const Lengths lengths : kBoth) {
    on_small_stack([&] {
      const Octets input = with_deep(token, same_tags(0x30, kLevels, lengths));
      EXPECT_EQ(readers[0](input).code, QEX_E_SIGNATURE);
    });
  }
}

TEST_F(Depth, OfAttributeCertificates) {
  const Readers readers = AttributeCertificateReaders();
  expect_nothing_else_decodes(readers);
  const Octets times[] = {der::generalized_time("20240101000000Z"), der::generalized_time("20250101000000Z")};
  const auto certificate = [&](const Octets& holder, const Octets& algorithm, const Octets& serial,
                               const Octets& from, const Octets& attribute, const Octets& signature) {
    return der::sequence(der::sequence(der::integer(1), holder, der::context(0), algorithm, serial,
                                       der::sequence(from, times[1]), der::sequence(attribute)),
                         der::algorithm(kSha256WithRsa), signature);
  };
  const Octets holder = der::sequence(), algorithm = der::algorithm(kSha256WithRsa), serial = der::integer(1),
               attribute = ByHand(MetricsAttribute()), signature = der::bit_string({1, 2});
  const Octets other_name = der::context(0, der::oid(kSelfContaining), der::context(0, mark()));
  const Octets name = der::context(4, DirectoryName({{kSelfContaining, mark()}}));
  for (const Octets& names : {other_name, name}) {
    expect_open_types_refused(readers, certificate(der::sequence(der::context(1, names)), algorithm, serial,
                                                   times[0], attribute, signature));
  }
  expect_open_types_refused(
      readers, certificate(holder, self_containing_algorithm(), serial, times[0], attribute, signature));
  expect_open_types_refused(readers, certificate(holder, algorithm, serial, times[0],
                                                 Attribute(kSelfContaining, {mark()}), signature));
  expect_strings_decode(readers, certificate(holder, algorithm, mark(), times[0], attribute, signature), 0x02,
                        0x04, {1});
  expect_strings_decode(readers, certificate(holder, algorithm, serial, mark(), attribute, signature), 0x18,
                        0x04, der::octets("20240101000000Z"));
  expect_strings_decode(readers, certificate(holder, algorithm, serial, times[0], attribute, mark()), 0x03,
                        0x03, {0x00, 1, 2});
  expect_other_tags_refused(
      readers, certificate(holder, algorithm, serial, times[0],
                           der::sequence(der::oid(kMetricsAttribute), der::set(mark())), signature));
}

// The certificate that is compared with the token is not decoded.
TEST_F(Depth, OfAnAttributeCertificateThatIsMatched) {
  const Octets token = TokenMaker().encode();
  for (const Lengths lengths : kBoth) {
    const Octets tac = NestedOpenTypes(kLevels, lengths);
    on_small_stack([&] {
      EXPECT_EQ(
          QEX_CheckTAC_MatchesTST(tac.data(), uint32_t(tac.size()), token.data(), uint32_t(token.size())),
          QEX_E_MISMATCH);
    });
  }
}

}  // namespace
}  // namespace qex::test
