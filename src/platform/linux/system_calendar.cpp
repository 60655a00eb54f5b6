#include "platform/linux/system_calendar.h"

#include <errno.h>
#include <time.h>

#include <algorithm>

#include "platform/linux/fatal.h"

namespace zt::platform {

using namespace std::chrono_literals;
using std::chrono::seconds;

namespace {

tm fieldsAt(Instant instant) {
  const time_t time = instant.time_since_epoch().count();
  tm fields;
  if (::localtime_r(&time, &fields) == nullptr) fatal("cannot determine the local time", errno);
  return fields;
}

LocalTime localTimeAt(Instant instant) {
  const tm fields = fieldsAt(instant);
  // From the fields, because tm_gmtoff leaves out the leap seconds of a "right/" zone.
  const std::chrono::year_month_day date{std::chrono::year{fields.tm_year + 1900},
                                         std::chrono::month(unsigned(fields.tm_mon + 1)),
                                         std::chrono::day(unsigned(fields.tm_mday))};
  return std::chrono::local_days{date} + std::chrono::hours{fields.tm_hour} + std::chrono::minutes{fields.tm_min} +
         seconds{fields.tm_sec};
}

}  // namespace

void SystemCalendar::update() {
  ::tzset();
  ++updates_;  // invalidates what is cached
}

LocalTime SystemCalendar::localTime(Instant instant) const {
  if (latest_.update != updates_ || latest_.instant != instant) latest_ = {instant, localTimeAt(instant), updates_};
  return latest_.local;
}

std::string SystemCalendar::zoneAbbreviation(Instant instant) const {
  return fieldsAt(instant).tm_zone;
}

std::vector<Instant> SystemCalendar::instants(LocalTime local) const {
  // mktime(3) is unsuitable: its result for a repeated time depends on the call before.
  const Instant asUtc{local.time_since_epoch()};
  // The zone's standard offset, which tzset(3) stores in `timezone` in seconds west, gives an estimate of the instant,
  // and `before` and `after` are the samples around it. It is off by up to three hours where rules move the clocks, and
  // by up to a day where a zone crosses the date line. The offsets of all samples at these distances are tried.
  const auto before = std::chrono::floor<SamplePeriod>(asUtc + seconds{::timezone});
  const auto after = before + SamplePeriod{1};
  constexpr SamplePeriod threeHours{1};
  constexpr SamplePeriod day{8};
  std::vector<Instant> candidates;
  for (const auto sample : {before - day, before - threeHours, before, after, after + threeHours, after + day}) {
    const Instant candidate = asUtc - offsetAt(sample);
    if (std::ranges::find(candidates, candidate) == candidates.end()) candidates.push_back(candidate);
  }
  const bool offsetIsConstant = candidates.size() == 1;  // then nothing is skipped or repeated
  if (!offsetIsConstant) {
    std::erase_if(candidates, [local](Instant instant) { return localTimeAt(instant) != local; });
    std::ranges::sort(candidates);
  }
  return candidates;
}

seconds SystemCalendar::offsetAt(SampleTime time) const {
  auto& sample = cache_[static_cast<std::size_t>(time.time_since_epoch().count()) % cache_.size()];
  if (sample.update != updates_ || sample.time != time) {
    sample = {time, localTimeAt(time).time_since_epoch() - seconds{time.time_since_epoch()}, updates_};
  }
  return sample.offset;
}

}  // namespace zt::platform
