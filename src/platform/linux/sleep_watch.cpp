#include "platform/linux/sleep_watch.h"

#include <time.h>

#include <thread>

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

std::chrono::nanoseconds read(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

/// For how long the machine has been suspended since it was started: only one of these clocks counts that.
std::chrono::nanoseconds timeAsleep() {
  return read(CLOCK_BOOTTIME) - read(CLOCK_MONOTONIC);
}

}  // namespace

SleepWatch::SleepWatch(std::chrono::milliseconds limit)
    : end_(std::chrono::steady_clock::now() + limit), asleepBefore_(timeAsleep()) {}

bool SleepWatch::pause(std::chrono::milliseconds duration) const {
  std::this_thread::sleep_for(duration);
  const bool hasSlept = timeAsleep() - asleepBefore_ > 100ms;  // the clocks are read one after the other
  return !hasSlept && std::chrono::steady_clock::now() < end_;
}

}  // namespace zt::platform
