#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zt {

/// A text made safe for a terminal, which does nothing but show it: control characters, invisible characters that
/// change how others are shown, unassigned characters, and bytes that are not UTF-8 are escaped, as in "\x1b" and
/// "\u202e". A backslash stays as it is.
std::string printable(std::string_view text);

/// How many columns of a terminal a printable text takes.
std::size_t displayWidth(std::string_view text);

/// A text in printable form and at most so many columns, at least 2, with an ellipsis in place of what does not fit.
std::string shortened(std::string_view text, std::size_t columns);

/// A text as messages quote it: in printable form, shortened, and in quotes where its ends could not be seen otherwise.
std::string quote(std::string_view text);

/// The lines of a printable text that has only so many columns, at least 2: broken at blanks, or within a word that is
/// wider. They point into `text`.
std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns);

using Row = std::vector<std::string>;

/// Rows of printable cells one below the other, two blanks between columns, each row ended by a line feed. There is one
/// row at least, and all have the same number of cells. Where they are wider than `columns`, the cells of the columns
/// from `firstFlexible` on are wrapped, to no less than 10.
std::string table(const std::vector<Row>& rows, std::size_t firstFlexible, std::optional<std::size_t> columns);

}  // namespace zt
