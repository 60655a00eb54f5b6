#pragma once

#include <vector>

#include "platform/clock.h"

namespace zt {

/// A clock that stands still but for sleeps.
struct FakeClock : Clock {
  explicit FakeClock(Instant start) : time(start) {}

  Instant now() const override { return time; }
  void sleep(std::chrono::seconds duration) override {
    if (sleeps.empty()) time += changeInFirstSleep;
    sleeps.push_back(duration.count());
    time += duration;
  }

  Instant time;
  std::chrono::seconds changeInFirstSleep{0};  ///< as when somebody sets the clock
  std::vector<std::int64_t> sleeps;
};

}  // namespace zt
