#include "platform/linux/fatal.h"

#include <errno.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <system_error>

namespace zt {

void fatal(std::string_view context, int error) {
  std::string line = program_invocation_short_name;
  line.append(": ").append(context).append(": ");
  line.append(std::generic_category().message(error)).append("\n");
  // Nothing is left to do about a line that cannot be written.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
  std::abort();
}

}  // namespace zt
