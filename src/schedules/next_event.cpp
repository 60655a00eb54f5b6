#include "schedules/next_event.h"

#include <algorithm>
#include <vector>

#include "schedules/wall_time.h"

namespace zt {
namespace {

using std::chrono::days;

std::optional<Instant> nextRun(const Schedule& schedule, const Minute& reference, const Calendar& calendar) {
  // Otherwise the search would never end.
  if (!schedule.canFire()) return std::nullopt;

  // The search starts a day early: clocks can be set back by up to a day, and then show past times again.
  for (auto day = std::chrono::ceil<days>(reference.local - days{1} - *schedule.timeOfDay);; day += days{1}) {
    if (!schedule.firesOn(day)) continue;
    if (const auto date = firstInstantAt(day + *schedule.timeOfDay, reference, calendar)) return date;
  }
}

}  // namespace

std::optional<Instant> nextRunDate(const Schedule& schedule, Instant reference, const Calendar& calendar) {
  return nextRun(schedule, minuteOf(reference, calendar), calendar);
}

std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar) {
  const Minute minute = minuteOf(reference, calendar);
  std::vector<Instant> dates;
  for (const auto& line : lines) {
    if (const auto date = nextRun(parse(line), minute, calendar)) dates.push_back(*date);
  }
  return earliestDate(dates);
}

std::optional<Instant> earliestDate(std::span<const Instant> dates) {
  if (dates.empty()) return std::nullopt;
  return *std::ranges::min_element(dates);
}

}  // namespace zt
