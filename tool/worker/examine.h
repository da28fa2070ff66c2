// What the library says about one message. Runs in a worker only (worker.h).
//
// The answer is a JSON object:
//   kind          request, reply, token, certificate, attribute certificate
//   trailing      the number of octets behind the message, when there are any
//   request       fields of a request
//   status        of a reply: status, name, text; failure of a refusal, fail_info where it names one
//   token         the token in hexadecimal, when there is one
//   info          the token's TSTInfo for people; raw holds what is compared
//   raw           what is compared: policy, hash, imprint, nonce as hexadecimal octets (nonce_cut when
//                 it is longer than the record); dotted algorithms of the signer
//   description   what else stands in the message
//   ess           v1 or v2, the signing-certificate attribute that counts
//   signer        the certificate that the token names: code, der, sha256, subject, key
//   tac           the time attribute certificate, of a token the one that it carries: see examine_tac.h
//   tac_match     of a token: code and asn1_error of the check that the certificate of the job, or else
//                 its own, belongs to it
//   rewritten     the token written afresh, in hexadecimal
//   verification  key; code and asn1_error, unless the key is too large to be tried (its excess is not
//                 empty); of a given certificate given_sha256 and, when it did not pass, own, the code of
//                 the check with the token's own certificate; unknown, the failure that names what kept
//                 the given certificate from being read
//   asn1          the printed message
#pragma once

#include "tool/base/json.h"
#include "tool/worker/worker.h"

namespace qex::tool {

// Examine does a job; throws a Failure for input that is not what it should be.
Json Examine(const Job& job);

}  // namespace qex::tool
