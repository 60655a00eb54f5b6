#pragma once

#include <time.h>

#include <array>
#include <chrono>
#include <string>

namespace zt::simulation {

using Moment = std::chrono::sys_time<std::chrono::milliseconds>;
using Minute = std::chrono::sys_time<std::chrono::minutes>;

/// What the wall clock shows in the time zone of TZ.
inline tm localFields(Moment moment) {
  const time_t time = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  tm fields{};
  ::localtime_r(&time, &fields);
  return fields;
}

/// The same in a format of strftime(3).
inline std::string localTime(Moment moment, const char* format) {
  const tm fields = localFields(moment);
  std::array<char, 64> text{};
  ::strftime(text.data(), text.size(), format, &fields);
  return text.data();
}

}  // namespace zt::simulation
