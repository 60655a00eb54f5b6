#include "platform/linux/system_calendar.h"

#include <errno.h>
#include <time.h>

#include <algorithm>

#include "platform/linux/fatal.h"

namespace zt {

using std::chrono::days;
using std::chrono::seconds;

void SystemCalendar::update() {
  ::tzset();
}

LocalTime SystemCalendar::localTime(Instant instant) const {
  const time_t time = instant.time_since_epoch().count();
  tm fields;
  if (::localtime_r(&time, &fields) == nullptr) fatal("cannot tell the local time", errno);
  // From the fields and not from tm_gmtoff, which leaves out the leap seconds of a "right/" zone.
  const std::chrono::year_month_day date{std::chrono::year{fields.tm_year + 1900},
                                         std::chrono::month(unsigned(fields.tm_mon + 1)),
                                         std::chrono::day(unsigned(fields.tm_mday))};
  return std::chrono::local_days{date} + std::chrono::hours{fields.tm_hour} + std::chrono::minutes{fields.tm_min} +
         seconds{fields.tm_sec};
}

LocalTimeLookup SystemCalendar::instants(LocalTime local) const {
  // mktime(3) is no help: what it answers in a repeated hour depends on the call before it.
  const Instant asUtc{local.time_since_epoch()};
  const auto offsetAt = [this](Instant instant) {
    return localTime(instant).time_since_epoch() - instant.time_since_epoch();
  };
  const seconds before = offsetAt(asUtc - days{1});
  const seconds after = offsetAt(asUtc + days{1});

  using Kind = LocalTimeLookup::Kind;
  if (before == after) return {Kind::unique, asUtc - before, asUtc - before};
  const Instant withBefore = asUtc - before;
  const Instant withAfter = asUtc - after;
  const bool shownBefore = localTime(withBefore) == local;
  const bool shownAfter = localTime(withAfter) == local;
  if (shownBefore != shownAfter) {
    const Instant only = shownBefore ? withBefore : withAfter;
    return {Kind::unique, only, only};
  }
  const auto [earlier, later] = std::minmax(withBefore, withAfter);
  return {shownBefore ? Kind::repeated : Kind::skipped, earlier, later};
}

}  // namespace zt
