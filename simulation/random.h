#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>
#include <random>

#include "local_time.h"

namespace zt::simulation {

/// The source of all randomness on one machine. With the same seed the same calls give the same values.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// From 0 to `end` - 1.
  std::int64_t below(std::int64_t end) {
    return static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(end));
  }
  bool oneIn(std::int64_t chances) { return below(chances) == 0; }

  template <typename Choices>
  const auto& pick(const Choices& choices) {
    return choices[static_cast<std::size_t>(below(static_cast<std::int64_t>(std::size(choices))))];
  }

  milliseconds between(milliseconds least, milliseconds most) {
    return least + milliseconds{below((most - least).count() + 1)};
  }
  /// The time to the next event of a Poisson process: exponentially distributed.
  milliseconds about(milliseconds mean) {
    const double fraction = static_cast<double>(engine_() >> 11) * 0x1p-53;
    return milliseconds{static_cast<std::int64_t>(-std::log1p(-fraction) * static_cast<double>(mean.count()))};
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace zt::simulation
