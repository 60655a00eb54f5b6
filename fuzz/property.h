#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zt {

/// Aborts after a message if a property is violated, so that the fuzzer keeps the input.
inline void require(bool isTrue, const char* property) {
  if (isTrue) return;
  std::fprintf(stderr, "Violated: %s\n", property);
  std::abort();
}

/// Checks the properties of a parser on one input. Each target defines it.
void check(std::string_view input);

/// Removes the first line from an input that has several parts, and gives it.
inline std::string_view takeLine(std::string_view& input) {
  const auto line = input.substr(0, input.find('\n'));
  input.remove_prefix(std::min(line.size() + 1, input.size()));
  return line;
}

}  // namespace zt
