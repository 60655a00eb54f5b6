#include "schedules/matching.h"

#include <array>

namespace zt {
namespace {

bool contains(std::string_view text, std::string_view piece) {
  return text.find(piece) != text.npos;
}

/// `weekday` is 0 for Sunday to 6; `ordinal` tells which of its kind in the month it is, from 1.
bool acceptsDay(const CrontabLine& line, unsigned weekday, unsigned ordinal) {
  static constexpr std::array<std::string_view, 5> ranges = {"1-7", "8-14", "15-21",
                                                             "22-31",  // the fourth and the fifth
                                                             "22-31"};
  const auto& dayOfWeek = line.part(CrontabLine::dayOfWeek);
  if (dayOfWeek != "*" && !contains(dayOfWeek, std::to_string(weekday))) return false;
  const auto& dayOfMonth = line.part(CrontabLine::dayOfMonth);
  return dayOfMonth == "*" || contains(dayOfMonth, ranges.at(ordinal - 1));
}

}  // namespace

bool acceptsDay(const CrontabLine& line, std::chrono::local_days day) {
  const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
  return acceptsDay(line, std::chrono::weekday{day}.c_encoding(), (dayOfMonth - 1) / 7 + 1);
}

bool CrontabLine::runsOnDay(Instant time, const Calendar& calendar) const {
  return acceptsDay(*this, std::chrono::floor<std::chrono::days>(calendar.localTime(time)));
}

bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(time);
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::hh_mm_ss timeOfDay{local - day};
  return acceptsDay(line, day) && readInteger(line.part(CrontabLine::minute)) == timeOfDay.minutes().count() &&
         readInteger(line.part(CrontabLine::hour)) == timeOfDay.hours().count();
}

bool canFire(const CrontabLine& line) {
  const auto inRange = [](std::optional<std::int64_t> value, std::int64_t end) {
    return value && *value >= 0 && *value < end;
  };
  if (!inRange(readInteger(line.part(CrontabLine::minute)), 60) ||
      !inRange(readInteger(line.part(CrontabLine::hour)), 24)) {
    return false;
  }
  // Every weekday has a first to fifth occurrence in some month.
  for (unsigned weekday = 0; weekday < 7; ++weekday) {
    for (unsigned ordinal = 1; ordinal <= 5; ++ordinal) {
      if (acceptsDay(line, weekday, ordinal)) return true;
    }
  }
  return false;
}

}  // namespace zt
