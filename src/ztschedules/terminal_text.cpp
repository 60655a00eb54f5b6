#include "ztschedules/terminal_text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace zt {
namespace {

/// One character of a text, or one byte of what is not UTF-8.
struct Character {
  std::string_view bytes;
  utf8proc_int32_t codePoint;  // negative where it is not UTF-8
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
  // utf8proc takes marks that have a width of their own for ones that have none, and the inner and last letters of a
  // syllable of Hangul for ones that have a width.
  if (utf8proc_category(character.codePoint) == UTF8PROC_CATEGORY_MC) return 1;
  if (character.codePoint >= 0x1160 && character.codePoint <= 0x11FF) return 0;
  return static_cast<std::size_t>(utf8proc_charwidth(character.codePoint));
}

bool isShownAsItIs(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC:  // control
    case UTF8PROC_CATEGORY_CF:  // format, such as the direction of what follows
    case UTF8PROC_CATEGORY_CN:  // unassigned: nobody knows how wide it is
    case UTF8PROC_CATEGORY_ZL:  // line separator
    case UTF8PROC_CATEGORY_ZP:  // paragraph separator
      return false;
    default:
      return true;
  }
}

std::string escaped(const Character& character) {
  const bool isByte = character.codePoint < 0x80;
  const auto value = isByte ? static_cast<unsigned char>(character.bytes.front()) : unsigned(character.codePoint);
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), isByte ? "\\x%02x" : value > 0xFFFF ? "\\U%08x" : "\\u%04x", value);
  return text.data();
}

constexpr std::size_t gap = 2;
constexpr std::size_t leastColumns = 10;

/// How wide the columns of a table are made.
std::vector<std::size_t> widthsOf(const std::vector<Row>& rows, std::size_t firstFlexible,
                                  std::optional<std::size_t> columns) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columnsOf(row[i]));
  }
  if (!columns) return widths;
  const auto total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
  for (auto excess = total - std::min(total, *columns); excess > 0; --excess) {
    const auto widest = std::max_element(widths.begin() + static_cast<std::ptrdiff_t>(firstFlexible), widths.end());
    if (*widest <= leastColumns) break;
    --*widest;
  }
  return widths;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto character = takeCharacter(text);
    result += isShownAsItIs(character.codePoint) ? std::string(character.bytes) : escaped(character);
  }
  return result;
}

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) columns += widthOf(takeCharacter(text));
  return columns;
}

std::string shortened(std::string_view text, std::size_t columns) {
  constexpr std::size_t mostBytes = 16;  // in a column: there is no limit to the marks on a letter
  std::string whole = printable(text.substr(0, columns * mostBytes));
  if (columnsOf(whole) <= columns && text.size() <= columns * mostBytes) return whole;
  return std::string(wrapped(whole, columns - 1).front()) + "…";
}

std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;  // of the line that is being filled
  std::size_t used = 0;
  auto blank = text.npos;  // the last one in that line
  for (auto rest = text; !rest.empty();) {
    const auto position = text.size() - rest.size();
    const auto character = takeCharacter(rest);
    const bool isBlank = character.bytes == " ";
    if (isBlank) blank = position;
    used += widthOf(character);
    if (used <= columns || position == start) continue;
    // What is too wide goes on in the next line: from behind the blank, which is left out, or else from here.
    const bool hasBlank = blank != text.npos;
    const auto end = hasBlank ? blank : position;
    lines.push_back(text.substr(start, end - start));
    start = hasBlank ? blank + 1 : position;
    used = columnsOf(text.substr(start, text.size() - rest.size() - start));
    blank = text.npos;
  }
  lines.push_back(text.substr(start));
  return lines;
}

std::string table(const std::vector<Row>& rows, std::size_t firstFlexible, std::optional<std::size_t> columns) {
  const auto widths = widthsOf(rows, firstFlexible, columns);
  std::string result;
  for (const auto& row : rows) {
    std::vector<std::vector<std::string_view>> cells;
    std::size_t height = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
      cells.push_back(wrapped(row[i], widths[i]));
      height = std::max(height, cells.back().size());
    }
    for (std::size_t line = 0; line < height; ++line) {
      std::size_t blanks = 0;  // up to the next text
      for (std::size_t i = 0; i < cells.size(); ++i) {
        const auto text = line < cells[i].size() ? cells[i][line] : std::string_view();
        if (!text.empty()) {
          result.append(blanks, ' ').append(text);
          blanks = 0;
        }
        blanks += widths[i] - std::min(widths[i], columnsOf(text)) + gap;
      }
      result += '\n';
    }
  }
  return result;
}

}  // namespace zt
