// The rules that all decoders and encoders follow, each shown on a small type that it decides.
#include "asn1/codec.h"

#include <algorithm>

#include "asn1/cms.h"
#include "asn1/timestamp.h"
#include "asn1/x400.h"
#include "asn1/x509.h"
#include "asn1/x520.h"
#include "tests/asn1/samples.h"
#include "tests/support/codec.h"
#include "tests/support/codec_errors.h"
#include "tests/support/failing_alloc.h"

namespace qex::test {
namespace {

using namespace der;

// The fields of a request, all of them and the two mandatory ones.
const Octets kMandatory = concat(integer(1), sequence(sample::sha256(), octet_string(hex("0102"))));
const Octets kPolicy = oid("1.2.3.4");
const Octets kNonce = integer(5);
const Octets kCertReq = boolean(true);
const Octets kExtensionsField = context(0, sample::extension_list());
const Octets kAll = concat(kMandatory, kPolicy, kNonce, kCertReq, kExtensionsField);

AsnInt missing(const Type& t, size_t i) {
  return site_code(t, Site::Missing, i);
}
AsnInt length_code(const Type& t) {
  return site_code(t, Site::Length);
}

// --- SEQUENCE ------------------------------------------------------------------

TEST(SequenceCodec, EndsAfterItsLastMandatoryField) {
  Decoded v(TOP(TimeStampReq), sequence(kMandatory));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->reqPolicy.octs, nullptr);
  EXPECT_EQ(v->nonce.octs, nullptr);
  EXPECT_EQ(v->certReq, nullptr);
  EXPECT_EQ(v->extensions, nullptr);
}

TEST(SequenceCodec, EveryChoiceOfOptionalFieldsIsWrittenBack) {
  const Octets optional[] = {kPolicy, kNonce, kCertReq, kExtensionsField};
  for (unsigned chosen = 0; chosen < 16; ++chosen) {
    Octets fields = kMandatory;
    for (unsigned i = 0; i < 4; ++i) {
      if ((chosen >> i & 1) != 0) fields = concat(fields, optional[i]);
    }
    ExpectRoundTrip(TOP(TimeStampReq), sequence(fields));
  }
}

// An indefinite length may end wherever no mandatory field is left. A marker whose second octet is not zero
// has another code there than after the last field.
TEST(SequenceCodec, EndOfContentsIsTestedForAfterEachField) {
  Octets fields = kMandatory;
  for (const Octets& next : {kPolicy, kNonce, kCertReq, kExtensionsField}) {
    Decoded v(TOP(TimeStampReq), indefinite(0x30, fields));
    EXPECT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.used, fields.size() + 4);
    EXPECT_EQ(v.encoded(), sequence(fields));
    ExpectRefused(TOP(TimeStampReq), concat(hex("3080"), fields, hex("0001")), -28, kBadSecondOctet);
    ExpectRefused(TOP(TimeStampReq), concat(hex("3080"), fields, hex("00")), -28, kBadSecondOctet);
    fields = concat(fields, next);
  }
  Decoded v(TOP(TimeStampReq), indefinite(0x30, fields));
  EXPECT_EQ(v.outcome, kDecoded);
  for (const char* end : {"0001", "0100", "0101", "00", "", "0201"}) {
    ExpectRefused(TOP(TimeStampReq), concat(hex("3080"), fields, hex(end)), -16, kBadEoc);
  }
}

TEST(SequenceCodec, EndOfContentsAfterAMandatoryLastFieldIsMinus16) {
  const Octets fields = concat(sample::sha256(), octet_string(hex("0102")));
  Decoded v(NESTED(MessageImprint), indefinite(0x30, fields));
  EXPECT_EQ(v.outcome, kDecoded);
  for (const char* end : {"0001", "0100", "00"}) {
    ExpectRefused(NESTED(MessageImprint), concat(hex("3080"), fields, hex(end)), -16, kBadEoc);
  }
}

// The marker is not a field: where a mandatory one is due, a zero tag is just another tag.
TEST(SequenceCodec, EndOfContentsBeforeAMandatoryFieldIsItsAbsence) {
  ExpectRefused(TOP(TimeStampReq), hex("30800000"), -641);
  ExpectRefused(TOP(TimeStampReq), indefinite(0x30, integer(1)), -642);
}

TEST(SequenceCodec, AZeroTagInADefiniteLengthIsATrailingTag) {
  ExpectRefused(TOP(TimeStampReq), sequence(kMandatory, hex("0000")), -644);
}

