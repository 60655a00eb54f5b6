#include "platform/linux/system_calendar.h"

#include <errno.h>
#include <time.h>

#include <set>

#include "platform/linux/fatal.h"

namespace zt {

using namespace std::chrono_literals;
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

std::vector<Instant> SystemCalendar::instants(LocalTime local) const {
  // mktime(3) is no help: what it answers in a repeated hour depends on the call before it.
  const Instant asUtc{local.time_since_epoch()};
  const auto offsetAt = [this](Instant instant) {
    return localTime(instant).time_since_epoch() - instant.time_since_epoch();
  };
  // The reading taken with every offset in force around it. Some rules keep an offset for a few hours
  // only, and the date line has been moved by a day.
  const Instant near = asUtc - offsetAt(asUtc);
  std::set<Instant> candidates;
  for (const auto distance : {-24h, -3h, 0h, 3h, 24h}) candidates.insert(asUtc - offsetAt(near + distance));
  if (candidates.size() > 1) {
    std::erase_if(candidates, [&](Instant instant) { return localTime(instant) != local; });
  }
  return {candidates.begin(), candidates.end()};
}

}  // namespace zt
