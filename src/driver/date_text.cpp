#include "driver/date_text.h"

#include <array>
#include <cstdio>

namespace zt {
namespace {

struct Components {
  explicit Components(LocalTime local)
      : date(std::chrono::floor<std::chrono::days>(local)),
        time(local - std::chrono::floor<std::chrono::days>(local)) {}

  int year() const { return int{date.year()}; }
  unsigned month() const { return unsigned{date.month()}; }
  unsigned day() const { return unsigned{date.day()}; }
  int hour() const { return static_cast<int>(time.hours().count()); }
  int minute() const { return static_cast<int>(time.minutes().count()); }
  int second() const { return static_cast<int>(time.seconds().count()); }

  std::chrono::year_month_day date;
  std::chrono::hh_mm_ss<std::chrono::seconds> time;
};

}  // namespace

std::string dateText(Instant instant, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(instant);
  const Components c(local);
  const std::chrono::hh_mm_ss offset{local.time_since_epoch() - instant.time_since_epoch()};
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d %c%02d%02d", c.year(), c.month(), c.day(),
                c.hour(), c.minute(), c.second(), offset.is_negative() ? '-' : '+',
                static_cast<int>(offset.hours().count()), static_cast<int>(offset.minutes().count()));
  return text.data();
}

std::string wakeTimeText(Instant instant, const Calendar& calendar) {
  const Components c(calendar.localTime(instant));
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%u/%u/%d %d:%d:00", c.month(), c.day(), c.year(), c.hour(), c.minute());
  return text.data();
}

}  // namespace zt
