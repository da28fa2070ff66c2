// Definitions in namespace qex under names of the header, as the library's own could be in a static link. The
// linker must not take one for the other; names_test.cpp calls the header's.
#include <cstdint>

namespace qex {

std::int32_t last_asn_error() noexcept;
std::int32_t last_asn_error() noexcept {
  return 12345;
}

}  // namespace qex
