#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zt {

/// Ends the process where a property does not hold, so that the input is kept.
inline void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "Does not hold: %s\n", property);
  std::abort();
}

/// What a target holds every input to. Each target defines it.
void check(std::string_view input);

/// Takes the first line off an input that has several parts.
inline std::string_view takeLine(std::string_view& input) {
  const auto line = input.substr(0, input.find('\n'));
  input.remove_prefix(std::min(line.size() + 1, input.size()));
  return line;
}

}  // namespace zt