TEST(SequenceCodec, ContentsLongerOrShorterThanTheLengthAreRefused) {
  ExpectRefused(TOP(TimeStampReq), sequence(kAll, hex("00")), -643);
  ExpectRefused(TOP(TimeStampReq), concat(sequence(kAll), hex("00")), 0);  // after the value
  const Octets shorter = with_length(0x30, uint8_t(kAll.size() - 1), kAll);
  ExpectRefused(TOP(TimeStampReq), shorter, -643);
  ExpectRefused(NESTED(MessageImprint), sequence(sample::sha256(), octet_string({}), null()),
                length_code(kMessageImprint));
  ExpectRefused(NESTED(MessageImprint), with_length(0x30, 1, sample::sha256(), octet_string({})),
                length_code(kMessageImprint));
}

TEST(SequenceCodec, FieldsOutOfOrderAreTrailing) {
  ExpectRefused(TOP(TimeStampReq), sequence(kMandatory, kNonce, kPolicy), -644);
  ExpectRefused(TOP(TimeStampReq), sequence(kMandatory, kPolicy, kPolicy), -644);
}

TEST(SequenceCodec, AnAbsentOptionalFieldLeavesItsTagToTheNextField) {
  // seconds absent, millis absent, micros 7; then millis alone
  Decoded v(NESTED(Accuracy), hex("3003810107"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->seconds, nullptr);
  EXPECT_EQ(v->millis, nullptr);
  ASSERT_NE(v->micros, nullptr);
  EXPECT_EQ(*v->micros, 7);
}

TEST(SequenceCodec, InputThatEndsInsideAFieldHasTheCodeOfTheReader) {
  ExpectRefused(TOP(TimeStampReq), hex(""), -26, "BDecTag: ERROR - decoded past the end of data\n");
  ExpectRefused(TOP(TimeStampReq), hex("30"), -13, "BDecLen: ERROR - decoded past end of data\n");
  ExpectRefused(TOP(TimeStampReq), hex("3082"), -15, "BDecLen: ERROR - decoded past end of data\n");
  ExpectRefused(TOP(TimeStampReq), hex("3085"), -14, "BDecLen: ERROR - length overflow\n");
  ExpectRefused(TOP(TimeStampReq), hex("3003"), -26, "BDecTag: ERROR - decoded past the end of data\n");
  ExpectRefused(TOP(TimeStampReq), hex("30030201"), -8,
                "BDecAsnIntContent: ERROR - decoded past end of data \n");
}

TEST(SequenceCodec, PresentDefaultsAreWrittenBack) {
  ExpectRoundTrip(TOP(TimeStampReq), sequence(kMandatory, boolean(false)));
  ExpectRoundTrip(NESTED(Extension), sample::extension("2.5.29.19", boolean(false), hex("3000")));
}

// An inline value of no octets is present, not absent.
TEST(SequenceCodec, PresentValuesOfNoOctetsAreWrittenBack) {
  Decoded v(TOP(TimeStampReq), sequence(kMandatory, hex("0600"), hex("0200")));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_NE(v->reqPolicy.octs, nullptr);
  EXPECT_NE(v->nonce.octs, nullptr);
  EXPECT_EQ(v->reqPolicy.count, 0u);
  EXPECT_EQ(v->nonce.count, 0u);
  EXPECT_EQ(v.encoded(), sequence(kMandatory, hex("0600"), hex("0200")));

  ExpectWrittenBack(NESTED(PKIStatusInfo), sequence(integer(0), hex("030100")));
  ExpectWrittenBack(NESTED(EncapsulatedContentInfo), sequence(kPolicy, hex("a0020400")));
  ExpectWrittenBack(NESTED(BuiltInStandardAttributes), hex("3008 8000 8100 8300 8400"));
}

// --- Explicit tags --------------------------------------------------------------

TEST(ExplicitTag, AnotherInnerTagHasACodeOfItsOwn) {
  ExpectRefused(NESTED(EncapsulatedContentInfo), sequence(kPolicy, context(0, integer(1))),
                site_code(kEncapsulatedContentInfo, Site::InnerTag, 1));
}

TEST(ExplicitTag, TheInnerStringMayBeConstructed) {
  Decoded v(NESTED(EncapsulatedContentInfo),
            sequence(kPolicy, context(0, element(0x24, octet_string(hex("61")), octet_string(hex("6263"))))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(v->eContent), "abc");
}

TEST(ExplicitTag, AnIndefiniteOuterLengthEndsAfterTheInnerValue) {
  Decoded v(NESTED(EncapsulatedContentInfo), sequence(kPolicy, indefinite(0xA0, octet_string(hex("61")))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), sequence(kPolicy, context(0, octet_string(hex("61")))));
  for (const char* end : {"0001", "0100"}) {
    ExpectRefused(NESTED(EncapsulatedContentInfo), sequence(kPolicy, hex("a080"), octet_string({}), hex(end)),
                  -16, kBadEoc);
  }
}

// The lengths around it decide, not the outer one.
TEST(ExplicitTag, ADefiniteOuterLengthIsNotCompared) {
  for (const uint8_t outer : {uint8_t{0}, uint8_t{2}, uint8_t{9}}) {
    Decoded v(NESTED(EncapsulatedContentInfo),
              sequence(kPolicy, Octets{0xA0, outer}, octet_string(hex("61"))));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v.encoded(), sequence(kPolicy, context(0, octet_string(hex("61")))));
  }
}

// --- CHOICE -----------------------------------------------------------------------

TEST(ChoiceCodec, ATagOfNoAlternativeIsRefused) {
  constexpr const char* kText = "ERROR - unexpected tag in CHOICE\n";
  ExpectRefused(NESTED(GeneralName), hex("8900"), site_code(kGeneralName, Site::Unexpected), kText);
  ExpectRefused(TOP(DirectoryString), hex("1600"), site_code(kDirectoryString, Site::Unexpected), kText);
  ExpectRefused(NESTED(Time), hex("1600"), site_code(kTime, Site::Unexpected), kText);
}

// In a SEQUENCE an untagged CHOICE is recognised by the tags of its alternatives: any other tag is a missing
// field, not an unexpected alternative.
TEST(ChoiceCodec, InASequenceItIsKnownByItsAlternatives) {
  const Octets time = utc_time("260101000000Z");
  ExpectRefused(NESTED(Validity), sequence(integer(1), time), missing(kValidity, 0));
  ExpectRefused(NESTED(Validity), sequence(time, integer(1)), missing(kValidity, 1));
}

// --- SET ----------------------------------------------------------------------------

TEST(SetCodec, FieldsComeInAnyOrderAndAreWrittenInTheirOwn) {
  const Octets fields[] = {hex("800161"), hex("810162"), hex("820163"), hex("830164")};
  const Octets ordered = set(fields[0], fields[1], fields[2], fields[3]);
  int order[] = {0, 1, 2, 3};
  do {
    Octets content;
    for (const int i : order) content = concat(content, fields[i]);
    for (const Octets& in : {set(content), indefinite(0x31, content)}) {
      Decoded v(NESTED(PersonalName), in);
      ASSERT_EQ(v.outcome, kDecoded);
      EXPECT_EQ(v.encoded(), ordered);
    }
  } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST(SetCodec, OfARepeatedFieldTheLastOneStays) {
  Decoded v(NESTED(PersonalName), set(hex("800161"), hex("810162"), hex("80026364"), hex("810165")));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), set(hex("80026364"), hex("810165")));
}

