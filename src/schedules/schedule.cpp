#include "schedules/schedule.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace zt {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;

/// Sets `reading` and gives the number if it is from 0 to `most`.
std::optional<int> parseNumber(std::string_view text, int most, FieldReading& reading) {
  std::string_view digits = text;
  // from_chars() reads a minus sign only.
  if (text.starts_with('+') && !text.starts_with("+-")) digits.remove_prefix(1);
  int number{};
  const char* const end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, number);
  if (rest == end && error == std::errc{} && number >= 0 && number <= most) return number;

  const bool isNumber = rest == end && error != std::errc::invalid_argument;
  const auto contains = [text](std::string_view characters) { return text.find_first_of(characters) != text.npos; };
  reading = isNumber           ? FieldReading::outOfRange
            : contains(" ")    ? FieldReading::hasBlank
            : contains("*,-/") ? FieldReading::multipleTimes
                               : FieldReading::notANumber;
  return std::nullopt;
}

/// Whether all texts between commas are items.
bool isListOf(std::string_view text, auto isItem) {
  for (;;) {
    const auto comma = text.find(',');
    if (!isItem(text.substr(0, comma))) return false;
    if (comma == text.npos) return true;
    text.remove_prefix(comma + 1);
  }
}

/// Sets `reading` and gives the weekdays of a field.
std::bitset<7> parseWeekdays(std::string_view text, FieldReading& reading) {
  std::bitset<7> weekdays;
  if (text == "*") return weekdays.set();
  const auto isDay = [](char c) { return c >= '0' && c <= '6'; };
  for (const char c : text) {
    if (isDay(c)) weekdays.set(static_cast<std::size_t>(c - '0'));
  }
  if (weekdays.none()) {
    reading = FieldReading::noDay;
  } else if (!isListOf(text, [&](auto item) { return item.size() == 1 && isDay(item.front()); })) {
    reading = FieldReading::partial;
  }
  return weekdays;
}

/// Sets `reading` and gives the day ranges of a field.
std::bitset<dayRanges.size()> parseDayRanges(std::string_view text, FieldReading& reading) {
  std::bitset<dayRanges.size()> ranges;
  if (text == "*") return ranges.set();
  for (std::size_t i = 0; i < dayRanges.size(); ++i) ranges[i] = text.find(dayRanges[i]) != text.npos;
  const auto isRange = [](auto item) { return std::ranges::find(dayRanges, item) != dayRanges.end(); };
  if (ranges.none()) {
    reading = FieldReading::noDay;
  } else if (!isListOf(text, isRange)) {
    reading = FieldReading::partial;
  }
  return ranges;
}

}  // namespace

bool Schedule::canFire() const {
  // In some month every weekday occurs in every range, so it is enough to accept one of each.
  return timeOfDay && weekdays.any() && ranges.any();
}

bool Schedule::firesOn(std::chrono::local_days day) const {
  if (!weekdays[std::chrono::weekday{day}.c_encoding()]) return false;
  const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
  return ranges[std::min<std::size_t>((dayOfMonth - 1) / 7, dayRanges.size() - 1)];
}

bool Schedule::firesAt(LocalTime time) const {
  const auto day = std::chrono::floor<days>(time);
  return timeOfDay == std::chrono::floor<minutes>(time - day) && firesOn(day);
}

Schedule parse(const CrontabLine& line) {
  Schedule schedule;
  auto& readings = schedule.readings;
  const auto minute = parseNumber(line.part(CrontabLine::minute), 59, readings[CrontabLine::minute]);
  const auto hour = parseNumber(line.part(CrontabLine::hour), 23, readings[CrontabLine::hour]);
  if (minute && hour) schedule.timeOfDay = hours{*hour} + minutes{*minute};
  schedule.ranges = parseDayRanges(line.part(CrontabLine::dayOfMonth), readings[CrontabLine::dayOfMonth]);
  if (line.part(CrontabLine::month) != "*") readings[CrontabLine::month] = FieldReading::ignored;
  schedule.weekdays = parseWeekdays(line.part(CrontabLine::dayOfWeek), readings[CrontabLine::dayOfWeek]);
  return schedule;
}

}  // namespace zt
