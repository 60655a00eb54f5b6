#pragma once

#include "platform/calendar.h"

namespace zt {

/// The C library's time zone (tzset(3)): every form of TZ that `date` takes, and /etc/localtime.
class SystemCalendar final : public Calendar {
 public:
  SystemCalendar() { SystemCalendar::update(); }

  void update() override;
  LocalTime localTime(Instant instant) const override;
  std::vector<Instant> instants(LocalTime local) const override;
};

}  // namespace zt