TEST(SetCodec, AMissingMandatoryFieldIsReported) {
  constexpr const char* kText = "BDecPersonalNameContent: ERROR - non-optional elmt missing from SET\n";
  ExpectRefused(NESTED(PersonalName), set(), missing(kPersonalName, 0), kText);
  ExpectRefused(NESTED(PersonalName), set(hex("810162"), hex("820163")), missing(kPersonalName, 0), kText);
  ExpectRefused(NESTED(PersonalName), indefinite(0x31, hex("810162")), missing(kPersonalName, 0), kText);
}

// The model has no SET with a mandatory field after its first one, so this test declares one.
TEST(SetCodec, EachOfSeveralMandatoryFieldsIsLookedFor) {
  struct Record {
    AsnInt number;
    AsnBool truth;
  };
  Field fields[] = {must(FIELD(Record, number), kAsnInt), must(FIELD(Record, truth), kAsnBool)};
  fields[0].missingCode = -1001;
  fields[1].missingCode = -1002;
  Type type{};
  type.name = "Record";
  type.kind = Kind::Set;
  type.size = sizeof(Record);
  type.tag = 0x31000000;
  type.fields = fields;
  const auto code_of = [&](const Octets& octets) {
    Input input(octets);
    Record record{};
    AsnLen bytes = 0;
    return OutcomeOf([&](AsnJmpEnv& env) { DecodeFull(type, input.handle(), &record, &bytes, env); }).code;
  };
  EXPECT_EQ(code_of(set(boolean(true), integer(1))), 0);
  EXPECT_EQ(code_of(set(boolean(true))), -1001);
  EXPECT_EQ(code_of(set(integer(1))), -1002);
}

