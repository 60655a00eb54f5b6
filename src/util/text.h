#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zt::util {

/// The pieces of `text` between single separators, empty ones kept: always at least one. They point into `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

/// The lines of a command's output, without empty ones. A carriage return and line feed count as one character, which
/// does not end a line: a text with such line ends is one line.
std::vector<std::string> lines(std::string_view text);

/// The same as parts of `text`.
std::vector<std::string_view> lineViews(std::string_view text);

/// The longest beginning of `text` that is well-formed UTF-8 (RFC 3629).
std::string_view validUtf8Prefix(std::string_view text);

/// Whether all of `text` is.
bool isValidUtf8(std::string_view text);

/// Whether all of `text` is UTF-8, and shown as it is: no control and format characters, line separators, and
/// unassigned code points.
bool isPrintable(std::string_view text);

struct CompareOptions {
  bool caseInsensitive = false;  ///< Unicode case folding, of no language in particular: "ß" is "SS" as well
  bool literal = false;          ///< code point by code point: é as one code point is not é as two
};

/// Whether two texts are the same from end to end: by canonical equivalence (Unicode Standard, section 3.7), with
/// `caseInsensitive` by canonical caseless matching (section 3.13, D145), with `literal` without any normalization. A
/// text that is not valid UTF-8 is the same only as one with the same bytes.
bool isSame(std::string_view a, std::string_view b, CompareOptions options);

}  // namespace zt::util
