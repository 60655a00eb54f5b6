#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>
#include <random>

namespace zt::simulation {

using std::chrono::milliseconds;

/// All that is drawn for one machine. The same seed and the same questions give the same answers.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// From 0 to `end`, without `end`.
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
  /// As long as one waits for what comes without memory, once in `mean`.
  milliseconds about(milliseconds mean) {
    const double fraction = static_cast<double>(engine_() >> 11) * 0x1p-53;
    return milliseconds{static_cast<std::int64_t>(-std::log1p(-fraction) * static_cast<double>(mean.count()))};
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace zt::simulation
