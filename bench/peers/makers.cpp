// Which libraries take part, as the configuration found them.
#include "bench/peers/makers.h"

namespace qex::bench {

std::vector<Maker> Makers() {
  return {
      Library(),
#ifdef QEX_PEER_OPENSSL
      Openssl(),
#endif
#ifdef QEX_PEER_NETTLE
      Nettle(),
#endif
#ifdef QEX_PEER_GCRYPT
      Gcrypt(),
#endif
#ifdef QEX_PEER_BOTAN
      Botan(),
#endif
#ifdef QEX_PEER_GNUTLS
      Gnutls(),
#endif
#ifdef QEX_PEER_WOLFSSL
      Wolfssl(),
#endif
  };
}

}  // namespace qex::bench
