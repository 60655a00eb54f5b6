#pragma once

#include <string>
#include <string_view>

#include "platform/calendar.h"

namespace zt {

/// An instant as it is shown in tables: local date and time to the minute and the zone's abbreviation, such as
/// "Sun 2027-03-14 03:15 EDT".
std::string timeText(Instant instant, const Calendar& calendar);

/// An instant by RFC 3339, section 5.6, such as "2027-03-14T03:15:00-04:00". Of an offset that this
/// format does not have, with seconds or of a whole day, the nearest nearer to zero is given, and the reading at that.
std::string rfc3339(Instant instant, const Calendar& calendar);

/// A time that is left, rounded down: in days from two days on, otherwise in its two largest units, such as "3 days",
/// "1 day 4h", "2h 15min", "45min" and "30s"; "now" where none is left.
std::string timeLeft(std::chrono::seconds left);

/// The instant that a text names: seconds since 1970, or a local date and time such as "2027-03-14 01:00", with or
/// without seconds and with a blank or a T between them. Of a time that comes twice it is the first one. For anything
/// else, for a time that the clocks skip, and for years before 1970 and after 9998, it throws a std::invalid_argument
/// that says what is wrong.
Instant readTime(std::string_view text, const Calendar& calendar);

/// The month that a text such as "2027-03" names. For anything else, and for years before 1970 and after 9998, it
/// throws a std::invalid_argument that says what is wrong.
std::chrono::year_month readMonth(std::string_view text);

}  // namespace zt
