// The routines of the primitive types as descriptors hold them.
#include "asn1/schema.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

// What an encoder says of an inline OPTIONAL value: without octets it is absent, and only then.
TEST(PrimitiveCodecs, AValueOfOctetsIsAbsentWithoutThem) {
  uint8_t octet = 0;
  const AsnOcts octets{0, &octet};  // empty and present
  const AsnBits bits{0, &octet};
  const AsnOid oid{0, &octet};
  EXPECT_FALSE(kOctsCodec.absent(&octets));
  EXPECT_FALSE(kBitsCodec.absent(&bits));
  EXPECT_FALSE(kOidCodec.absent(&oid));
  const AsnOcts noOctets{};
  const AsnBits noBits{};
  const AsnOid noOid{};
  EXPECT_TRUE(kOctsCodec.absent(&noOctets));
  EXPECT_TRUE(kBitsCodec.absent(&noBits));
  EXPECT_TRUE(kOidCodec.absent(&noOid));
}

TEST(PrimitiveCodecs, AValueWithoutOctetsOfItsOwnIsNeverAbsentAndNeverReleased) {
  const AsnInt number = 0;
  const AsnBool truth = 0;
  const AsnNull null{};
  EXPECT_FALSE(kIntCodec.absent(&number));
  EXPECT_FALSE(kBoolCodec.absent(&truth));
  EXPECT_FALSE(kNullCodec.absent(&null));
  for (const Codec* codec : {&kIntCodec, &kBoolCodec, &kNullCodec}) EXPECT_EQ(codec->free, nullptr);
}

struct CodecRow {
  const char* name;
  const Codec* codec;
  AsnTag tag;
  size_t size;           // of the record
  const char* contents;  // in hexadecimal
  const char* printed;   // as the print routine of the type shows it
};

// Contents octets of X.690, 8.2 (BOOLEAN), 8.3, 8.6, 8.7, 8.8 and 8.19.
const CodecRow kRows[] = {
    {"INTEGER", &kIntCodec, 0x02000000, sizeof(AsnInt), "ff7f", "-129"},
    {"BOOLEAN", &kBoolCodec, 0x01000000, sizeof(AsnBool), "ff", "TRUE"},
    {"NULL", &kNullCodec, 0x05000000, sizeof(AsnNull), "", "NULL"},
    {"OCTET STRING", &kOctsCodec, 0x04000000, sizeof(AsnOcts), "0102fe", nullptr},
    {"BIT STRING", &kBitsCodec, 0x03000000, sizeof(AsnBits), "04f0", nullptr},
    {"OBJECT IDENTIFIER", &kOidCodec, 0x06000000, sizeof(AsnOid), "2a0304", nullptr},
};

TEST(PrimitiveCodecs, EachTypeIsDecodedWrittenBackAndReleased) {
  for (const CodecRow& row : kRows) {
    SCOPED_TRACE(row.name);
    const Octets contents = FromHex(row.contents);
    alignas(std::max_align_t) uint8_t record[sizeof(AsnOcts) + sizeof(AsnBits)] = {};
    ASSERT_LE(row.size, sizeof record);
    AsnLen used = 0;
    Input input(std::vector<Octets>{contents});
    const Outcome outcome = OutcomeOf([&](AsnJmpEnv& env) {
      row.codec->decode(input.handle(), row.tag, AsnLen(contents.size()), record, &used, env);
    });
    ASSERT_EQ(outcome, kDecoded);
    EXPECT_EQ(used, contents.size());
    AsnLen written = 0;
    EXPECT_EQ(ToHex(Encoded([&](ExpBuf** b) { return row.codec->encode(b, record); }, &written)),
              row.contents);
    EXPECT_EQ(written, contents.size());
    if (row.printed != nullptr) {
      EXPECT_EQ(Printed([&](FILE* f) { row.codec->print(f, record, 0); }), row.printed);
    }
    if (row.codec->free != nullptr) {
      row.codec->free(record);
      EXPECT_TRUE(row.codec->absent(record)) << "released octets leave a pointer";
    }
  }
}

}  // namespace
}  // namespace qex::test
