#include "schedules/next_event.h"

#include <algorithm>

#include "schedules/matching.h"
#include "schedules/wall_time.h"

namespace zt {

using std::chrono::days;

std::optional<Instant> CrontabLine::nextRunDate(Instant reference, const Calendar& calendar) const {
  // A line that never fires would keep the search, and so every other schedule, from ending.
  if (!canFire(*this)) return std::nullopt;
  const auto timeOfDay =
      std::chrono::hours{*readInteger(part(hour))} + std::chrono::minutes{*readInteger(part(minute))};
  const Instant start = startOfMinute(reference, calendar);

  // Clocks that are set back across midnight bring the day before back: it is looked at as well.
  auto day = std::chrono::floor<days>(calendar.localTime(start)) - days{1};
  for (;; day += days{1}) {
    if (!acceptsDay(*this, day)) continue;
    if (const auto date = firstInstantAt(day + timeOfDay, start, calendar)) return date;
  }
}

std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar) {
  std::vector<Instant> dates;
  for (const auto& line : lines) {
    if (const auto date = line.nextRunDate(reference, calendar)) dates.push_back(*date);
  }
  return earliestDate(dates);
}

std::optional<Instant> earliestDate(std::span<const Instant> dates) {
  if (dates.empty()) return std::nullopt;
  return *std::ranges::min_element(dates);
}

}  // namespace zt
