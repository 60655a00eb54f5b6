#include "platform/linux/standard_error_log.h"

#include <errno.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

namespace zt::platform {

void StandardErrorLog::write(std::string_view message) {
  timespec now{};
  tm local{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  ::localtime_r(&now.tv_sec, &local);
  std::array<char, 32> date{};
  ::strftime(date.data(), date.size(), "%F %T", &local);
  std::array<char, 128> heading{};
  std::snprintf(heading.data(), heading.size(), "%s.%03ld %.64s[%d:%d] ", date.data(), now.tv_nsec / 1'000'000,
                program_invocation_short_name, ::getpid(), ::gettid());

  const std::string line = std::string(heading.data()).append(message).append("\n");
  const std::scoped_lock lock(writing_);  // a long line is written to a pipe in pieces
  for (std::string_view left = line; !left.empty();) {
    const auto written = ::write(STDERR_FILENO, left.data(), left.size());
    if (written > 0) {
      left.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return;
    }
  }
}

}  // namespace zt::platform
