#include "logging/plain_format.h"

#include <algorithm>

#include "property.h"

namespace zt {
namespace {

/// `text` with each `piece` replaced by another text.
std::string replaced(std::string text, std::string_view piece, std::string_view by) {
  for (auto at = text.find(piece); at != text.npos; at = text.find(piece, at + by.size())) {
    text.replace(at, piece.size(), by);
  }
  return text;
}

}  // namespace

/// Input: a format.
void check(std::string_view input) {
  // Begins with a character that the format does not contain, so that it can be found in the result.
  constexpr std::string_view argument = "\1%@%%d";
  std::string format(input);
  std::erase(format, '\1');

  const auto without = expandPlainFormat(format);
  require(format.find('%') != format.npos || without == format, "a text without directives is printed as it is");
  require(without.size() <= 3 * format.size(), "a field width has no effect");  // "%@" is "(null)"

  const auto with = expandPlainFormat(format, argument);
  require(std::ranges::count(with, '\1') <= 1, "the argument is printed at most once");
  require(replaced(with, argument, "(null)") == without, "the argument is printed as it is, in place of (null)");

  for (const auto* percent : {"%%", "%-05.3l%"}) {
    const auto escaped = replaced(format, "%", percent);
    require(expandPlainFormat(escaped) == format, "a percent sign can be escaped");
    require(expandPlainFormat(escaped + "%@", argument) == format + std::string(argument),
            "a directive after escapes takes the argument");
  }
}

}  // namespace zt
