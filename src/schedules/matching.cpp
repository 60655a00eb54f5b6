#include "schedules/matching.h"

#include <algorithm>

namespace zt {

bool acceptsWeekday(const CrontabLine& line, std::chrono::weekday weekday) {
  const auto& dayOfWeek = line.part(CrontabLine::dayOfWeek);
  return dayOfWeek == "*" || dayOfWeek.find(static_cast<char>('0' + weekday.c_encoding())) != dayOfWeek.npos;
}

bool acceptsWeek(const CrontabLine& line, std::string_view range) {
  const auto& dayOfMonth = line.part(CrontabLine::dayOfMonth);
  return dayOfMonth == "*" || dayOfMonth.find(range) != dayOfMonth.npos;
}

bool acceptsDay(const CrontabLine& line, std::chrono::local_days day) {
  if (!acceptsWeekday(line, std::chrono::weekday{day})) return false;
  const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
  const std::size_t week = (dayOfMonth - 1) / 7;
  return acceptsWeek(line, weekRanges.at(std::min(week, weekRanges.size() - 1)));
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

  // Every weekday comes in each week of some month.
  if (std::ranges::none_of(weekRanges, [&](auto range) { return acceptsWeek(line, range); })) return std::nullopt;
  for (unsigned weekday = 0; weekday < 7; ++weekday) {
    if (acceptsWeekday(line, std::chrono::weekday{weekday})) {
      return std::chrono::hours{*hour} + std::chrono::minutes{*minute};
    }
  }
  return std::nullopt;
}

}  // namespace zt
