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

/// Returns the number if it is from 0 to `maximum`; otherwise sets `reading` to the reason why not.
std::optional<int> parseNumber(std::string_view text, int maximum, FieldReading& reading) {
  std::string_view digits = text;
  // from_chars() accepts a minus sign, but not a plus sign.
  if (text.starts_with('+') && !text.starts_with("+-")) digits.remove_prefix(1);
  int number{};
  const char* const end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, number);
  if (rest == end && error == std::errc{} && number >= 0 && number <= maximum) return number;

  const bool isNumber = rest == end && error != std::errc::invalid_argument;
  const bool isExpression = text.find_first_not_of("0123456789*,-/") == text.npos &&
                            (text == "*" || text.find_first_of("*,-/", 1) != text.npos);
  reading = isNumber                      ? FieldReading::outOfRange
            : isExpression                ? FieldReading::multipleTimes
            : text.find(' ') != text.npos ? FieldReading::hasBlank
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

/// Returns the weekdays that a field names. Sets `reading` if they are not all that it says.
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

/// Returns the day ranges that a field names. Sets `reading` if they are not all that it says.
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
  // Every month has every weekday in every range, so one of each is enough.
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
