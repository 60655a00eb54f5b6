#include "util/local_time_text.h"

#include <time.h>

#include <array>

namespace zt {

std::string formatted(LocalTime local, const char* format) {
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date{day};
  const std::chrono::hh_mm_ss time{local - day};
  tm fields{};
  fields.tm_year = int{date.year()} - 1900;
  fields.tm_mon = static_cast<int>(unsigned{date.month()}) - 1;
  fields.tm_mday = static_cast<int>(unsigned{date.day()});
  fields.tm_wday = static_cast<int>(std::chrono::weekday{day}.c_encoding());
  fields.tm_hour = static_cast<int>(time.hours().count());
  fields.tm_min = static_cast<int>(time.minutes().count());
  fields.tm_sec = static_cast<int>(time.seconds().count());
  std::array<char, 64> text;
  return {text.data(), ::strftime(text.data(), text.size(), format, &fields)};
}

}  // namespace zt
