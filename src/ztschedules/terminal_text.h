#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/terminal.h"

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

/// What a text stands for, which its colour shows.
enum class Style : std::uint8_t { plain, dueNow, dueDay, error, warning };

/// A printable text in the colour of a style; unchanged without colour.
std::string styled(std::string_view text, Style style, bool hasColor);

/// A printable text of any length in lines that fit the terminal.
std::string paragraph(std::string_view text, Style style, const platform::Terminal& terminal);

/// Writes a message, made printable, to standard error as a line of ztschedules.
void printMessage(std::string_view text);

struct Row {
  std::vector<std::string> cells;  ///< printable
  Style style = Style::plain;
  std::optional<std::size_t> errorCell{};  ///< shown as an error, in a row that is plain
};

/// A table with two blanks between columns. The first row is its header; all rows have the same number of cells. If the
/// table is wider than the terminal, the columns from `firstFlexible` on are made narrower, and their cells wrapped. If
/// these would get too narrow to read, each row becomes a block, with a line for each cell behind its header. A block
/// needs 12 columns.
std::string table(const std::vector<Row>& rows, std::size_t firstFlexible, const platform::Terminal& terminal);

}  // namespace zt
