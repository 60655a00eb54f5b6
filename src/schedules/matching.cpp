#include "schedules/matching.h"

#include <array>

namespace zt {
namespace {

/// `weekday` is 0 for Sunday to 6.
bool acceptsWeekday(const CrontabLine& line, unsigned weekday) {
  const auto& dayOfWeek = line.part(CrontabLine::dayOfWeek);
  return dayOfWeek == "*" || dayOfWeek.find(static_cast<char>('0' + weekday)) != dayOfWeek.npos;
}

/// `ordinal` tells which of its weekday in the month a day is, from 1.
bool acceptsOrdinal(const CrontabLine& line, unsigned ordinal) {
  static constexpr std::array<std::string_view, 5> ranges = {"1-7", "8-14", "15-21",
                                                             "22-31",  // the fourth and the fifth
                                                             "22-31"};
  const auto& dayOfMonth = line.part(CrontabLine::dayOfMonth);
  return dayOfMonth == "*" || dayOfMonth.find(ranges.at(ordinal - 1)) != dayOfMonth.npos;
}

}  // namespace

bool acceptsDay(const CrontabLine& line, std::chrono::local_days day) {
  if (!acceptsWeekday(line, std::chrono::weekday{day}.c_encoding())) return false;
  const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
  return acceptsOrdinal(line, (dayOfMonth - 1) / 7 + 1);
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

  // Every weekday has a first to fifth occurrence in some month.
  for (unsigned weekday = 0; weekday < 7; ++weekday) {
    if (!acceptsWeekday(line, weekday)) continue;
    for (unsigned ordinal = 1; ordinal <= 5; ++ordinal) {
      if (acceptsOrdinal(line, ordinal)) return std::chrono::hours{*hour} + std::chrono::minutes{*minute};
    }
  }
  return std::nullopt;
}

}  // namespace zt
