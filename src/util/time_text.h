#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/calendar.h"

namespace zt::util {

// Times as texts, and texts as times.

/// A local time in a format of strftime(3), in English. The format may not ask for the zone, which a local time does
/// not have, and may produce 63 characters at most.
std::string formatted(LocalTime local, const char* format);

/// Local date and time with the offset from UTC, as messages of the log show it: "2027-03-05 07:03:00 +0100".
std::string dateText(Instant instant, const Calendar& calendar);

/// What dateText() shows, and the offset of the local time from UTC; nullopt for other texts.
struct Date {
  Instant instant;
  std::chrono::seconds offset;
};
std::optional<Date> readDateText(const std::string& text);

/// Local date and time as the agent takes it, without zero padding and seconds: "3/5/2027 7:3:00".
std::string wakeTimeText(Instant instant, const Calendar& calendar);

/// Local date and time to the minute with the zone's abbreviation, as tables show it: "Sun 2027-03-14 03:15 EDT".
std::string timeText(Instant instant, const Calendar& calendar);

/// RFC 3339, section 5.6: "2027-03-14T03:15:00-04:00". That format has no offsets with seconds, or of a day or more;
/// the nearest offset towards zero is given instead, with the local time at that offset.
std::string rfc3339(Instant instant, const Calendar& calendar);

/// A duration, rounded down: in days from two days on, otherwise in its two largest units, such as "3 days",
/// "1 day 4h", "2h 15min", "45min" and "30s"; "now" for none.
std::string timeLeft(std::chrono::seconds left);

/// A local date and time in a format of strptime(3) that has both. nullopt if the text does not match it from end to
/// end, if there is no such time of day or date, and for years before 1970 and after 9998.
std::optional<LocalTime> readLocalTime(const std::string& text, const char* format);

// Both throw a std::invalid_argument with the rest of a sentence that begins with the text: "is not a month ...".

/// The instant that a text names: seconds since 1970, or a local date and time such as "2027-03-14 01:00", with or
/// without seconds, and with a blank or a T between them. A date alone is the start of that day. A repeated time means
/// the first instant. Skipped times are rejected, and so are years before 1970 and after 9998.
Instant readTime(const std::string& text, const Calendar& calendar);

/// The month that a text such as "2027-03" names, from 1970 to 9998.
std::chrono::year_month readMonth(const std::string& text);

}  // namespace zt::util
