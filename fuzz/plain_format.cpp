#include "logging/plain_format.h"

#include <algorithm>

#include "property.h"

namespace zt {
namespace {

/// `text` with another text in place of each `piece`.
std::string replaced(std::string text, std::string_view piece, std::string_view by) {
  for (auto at = text.find(piece); at != text.npos; at = text.find(piece, at + by.size())) {
    text.replace(at, piece.size(), by);
  }
  return text;
}

}  // namespace

/// A format.
void check(std::string_view input) {
  // Begins with a character that the format does not have, so that it is told from the rest.
  constexpr std::string_view argument = "\1%@%%d";
  std::string format(input);
  std::erase(format, '\1');

  const auto without = expandPlainFormat(format);
  require(format.find('%') != format.npos || without == format, "a text without directives is printed as it stands");
  require(without.size() <= 3 * format.size(), "a directive is not printed at any width");  // "%@" is "(null)"

  const auto with = expandPlainFormat(format, argument);
  require(std::ranges::count(with, '\1') <= 1, "the argument is printed once at most");
  require(replaced(with, argument, "(null)") == without, "the argument is printed as it stands, in place of (null)");

  for (const auto* percent : {"%%", "%-05.3l%"}) {
    const auto escaped = replaced(format, "%", percent);
    require(expandPlainFormat(escaped) == format, "a percent sign can be had");
    require(expandPlainFormat(escaped + "%@", argument) == format + std::string(argument),
            "the argument has its place");
  }
}

}  // namespace zt
