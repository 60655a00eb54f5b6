#include "util/text.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>

namespace zt::util {
namespace {

/// A text mapped by utf8proc with these options; unchanged if it is not valid UTF-8.
std::string mapped(const std::string& text, int options) {
  utf8proc_uint8_t* result = nullptr;
  const auto size =
      utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()),
                   &result, static_cast<utf8proc_option_t>(options));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, std::free);
  if (size < 0) return text;
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(size)};
}

/// A key that is equal for texts that are the same under the options.
std::string comparisonKey(std::string_view text, CompareOptions options) {
  const int decompose = options.literal ? 0 : UTF8PROC_DECOMPOSE;
  std::string key(text);
  // Also before folding: that turns a mark (U+0345) into a letter, which other marks cannot move past any more.
  if (!options.literal) key = mapped(key, decompose);
  if (options.caseInsensitive) key = mapped(key, decompose | UTF8PROC_CASEFOLD);
  return key;
}

}  // namespace

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  for (auto end = text.find(separator); end != text.npos; end = text.find(separator, start)) {
    pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

std::vector<std::string> lines(std::string_view text) {
  const auto views = lineViews(text);
  return {views.begin(), views.end()};
}

std::vector<std::string_view> lineViews(std::string_view text) {
  std::vector<std::string_view> result;
  std::size_t start = 0;
  while (start < text.size()) {
    auto end = text.find('\n', start);
    while (end != text.npos && end > start && text[end - 1] == '\r') end = text.find('\n', end + 1);
    end = std::min(end, text.size());
    if (end > start) result.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

std::string_view validUtf8Prefix(std::string_view text) {
  // Nearly all texts are ASCII. Without an early exit the compiler makes this loop many times quicker than decoding.
  unsigned char bits = 0;
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  if (bits < 0x80) return text;

  auto rest = text;
  while (!rest.empty()) {
    utf8proc_int32_t codepoint;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(rest.data()),
                                         static_cast<utf8proc_ssize_t>(rest.size()), &codepoint);
    if (length <= 0) break;
    rest.remove_prefix(static_cast<std::size_t>(length));
  }
  return text.substr(0, text.size() - rest.size());
}

bool isPrintable(std::string_view text) {
  while (!text.empty()) {
    utf8proc_int32_t codepoint;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &codepoint);
    if (length <= 0) return false;
    switch (utf8proc_category(codepoint)) {
      case UTF8PROC_CATEGORY_CC:  // control
      case UTF8PROC_CATEGORY_CF:  // format, such as the direction of what follows
      case UTF8PROC_CATEGORY_CN:  // unassigned: nobody knows how wide it is
      case UTF8PROC_CATEGORY_ZL:  // line separator
      case UTF8PROC_CATEGORY_ZP:  // paragraph separator
        return false;
      default:
        text.remove_prefix(static_cast<std::size_t>(length));
    }
  }
  return true;
}

bool isValidUtf8(std::string_view text) {
  return validUtf8Prefix(text).size() == text.size();
}

bool isSame(std::string_view a, std::string_view b, CompareOptions options) {
  return comparisonKey(a, options) == comparisonKey(b, options);
}

}  // namespace zt::util
