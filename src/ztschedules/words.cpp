#include "ztschedules/words.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "schedules/matching.h"

namespace zt {
namespace {

using std::chrono::weekday;
using Texts = std::vector<std::string>;

/// Some days of the week, in full where it is one of them.
std::string inWords(const std::vector<weekday>& days) {
  if (days.size() == 1) return nameOf(days.front());
  Texts names;
  for (const auto day : days) names.push_back(nameOf(day).substr(0, 3));
  const auto last = days.front().iso_encoding() + days.size() - 1;
  if (days.size() > 2 && days.back().iso_encoding() == last) return names.front() + " to " + names.back();
  return listed(names);
}

std::string daysInWords(const CrontabLine& line) {
  static constexpr std::array ordinals = {"1st", "2nd", "3rd", "4th", "5th"};
  Texts accepted;
  for (std::size_t i = 0; i < ordinals.size(); ++i) {
    if (acceptsRange(line, dayRanges.at(i))) accepted.emplace_back(ordinals.at(i));
  }
  const auto days = acceptedWeekdays(line);
  if (accepted.size() == ordinals.size()) {
    if (days.size() == 7) return "every day";
    return days.size() == 1 ? "every " + inWords(days) : inWords(days);
  }
  if (days.size() == 7) return "days " + listed(acceptedRanges(line)) + " of the month";
  return listed(accepted) + " " + inWords(days) + " of the month";
}

}  // namespace

std::string scheduleInWords(const CrontabLine& line) {
  const auto time = firingTime(line);
  if (!time) return "never";
  const std::chrono::hh_mm_ss parts{*time};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), " at %02d:%02d", static_cast<int>(parts.hours().count()),
                static_cast<int>(parts.minutes().count()));
  return daysInWords(line) + text.data();
}

std::string listed(const Texts& texts) {
  std::string result = texts.front();
  for (std::size_t i = 1; i < texts.size(); ++i) {
    result.append(i + 1 < texts.size() ? ", " : " and ").append(texts[i]);
  }
  return result;
}

std::string nameOf(weekday day) {
  static constexpr std::array names = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  return names.at(day.c_encoding());
}

std::vector<weekday> acceptedWeekdays(const CrontabLine& line) {
  std::vector<weekday> result;
  for (unsigned day = 1; day <= 7; ++day) {
    if (acceptsWeekday(line, weekday{day})) result.emplace_back(day);
  }
  return result;
}

Texts acceptedRanges(const CrontabLine& line) {
  Texts result;
  for (const auto range : dayRanges) {
    const bool isRepeated = !result.empty() && result.back() == range;
    if (!isRepeated && acceptsRange(line, range)) result.emplace_back(range);
  }
  return result;
}

}  // namespace zt
