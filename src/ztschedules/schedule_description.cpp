#include "ztschedules/schedule_description.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace zt {
namespace {

using Texts = std::vector<std::string>;

/// The weekdays, Monday first, that a schedule has, as numbers from 0.
std::vector<std::size_t> weekdaysFromMonday(const Schedule& schedule) {
  std::vector<std::size_t> days;
  for (std::size_t day = 0; day < 7; ++day) {
    if (schedule.weekdays[(day + 1) % 7]) days.push_back(day);
  }
  return days;
}

/// "Monday", "Mon and Fri", "Mon to Fri".
std::string describeWeekdays(const Schedule& schedule) {
  auto names = weekdayNames(schedule);
  if (names.size() == 1) return names.front();
  for (auto& name : names) name.resize(3);
  const auto days = weekdaysFromMonday(schedule);
  const bool areConsecutive = days.back() - days.front() + 1 == days.size();
  if (areConsecutive && days.size() > 2) return names.front() + " to " + names.back();
  return listed(names);
}

std::string describeDays(const Schedule& schedule) {
  if (schedule.weekdays.all() && schedule.ranges.all()) return "every day";
  if (schedule.weekdays.all()) return "days " + listed(rangeTexts(schedule)) + " of the month";
  const auto weekdays = describeWeekdays(schedule);
  if (!schedule.ranges.all()) return describeOccurrences(schedule) + " " + weekdays + " of the month";
  return schedule.weekdays.count() == 1 ? "every " + weekdays : weekdays;
}

}  // namespace

std::string describe(const Schedule& schedule) {
  if (!schedule.canFire()) return "never";
  const std::chrono::hh_mm_ss time{*schedule.timeOfDay};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), " at %02d:%02d", static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()));
  return describeDays(schedule) + text.data();
}

std::string fieldName(CrontabLine::Field field) {
  static constexpr std::array names = {"minute", "hour", "day of month", "month", "day of week", "command"};
  return names.at(field);
}

Texts weekdayNames(const Schedule& schedule) {
  static constexpr std::array names = {"Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
  Texts result;
  for (const auto day : weekdaysFromMonday(schedule)) result.emplace_back(names.at(day));
  return result;
}

Texts rangeTexts(const Schedule& schedule) {
  Texts result;
  for (std::size_t i = 0; i < dayRanges.size(); ++i) {
    if (schedule.ranges[i]) result.emplace_back(dayRanges.at(i));
  }
  return result;
}

std::string describeOccurrences(const Schedule& schedule) {
  static constexpr std::array occurrences = {"1st", "2nd", "3rd", "4th"};
  Texts texts;
  for (std::size_t i = 0; i < occurrences.size(); ++i) {
    if (schedule.ranges[i]) texts.emplace_back(occurrences.at(i));
  }
  if (schedule.ranges[3]) texts.emplace_back("5th");  // the last range has both
  return listed(texts);
}

std::string listed(const Texts& texts) {
  std::string result = texts.front();
  for (std::size_t i = 1; i < texts.size(); ++i) {
    result.append(i + 1 < texts.size() ? ", " : " and ").append(texts[i]);
  }
  return result;
}

}  // namespace zt
