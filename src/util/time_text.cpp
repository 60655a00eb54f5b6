#include "util/time_text.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace zt::util {

using namespace std::chrono_literals;
using std::chrono::seconds;

namespace {

constexpr auto firstYear = std::chrono::year{1970};
constexpr auto lastYear = std::chrono::year{9998};
constexpr auto* outOfRange = "is not a time from 1970 to 9998";

seconds offsetAt(Instant instant, const Calendar& calendar) {
  return calendar.localTime(instant).time_since_epoch() - instant.time_since_epoch();
}

/// An offset from UTC as "+01:00", or with another separator or none.
std::string offsetText(seconds offset, const char* separator) {
  const std::chrono::hh_mm_ss parts{offset};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "%c%02d%s%02d", parts.is_negative() ? '-' : '+',
                static_cast<int>(parts.hours().count()), separator, static_cast<int>(parts.minutes().count()));
  return text.data();
}

/// An amount in each of two units. The second one may be zero.
std::string amount(std::int64_t first, const char* unit, std::int64_t second = 0, const char* secondUnit = "") {
  std::string text = std::to_string(first).append(unit);
  if (second > 0) text.append(" ").append(std::to_string(second)).append(secondUnit);
  return text;
}

/// The fields of a text that matches a format of strptime(3) from end to end.
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

/// nullopt if there is no such day, or second.
std::optional<LocalTime> localTimeOf(const tm& fields) {
  const auto date = monthOf(fields) / fields.tm_mday;
  if (!date.ok() || fields.tm_sec > 59) return std::nullopt;
  return std::chrono::local_days{date} + std::chrono::hours{fields.tm_hour} + std::chrono::minutes{fields.tm_min} +
         seconds{fields.tm_sec};
}

/// The instant that a text names if it is a number.
std::optional<Instant> readPosixTime(const std::string& text) {
  std::int64_t number{};
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || rest != text.data() + text.size()) return std::nullopt;
  const Instant instant{seconds{number}};
  const Instant end = std::chrono::sys_days{(lastYear + std::chrono::years{1}) / 1 / 1};
  if (error != std::errc{} || number < 0 || instant >= end) throw std::invalid_argument(outOfRange);
  return instant;
}

}  // namespace

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

std::string dateText(Instant instant, const Calendar& calendar) {
  return formatted(calendar.localTime(instant), "%F %T ") + offsetText(offsetAt(instant, calendar), "");
}

std::optional<Date> readDateText(const std::string& text) {
  const auto fields = fieldsOf(text, "%Y-%m-%d %H:%M:%S %z");
  const auto local = fields ? localTimeOf(*fields) : std::nullopt;
  if (!local) return std::nullopt;
  const seconds offset{fields->tm_gmtoff};
  return Date{Instant{local->time_since_epoch() - offset}, offset};
}

std::string wakeTimeText(Instant instant, const Calendar& calendar) {
  return formatted(calendar.localTime(instant), "%-m/%-d/%Y %-H:%-M:00");
}

std::string timeText(Instant instant, const Calendar& calendar) {
  return formatted(calendar.localTime(instant), "%a %F %R ") + calendar.zoneAbbreviation(instant);
}

std::string rfc3339(Instant instant, const Calendar& calendar) {
  constexpr auto largest = 23h + 59min;
  const auto inMinutes = std::chrono::duration_cast<std::chrono::minutes>(offsetAt(instant, calendar));
  const auto offset = std::clamp(inMinutes, -largest, largest);
  return formatted(LocalTime{instant.time_since_epoch() + offset}, "%FT%T") + offsetText(offset, ":");
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

Instant readTime(const std::string& text, const Calendar& calendar) {
  if (const auto instant = readPosixTime(text)) return *instant;
  static constexpr auto* date = "%Y-%m-%d";
  for (const auto* format : {date, "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%dT%H:%M:%S"}) {
    const auto fields = fieldsOf(text, format);
    if (!fields) continue;
    const auto local = localTimeOf(*fields);
    if (!local) throw std::invalid_argument("does not exist");
    if (!isInRange(monthOf(*fields).year())) throw std::invalid_argument(outOfRange);
    auto instants = calendar.instants(*local);
    // A day starts later if the clocks skip its midnight.
    for (auto time = *local; format == date && instants.empty() && time < *local + 24h; time += 1min) {
      instants = calendar.instants(time);
    }
    if (instants.empty()) throw std::invalid_argument("is a time that the clocks skip");
    return instants.front();
  }
  throw std::invalid_argument(
      "is neither seconds since 1970 nor a local date, with or without a time, such as \"2027-03-14 01:00\"");
}

std::optional<LocalTime> readLocalTime(const std::string& text, const char* format) {
  const auto fields = fieldsOf(text, format);
  return fields && isInRange(monthOf(*fields).year()) ? localTimeOf(*fields) : std::nullopt;
}

std::chrono::year_month readMonth(const std::string& text) {
  const auto fields = fieldsOf(text, "%Y-%m");
  if (!fields) throw std::invalid_argument("is not a month such as 2027-03");
  const auto month = monthOf(*fields);
  if (!isInRange(month.year())) throw std::invalid_argument("is not a month from 1970 to 9998");
  return month;
}

}  // namespace zt::util
