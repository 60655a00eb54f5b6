#pragma once

#include <string>

#include "platform/calendar.h"

namespace zt {

/// An instant as messages show it: local date and time with the offset from UTC, such as
/// "2027-03-05 07:03:00 +0100".
std::string dateText(Instant instant, const Calendar& calendar);

/// An instant as the agent takes it: local month/day/year hour:minute:00 without zero padding, such
/// as "3/5/2027 7:3:00".
std::string wakeTimeText(Instant instant, const Calendar& calendar);

}  // namespace zt
