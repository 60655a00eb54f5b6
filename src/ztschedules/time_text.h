#pragma once

#include <string>
#include <string_view>

#include "platform/calendar.h"

namespace zt {

/// A reading of the wall clock by a format of strftime(3), in English. Not for formats with a zone in them.
std::string formatted(LocalTime local, const char* format);

/// An instant as it is shown in tables: local date and time to the minute and the zone's abbreviation, such as
/// "Sun 2027-03-14 03:15 EDT".
std::string nextText(Instant instant, const Calendar& calendar);

/// An instant by RFC 3339, section 5.6, such as "2027-03-14T03:15:00-04:00". Of an offset that this
/// format does not have, with seconds or of a whole day, the nearest nearer to zero is given, and the reading at that.
std::string rfc3339(Instant instant, const Calendar& calendar);

/// A time that is left in its two largest units, or the largest one from two days on: "3 days", "1 day 4h",
/// "2h 15min", "45min", "30s"; "now" where none is left.
std::string timeLeft(std::chrono::seconds left);

// What cannot be read throws a std::invalid_argument that says what is wrong with it.

/// The instant that a text names: seconds since 1970, or a local date and time such as "2027-03-14 01:00", with or
/// without seconds and with a blank or a T. Of a time that comes twice it is the first one. From 1970 to 9998.
Instant readTime(std::string_view text, const Calendar& calendar);

/// A month such as "2027-03", from 1970 to 9998.
std::chrono::year_month readMonth(std::string_view text);

}  // namespace zt
