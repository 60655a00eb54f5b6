#include "platform/terminal.h"

#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <string_view>

namespace zt::platform {
namespace {

/// Empty if a variable is not set.
std::string_view environment(const char* name) {
  const char* value = ::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

}  // namespace

Terminal Terminal::ofStandardOutput() {
  Terminal result;
  if (::isatty(STDOUT_FILENO) != 0) {
    result.hasColor = environment("NO_COLOR").empty() && environment("TERM") != "dumb";
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    result.columns = known ? size.ws_col : 80;
  }
  const auto wanted = environment("COLUMNS");
  std::size_t columns = 0;
  const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), columns);
  if (error == std::errc{} && end == wanted.data() + wanted.size() && columns > 0) result.columns = columns;
  return result;
}

}  // namespace zt::platform
