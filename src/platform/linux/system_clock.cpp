#include "platform/linux/system_clock.h"

#include <errno.h>
#include <time.h>

#include "platform/linux/fatal.h"

namespace zt::platform {

Instant SystemClock::now() const {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

std::chrono::milliseconds SystemClock::awakeTime() const {
  // CLOCK_MONOTONIC.
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

void SystemClock::sleep(std::chrono::seconds duration) {
  timespec end;
  if (::clock_gettime(CLOCK_BOOTTIME, &end) != 0) fatal("cannot read the clock", errno);
  end.tv_sec += duration.count();
  // The end is absolute, so a sleep that a signal interrupts still ends at the same time.
  int error;
  do {
    error = ::clock_nanosleep(CLOCK_BOOTTIME, TIMER_ABSTIME, &end, nullptr);
  } while (error == EINTR);
  if (error != 0) fatal("cannot sleep", error);
}

}  // namespace zt::platform
