#include "driver/date_text.h"

#include <array>
#include <cstdio>

#include "util/local_time_text.h"

namespace zt {

std::string dateText(Instant instant, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(instant);
  const std::chrono::hh_mm_ss offset{local.time_since_epoch() - instant.time_since_epoch()};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), " %c%02d%02d", offset.is_negative() ? '-' : '+',
                static_cast<int>(offset.hours().count()), static_cast<int>(offset.minutes().count()));
  return formatted(local, "%F %T") + text.data();
}

std::string wakeTimeText(Instant instant, const Calendar& calendar) {
  return formatted(calendar.localTime(instant), "%-m/%-d/%Y %-H:%-M:00");
}

}  // namespace zt
