// Replies that openssl made read as openssl prints them.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

#include "tests/interop/samples.h"
#include "tests/support/guarded.h"
#include "tests/support/octets.h"

namespace qex::test {
namespace {

constexpr size_t kReplies = 85;

// "Nov 20 11:40:28.7 2026 GMT" is 20261120114028.7Z.
std::string generalized_time(const std::string& text) {
  static const std::string kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  char month[4] = {};
  char second[16] = {};
  unsigned day = 0, hour = 0, minute = 0, year = 0;
  EXPECT_EQ(std::sscanf(text.c_str(), "%3s %u %u:%u:%15s %u GMT", month, &day, &hour, &minute, second, &year),
            6)
      << text;
  char result[64];
  std::snprintf(result, sizeof result, "%04u%02zu%02u%02u%02u%sZ", year, kMonths.find(month) / 3 + 1, day,
                hour, minute, second);
  return result;
}

// "0x01 seconds, 0x01F4 millis, unspecified micros": the number before `unit`.
uint32_t accuracy(const std::string& text, const std::string& unit) {
  const size_t end = text.find(" " + unit);
  if (end == std::string::npos) return 0;
  const size_t start = text.rfind(' ', end - 1);
  const std::string number = text.substr(start == std::string::npos ? 0 : start + 1,
                                         end - (start == std::string::npos ? 0 : start + 1));
  return number == "unspecified" ? 0 : uint32_t(Number(number));
}

// "DirName:/C=GB/ST=Some State/O=S\xC3\xB6hne" is C=GB;S=Some State;O=Söhne.
std::string directory_name(const std::string& text) {
  static const std::map<std::string, std::string> kNames = {
      {"ST", "S"}, {"emailAddress", "E"}, {"serialNumber", "SerialNumber"}, {"title", "2.5.4.12"}};
  const std::string prefix = "DirName:/";
  if (text.empty()) return "";
  EXPECT_EQ(text.compare(0, prefix.size(), prefix), 0) << text;
  std::string result;
  std::istringstream entries(text.substr(prefix.size()));
  for (std::string entry; std::getline(entries, entry, '/');) {
    const std::string name = entry.substr(0, entry.find('='));
    const auto other = kNames.find(name);
    if (!result.empty()) result += ';';
    result += other == kNames.end() ? name : other->second;
    result += entry.substr(name.size());
  }
  for (size_t at; (at = result.find("\\x")) != std::string::npos;) {
    result.replace(at, 4, 1, char(FromHex(result.substr(at + 2, 2)).at(0)));
  }
  return result;
}

Octets first(const uint8_t* data, uint32_t length) {
  return Octets(data, data + length);
}

TEST(Replies, AreGrantedWhenOpensslSaysSo) {
  for (const Sample& sample : Samples("replies.txt", kReplies)) {
    SCOPED_TRACE(sample.name);
    const Guarded reply(sample.file(".tsr"));
    ASSERT_EQ(PrintedText(SamplePath(sample.name + ".tsr.txt")).value("Status"), "Granted.");
    GuardedRecord<QEX_TSR_STATUS> status;
    ASSERT_EQ(QEX_GetTSR_Status(status.get(), reply.data(), reply.size()), QEX_OK);
    EXPECT_EQ(status->status, 0);
    EXPECT_STREQ(status->statusText, "");
    EXPECT_EQ(status->failInfo, 0u);
  }
}

TEST(Replies, HoldTheTokenThatOpensslTakesOut) {
  for (const Sample& sample : Samples("replies.txt", kReplies)) {
    SCOPED_TRACE(sample.name);
    EXPECT_EQ(ToHex(TokenOf(sample.file(".tsr"))), ToHex(sample.file(".token")));
  }
}

TEST(Replies, HaveTheTstInfoThatOpensslPrints) {
  for (const Sample& sample : Samples("replies.txt", kReplies)) {
    SCOPED_TRACE(sample.name);
    const Guarded token(sample.file(".token"));
    const PrintedText text(SamplePath(sample.name + ".tsr.txt"));
    GuardedRecord<QEX_TSTINFO_EX> info;
    info->size = sizeof(QEX_TSTINFO_EX);
    ASSERT_EQ(QEX_GetTST_TSTInfoEx(info.get(), token.data(), token.size()), QEX_OK);

    EXPECT_EQ(info->version, Number(text.value("Version")));
    EXPECT_EQ(info->policy, text.value("Policy OID"));
    EXPECT_EQ(info->hashAlgorithm, HashIdentifier(text.value("Hash Algorithm")));
    EXPECT_FALSE(text.octets().empty());
    EXPECT_EQ(first(info->hashedMessage, info->hashedMessageLength), text.octets());
    EXPECT_EQ(first(info->serialNumber, info->serialNumberLength),
              IntegerContents(text.value("Serial number")));
    EXPECT_EQ(info->genTime, generalized_time(text.value("Time stamp")));
    EXPECT_EQ(info->accuracySeconds, accuracy(text.value("Accuracy"), "seconds"));
    EXPECT_EQ(info->accuracyMillis, accuracy(text.value("Accuracy"), "millis"));
    EXPECT_EQ(info->accuracyMicros, accuracy(text.value("Accuracy"), "micros"));
    EXPECT_EQ(info->ordering, text.value("Ordering") == "yes" ? 1u : 0u);
    EXPECT_EQ(first(info->nonce, info->nonceLength), IntegerContents(text.value("Nonce")));
    EXPECT_EQ(info->tsaName, directory_name(text.value("TSA")));
  }
}

TEST(Replies, HaveTheSameTstInfoInTheShortRecord) {
  size_t too_long = 0;
  for (const Sample& sample : Samples("replies.txt", kReplies)) {
    SCOPED_TRACE(sample.name);
    const Guarded token(sample.file(".token"));
    const PrintedText text(SamplePath(sample.name + ".tsr.txt"));
    GuardedRecord<QEX_TSTINFO> info;
    const int32_t code = QEX_GetTST_TSTInfo(info.get(), token.data(), token.size());
    const std::string& serial = text.value("Serial number");
    const bool fits = serial.size() <= 2 + 16;  // 64 bits
    ASSERT_EQ(code, fits ? QEX_OK : QEX_E_SIZE);
    if (!fits) ++too_long;

    EXPECT_EQ(info->version, Number(text.value("Version")));
    EXPECT_EQ(info->policy, text.value("Policy OID"));
    EXPECT_EQ(info->hashAlgorithm, HashIdentifier(text.value("Hash Algorithm")));
    Octets imprint = text.octets();
    EXPECT_EQ(info->hashedMessageLength, imprint.size());
    if (imprint.size() > sizeof info->hashedMessage) imprint.resize(sizeof info->hashedMessage);
    EXPECT_EQ(first(info->hashedMessage, uint32_t(imprint.size())), imprint);
    EXPECT_EQ(uint64_t{info->serialNumber.high} << 32 | info->serialNumber.low, fits ? Number(serial) : 0);
    EXPECT_EQ(uint64_t{info->nonce.high} << 32 | info->nonce.low, Number(text.value("Nonce")));
    EXPECT_EQ(info->genTime, generalized_time(text.value("Time stamp")));
    EXPECT_EQ(info->accuracySeconds, accuracy(text.value("Accuracy"), "seconds"));
    EXPECT_EQ(info->accuracyMillis, accuracy(text.value("Accuracy"), "millis"));
    EXPECT_EQ(info->accuracyMicros, accuracy(text.value("Accuracy"), "micros"));
    EXPECT_EQ(info->ordering, text.value("Ordering") == "yes" ? 1u : 0u);
    EXPECT_EQ(info->tsaName, directory_name(text.value("TSA")));
  }
  EXPECT_EQ(too_long, 4u);  // 65 bits and 20 octets, each in two tokens
}

// openssl's words for the failures of RFC 3161, 2.4.2, by the number of the bit.
const std::map<std::string, uint32_t> kFailures = {
    {"", 0},
    {"unrecognized or unsupported algorithm identifier", 0},
    {"transaction not permitted or supported", 2},
    {"the data submitted has the wrong format", 5},
    {"the requested TSA policy is not supported by the TSA", 15},
    {"the requested extension is not supported by the TSA", 16},
};

TEST(Replies, ThatRefuseSayWhyAsOpensslPrintsIt) {
  std::map<uint32_t, int> seen;
  for (const Sample& sample : Samples("rejections.txt", 6)) {
    SCOPED_TRACE(sample.name);
    const Guarded reply(sample.file(".tsr"));
    const PrintedText text(SamplePath(sample.name + ".tsr.txt"));
    ASSERT_EQ(text.value("Status"), "Rejected.");
    GuardedRecord<QEX_TSR_STATUS> status;
    ASSERT_EQ(QEX_GetTSR_Status(status.get(), reply.data(), reply.size()), QEX_OK);
    EXPECT_EQ(status->status, 2);
    EXPECT_EQ(status->statusText, text.value("Status description"));
    EXPECT_STRNE(status->statusText, "");
    ASSERT_EQ(kFailures.count(text.value("Failure info")), 1u) << text.value("Failure info");
    EXPECT_EQ(status->failInfo, kFailures.at(text.value("Failure info")));
    ++seen[status->failInfo];

    uint32_t length = 7;
    EXPECT_EQ(QEX_GetTSR_EncodedToken(nullptr, &length, reply.data(), reply.size()), QEX_E_REJECTED);
    EXPECT_EQ(length, 7u);
  }
  EXPECT_EQ(seen.size(), 5u);
}

}  // namespace
}  // namespace qex::test
