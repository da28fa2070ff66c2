// The messages of the Time-Stamp Protocol (RFC 3161 section 2.4).
#include "asn1/timestamp.h"

#include "tests/asn1/samples.h"
#include "tests/support/codec.h"

namespace qex::test {
namespace {

using namespace der;

const Octets kImprint = sequence(sample::sha256(), octet_string(hex("00112233445566778899aabbccddeeff")));

// --- TimeStampReq ------------------------------------------------------------------

TEST(TimeStampReq, AllFieldsAreFoundUnderTheirTags) {
  const Octets whole =
      hex("304d"
          "020101"                                 // version
          "302f 300b 0609608648016503040201 0420"  // messageImprint, SHA-256
          "000102030405060708090a0b0c0d0e0f 101112131415161718191a1b1c1d1e1f"
          "06032a0304"                        // reqPolicy 1.2.3.4
          "0202ff7f"                          // nonce
          "0101ff"                            // certReq
          "a00b 3009 0603551d25 0402 3000");  // extensions
  Decoded v(TOP(TimeStampReq), whole);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.used, whole.size());
  EXPECT_EQ(v->version, 1);
  EXPECT_EQ(ToHex(v->messageImprint->hashAlgorithm->algorithm), "608648016503040201");
  EXPECT_EQ(v->messageImprint->hashAlgorithm->parameters.value, nullptr);
  EXPECT_EQ(ToHex(v->messageImprint->hashedMessage),
            "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
  EXPECT_EQ(ToHex(v->reqPolicy), "2a0304");
  EXPECT_EQ(ToHex(v->nonce), "ff7f");
  ASSERT_NE(v->certReq, nullptr);
  EXPECT_EQ(*v->certReq, 1);
  ASSERT_EQ(v->extensions->count, 1);
  EXPECT_EQ(ToHex(At<Extension>(v->extensions, 0)->extnID), "551d25");
  EXPECT_EQ(ToHex(v.encoded()), ToHex(whole));
  ExpectRoundTrip(TOP(TimeStampReq), whole);
}

TEST(TimeStampReq, OnlyTheMandatoryFields) {
  const Octets request = sequence(integer(1), kImprint);
  Decoded v(TOP(TimeStampReq), request);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->reqPolicy.count, 0u);
  EXPECT_EQ(v->nonce.count, 0u);
  EXPECT_EQ(v->certReq, nullptr);
  EXPECT_EQ(v->extensions, nullptr);
  ExpectRoundTrip(TOP(TimeStampReq), request);
}

TEST(TimeStampReq, ANonceOfTwentyOctetsIsKept) {
  const Octets nonce = hex("7f0102030405060708090a0b0c0d0e0f10111213");
  const Octets request = sequence(integer(1), kImprint, big_integer(nonce));
  Decoded v(TOP(TimeStampReq), request);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->nonce), ToHex(nonce));
  ExpectRoundTrip(TOP(TimeStampReq), request);
}

// Parts of a constructed INTEGER are OCTET STRINGs. It is written back in the primitive form.
TEST(TimeStampReq, AConstructedNonceIsAccepted) {
  const Octets parts = concat(octet_string(hex("0102")), octet_string(hex("030405060708090a")));
  for (const Octets& nonce : {element(0x22, parts), indefinite(0x22, parts)}) {
    Decoded v(TOP(TimeStampReq), sequence(integer(1), kImprint, nonce));
    ASSERT_EQ(v.outcome, kDecoded);
    EXPECT_EQ(ToHex(v->nonce), "0102030405060708090a");
    EXPECT_EQ(v.encoded(), sequence(integer(1), kImprint, big_integer(hex("0102030405060708090a"))));
  }
}

TEST(TimeStampReq, CertReqFalseIsWrittenBack) {
  ExpectRoundTrip(TOP(TimeStampReq), sequence(integer(1), kImprint, boolean(false)));
}

// Any octet but zero is TRUE, and TRUE is written as 0xFF.
TEST(TimeStampReq, CertReqIsNormalised) {
  Decoded v(TOP(TimeStampReq), sequence(integer(1), kImprint, hex("010101")));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(*v->certReq, 1);
  EXPECT_EQ(v.encoded(), sequence(integer(1), kImprint, boolean(true)));
}

