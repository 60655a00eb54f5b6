#include "ztschedules/terminal_text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <numeric>
#include <span>

#include "util/text.h"

namespace zt {
namespace {

/// One character of a text, or one byte of what is not UTF-8.
struct Character {
  std::string_view bytes;
  utf8proc_int32_t codePoint;  // negative if it is not UTF-8
};

Character takeCharacter(std::string_view& text) {
  utf8proc_int32_t codePoint;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
  const Character character{text.substr(0, static_cast<std::size_t>(std::max<utf8proc_ssize_t>(length, 1))), codePoint};
  text.remove_prefix(character.bytes.size());
  return character;
}

std::size_t widthOf(const Character& character) {
  // utf8proc gives marks with a width of their own no width, and the inner and last letters of a Hangul syllable one.
  if (utf8proc_category(character.codePoint) == UTF8PROC_CATEGORY_MC) return 1;
  if (character.codePoint >= 0x1160 && character.codePoint <= 0x11FF) return 0;
  return static_cast<std::size_t>(utf8proc_charwidth(character.codePoint));
}

std::string escaped(const Character& character) {
  const bool isByte = character.codePoint < 0x80;  // an ASCII character, or what is not UTF-8
  const auto value = isByte ? static_cast<unsigned char>(character.bytes.front()) : unsigned(character.codePoint);
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), isByte ? "\\x%02x" : value > 0xFFFF ? "\\U%08x" : "\\u%04x", value);
  return text.data();
}

/// The longest beginning of a printable text that takes at most so many columns.
std::string_view beginning(std::string_view text, std::size_t columns) {
  std::size_t size = 0;
  for (auto rest = text; !rest.empty(); size = text.size() - rest.size()) {
    const auto width = widthOf(takeCharacter(rest));
    if (width > columns) break;
    columns -= width;
  }
  return text.substr(0, size);
}

using Widths = std::vector<std::size_t>;

constexpr std::size_t gap = 2;  // between two columns

/// The width of each column that its widest cell needs.
Widths naturalWidths(const std::vector<Row>& rows) {
  Widths widths(rows.front().cells.size());
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], displayWidth(row.cells[i]));
  }
  return widths;
}

/// Takes a column off the widest flexible one until the table fits. Gives whether it does before all of them are at
/// their minimum.
bool shrink(Widths& widths, std::size_t firstFlexible, std::size_t columns) {
  constexpr std::size_t minimum = 14;
  const auto flexible = std::span(widths).subspan(firstFlexible);
  auto total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
  for (; total > columns; --total) {
    auto& widest = *std::ranges::max_element(flexible);
    if (widest <= minimum) return false;
    --widest;
  }
  return true;
}

/// A row as lines of the table: as many as its highest cell has when it is wrapped.
std::string wrappedRow(const Row& row, const Widths& widths, bool hasColor) {
  std::vector<std::vector<std::string_view>> cells;
  std::size_t height = 0;
  for (std::size_t column = 0; column < widths.size(); ++column) {
    cells.push_back(wrapped(row.cells[column], widths[column]));
    height = std::max(height, cells.back().size());
  }
  std::string result;
  for (std::size_t i = 0; i < height; ++i) {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
      const auto text = i < cells[column].size() ? cells[column][i] : std::string_view();
      const bool isError = row.style == Style::plain && column == row.errorCell;
      line += styled(text, isError && !text.empty() ? Style::error : Style::plain, hasColor);
      line.append(widths[column] - displayWidth(text) + gap, ' ');
    }
    line.resize(line.find_last_not_of(' ') + 1);
    result += styled(line, row.style, hasColor) + '\n';
  }
  return result;
}

/// A table that is too wide, as a block for each row.
std::string blocks(const std::vector<Row>& rows, const platform::Terminal& terminal) {
  const auto& header = rows.front().cells;
  std::size_t labelWidth = 0;
  for (const auto& label : header) labelWidth = std::max(labelWidth, displayWidth(label));
  const Widths widths = {labelWidth, std::max(*terminal.columns, labelWidth + 2 * gap) - labelWidth - gap};
  std::string result;
  for (const auto& row : std::span(rows).subspan(1)) {
    if (!result.empty()) result += '\n';
    for (std::size_t i = 0; i < header.size(); ++i) {
      const auto errorCell = i == row.errorCell ? std::optional<std::size_t>(1) : std::nullopt;
      result += wrappedRow({{header[i], row.cells[i]}, row.style, errorCell}, widths, terminal.hasColor);
    }
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto character = takeCharacter(text);
    result += util::isPrintable(character.bytes) ? std::string(character.bytes) : escaped(character);
  }
  return result;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) columns += widthOf(takeCharacter(text));
  return columns;
}

std::string shortened(std::string_view text, std::size_t columns) {
  const auto mostBytes = columns * 16;  // a letter can have any number of marks
  auto start = printable(text.substr(0, mostBytes));
  if (text.size() <= mostBytes && displayWidth(start) <= columns) return start;
  return std::string(beginning(start, columns - 1)) + "…";
}

std::string quote(std::string_view text) {
  constexpr std::size_t mostColumns = 40;
  const bool isGraphicAscii = !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~'; });
  const auto shown = shortened(text, mostColumns);
  return isGraphicAscii ? shown : '"' + shown + '"';
}

std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string_view> lines;
  for (;;) {
    const auto fitting = beginning(text, columns);
    if (fitting.size() == text.size()) break;
    // The blank at which the line is broken, which may be the first character that does not fit, goes.
    const auto blank = text.rfind(' ', fitting.size());
    const bool breaksAtBlank = blank != text.npos && blank > 0;
    const auto line = breaksAtBlank ? text.substr(0, blank) : fitting;
    lines.push_back(line);
    text.remove_prefix(line.size() + (breaksAtBlank ? 1 : 0));
  }
  lines.push_back(text);
  return lines;
}

std::string paragraph(std::string_view text, Style style, const platform::Terminal& terminal) {
  std::string result;
  for (const auto line : wrapped(text, std::max<std::size_t>(terminal.columns.value_or(text.size()), 2))) {
    result += styled(line, style, terminal.hasColor) + '\n';
  }
  return result;
}

void printMessage(std::string_view text) {
  std::cerr << "ztschedules: " << printable(text) << '\n';
}

std::string styled(std::string_view text, Style style, bool hasColor) {
  // Select Graphic Rendition of ECMA-48: 1 is bold, 31 red, 32 green, 33 yellow.
  static constexpr std::array<std::string_view, 5> codes = {"", "1", "1;32", "31", "33"};
  if (!hasColor || style == Style::plain) return std::string(text);
  std::string result = "\x1b[";
  return result.append(codes.at(static_cast<std::size_t>(style))).append("m").append(text).append("\x1b[0m");
}

std::string table(const std::vector<Row>& rows, std::size_t firstFlexible, const platform::Terminal& terminal) {
  auto widths = naturalWidths(rows);
  if (terminal.columns && !shrink(widths, firstFlexible, *terminal.columns)) return blocks(rows, terminal);
  std::string result;
  for (const auto& row : rows) result += wrappedRow(row, widths, terminal.hasColor);
  return result;
}

}  // namespace zt
