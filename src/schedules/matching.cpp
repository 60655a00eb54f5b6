#include "schedules/matching.h"

#include <algorithm>

namespace zt {

bool acceptsWeekday(const CrontabLine& line, std::chrono::weekday weekday) {
  const auto& dayOfWeek = line.part(CrontabLine::dayOfWeek);
  return dayOfWeek == "*" || dayOfWeek.find(static_cast<char>('0' + weekday.c_encoding())) != dayOfWeek.npos;
}

bool acceptsRange(const CrontabLine& line, std::string_view range) {
  const auto& dayOfMonth = line.part(CrontabLine::dayOfMonth);
  return dayOfMonth == "*" || dayOfMonth.find(range) != dayOfMonth.npos;
}

bool acceptsDay(const CrontabLine& line, std::chrono::local_days day) {
  if (!acceptsWeekday(line, std::chrono::weekday{day})) return false;
  const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
  return acceptsRange(line, dayRanges.at((dayOfMonth - 1) / 7));
}

bool CrontabLine::runsOnDay(Instant time, const Calendar& calendar) const {
  return acceptsDay(*this, std::chrono::floor<std::chrono::days>(calendar.localTime(time)));
}

bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(time);
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::hh_mm_ss timeOfDay{local - day};
  return readInteger(line.part(CrontabLine::minute)) == timeOfDay.minutes().count() &&
         readInteger(line.part(CrontabLine::hour)) == timeOfDay.hours().count() && acceptsDay(line, day);
}

std::optional<std::chrono::minutes> firingTime(const CrontabLine& line) {
  const auto minute = readInteger(line.part(CrontabLine::minute));
  const auto hour = readInteger(line.part(CrontabLine::hour));
  if (!minute || *minute < 0 || *minute >= 60 || !hour || *hour < 0 || *hour >= 24) return std::nullopt;

  // Each weekday falls into each range in some month, so that accepting one of each is enough.
  const bool acceptsSomeRange = std::ranges::any_of(dayRanges, [&](auto range) { return acceptsRange(line, range); });
  bool acceptsSomeWeekday = false;
  for (unsigned day = 0; day < 7 && !acceptsSomeWeekday; ++day) {
    acceptsSomeWeekday = acceptsWeekday(line, std::chrono::weekday{day});
  }
  if (!acceptsSomeRange || !acceptsSomeWeekday) return std::nullopt;
  return std::chrono::hours{*hour} + std::chrono::minutes{*minute};
}

}  // namespace zt
