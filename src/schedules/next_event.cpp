#include "schedules/next_event.h"

#include <algorithm>

#include "schedules/matching.h"
#include "schedules/wall_time.h"

namespace zt {

using std::chrono::days;

namespace {

/// Where a search begins: no run is before `instant`, and no reading that is to come is before `earliest`.
struct Start {
  Instant instant;
  LocalTime earliest;
};

Start startAt(Instant reference, const Calendar& calendar) {
  const Minute minute = minuteOf(reference, calendar);
  return {.instant = minute.start, .earliest = earliestToCome(minute, calendar)};
}

std::optional<Instant> nextRun(const CrontabLine& line, const Start& start, const Calendar& calendar) {
  // A line that never fires would keep the search, and so every other schedule, from ending.
  if (!canFire(line)) return std::nullopt;
  const auto timeOfDay = std::chrono::hours{*readInteger(line.part(CrontabLine::hour))} +
                         std::chrono::minutes{*readInteger(line.part(CrontabLine::minute))};

  // From the first day on which the time of day is still to come.
  for (auto day = std::chrono::ceil<days>(start.earliest - timeOfDay);; day += days{1}) {
    if (!acceptsDay(line, day)) continue;
    if (const auto date = firstInstantAt(day + timeOfDay, start.instant, calendar)) return date;
  }
}

}  // namespace

std::optional<Instant> CrontabLine::nextRunDate(Instant reference, const Calendar& calendar) const {
  return nextRun(*this, startAt(reference, calendar), calendar);
}

std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar) {
  const Start start = startAt(reference, calendar);
  std::vector<Instant> dates;
  for (const auto& line : lines) {
    if (const auto date = nextRun(line, start, calendar)) dates.push_back(*date);
  }
  return earliestDate(dates);
}

std::optional<Instant> earliestDate(std::span<const Instant> dates) {
  if (dates.empty()) return std::nullopt;
  return *std::ranges::min_element(dates);
}

}  // namespace zt
