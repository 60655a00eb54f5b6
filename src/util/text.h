#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zt {

/// The pieces of `text` between single separators, empty ones kept: always at least one. They point
/// into `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

/// The lines of a command's output, without empty ones. A carriage return and line feed count as
/// one character, which does not end a line: a text with such line ends is one line.
std::vector<std::string> lines(std::string_view text);

/// Whether `text` is well-formed UTF-8 (RFC 3629).
bool isValidUtf8(std::string_view text);

/// How texts are compared; options are combined with |.
enum class CompareOptions : unsigned {
  none = 0,
  caseInsensitive = 1,  ///< Unicode case folding, of no language in particular: "ß" is as good as "SS".
  literal = 2,          ///< Code point by code point: é as one code point is not é as two.
};
constexpr CompareOptions operator|(CompareOptions a, CompareOptions b) {
  return static_cast<CompareOptions>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

/// Whether two texts are the same from end to end. Unless `literal`, canonically equivalent texts are
/// (Unicode Standard, section 3.7), and with `caseInsensitive` canonical caseless matches as well (section
/// 3.13, D145). A text that is not valid UTF-8 is only the same as one of the same bytes.
bool isSame(std::string_view a, std::string_view b, CompareOptions options);

}  // namespace zt