TEST(TimeStampReq, ValuesAreNotJudged) {
  ExpectRoundTrip(TOP(TimeStampReq), sequence(integer(-7), kImprint));
  ExpectRoundTrip(TOP(TimeStampReq), sequence(integer(2147483647), kImprint));
}

TEST(TimeStampReq, FailuresHaveTheirCodes) {
  const Octets fields = concat(integer(1), kImprint);
  const struct {
    const char* what;
    Octets octets;
    Outcome outcome;
  } cases[] = {
      {"wrong outer tag", set(fields), {-640, "BDecTimeStampReq: ERROR - wrong tag\n"}},
      {"no version", sequence(kImprint), {-641, ""}},
      {"no messageImprint", sequence(integer(1), oid("1.2.3")), {-642, ""}},
      {"an octet too many", sequence(fields, context(0), hex("00")), {-643, ""}},
      {"a tag that fits nothing", sequence(fields, context(1)), {-644, ""}},
      {"the same after optional fields", sequence(fields, integer(5), null()), {-644, ""}},
      {"version too big",
       sequence(hex("02050100000000"), kImprint),
       {-7, "BDecAsnIntContent: ERROR - integer to big to decode.\n"}},
      {"certReq of two octets",
       sequence(fields, hex("0102ffff")),
       {-5, "BDecAsnBoolContent: ERROR - BOOLEAN length must be 1\n"}},
      {"an extension that is none",
       sequence(fields, context(0, null())),
       {site_code(kExtensions, Site::Unexpected), "Unexpected Tag\n"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Decoded v(TOP(TimeStampReq), c.octets);
    EXPECT_EQ(v.outcome, c.outcome);
  }
}

TEST(MessageImprint, RoundTrip) {
  ExpectRoundTrip(NESTED(MessageImprint), kImprint);
  ExpectRoundTrip(NESTED(MessageImprint), sequence(algorithm("1.3.14.3.2.26"), octet_string({})));
}

// --- TimeStampResp --------------------------------------------------------------------

TEST(TimeStampResp, AStatusAlone) {
  const Octets response = hex("3005 3003 020102");
  Decoded v(TOP(TimeStampResp), response);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->status->status, 2);
  EXPECT_EQ(v->status->statusString, nullptr);
  EXPECT_EQ(v->status->failInfo.octs, nullptr);
  EXPECT_EQ(v->timeStampToken, nullptr);
  ExpectRoundTrip(TOP(TimeStampResp), response);
}

TEST(TimeStampResp, StatusTextsAndFailureBits) {
  const Octets response = hex("3016 3014 020102 300a 0c03626164 0c03c3a921 0303 07 0280");
  Decoded v(TOP(TimeStampResp), response);
  ASSERT_EQ(v.outcome, kDecoded);
  ASSERT_EQ(v->status->statusString->count, 2);
  EXPECT_EQ(TextOf(*At<AsnOcts>(v->status->statusString, 0)), "bad");
  EXPECT_EQ(TextOf(*At<AsnOcts>(v->status->statusString, 1)), "\xC3\xA9!");
  EXPECT_EQ(v->status->failInfo.count, 9u);
  EXPECT_EQ(ToHex(v->status->failInfo.octs, 2), "0280");
  ExpectRoundTrip(TOP(TimeStampResp), response);
}

TEST(TimeStampResp, ATokenFollowsTheStatus) {
  const Octets response = sequence(sequence(integer(0)), sample::token(sample::signed_data()));
  Decoded v(TOP(TimeStampResp), response);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(RowOf(v->timeStampToken->content), 65);
  ExpectRoundTrip(TOP(TimeStampResp), response);
}

TEST(TimeStampResp, Failures) {
  ExpectWrongTag(TOP(TimeStampResp), "BDecTimeStampResp: ERROR - wrong tag\n");
  ExpectRefused(TOP(TimeStampResp), sequence(integer(0)), site_code(kTimeStampResp, Site::Missing, 0));
  ExpectRefused(TOP(TimeStampResp), sequence(sequence(integer(0)), integer(0)),
                site_code(kTimeStampResp, Site::Trailing));
  ExpectRefused(TOP(TimeStampResp),
                sequence(sequence(integer(0)), sample::token(sample::signed_data()), hex("00")),
                site_code(kTimeStampResp, Site::Length));
}

TEST(PKIStatusInfo, StatusStringsAreUtf8Strings) {
  ExpectRefused(NESTED(PKIStatusInfo), sequence(integer(2), sequence(printable_string("no"))),
                site_code(kPKIFreeText, Site::Unexpected), "Unexpected Tag\n");
  Decoded v(NESTED(PKIStatusInfo),
            sequence(integer(2), sequence(element(0x2C, octet_string(hex("61")), octet_string(hex("62"))))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(TextOf(*At<AsnOcts>(v->statusString, 0)), "ab");
}

TEST(PKIStatusInfo, AConstructedFailInfoIsAccepted) {
  Decoded v(NESTED(PKIStatusInfo),
            sequence(integer(2), element(0x23, bit_string(hex("80")), bit_string(hex("01")))));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->failInfo.count, 16u);
  EXPECT_EQ(v.encoded(), sequence(integer(2), bit_string(hex("8001"))));
}

// --- TSTInfo --------------------------------------------------------------------------------

const Octets kGenTime = generalized_time("20260705123456.789Z");
const Octets kTstMandatory = concat(integer(1), oid("1.2.3.4.1"), kImprint, integer(42), kGenTime);

TEST(TSTInfo, AllFieldsAreFoundUnderTheirTags) {
  const Octets info =
      sequence(kTstMandatory, hex("300a 020101 80020102 810103"), boolean(true), integer(99),
               hex("a010 a40e 300c 310a 3008 0603550403 130178"),  // tsa [0], directoryName [4], CN=x
               context(1, sample::extension_list()));
  Decoded v(TOP(TSTInfo), info);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->version, 1);
  EXPECT_EQ(ToHex(v->policy), "2a030401");
  EXPECT_EQ(v->messageImprint->hashedMessage.count, 16u);
  EXPECT_EQ(ToHex(v->serialNumber), "2a");
  EXPECT_EQ(TextOf(v->genTime), "20260705123456.789Z");
  EXPECT_EQ(*v->accuracy->seconds, 1);
  EXPECT_EQ(*v->accuracy->millis, 258);
  EXPECT_EQ(*v->accuracy->micros, 3);
  EXPECT_EQ(*v->ordering, 1);
  EXPECT_EQ(ToHex(v->nonce), "63");
  ASSERT_EQ(v->tsa->choice, GeneralName::kDirectoryName);
  const auto* rdn = At<AsnList>(v->tsa->directoryName->rdnSequence, 0);
  const auto* cn = At<AttributeTypeAndValue>(rdn, 0);
  EXPECT_EQ(ToHex(cn->type), "550403");
  EXPECT_EQ(RowOf(cn->value), 41);
  EXPECT_EQ(v->extensions->count, 2);
  ExpectRoundTrip(TOP(TSTInfo), info);
}

TEST(TSTInfo, OnlyTheMandatoryFields) {
  Decoded v(TOP(TSTInfo), sequence(kTstMandatory));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->accuracy, nullptr);
  EXPECT_EQ(v->ordering, nullptr);
  EXPECT_EQ(v->nonce.octs, nullptr);
  EXPECT_EQ(v->tsa, nullptr);
  EXPECT_EQ(v->extensions, nullptr);
  ExpectRoundTrip(TOP(TSTInfo), sequence(kTstMandatory));
}

