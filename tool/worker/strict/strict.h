// The strict reader: the findings of OpenSSL's libcrypto on a token, a reply and the trusted certificates. It
// knows the algorithms and identifiers that the library's table lacks, and makes the checks that the library
// does not: the padding of an RSA block, the certificate's purpose and dates, chains and revocation. Runs in
// a worker only.
#pragma once

#include <optional>

#include "tool/base/bytes.h"
#include "tool/message/facts.h"
#include "tool/message/trust.h"

namespace qex::tool {

// HasStrictReader returns whether this build reads tokens strictly; one without libcrypto does not.
[[nodiscard]] bool HasStrictReader();

// ReadStrictly reads a token and judges it; `allowWeak` accepts weak digests and short keys in the chain and
// in revocation lists. Throws a Stop when the token cannot be read at all.
StrictReading ReadStrictly(ByteView token, const Trust& trust, bool allowWeak = false);

struct StrictReply {
  Status status;
  std::optional<Bytes> token;
};

// ReadReplyStrictly reads the status of a reply and takes its token out. Throws a Stop.
StrictReply ReadReplyStrictly(ByteView reply);

// CheckTrust decodes the files of the trust options; throws a Failure (exit status Input) that names the
// source of anything that is not a certificate or list. Call it before ReadStrictly gets `trust`.
void CheckTrust(const Trust& trust);

// DescribeExtensions renders the extensions of a certificate for people, one entry each: name, whether it is
// critical, and its value in words. None when the certificate cannot be read.
struct ExtensionText {
  std::string name;
  bool critical = false;
  std::string value;
};
std::vector<ExtensionText> DescribeExtensions(ByteView certificate);

// KeyOf describes the key of a certificate; type is empty when it cannot be read.
SignerKey KeyOf(ByteView certificate);

}  // namespace qex::tool
