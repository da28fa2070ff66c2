// Errors of the codec that tests of several types and layers expect.
#pragma once

#include <cstdint>

namespace qex::test {

inline constexpr const char* kTagPastEnd = "BDecTag: ERROR - decoded past the end of data\n";
inline constexpr const char* kBadEoc = "BDecEoc: ERROR - non zero byte in EOC or end of data reached\n";
inline constexpr const char* kBadSecondOctet = "ERROR - second octet of EOC not zero\n";

// An open type whose identifier is not registered: the text and the code.
inline constexpr const char* kNoDecoder = "ERROR - ANY Decode routine is NULL\n";
inline constexpr int32_t kUnknownType = -44;

}  // namespace qex::test
