// libcrypto's verdicts on a chain, in the words of the tool.
#pragma once

#include "tool/message/facts.h"
#include "tool/worker/strict/libcrypto.h"

namespace qex::tool::strict {

// ChainFault renders an X509_V_ERR_* about a certificate, which may be null.
Chain ChainFault(int error, const X509* certificate);

}  // namespace qex::tool::strict
