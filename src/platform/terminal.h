#pragma once

#include <cstddef>
#include <optional>

namespace zt::platform {

/// What standard output can show.
struct Terminal {
  /// Asks the kernel and the environment. COLUMNS overrides the width of the terminal, and limits output to a pipe as
  /// well. NO_COLOR (https://no-color.org) turns colour off, and so does a TERM of "dumb".
  static Terminal ofStandardOutput();

  std::optional<std::size_t> columns;  ///< nullopt if there is no limit
  bool hasColor = false;
};

}  // namespace zt::platform
