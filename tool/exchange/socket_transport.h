// A time-stamp exchange over a bare socket: a length of four octets, a flag, the message.
#pragma once

#include <chrono>
#include <string>

#include "tool/base/bytes.h"

namespace qex::tool {

// CheckSocketAddress throws a usage Failure for anything but HOST:PORT or [v6]:PORT.
void CheckSocketAddress(const std::string& address);

// ExchangeOverSocket sends a framed request to `address` (HOST:PORT, [v6]:PORT) and returns the reply
// without its frame; throws a Failure, whose exit status is Network when asking again may help.
Bytes ExchangeOverSocket(const std::string& address, ByteView framedRequest,
                         std::chrono::milliseconds timeout);

}  // namespace qex::tool
