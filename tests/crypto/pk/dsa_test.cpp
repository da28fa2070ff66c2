// DSA: signatures of other implementations, and numbers that no honest signer sends.
#include "crypto/pk/dsa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/big.h"
#include "tests/support/each_failure.h"
#include "tests/support/pool.h"
#include "tests/support/random_source.h"

namespace qex {
namespace {

using test::Big;
using test::EachAllocationFails;
using test::ListSource;
using test::ones;
using test::Pool;
using test::power_of_two;
using test::SeededSource;
using test::Vector;

DigestBuf digest_of(const std::string& hex) {
  DigestBuf digest{};
  for (size_t i = 0; i + 2 <= hex.size(); i += 2) {
    digest.octets[i / 2] = uint8_t(std::stoul(hex.substr(i, 2), nullptr, 16));
  }
  digest.length = uint32_t(hex.size() / 2);
  return digest;
}

// A key, digest and signature that own their numbers, to be changed by a test.
struct Case {
  explicit Case(const Vector& v)
      : p(v.at("P")),
        q(v.at("Q")),
        g(v.at("G")),
        x(v.at("X")),
        y(v.at("Y")),
        r(v.at("R")),
        s(v.at("S")),
        digest(digest_of(v.at("Digest"))) {}

  DSAKey key() const { return {p, q, g, x, y}; }
  DSAKey public_key() const { return {p, q, g, nullptr, y}; }
  DSASig sig() const { return {r, s}; }

  // verify returns the code, and the result in `*result`.
  uint32_t verify(uint32_t* result, KXBN_Pool* pool = nullptr) const {
    const DSAKey k = public_key();
    const DSASig pair = sig();
    *result = 99;
    return dsa_verify(&digest, &k, &pair, pool, result);
  }

  // outcome is the code times 100 and the result.
  uint32_t outcome() const {
    uint32_t result;
    const uint32_t rc = verify(&result);
    return rc * 100 + result;
  }

