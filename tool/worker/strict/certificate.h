// The signer's certificate: names, purpose, dates.
#pragma once

#include <string>

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

// SubjectText renders the whole subject; NameForPeople its common name, or the whole one without such.
std::string SubjectText(const X509* certificate);
std::string NameForPeople(const X509_NAME* name);
// QuotedSubject is NameForPeople of the subject, ready for use in a line.
std::string QuotedSubject(const X509* certificate);

SignerCertificate DescribeCertificate(X509* certificate);

// JudgeUsage applies RFC 3161, 2.3.
Judgement JudgeUsage(X509* certificate);

// Times that dates are compared with, in seconds since 1970.
struct JudgedTimes {
  int64_t judged = 0;  // as the trust options say
  int64_t now = 0;
  std::optional<int64_t> stamped;  // genTime
};

Validity ValidityAt(const X509* certificate, const JudgedTimes& times);

// NamesSigner returns whether a name is the certificate's subject or one of its alternative names.
[[nodiscard]] bool NamesSigner(GENERAL_NAME* name, X509* certificate);

}  // namespace qex::tool::strict