TEST(TSTInfo, EveryChoiceOfOptionalFieldsIsWrittenBack) {
  const Octets optional[] = {hex("3000"), boolean(false), integer(99), context(0, hex("820161")), context(1)};
  for (unsigned chosen = 0; chosen < 32; ++chosen) {
    Octets fields = kTstMandatory;
    for (unsigned i = 0; i < 5; ++i) {
      if ((chosen >> i & 1) != 0) fields = concat(fields, optional[i]);
    }
    ExpectAnyForm(TOP(TSTInfo), sequence(fields));
  }
}

// Inside the tag of tsa, 0xA0 is otherName, not another tsa.
TEST(TSTInfo, TsaTakesEveryGeneralName) {
  const Octets names[] = {context(0, oid("2.5.4.3"), context(0, printable_string("x"))), hex("810161"),
                          context(4, sample::name("TSA")), hex("8704c0000201"), hex("88022a03")};
  for (const Octets& name : names) ExpectRoundTrip(TOP(TSTInfo), sequence(kTstMandatory, context(0, name)));
}

TEST(TSTInfo, AnIndefiniteTsaEndsAfterTheName) {
  const Octets start = concat(kTstMandatory, hex("a080 820161"));
  Decoded v(TOP(TSTInfo), sequence(start, hex("0000")));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v.encoded(), sequence(kTstMandatory, context(0, hex("820161"))));
  ExpectRefused(TOP(TSTInfo), sequence(start, hex("0001")), -16,
                "BDecEoc: ERROR - non zero byte in EOC or end of data reached\n");
}