TEST(SetCodec, AnUnexpectedTagIsReported) {
  constexpr const char* kText = "BDecPersonalNameContent: ERROR - Unexpected tag in SET\n";
  const AsnInt code = site_code(kPersonalName, Site::Unexpected);
  ExpectRefused(NESTED(PersonalName), set(hex("800161"), hex("840162")), code, kText);
  ExpectRefused(NESTED(PersonalName), set(hex("800161"), hex("0000")), code, kText);
}

TEST(SetCodec, LengthAndEndAreTested) {
  ExpectRefused(NESTED(PersonalName), concat(hex("3180"), hex("800161"), hex("0001")), -28, kBadSecondOctet);
  ExpectRefused(NESTED(PersonalName), with_length(0x31, 4, hex("a00104 0161")), length_code(kPersonalName));
  // A primitive string that runs past the SET.
  ExpectRefused(NESTED(PersonalName), with_length(0x31, 3, hex("80026162")), length_code(kPersonalName));
}

// --- SEQUENCE OF and SET OF ------------------------------------------------------------

TEST(ListCodec, ElementsKeepTheirOrder) {
  const Octets list = sequence(integer(3), integer(1), integer(2));
  Decoded v(TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod), list);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->count, 3);
  EXPECT_EQ(*At<AsnInt>(&v.value, 0), 3);
  EXPECT_EQ(*At<AsnInt>(&v.value, 1), 1);
  EXPECT_EQ(*At<AsnInt>(&v.value, 2), 2);
  EXPECT_EQ(v.encoded(), list);
}

// DER would sort them.
TEST(ListCodec, ElementsOfASetOfAreNotSorted) {
  ExpectRoundTrip(NESTED(ProtocolProfiles), set(oid("2.5.4.9"), oid("1.2.3"), oid("1.2.840.1")));
}

TEST(ListCodec, MayBeEmpty) {
  for (const char* empty : {"3000", "30800000"}) {
    Decoded v(NESTED(Extensions), hex(empty));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->count, 0);
    EXPECT_EQ(v.encoded(), hex("3000"));
  }
  // An empty list is present where it is OPTIONAL.
  ExpectRoundTrip(TOP(TimeStampReq), sequence(kMandatory, hex("a000")));
}

TEST(ListCodec, AnotherTagIsUnexpected) {
  constexpr const char* kText = "Unexpected Tag\n";
  const auto& delivery = kX520PreferredDeliveryMethod;
  const auto routines = TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod);
  ExpectRefused(routines, sequence(integer(1), null()), site_code(delivery, Site::Unexpected), kText);
  ExpectRefused(routines, sequence(integer(1), hex("0000")), site_code(delivery, Site::Unexpected), kText);
  ExpectRefused(routines, indefinite(0x30, integer(1), null()), site_code(delivery, Site::Unexpected), kText);
  // A list of CHOICE values reports as a list.
  ExpectRefused(NESTED(GeneralNames), sequence(hex("8900")), site_code(kGeneralNames, Site::Unexpected),
                kText);
}

TEST(ListCodec, IndefiniteLengthsEndWithTwoZeros) {
  const auto routines = TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod);
  Decoded v(routines, indefinite(0x30, integer(1), integer(2)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.used, 10u);
  ExpectRefused(routines, concat(hex("3080"), integer(1), hex("0001")), -28, kBadSecondOctet);
  ExpectRefused(routines, concat(hex("3080"), integer(1), hex("00")), -28, kBadSecondOctet);
  ExpectRefused(routines, concat(hex("3080"), integer(1)), -26,
                "BDecTag: ERROR - decoded past the end of data\n");
}

// One marker closes one value: an indefinite element reads its own, the list reads none after it.
TEST(ListCodec, AnIndefiniteElementIsClosedOnce) {
  const Octets fields = concat(oid("2.5.29.19"), octet_string(hex("3000")));
  Decoded v(NESTED(Extensions), indefinite(0x30, indefinite(0x30, fields), indefinite(0x30, fields)));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), sequence(sequence(fields), sequence(fields)));
}

