// Public keys of certificates.
#pragma once

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

// DescribeKey describes the key of a certificate. bits is 0 for a key that libcrypto cannot use.
SignerKey DescribeKey(X509* certificate);

}  // namespace qex::tool::strict
