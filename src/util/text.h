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

}  // namespace zt
