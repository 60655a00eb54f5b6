#include "schedules/next_event.h"

#include <algorithm>

#include "schedules/matching.h"
#include "schedules/wall_time.h"

namespace zt {

using std::chrono::days;

namespace {

std::optional<Instant> nextRun(const CrontabLine& line, const Minute& reference, const Calendar& calendar) {
  const auto time = firingTime(line);
  // A line that never fires would keep the search, and so every other schedule, from ending.
  if (!time) return std::nullopt;

  // Clocks that are set back, which is by a day at most, show again what is over.
  for (auto day = std::chrono::ceil<days>(reference.local - days{1} - *time);; day += days{1}) {
    if (!acceptsDay(line, day)) continue;
    if (const auto date = firstInstantAt(day + *time, reference, calendar)) return date;
  }
}

}  // namespace

std::optional<Instant> CrontabLine::nextRunDate(Instant reference, const Calendar& calendar) const {
  return nextRun(*this, minuteOf(reference, calendar), calendar);
}

std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar) {
  const Minute minute = minuteOf(reference, calendar);
  std::vector<Instant> dates;
  for (const auto& line : lines) {
    if (const auto date = nextRun(line, minute, calendar)) dates.push_back(*date);
  }
  return earliestDate(dates);
}

std::optional<Instant> earliestDate(std::span<const Instant> dates) {
  if (dates.empty()) return std::nullopt;
  return *std::ranges::min_element(dates);
}

}  // namespace zt