TEST(TSTInfo, ASerialNumberOfTwentyOctetsIsKept) {
  const Octets serial = hex("7f0102030405060708090a0b0c0d0e0f10111213");
  const Octets info = sequence(integer(1), oid("1.2.3.4.1"), kImprint, big_integer(serial), kGenTime);
  Decoded v(TOP(TSTInfo), info);
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(ToHex(v->serialNumber), ToHex(serial));
  ExpectRoundTrip(TOP(TSTInfo), info);
}

TEST(TSTInfo, TheFormatOfATimeIsNotJudged) {
  ExpectRoundTrip(TOP(TSTInfo),
                  sequence(integer(1), oid("1.2.3"), kImprint, integer(1), generalized_time("yesterday")));
}

TEST(TSTInfo, Failures) {
  ExpectWrongTag(TOP(TSTInfo), "BDecTSTInfo: ERROR - wrong tag\n");
  const Octets fields[] = {integer(1), oid("1.2.3"), kImprint, integer(1), kGenTime};
  Octets before;
  for (size_t i = 0; i < 5; ++i) {
    ExpectRefused(TOP(TSTInfo), sequence(before, null()), site_code(kTSTInfo, Site::Missing, i));
    before = concat(before, fields[i]);
  }
  ExpectRefused(TOP(TSTInfo), sequence(before, null()), site_code(kTSTInfo, Site::Trailing));
  ExpectRefused(TOP(TSTInfo), sequence(before, context(0, hex("8900"))),
                site_code(kGeneralName, Site::Unexpected), "ERROR - unexpected tag in CHOICE\n");
  ExpectRefused(TOP(TSTInfo),
                sequence(integer(1), oid("1.2.3"), kImprint, integer(1), utc_time("260705123456Z")),
                site_code(kTSTInfo, Site::Missing, 4));
}

// --- Accuracy --------------------------------------------------------------------------------

TEST(Accuracy, EveryFieldMayBeAbsent) {
  for (const char* octets : {"3000", "3003020101", "3003800101", "3003810101", "3006020101810101",
                             "3006800101810101", "3009020101800102810103"}) {
    ExpectRoundTrip(NESTED(Accuracy), hex(octets));
  }
  Decoded v(NESTED(Accuracy), hex("3000"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(v->seconds, nullptr);
  EXPECT_EQ(v->millis, nullptr);
  EXPECT_EQ(v->micros, nullptr);
}

TEST(Accuracy, TheRangeOfMillisIsNotTested) {
  Decoded v(NESTED(Accuracy), hex("3008 80027fff 8102ff00"));
  ASSERT_EQ(v.outcome, kDecoded);
  EXPECT_EQ(*v->millis, 32767);
  EXPECT_EQ(*v->micros, -256);
}

// The tags of millis and micros are those of a primitive INTEGER alone.
TEST(Accuracy, AConstructedMillisIsATrailingTag) {
  ExpectRefused(NESTED(Accuracy), hex("3005 a003020101"), site_code(kAccuracy, Site::Trailing));
  // After the last field no further tag is read.
  ExpectRefused(NESTED(Accuracy), hex("3006 810101800101"), site_code(kAccuracy, Site::Length));
}

}  // namespace
}  // namespace qex::test
