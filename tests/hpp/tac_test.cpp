// Time attribute certificates, with the values of tests/data/bouncycastle (samples.txt, and the makers'
// source Samples.java for names, times and timing).
#include <gtest/gtest.h>

#include "support.h"

namespace hpp_test {
namespace {

using qex::result_code;

const char kFull[] = "bouncycastle/tac_full.der";

template <class Info>
void expect_certificate(const qex::result<Info>& info) {
  ASSERT_TRUE(info);
  EXPECT_EQ(info->version(), 1);
  EXPECT_EQ(info->holder_name(), "C=SE;O=Example Trust;CN=Example TSA dsa1024_160");
  EXPECT_EQ(info->issuer_name(), "C=SE;O=Example Trust;CN=Example TSA dsa1024_160");
  EXPECT_EQ(info->digest_algorithm(), qex::sha256::oid);
  EXPECT_EQ(hex(info->object_digest()),
            hex(qex::sha256::of(sample("bouncycastle/certificate_dsa1024_160.der"))));
  EXPECT_EQ(info->not_before(), "20240101000000Z");
  EXPECT_EQ(info->not_after(), "20440101000000Z");
  EXPECT_EQ(info->signature_algorithm(), "1.2.840.10040.4.3");
  EXPECT_EQ(hex(info->signature_value()),
            "302c021467adf94eb0cac799f2e0d7b061e3eaa67f7aba15021419186634fbfe5686aebeb0ffeae2d0b356e7c5d1");
}

TEST(Tac, ReadsAsItWasMade) {
  const qex::bytes tac = sample("bouncycastle/tac_full_dsa.der");
  const auto info = qex::read_tac(tac);
  expect_certificate(info);
  EXPECT_EQ(hex(info->serial_number()), "05");
  const auto brief = qex::read_tac<qex::short_tac_info>(tac);
  expect_certificate(brief);
  EXPECT_EQ(brief->serial_number(), 5u);
  EXPECT_EQ(hex(qex::read_tac(sample(kFull))->serial_number()), "00f0e1d2c3b4a59687");
  EXPECT_EQ(qex::read_tac<qex::short_tac_info>(sample(kFull))->serial_number(), 0xF0E1D2C3B4A59687u);
  EXPECT_EQ(qex::read_tac({}).error(), result_code::decode);
  EXPECT_EQ(qex::read_tac<qex::short_tac_info>({}).error(), result_code::decode);
}

TEST(Tac, TimingReadsAsItWasMade) {
  const qex::bytes tac = sample(kFull);
  const auto metrics = qex::read_timing_metrics(tac);
  ASSERT_TRUE(metrics);
  EXPECT_EQ(metrics->ntp_time(), "20240101000000Z");
  EXPECT_EQ(metrics->offset(), qex::seconds(-0.25F));
  EXPECT_EQ(metrics->delay(), qex::seconds(1.5F));
  EXPECT_EQ(metrics->expiration(), "20250101000000Z");
  EXPECT_EQ(metrics->leap_action(), 1);
  EXPECT_EQ(metrics->leap_time(), "20170101000000Z");
  const auto brief = qex::read_timing_metrics<qex::short_timing_metrics>(tac);
  ASSERT_TRUE(brief);
  EXPECT_EQ(brief->ntp_time(), "20240101000000Z");
  EXPECT_EQ(brief->offset(), qex::seconds(-0.25F));
  EXPECT_EQ(brief->delay(), qex::seconds(1.5F));
  EXPECT_EQ(brief->expiration(), "20250101000000Z");
  const auto policy = qex::read_timing_policy(tac);
  ASSERT_TRUE(policy);
  EXPECT_EQ(policy->policy_id(), kOtherPolicy);
  EXPECT_EQ(policy->max_offset(), qex::seconds(2.0F));
  EXPECT_EQ(policy->max_delay(), qex::seconds(0.125F));
  EXPECT_EQ(qex::read_timing_metrics({}).error(), result_code::decode);
  EXPECT_EQ(qex::read_timing_metrics<qex::short_timing_metrics>({}).error(), result_code::decode);
  EXPECT_EQ(qex::read_timing_policy({}).error(), result_code::decode);
}

TEST(Tac, BelongsToItsToken) {
  const qex::bytes token = sample("bouncycastle/token_rsa2048_sha256_v2_tac.der"), tac = sample(kFull);
  EXPECT_EQ(*qex::extract_tac(token), tac);
  EXPECT_TRUE(qex::check_tac(tac, token));
  EXPECT_EQ(qex::check_tac(sample("bouncycastle/tac_digest.der"), token).error(), result_code::mismatch);
  EXPECT_EQ(qex::check_tac(tac, {}).error(), result_code::decode);
  EXPECT_EQ(qex::check_tac({}, token).error(), result_code::mismatch);
  const qex::bytes none = sample("bouncycastle/token_rsa2048_sha256_v2.der");
  EXPECT_EQ(qex::extract_tac(none).error(), (qex::failure{result_code::no_tac, 0, 0}));
  EXPECT_EQ(qex::extract_tac({}).error(), result_code::decode);
}

}  // namespace
}  // namespace hpp_test
