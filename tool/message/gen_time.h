// genTime: the GeneralizedTime of a token in the syntax that RFC 3161, 2.4.2 allows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qex::tool {

struct GenTime {
  int64_t seconds = 0;  // since 1970
  std::string iso;      // 2026-09-18T10:11:12.5Z
};

// ParseGenTime reads YYYYMMDDhhmmss[.f...]Z: a real calendar time in UTC, with seconds, and a fraction that
// does not end in zero. Nothing for any other text.
[[nodiscard]] std::optional<GenTime> ParseGenTime(std::string_view text);

// IsoTime renders seconds since 1970 as 2026-09-18T10:11:12Z.
std::string IsoTime(int64_t seconds);

// ParseIsoTime reads 2026-09-18, 2026-09-18T10:11Z or 2026-09-18T10:11:12Z; nothing for any other text.
[[nodiscard]] std::optional<int64_t> ParseIsoTime(std::string_view text);

}  // namespace qex::tool
