#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zt {

/// A text that is safe to show on a terminal: control characters, invisible characters that change how others are
/// shown, unassigned characters, and bytes that are not UTF-8 are escaped, as in "\x1b" and "\u202e". A backslash stays
/// as it is.
std::string printable(std::string_view text);

/// How many columns a printable text takes on a terminal.
std::size_t displayWidth(std::string_view text);

/// A text made printable and cut to `columns`, at least 2, with an ellipsis in place of what does not fit.
std::string shortened(std::string_view text, std::size_t columns);

/// A text as messages quote it: printable, shortened, and in quotes if its ends could not be seen otherwise.
std::string quote(std::string_view text);

/// A printable text as lines of at most `columns`, at least 2. They are broken at blanks, or within a word that is
/// wider, and point into `text`.
std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns);

/// Writes a message, made printable, to standard error as a line of ztschedules.
void printMessage(std::string_view text);

using Row = std::vector<std::string>;

/// A table of printable cells, with two blanks between columns. There is at least one row, and all rows have the same
/// number of cells. If the table is wider than `columns`, the columns from `firstFlexible` on are made narrower, down
/// to 10, and their cells wrapped.
std::string table(const std::vector<Row>& rows, std::size_t firstFlexible, std::optional<std::size_t> columns);

}  // namespace zt
