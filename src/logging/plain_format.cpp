#include "logging/plain_format.h"

#include <cstddef>
#include <optional>

namespace zt {
namespace {

std::string expand(std::string_view format, std::optional<std::string_view> argument) {
  constexpr std::string_view modifiers = "0123456789 #+-'.*$hlLjqtz";
  constexpr std::string_view texts = "@sS";
  constexpr std::string_view numbers = "diouxXDOUcCpaAeEfFgG";

  std::string result;
  while (!format.empty()) {
    const auto percent = format.find('%');
    result += format.substr(0, percent);
    if (percent == format.npos) break;
    format.remove_prefix(percent);

    const auto end = format.find_first_not_of(modifiers, 1);
    const char conversion = end == format.npos ? '\0' : format[end];
    const std::string_view directive = format.substr(0, end == format.npos ? end : end + 1);
    if (conversion == '%') {
      result += '%';
    } else if (conversion == '@' && argument) {
      result += *argument;
      argument.reset();
    } else if (conversion != '\0' && texts.find(conversion) != texts.npos) {
      result += "(null)";
    } else if (conversion != '\0' && numbers.find(conversion) != numbers.npos) {
      result += '0';
    } else {
      result += directive;
    }
    format.remove_prefix(directive.size());
  }
  return result;
}

}  // namespace

std::string expandPlainFormat(std::string_view format, std::string_view argument) {
  return expand(format, argument);
}

std::string expandPlainFormat(std::string_view format) {
  return expand(format, std::nullopt);
}

}  // namespace zt