TEST(ListCodec, AnElementOfWrongLengthIsRefused) {
  // UTF8String in constructed form: one octet announced, three taken up by its part
  ExpectRefused(NESTED(PKIFreeText), sequence(hex("2c01 040161")), length_code(kPKIFreeText));
  // directoryName [4] EXPLICIT whose outer length is not that of the Name in it
  ExpectRefused(NESTED(GeneralNames), sequence(hex("a401 3000")), length_code(kGeneralNames));
}

// An element that runs past the list is left to the lengths around it.
TEST(ListCodec, AnElementMayRunPastTheListItself) {
  const auto routines = TOP_AS(X520PreferredDeliveryMethod, X520PreferredDeliveryMethod);
  Decoded v(routines, with_length(0x30, 1, integer(1)));
  EXPECT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.used, 5u);
  ExpectRefused(NESTED(PKIStatusInfo),
                sequence(integer(0), with_length(0x30, 1, utf8_string("ab")), hex("0302")), -4,
                "BDecAsnBitsContent: ERROR - decoded past end of data\n");
}

// --- Open types ----------------------------------------------------------------------------

TEST(OpenType, AnUnknownIdentifierIsRefused) {
  ExpectRefused(NESTED(AlgorithmIdentifier), algorithm("1.2.840.10045.2.1", oid("1.2.840.10045.3.1.7")), -44,
                kNoDecoder);
  ExpectRefused(NESTED(AttributeTypeAndValue), sequence(oid("2.5.4.4"), printable_string("x")), -44,
                kNoDecoder);
  ExpectRefused(TOP(ContentInfo), sequence(oid("1.2.840.113549.1.7.3"), context(0, sequence())), -44,
                kNoDecoder);
}

TEST(OpenType, AnAbsentOneIsNotLookedUp) {
  ExpectRoundTrip(NESTED(AlgorithmIdentifier), algorithm("1.2.840.10045.4.3.2"));
  ExpectRoundTrip(TOP(ContentInfo), sequence(oid("1.2.840.113549.1.7.3")));
}

TEST(OpenType, AnAbsentOneIsNull) {
  Decoded v(NESTED(AlgorithmIdentifier), algorithm(sample::kSha256));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->parameters.value, nullptr);
  Decoded w(NESTED(AlgorithmIdentifier), algorithm(sample::kSha256, null()));
  ASSERT_EQ(w.outcome, kDecoded);
  EXPECT_NE(w->parameters.value, nullptr);
  EXPECT_EQ(RowOf(w->parameters), 1);
}

TEST(OpenType, AnotherTypeThanTheRegisteredOneIsAWrongTag) {
  ExpectRefused(NESTED(AlgorithmIdentifier), algorithm(sample::kSha256, integer(1)), -40,
                "BDecAsnNull: ERROR wrong tag on NULL.\n");
  ExpectRefused(NESTED(AlgorithmIdentifier), algorithm(sample::kSha256, hex("050100")), -17,
                "BDecAsnNullContent: ERROR - NULL type's len must be 0\n");
}

// The registered decoder reads the tag itself, so the end is looked for before it is called.
TEST(OpenType, TheEndOfAnIndefiniteValueIsSeenBeforeTheLastField) {
  const Octets id = oid(sample::kSha256);
  const Octets open = hex("3080");
  Decoded v(NESTED(AlgorithmIdentifier), indefinite(0x30, id));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->parameters.value, nullptr);
  EXPECT_EQ(v.used, id.size() + 4);
  Decoded w(NESTED(AlgorithmIdentifier), indefinite(0x30, id, null()));
  EXPECT_EQ(w.outcome, kDecoded);
  ExpectRefused(NESTED(AlgorithmIdentifier), concat(open, id, hex("0001")), -28, kBadSecondOctet);
  ExpectRefused(NESTED(AlgorithmIdentifier), concat(open, id, hex("00")), -28, kBadSecondOctet);
  ExpectRefused(NESTED(AlgorithmIdentifier), concat(open, id, null(), hex("0001")), -16, kBadEoc);
  ExpectRefused(NESTED(AlgorithmIdentifier), concat(open, id), -26,
                "BDecTag: ERROR - decoded past the end of data\n");
}

