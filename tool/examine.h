// What the library says about one message. Runs in a worker only (worker.h).
//
// The answer is a JSON object:
//   kind          request, reply, token, certificate, attribute certificate
//   request       fields of a request
//   status        of a reply: status, name, text, fail_info
//   token         the token in hexadecimal, when there is one
//   info          the token's TSTInfo for people; raw holds what is compared
//   raw           policy, hash, imprint, nonce as hexadecimal octets; times as received; cut
//   description   what else stands in the message
//   signer        the certificate that the token names: der, sha256, subject, key
//   verification  code, asn1_error, ess, key, digest; own: code of the check with the token's own
//                 certificate, when the one that was given did not pass
//   asn1          the printed message
#pragma once

#include "tool/json.h"
#include "tool/worker.h"

namespace qex::tool {

// Examine does a job; throws a Failure for input that is not what it should be.
Json Examine(const Job& job);

}  // namespace qex::tool
