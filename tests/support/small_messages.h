// A small message of each kind, with elements of many kinds: tests that try something at every single element
// of a message start from these.
#pragma once

#include "tests/support/der.h"
#include "tests/support/token_parts.h"

namespace qex::test {

// A TimeStampReq with a policy, a nonce, certReq and an extension.
Octets SmallRequest();

// A TimeStampResp with texts, this failInfo and a ContentInfo of data in the place of a token.
Octets SmallReply(const Octets& fail_info);

// A TSTInfo with an accuracy, a nonce and a name.
TstInfoMaker SmallTstInfo();

// The attribute certificate of SmallToken, with a signature of eight octets.
AttrCertParts SmallAttrCert();

// A token of SmallTstInfo with a certificate, an attribute certificate and one of another format, and with
// claimed and certified attributes of the signer.
TokenParts SmallToken();

}  // namespace qex::test
