#include "util/text.h"

#include <array>

#include "property.h"

namespace zt {

using namespace util;
namespace {

/// Whether a text is UTF-8 by RFC 3629, section 3: each code point in the shortest form, and no surrogates.
bool decodes(std::string_view text) {
  struct Length {
    unsigned leadMask, lead, continuations, first, last;
  };
  static constexpr std::array<Length, 4> lengths = {{{0x80, 0x00, 0, 0, 0x7F},
                                                     {0xE0, 0xC0, 1, 0x80, 0x7FF},
                                                     {0xF0, 0xE0, 2, 0x800, 0xFFFF},
                                                     {0xF8, 0xF0, 3, 0x10000, 0x10FFFF}}};
  while (!text.empty()) {
    const auto lead = static_cast<unsigned char>(text.front());
    const auto* const length =
        std::ranges::find_if(lengths, [lead](const Length& l) { return (lead & l.leadMask) == l.lead; });
    if (length == lengths.end() || text.size() <= length->continuations) return false;
    unsigned codePoint = lead & ~length->leadMask;
    for (const char byte : text.substr(1, length->continuations)) {
      if ((byte & 0xC0) != 0x80) return false;
      codePoint = codePoint << 6U | (static_cast<unsigned>(byte) & 0x3FU);
    }
    if (codePoint < length->first || codePoint > length->last) return false;
    if (codePoint >= 0xD800 && codePoint <= 0xDFFF) return false;
    text.remove_prefix(1 + length->continuations);
  }
  return true;
}

void checkLines(std::string_view text) {
  for (const auto& line : lines(text)) {
    while (text.starts_with('\n')) text.remove_prefix(1);
    require(!line.empty() && text.starts_with(line), "lines are the parts of the text between line feeds");
    for (auto feed = line.find('\n'); feed != line.npos; feed = line.find('\n', feed + 1)) {
      require(feed > 0 && line[feed - 1] == '\r', "a line feed within a line follows a carriage return");
    }
    text.remove_prefix(line.size());
    require(text.empty() || (text.front() == '\n' && !line.ends_with('\r')), "a line ends at its line feed");
  }
  require(text.find_first_not_of('\n') == text.npos, "no line is left out");
}

void checkComparison(std::string_view a, std::string_view b) {
  const bool areTexts = isValidUtf8(a) && isValidUtf8(b);
  const bool same = isSame(a, b, {});
  for (const bool caseInsensitive : {false, true}) {
    for (const bool literal : {false, true}) {
      const CompareOptions options{caseInsensitive, literal};
      require(isSame(a, a, options) && isSame(b, b, options), "a text is the same as itself");
      require(isSame(a, b, options) == isSame(b, a, options), "comparison is symmetric");
      require(areTexts || isSame(a, b, options) == (a == b), "invalid UTF-8 is compared byte by byte");
    }
  }
  for (const auto& text : {std::string(a), std::string(b)}) {
    require(isSame(text + "é", text + "e\u0301", {}) == isValidUtf8(text), "composition makes no difference");
    require(isSame(text + "é", text + "É", {.caseInsensitive = true}) == isValidUtf8(text), "case can be ignored");
  }
  require(isSame(a, b, {.literal = true}) == (a == b), "literal comparison is byte by byte");
  require(!same || isSame(a, b, {.caseInsensitive = true}), "what is the same is also the same if case is ignored");
}

}  // namespace

/// Input: a text. Its first line is compared with the rest.
void check(std::string_view input) {
  require(isValidUtf8(input) == decodes(input), "UTF-8 is recognized");
  checkLines(input);
  const auto line = takeLine(input);
  checkComparison(line, input);
}

}  // namespace zt
