#include "platform/linux/sleep_watch.h"

#include <thread>

#include "platform/linux/system_clock.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

/// For how long the machine has been suspended since it was started.
std::chrono::milliseconds timeAsleep() {
  const auto uptime = SystemClock().uptime();
  return uptime.total - uptime.awake;
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
