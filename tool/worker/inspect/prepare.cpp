// One-time preparation of the core library for inspection.
#include "asn1/oids.h"
#include "ber/error_hook.h"
#include "tool/worker/inspect/decoded.h"

namespace qex::inspect {

void Prepare() {
  static const bool prepared = [] {
    AsnErrorHandler = [](const char*, int) {};
    return RegisterOpenTypes();
  }();
  if (!prepared) throw std::bad_alloc();
}

}  // namespace qex::inspect
