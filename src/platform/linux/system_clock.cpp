#include "platform/linux/system_clock.h"

#include <errno.h>
#include <poll.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <limits>

#include "platform/file_handle.h"
#include "platform/linux/fatal.h"

namespace zt::platform {
namespace {

std::chrono::nanoseconds timeOf(clockid_t clock) {
  timespec time{};
  if (::clock_gettime(clock, &time) != 0) fatal("cannot read the clock", errno);
  return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

/// How far the wall clock is ahead of the time since the machine was started. That changes when the clock is set, but
/// not when it is slewed, which changes the rate of both.
std::chrono::nanoseconds wallClockLead() {
  return timeOf(CLOCK_REALTIME) - timeOf(CLOCK_BOOTTIME);
}

FileHandle timer(clockid_t clock, int flags, std::chrono::seconds time) {
  const int descriptor = ::timerfd_create(clock, TFD_CLOEXEC | TFD_NONBLOCK);
  const itimerspec setting{.it_interval = {}, .it_value = {.tv_sec = time.count(), .tv_nsec = 0}};
  // ECANCELED: the clock was set at this moment. The timer is set all the same.
  if (descriptor < 0 || (::timerfd_settime(descriptor, flags, &setting, nullptr) != 0 && errno != ECANCELED))
    fatal("cannot sleep", errno);
  return FileHandle(descriptor);
}

}  // namespace

Instant SystemClock::now() const {
  return Instant(std::chrono::floor<std::chrono::seconds>(timeOf(CLOCK_REALTIME)));
}

Clock::Uptime SystemClock::uptime() const {
  using std::chrono::milliseconds;
  const auto awake = timeOf(CLOCK_MONOTONIC);
  return {.total = floor<milliseconds>(timeOf(CLOCK_BOOTTIME)), .awake = floor<milliseconds>(awake)};
}

bool SystemClock::sleep(std::chrono::seconds duration) {
  if (duration <= std::chrono::seconds{0}) return true;
  const auto setForward = wallClockLead() + std::chrono::milliseconds{100};
  const FileHandle end = timer(CLOCK_BOOTTIME, 0, duration);
  // timerfd_create(2): this one is cancelled, and can be read, when the clock is set, forward or back, and when the
  // machine resumes. Its own time never comes.
  constexpr std::chrono::seconds never{std::numeric_limits<time_t>::max()};
  const FileHandle jump = timer(CLOCK_REALTIME, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, never);
  std::array<pollfd, 2> either = {{{end.fileDescriptor(), POLLIN, 0}, {jump.fileDescriptor(), POLLIN, 0}}};
  while (either[0].revents == 0 && wallClockLead() < setForward) {
    if (::poll(either.data(), either.size(), -1) < 0 && errno != EINTR) fatal("cannot sleep", errno);
    // Reading it clears that: it can be read again when the clock is set again.
    std::uint64_t expirations{};
    [[maybe_unused]] const auto size = ::read(jump.fileDescriptor(), &expirations, sizeof expirations);
  }
  return either[0].revents != 0;
}

}  // namespace zt::platform
