// Identifier octets (X.690 8.1.2) as Element::tag holds them.
#pragma once

#include <cstdint>

namespace qex::inspect {

// Universal types.
inline constexpr uint8_t kBoolean = 0x01;
inline constexpr uint8_t kInteger = 0x02;
inline constexpr uint8_t kBitString = 0x03;
inline constexpr uint8_t kOctetString = 0x04;
inline constexpr uint8_t kNull = 0x05;
inline constexpr uint8_t kOid = 0x06;
inline constexpr uint8_t kUtf8String = 0x0C;
inline constexpr uint8_t kTeletexString = 0x14;
inline constexpr uint8_t kUtcTime = 0x17;
inline constexpr uint8_t kGeneralizedTime = 0x18;
inline constexpr uint8_t kUniversalString = 0x1C;
inline constexpr uint8_t kBmpString = 0x1E;
inline constexpr uint8_t kSequence = 0x30;
inline constexpr uint8_t kSet = 0x31;

// Constructed elements under a context tag. A file that reads one type names its tags by their meaning.
inline constexpr uint8_t kContext0 = 0xA0;
inline constexpr uint8_t kContext1 = 0xA1;

}  // namespace qex::inspect
