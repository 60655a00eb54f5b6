#include "ztschedules/time_text.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <stdexcept>

#include "schedules/crontab_line.h"
#include "util/local_time_text.h"
#include "ztschedules/terminal_text.h"

namespace zt {

using namespace std::chrono_literals;
using std::chrono::seconds;

namespace {

constexpr auto firstYear = std::chrono::year{1970};
constexpr auto lastYear = std::chrono::year{9998};

[[noreturn]] void reject(std::string_view text, const std::string& reason) {
  constexpr std::size_t mostColumns = 40;
  throw std::invalid_argument('"' + shortened(text, mostColumns) + "\" " + reason);
}

/// The fields of a text in a format of strptime(3), if it is in that format from end to end.
std::optional<tm> fieldsOf(const std::string& text, const char* format) {
  tm fields{};
  fields.tm_mday = 1;
  const char* const end = ::strptime(text.c_str(), format, &fields);
  if (end != text.c_str() + text.size()) return std::nullopt;
  return fields;
}

std::chrono::year_month monthOf(const tm& fields) {
  return std::chrono::year{fields.tm_year + 1900} / (fields.tm_mon + 1);
}

bool isInRange(std::chrono::year year) {
  return firstYear <= year && year <= lastYear;
}

/// An amount of each of two units, of which the second may be none.
std::string amount(std::int64_t first, const char* unit, std::int64_t second = 0, const char* secondUnit = "") {
  std::string text = std::to_string(first).append(unit);
  if (second > 0) text.append(" ").append(std::to_string(second)).append(secondUnit);
  return text;
}

}  // namespace

std::string timeText(Instant instant, const Calendar& calendar) {
  return formatted(calendar.localTime(instant), "%a %F %R ") + printable(calendar.zoneAbbreviation(instant));
}

std::string rfc3339(Instant instant, const Calendar& calendar) {
  constexpr auto largest = 23h + 59min;
  const auto exactOffset = calendar.localTime(instant).time_since_epoch() - instant.time_since_epoch();
  const auto offset = std::clamp(std::chrono::duration_cast<std::chrono::minutes>(exactOffset), -largest, largest);
  const std::chrono::hh_mm_ss parts{offset};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "%c%02d:%02d", parts.is_negative() ? '-' : '+',
                static_cast<int>(parts.hours().count()), static_cast<int>(parts.minutes().count()));
  return formatted(LocalTime{instant.time_since_epoch() + offset}, "%FT%T") + text.data();
}

std::string timeLeft(seconds left) {
  const std::chrono::hh_mm_ss parts{left};
  const auto hours = parts.hours().count();
  const auto minutes = parts.minutes().count();
  if (left >= 48h) return amount(hours / 24, " days");
  if (left >= 24h) return amount(1, " day", hours - 24, "h");
  if (left >= 1h) return amount(hours, "h", minutes, "min");
  if (left >= 1min) return amount(minutes, "min");
  return left > 0s ? amount(left.count(), "s") : "now";
}

Instant readTime(std::string_view text, const Calendar& calendar) {
  if (const auto number = readInteger(text)) {
    const auto end = std::chrono::sys_days{(lastYear + std::chrono::years{1}) / 1 / 1};
    const Instant instant{seconds{*number}};
    if (*number < 0 || instant >= end) reject(text, "is not a time from 1970 to 9998");
    return instant;
  }
  for (const auto* format : {"%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%dT%H:%M:%S"}) {
    const auto fields = fieldsOf(std::string(text), format);
    if (!fields) continue;
    const auto date = monthOf(*fields) / fields->tm_mday;
    if (!date.ok() || fields->tm_sec > 59) reject(text, "does not exist");
    if (!isInRange(date.year())) reject(text, "is not a time from 1970 to 9998");
    const auto instants = calendar.instants(std::chrono::local_days{date} + std::chrono::hours{fields->tm_hour} +
                                            std::chrono::minutes{fields->tm_min} + seconds{fields->tm_sec});
    if (instants.empty()) reject(text, "is a time that the clocks skip");
    return instants.front();
  }
  reject(text, "is neither seconds since 1970 nor a local date and time such as \"2027-03-14 01:00\"");
}

std::chrono::year_month readMonth(std::string_view text) {
  const auto fields = fieldsOf(std::string(text), "%Y-%m");
  if (!fields) reject(text, "is not a month such as 2027-03");
  const auto month = monthOf(*fields);
  if (!isInRange(month.year())) reject(text, "is not a month from 1970 to 9998");
  return month;
}

}  // namespace zt
