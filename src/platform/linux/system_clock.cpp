#include "platform/linux/system_clock.h"

#include <errno.h>
#include <poll.h>
#include <sys/timerfd.h>
#include <time.h>

#include <array>

#include "platform/file_handle.h"
#include "platform/linux/fatal.h"

namespace zt::platform {
namespace {

FileHandle timer(clockid_t clock, int flags, std::chrono::seconds time) {
  const int descriptor = ::timerfd_create(clock, TFD_CLOEXEC);
  const itimerspec setting{.it_interval = {}, .it_value = {.tv_sec = time.count(), .tv_nsec = 0}};
  if (descriptor < 0 || ::timerfd_settime(descriptor, flags, &setting, nullptr) != 0) fatal("cannot sleep", errno);
  return FileHandle(descriptor);
}

}  // namespace

Instant SystemClock::now() const {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

std::chrono::milliseconds SystemClock::awakeTime() const {
  // CLOCK_MONOTONIC.
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

void SystemClock::sleep(std::chrono::seconds duration) {
  if (duration <= std::chrono::seconds{0}) return;
  const FileHandle end = timer(CLOCK_BOOTTIME, 0, duration);
  // timerfd_create(2): it is cancelled when that clock jumps, and can be read then. Its own time never comes.
  const FileHandle jump =
      timer(CLOCK_REALTIME, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, std::chrono::seconds::max());
  std::array<pollfd, 2> either = {{{end.fileDescriptor(), POLLIN, 0}, {jump.fileDescriptor(), POLLIN, 0}}};
  while (::poll(either.data(), either.size(), -1) < 0) {
    if (errno != EINTR) fatal("cannot sleep", errno);
  }
}

}  // namespace zt::platform