TEST(OpenType, TheEndOfAnIndefiniteListIsSeenBeforeEachElement) {
  const Octets type = oid("1.2.840.113549.1.9.3"), value = oid("1.2.3");
  for (const size_t n : {0u, 1u, 3u}) {
    Octets values;
    for (size_t i = 0; i < n; ++i) values = concat(values, value);
    Decoded v(NESTED(Attribute), indefinite(0x30, type, indefinite(0x31, values)));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(v->values->count, int32_t(n));
    EXPECT_EQ(v.encoded(), sequence(type, set(values)));
  }
  ExpectRefused(NESTED(Attribute), concat(hex("3080"), type, hex("3180"), value, hex("0001")), -28,
                kBadSecondOctet);
  ExpectRefused(NESTED(Attribute), concat(hex("3080"), type, hex("3180"), value), -26,
                "BDecTag: ERROR - decoded past the end of data\n");
}

TEST(OpenType, InAnExplicitTagAnIndefiniteLengthEndsAfterTheValue) {
  const Octets id = oid(sample::kData);
  Decoded v(TOP(ContentInfo), sequence(id, indefinite(0xA0, octet_string(hex("61")))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(RowOf(v->content), 20);
  ExpectRefused(TOP(ContentInfo), sequence(id, hex("a080"), octet_string({}), hex("0001")), -16, kBadEoc);
}

// --- Memory --------------------------------------------------------------------------------

// An announced length is compared with the remaining data, not believed.
TEST(CodecMemory, NothingIsAllocatedOnTheWordOfALength) {
  const Octets id = oid(sample::kData);
  const struct {
    const char* octets;
    Outcome outcome;
  } cases[] = {
      {"04847fffffff61", {-20, "BDecOctetString: ERROR - decoded past end of data\n"}},
      {"0484fffffffe61", {-20, "BDecOctetString: ERROR - decoded past end of data\n"}},
      {"248400ffffff04847fffffff61",
       {-18, "BDecConsOctetString: ERROR - attempt to decode past end of data\n"}},
  };
  for (const auto& c : cases) {
    ForgetRequests();
    Decoded v(TOP(ContentInfo), sequence(id, context(0, hex(c.octets))));
    EXPECT_EQ(v.outcome, c.outcome);
    EXPECT_LT(LargestRequest(), 8192u);
  }
}

// Whichever allocation fails, the decoder raises -27 without a text, and everything allocated so far is
// released with the value.
TEST(CodecMemory, EveryFailingAllocationRaisesMinus27) {
  ASSERT_TRUE(RegisterOpenTypes());
  const Octets in = sample::token_with_certificates();
  bool decoded = false;
  for (size_t allowed = 0; !decoded; ++allowed) {
    ASSERT_LT(allowed, 1000u);
    Input input(in);
    ContentInfo value{};
    AsnLen bytes = 0;
    const long before = LiveBlocks();
    size_t refused = 0;
    const Outcome outcome = OutcomeOf([&](AsnJmpEnv& env) {
      FailingAlloc failing(allowed);
      try {
        BDecContentInfo(input.handle(), &value, &bytes, env);
      } catch (...) {
        refused = failing.refused();
        throw;
      }
    });
    FreeContentInfo(&value);
    EXPECT_EQ(LiveBlocks(), before);
    decoded = outcome == kDecoded;
    if (!decoded) {
      EXPECT_EQ(outcome, (Outcome{-27, ""})) << allowed;
      EXPECT_GE(refused, 1u);
    }
  }
}

// An encoder whose allocation fails marks the chain and still counts the octets that it would have written.
TEST(CodecMemory, AnEncoderWithoutMemoryMarksTheChain) {
  const Octets in = sample::token_with_certificates();
  Decoded v(TOP(ContentInfo), in);
  ASSERT_EQ(v.outcome, kDecoded);
  const BlockSize small(16);
  ExpBufHolder chain;
  AsnLen n = 0;
  {
    FailingAlloc failing(4);
    n = BEncContentInfo(chain.handle(), &v.value);
  }
  EXPECT_TRUE(chain.failed());
  EXPECT_EQ(n, in.size());
}

TEST(CodecMemory, FreeToleratesARecordWithNothingInIt) {
  ContentInfo content{};
  FreeContentInfo(&content);
  FreeContentInfo(nullptr);
  TimeStampReq request{};
  FreeTimeStampReq(&request);
  GeneralName name{};
  FreeGeneralName(&name);
  AsnList list{};
  FreeExtensions(&list);
}

TEST(CodecMemory, AnEmptyChoiceEncodesToNothing) {
  GeneralName name{};
  EXPECT_TRUE(Encoded([&](ExpBuf** b) { return BEncGeneralName(b, &name); }).empty());
}

}  // namespace
}  // namespace qex::test
