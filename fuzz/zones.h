#pragma once

#include <algorithm>
#include <string_view>

#include "zone.h"

namespace zt {

/// One of zoneNames; UTC for other names.
inline Zone zoneOf(std::string_view name) {
  const auto* const known = std::ranges::find(zoneNames, name);
  return Zone(known == zoneNames.end() ? "UTC0" : *known);
}

}  // namespace zt
