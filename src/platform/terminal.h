#pragma once

#include <cstddef>
#include <optional>

namespace zt::platform {

/// What the standard output can show.
struct Terminal {
  /// Asks the kernel and the environment. COLUMNS goes before a terminal's own width, and limits what goes into a pipe,
  /// too. With NO_COLOR (https://no-color.org), and on a terminal that is "dumb", there is no colour.
  static Terminal ofStandardOutput();

  std::optional<std::size_t> columns;  ///< nullopt where there is no limit
  bool hasColor = false;
};

}  // namespace zt::platform
