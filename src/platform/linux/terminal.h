#pragma once

#include <cstddef>
#include <optional>

namespace zt {

/// What there is to know of where the standard output goes.
struct Terminal {
  /// Asks the kernel and the environment: COLUMNS goes before the terminal's own width, and with NO_COLOR
  /// (https://no-color.org) or on a terminal that is "dumb" there is no colour.
  static Terminal ofStandardOutput();

  std::optional<std::size_t> columns;  ///< where output has to fit in a width
  bool hasColor = false;
};

}  // namespace zt
