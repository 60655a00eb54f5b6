#include "local_time.h"

#include <array>

namespace zt::simulation {

tm localFields(Moment moment) {
  const time_t time = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
  tm fields{};
  ::localtime_r(&time, &fields);
  return fields;
}

std::string localTime(Moment moment, const char* format) {
  const tm fields = localFields(moment);
  std::array<char, 64> text{};
  ::strftime(text.data(), text.size(), format, &fields);
  return text.data();
}

}  // namespace zt::simulation
