#pragma once

#include <chrono>

namespace zt::platform {

/// Waits for a machine that is about to sleep.
class SleepWatch {
 public:
  /// For `limit` of time awake.
  explicit SleepWatch(std::chrono::milliseconds limit);

  /// Waits for `duration`. Gives false if the machine has slept since the construction, or if the limit is reached.
  bool pause(std::chrono::milliseconds duration) const;

 private:
  std::chrono::steady_clock::time_point end_;
  std::chrono::milliseconds asleepBefore_;
};

}  // namespace zt::platform
