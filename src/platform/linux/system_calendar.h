#pragma once

#include <array>
#include <cstdint>

#include "platform/calendar.h"

namespace zt::platform {

/// The C library's time zone (tzset(3)): every form of TZ that `date` takes, and /etc/localtime. What the C library has
/// answered is cached until update(), so only one thread at a time may use it.
class SystemCalendar final : public Calendar {
 public:
  SystemCalendar() { SystemCalendar::update(); }

  void update() override;
  LocalTime localTime(Instant instant) const override;
  std::string zoneAbbreviation(Instant instant) const override;
  std::vector<Instant> instants(LocalTime local) const override;

 private:
  // The offset from UTC is sampled every three hours. An offset that is in force for less can be missed, and so can one
  // that differs by more than three hours from those around it and is in force for less than a day.
  using SamplePeriod = std::chrono::duration<std::int64_t, std::ratio<10'800>>;
  using SampleTime = std::chrono::sys_time<SamplePeriod>;
  struct Sample {
    SampleTime time;
    std::chrono::seconds offset{};
    unsigned update = 0;
  };

  std::chrono::seconds offsetAt(SampleTime time) const;

  struct Answer {
    Instant instant;
    LocalTime local;
    unsigned update = 0;
  };

  unsigned updates_ = 0;
  mutable Answer latest_;  ///< from localTime(): each line of a crontab asks for the same instant
  /// A direct-mapped cache that covers 64 days: the lines of a crontab fire on the same days.
  mutable std::array<Sample, 512> cache_;
};

}  // namespace zt::platform
