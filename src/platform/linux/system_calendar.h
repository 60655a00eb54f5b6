#pragma once

#include <array>
#include <cstdint>

#include "platform/calendar.h"

namespace zt::platform {

/// The C library's time zone (tzset(3)): every form of TZ that `date` takes, and /etc/localtime. It keeps what it has
/// asked the C library until update(), so one thread at a time may use it.
class SystemCalendar final : public Calendar {
 public:
  SystemCalendar() { SystemCalendar::update(); }

  void update() override;
  LocalTime localTime(Instant instant) const override;
  std::string zoneAbbreviation(Instant instant) const override;
  std::vector<Instant> instants(LocalTime local) const override;

 private:
  // Offsets are looked at every three hours. One that holds for less can be missed, and one that is off by more than
  // three hours from what holds around it if it holds for less than a day.
  using SamplePeriod = std::chrono::duration<std::int64_t, std::ratio<10'800>>;
  using SampleTime = std::chrono::sys_time<SamplePeriod>;
  struct Sample {
    SampleTime time;
    std::chrono::seconds offset{};
    unsigned update = 0;
  };

  std::chrono::seconds offsetAt(SampleTime time) const;

  unsigned updates_ = 0;
  /// A cache, for 64 days: each time has its place. The lines of a crontab fire on the same days.
  mutable std::array<Sample, 512> cache_;
};

}  // namespace zt::platform
