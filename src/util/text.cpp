#include "util/text.h"

#include <utf8proc.h>

#include <cstddef>

namespace zt {

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
  std::vector<std::string> result;
  std::size_t start = 0;
  for (std::size_t end = 0; end <= text.size(); ++end) {
    const bool atLineEnd = end == text.size() || (text[end] == '\n' && (end == 0 || text[end - 1] != '\r'));
    if (!atLineEnd) continue;
    if (end > start) result.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    utf8proc_int32_t codepoint;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &codepoint);
    if (length <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace zt
