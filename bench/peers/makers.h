// The libraries that are compared. A peer's function is there when its development package was found.
#pragma once

#include "bench/peers/row.h"

namespace qex::bench {

Maker Library();  // libqex, through its exports
Maker Openssl();
Maker Nettle();
Maker Gcrypt();
Maker Botan();
Maker Gnutls();
Maker Wolfssl();

// All that were found, libqex first.
std::vector<Maker> Makers();

}  // namespace qex::bench
