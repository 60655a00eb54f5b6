#pragma once

#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/linux/system_calendar.h"

namespace zt {

/// Zones that are easy to get wrong: changes of half an hour, at midnight and back across it, reversed and cancelled
/// ones, offsets that are in force for a day, and rules that are no file.
inline constexpr auto zoneNames = std::to_array<const char*>(
    {"America/New_York", "America/Santiago", "America/Mexico_City", "Europe/Dublin", "Europe/Berlin",
     "Africa/Casablanca", "Africa/Cairo", "Asia/Gaza", "Asia/Kolkata", "Australia/Lord_Howe", "Antarctica/Troll",
     "Pacific/Auckland", "Pacific/Apia", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,0/0,J365/25", "AAA0BBB,J100/0,J101/0",
     "XST3XDT2,M3.2.0,M11.1.0/0:01"});

/// The machine's calendar in a time zone: a value of TZ, or null for none.
struct Zone {
  explicit Zone(const char* name) {
    name == nullptr ? ::unsetenv("TZ") : ::setenv("TZ", name, 1);
    calendar.update();
  }

  platform::SystemCalendar calendar;
};

/// One of zoneNames; UTC for other names.
inline Zone zoneOf(std::string_view name) {
  const auto* const known = std::ranges::find(zoneNames, name);
  return Zone(known == zoneNames.end() ? "UTC0" : *known);
}

/// The instant that a text such as "2027-03-14 01:59:00 -0500" names; the seconds may be left out.
inline Instant at(std::string text) {
  if (text.size() == std::string("2027-03-14 01:59 -0500").size()) text.insert(16, ":00");
  tm fields{};
  const char* end = ::strptime(text.c_str(), "%Y-%m-%d %H:%M:%S %z", &fields);
  if (end == nullptr || *end != '\0') throw std::invalid_argument(text);
  const long offset = fields.tm_gmtoff;
  return Instant{std::chrono::seconds{::timegm(&fields) - offset}};
}

}  // namespace zt
