#include "platform/linux/fatal.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>
#include <system_error>

namespace zt::platform {

void fatal(std::string_view context, int error) {
  static std::mutex ending;
  ending.lock();  // never unlocked: of several threads that fail, only the first one writes
  std::string line = program_invocation_short_name;
  line.append(": ").append(context).append(": ").append(std::generic_category().message(error));
  std::ranges::replace_if(
      line, [](unsigned char byte) { return byte < ' '; }, '?');
  line += '\n';
  // If the line cannot be written, there is nothing left to do.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
  std::abort();
}

}  // namespace zt::platform