  Big p, q, g, x, y, r, s;
  DigestBuf digest;
};

// A signature that owns the numbers that signing stores in it.
struct OwnedSig : DSASig {
  OwnedSig() : DSASig{} { r = s = nullptr; }
  OwnedSig(const OwnedSig&) = delete;
  OwnedSig& operator=(const OwnedSig&) = delete;
  ~OwnedSig() { KXBN_free4(r, s, nullptr, nullptr); }
};

constexpr uint32_t kValid = 0;
constexpr uint32_t kInvalid = 1;
constexpr uint32_t kCode(uint32_t rc) {
  return rc * 100 + DSA_PENDING;
}

void set(const Big& n, const std::string& hex) {
  ASSERT_EQ(KXBN_copy(n, Big(hex)), KXBN_OK);
}

std::vector<Vector> dsa_signatures() {
  return test::read_vectors("dsa_verify.txt");
}

const Vector& vector_of(const std::string& name) {
  static const std::vector<Vector> all = dsa_signatures();
  return *std::find_if(all.begin(), all.end(), [&](const Vector& v) { return v.at("Name") == name; });
}

Case fips_signature() {
  return Case(vector_of("FIPS 186-2"));
}

TEST(DsaVerify, SignaturesOfOtherImplementationsAreValid) {
  const auto all = dsa_signatures();
  ASSERT_EQ(all.size(), 13u);
  for (const Vector& v : all) EXPECT_EQ(Case(v).outcome(), kValid) << v.at("Name");
}

TEST(DsaVerify, APoolServesAllWorkingNumbersAndGetsThemBack) {
  const Pool pool(2048);
  for (const Vector& v : dsa_signatures()) {
    uint32_t result;
    ASSERT_EQ(Case(v).verify(&result, pool), KXBN_OK);
    EXPECT_EQ(result, DSA_VALID) << v.at("Name");
    EXPECT_EQ(pool->freeMask, UINT32_MAX);
    EXPECT_EQ(pool->next, nullptr);
  }
}

TEST(DsaVerify, OneBitOfTheDigestMakesItInvalid) {
  for (const Vector& v : dsa_signatures()) {
    Case c(v);
    c.digest.octets[7] ^= 0x10;
    EXPECT_EQ(c.outcome(), kInvalid) << v.at("Name");
  }
}

TEST(DsaVerify, OneBitOfEachNumberMakesItInvalid) {
  for (int which = 0; which < 4; ++which) {
    Case c = fips_signature();
    const Big* const numbers[] = {&c.r, &c.s, &c.y, &c.g};
    const Big& n = *numbers[which];
    ASSERT_EQ(KXBN_setbit(n, 17, KXBN_testbit(n, 17) == 0), KXBN_OK);
    EXPECT_EQ(c.outcome(), kInvalid) << which;
  }
}

TEST(DsaVerify, LongDigestTakesPartWithTheOctetsOfQ) {
  Case c(vector_of("1024/160 sha256"));
  c.digest.octets[20] ^= 1;
  EXPECT_EQ(c.outcome(), kValid);
  c.digest.octets[19] ^= 1;
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, ShortDigestTakesPartWhole) {
  Case c(vector_of("2048/256 sha1"));
  ASSERT_EQ(c.digest.length, 20u);
  c.digest.octets[20] ^= 1;  // beyond its length
  EXPECT_EQ(c.outcome(), kValid);
  c.digest.octets[19] ^= 1;
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, QOf161BitsTakes20Octets) {
  Case c(vector_of("1024/161 sha256"));
  ASSERT_EQ(KXBN_bits(c.q), 161u);
  EXPECT_EQ(c.outcome(), kValid);
  c.digest.octets[20] ^= 0x80;
  EXPECT_EQ(c.outcome(), kValid);
  c.digest.octets[19] ^= 1;
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, EmptyDigestIsTheNumberZero) {
  Case c = fips_signature();
  const DSAKey key = c.key();
  const DSASig sig = c.sig();
  const Big z("0");
  SeededSource random(1);
  OwnedSig made;
  c.digest.length = 0;
  ASSERT_EQ(dsa_sign(&c.digest, &key, &random, nullptr, &made), KXBN_OK);
  uint32_t result = 99;
  EXPECT_EQ(dsa_verify_int(z, &key, &made, nullptr, &result), KXBN_OK);
  EXPECT_EQ(result, DSA_VALID);
  EXPECT_EQ(dsa_verify_int(z, &key, &sig, nullptr, &result), KXBN_OK);
  EXPECT_EQ(result, DSA_INVALID);
}

TEST(DsaVerify, WrongLengthOfADigestIsThatOfItsArray) {
  Case c(vector_of("1200/600 sha512"));  // 75 octets would take part
  ASSERT_EQ(c.digest.length, 64u);
  for (const uint32_t length : {64u, 65u, 75u, 1000u, UINT32_MAX}) {
    c.digest.length = length;
    EXPECT_EQ(c.outcome(), kValid) << length;
  }
  c.digest.length = 63;
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, NumbersOutOfRangeAreAnInvalidSignatureNotAnError) {
  const std::string q = fips_signature().q.hex();
  const std::string values[] = {
      "0", q, "c773218c737ec8ee993b4f2ded30f48edace9160", power_of_two(4000), "-1", test::negated(q)};
  for (const std::string& value : values) {
    Case r = fips_signature();
    set(r.r, value);
    EXPECT_EQ(r.outcome(), kInvalid) << "r = " << value;
    Case s = fips_signature();
    set(s.s, value);
    EXPECT_EQ(s.outcome(), kInvalid) << "s = " << value;
  }
}

TEST(DsaVerify, NegativeCongruentOfSIsInvalid) {
  Case c = fips_signature();
  ASSERT_EQ(KXBN_sub(c.s, c.s, c.q), KXBN_OK);
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, QThatLeavesNoRoomForASignatureMakesItInvalid) {
  for (const std::string& q :
       {std::string("0"), std::string("1"), std::string("-1"), test::negated(fips_signature().q.hex())}) {
    Case c = fips_signature();
    set(c.q, q);
    EXPECT_EQ(c.outcome(), kInvalid) << q;
  }
}

TEST(DsaVerify, SmallestQTakesNoOctetOfTheDigest) {
  Case c = fips_signature();
  set(c.p, "7");
  set(c.q, "2");
  set(c.g, "6");
  set(c.r, "1");
  set(c.s, "1");
  set(c.y, "3");  // (6^0 * 3^1 mod 7) mod 2 = 1 = r
  EXPECT_EQ(c.outcome(), kValid);
  set(c.y, "4");  // 0
  EXPECT_EQ(c.outcome(), kInvalid);
}

TEST(DsaVerify, SWithoutInverseGivesNonprimeAndStaysPending) {
  Case c = fips_signature();
  set(c.q, power_of_two(159));
  set(c.r, "3");
  set(c.s, "2");
  EXPECT_EQ(c.outcome(), kCode(KXBN_NONPRIME));
}

TEST(DsaVerify, POfZeroGivesDivzeroAndStaysPending) {
  Case c = fips_signature();
  set(c.p, "0");
  EXPECT_EQ(c.outcome(), kCode(KXBN_DIVZERO));
}

TEST(DsaVerify, OtherHostilePAreInvalid) {
  const std::string even = fips_signature().p.hex().substr(0, 127) + "0";
  const std::string values[] = {
      "1", "2", "-1", test::negated(fips_signature().p.hex()), even, power_of_two(3000), ones(3001)};
  for (const std::string& p : values) {
    Case c = fips_signature();
    set(c.p, p);
    EXPECT_EQ(c.outcome(), kInvalid) << p;
  }
}

TEST(DsaVerify, HostileGAndYAreInvalid) {
  const std::string p = fips_signature().p.hex();
  for (const std::string& value :
       {std::string("0"), std::string("1"), std::string("-1"), p, power_of_two(9000)}) {
    Case g = fips_signature();
    set(g.g, value);
    EXPECT_EQ(g.outcome(), kInvalid) << "g = " << value;
    Case y = fips_signature();
    set(y.y, value);
    EXPECT_EQ(y.outcome(), kInvalid) << "y = " << value;
  }
}

TEST(DsaVerify, NumberTooLargeToMultiplyGivesBadargAndStaysPending) {
  Case c = fips_signature();
  set(c.p, ones(300000));  // odd: its Montgomery constant would pass the largest number
  EXPECT_EQ(c.outcome(), kCode(KXBN_BADARG));
}

TEST(DsaVerify, AllocationFailuresAreReportedAndLeaveNothing) {
  const Case c = fips_signature();
  EachAllocationFails([&] {
    uint32_t result = 99;
    const uint32_t rc = c.verify(&result);
    EXPECT_EQ(result, rc == KXBN_OK ? DSA_VALID : DSA_PENDING);
    return rc;
  });
}

TEST(DsaSign, GivenKGivesTheSignatureOfTheStandard) {
  for (const char* name : {"FIPS 186-2", "1024/161 sha256"}) {
    const Vector& v = vector_of(name);
    const Case c(v);
    const Big k(v.at("K")), z(v.at("Digest").substr(0, 40));
    const DSAKey key = c.key();
    OwnedSig sig;
    ASSERT_EQ(dsa_sign_int(z, &key, k, nullptr, &sig), KXBN_OK);
    EXPECT_EQ(test::hex_of(sig.r), v.at("R"));
    EXPECT_EQ(test::hex_of(sig.s), v.at("S"));
  }
}

TEST(DsaSign, SignatureIsCopiedIntoNumbersAlreadyThere) {
  const Vector& v = vector_of("FIPS 186-2");
  const Case c(v);
  const Big k(v.at("K")), z(v.at("Digest")), r("-7"), s("123456789abcdef");
  const DSAKey key = c.key();
  DSASig sig{r, s};
  ASSERT_EQ(dsa_sign_int(z, &key, k, nullptr, &sig), KXBN_OK);
  EXPECT_EQ(sig.r, static_cast<KXBN*>(r));
  EXPECT_EQ(sig.s, static_cast<KXBN*>(s));
  EXPECT_EQ(r.hex(), v.at("R"));
  EXPECT_EQ(s.hex(), v.at("S"));
}

TEST(DsaSign, SignedDigestsVerifyForEveryKey) {
  SeededSource random(2);
  for (const Vector& v : dsa_signatures()) {
    Case c(v);
    const DSAKey key = c.key();
    OwnedSig sig;
    ASSERT_EQ(dsa_sign(&c.digest, &key, &random, nullptr, &sig), KXBN_OK);
    EXPECT_EQ(random.lastBits, KXBN_bits(c.q) + 64);
    EXPECT_NE(test::hex_of(sig.r), v.at("R"));
    uint32_t result = 99;
    EXPECT_EQ(dsa_verify(&c.digest, &key, &sig, nullptr, &result), KXBN_OK);
    EXPECT_EQ(result, DSA_VALID) << v.at("Name");
  }
}

TEST(DsaSign, DrawnNumberIsReducedToOneToQMinusOne) {
  const Vector& v = vector_of("FIPS 186-2");
  const Case c(v);
  const DSAKey key = c.key();
  // K - 1 + 3 * (q - 1) gives k = K.
  Big drawn(v.at("Q")), one("1");
  ASSERT_EQ(KXBN_sub(drawn, drawn, one), KXBN_OK);
  ASSERT_EQ(KXBN_mul(drawn, drawn, Big("3"), nullptr), KXBN_OK);
  ASSERT_EQ(KXBN_add(drawn, drawn, Big(v.at("K"))), KXBN_OK);
  ASSERT_EQ(KXBN_sub(drawn, drawn, one), KXBN_OK);
  ListSource random({drawn.hex()});
  OwnedSig sig;
  ASSERT_EQ(dsa_sign(&c.digest, &key, &random, nullptr, &sig), KXBN_OK);
  EXPECT_EQ(test::hex_of(sig.r), v.at("R"));
  EXPECT_EQ(test::hex_of(sig.s), v.at("S"));
}

TEST(DsaSign, KOutOfRangeOrNoPrivateKeyIsRefused) {
  const Case c = fips_signature();
  const DSAKey key = c.key();
  const DSAKey without_x = c.public_key();
  const Big z("1");
  OwnedSig sig;
  for (const std::string& k : {std::string("0"), std::string("-1"), c.q.hex(), power_of_two(200)}) {
    EXPECT_EQ(dsa_sign_int(z, &key, Big(k), nullptr, &sig), KXBN_BADARG) << k;
  }
  EXPECT_EQ(dsa_sign_int(z, &without_x, Big("5"), nullptr, &sig), KXBN_BADARG);
  EXPECT_EQ(sig.r, nullptr);
  EXPECT_EQ(sig.s, nullptr);
}

TEST(DsaSign, SignatureOfZeroIsNeverGiven) {
  // 2 has order 11 modulo 23. With x = 3 and k = 4: r = 16 mod 11 = 5, and z = -15 makes s = 0.
  const Big p("17"), q("b"), g("2"), x("3"), k("4"), z("-f");
  DSAKey key{p, q, g, x, nullptr};
  OwnedSig sig;
  EXPECT_EQ(dsa_sign_int(z, &key, k, nullptr, &sig), KXBN_NONPRIME);
  // g = 0 makes r = 0.
  const Big nothing("0");
  key.g = nothing;
  EXPECT_EQ(dsa_sign_int(Big("1"), &key, k, nullptr, &sig), KXBN_NONPRIME);
  EXPECT_EQ(sig.r, nullptr);
  EXPECT_EQ(sig.s, nullptr);
}

TEST(DsaSign, KeyThatGivesNoSignatureEndsTheDraws) {
  const Big p("17"), q("b"), g("0"), x("3");
  const DSAKey key{p, q, g, x, nullptr};
  SeededSource random(3);
  const DigestBuf digest = digest_of("a9");
  OwnedSig sig;
  EXPECT_EQ(dsa_sign(&digest, &key, &random, nullptr, &sig), KXBN_NONPRIME);
  EXPECT_EQ(random.calls, 32);
  EXPECT_EQ(sig.r, nullptr);
}

TEST(DsaSign, UnusableQOrNoSourceIsRefusedAndTheSourcesCodePassedUp) {
  Case c = fips_signature();
  OwnedSig sig;
  DSAKey key = c.key();
  EXPECT_EQ(dsa_sign(&c.digest, &key, nullptr, nullptr, &sig), KXBN_BADARG);
  ListSource empty({}, 77);
  EXPECT_EQ(dsa_sign(&c.digest, &key, &empty, nullptr, &sig), 77u);
  SeededSource random(4);
  for (const char* q : {"0", "1", "-5"}) {
    set(c.q, q);
    EXPECT_EQ(dsa_sign(&c.digest, &key, &random, nullptr, &sig), KXBN_BADARG) << q;
  }
  EXPECT_EQ(random.calls, 0);
  EXPECT_EQ(sig.r, nullptr);
}

TEST(DsaSign, QOfTwoBitsIsLargeEnough) {
  // 2 has order 3 modulo 7. Of the two possible k at most one gives a signature of zero.
  const Big p("7"), q("3"), g("2"), x("1"), y("2");
  const DSAKey key{p, q, g, x, y};
  const DigestBuf digest = digest_of("a9");
  ListSource numbers({"0", "1"});
  OwnedSig sig;
  ASSERT_EQ(dsa_sign(&digest, &key, &numbers, nullptr, &sig), KXBN_OK);
  uint32_t result = DSA_PENDING;
  EXPECT_EQ(dsa_verify(&digest, &key, &sig, nullptr, &result), KXBN_OK);
  EXPECT_EQ(result, uint32_t{DSA_VALID});
}

TEST(DsaSign, AllocationFailuresAreReportedAndLeaveNothing) {
  const Case c = fips_signature();
  const DSAKey key = c.key();
  EachAllocationFails([&] {
    SeededSource random(5);
    OwnedSig sig;
    const uint32_t rc = dsa_sign(&c.digest, &key, &random, nullptr, &sig);
    EXPECT_EQ(sig.r == nullptr, rc != KXBN_OK);
    EXPECT_EQ(sig.s == nullptr, rc != KXBN_OK);
    return rc;
  });
}

TEST(DsaCheckKey, KeysOfOtherImplementationsAreConsistent) {
  for (const Vector& v : dsa_signatures()) {
    const Case c(v);
    const DSAKey key = c.key();
    const DSAKey without_x = c.public_key();
    const DSAKey without_y{c.p, c.q, c.g, c.x, nullptr};
    const DSAKey neither{c.p, c.q, c.g, nullptr, nullptr};
    for (const DSAKey* k : {&key, &without_x, &without_y, &neither}) {
      EXPECT_EQ(dsa_check_key(k, nullptr), KXBN_OK) << v.at("Name");
    }
  }
}

TEST(DsaCheckKey, XOutsideOneToQMinusOneIsRefused) {
  for (const std::string& value :
       {std::string("0"), std::string("-1"), fips_signature().q.hex(), power_of_two(170)}) {
    Case c = fips_signature();
    set(c.x, value);
    DSAKey key = c.key();
    EXPECT_EQ(dsa_check_key(&key, nullptr), KXBN_BADARG) << value;
    key.y = nullptr;
    EXPECT_EQ(dsa_check_key(&key, nullptr), KXBN_BADARG) << value;
  }
}

TEST(DsaCheckKey, YOutsideOneToPMinusOneIsRefused) {
  for (const std::string& value :
       {std::string("0"), std::string("-1"), fips_signature().p.hex(), power_of_two(600)}) {
    Case c = fips_signature();
    set(c.y, value);
    const DSAKey key = c.key();
    const DSAKey without_x = c.public_key();
    EXPECT_EQ(dsa_check_key(&key, nullptr), KXBN_BADARG) << value;
    EXPECT_EQ(dsa_check_key(&without_x, nullptr), KXBN_BADARG) << value;
  }
}

TEST(DsaCheckKey, WrongYIsRefusedWhenXIsPresent) {
  Case c = fips_signature();
  ASSERT_EQ(KXBN_setbit(c.y, 3, KXBN_testbit(c.y, 3) == 0), KXBN_OK);
  const DSAKey key = c.key();
  const DSAKey without_x = c.public_key();
  EXPECT_EQ(dsa_check_key(&key, nullptr), KXBN_BADARG);
  EXPECT_EQ(dsa_check_key(&without_x, nullptr), KXBN_OK);
}

TEST(DsaCheckKey, AllocationFailuresAreReportedAndLeaveNothing) {
  const Case c = fips_signature();
  const DSAKey key = c.key();
  EachAllocationFails([&] { return dsa_check_key(&key, nullptr); });
}

}  // namespace
}  // namespace qex
