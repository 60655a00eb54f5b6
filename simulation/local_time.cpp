#include "local_time.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "support/zone.h"

namespace zt::simulation {

using namespace std::chrono_literals;

namespace {

minutes offsetNow(Minute minute) {
  const time_t time = seconds{minute.time_since_epoch()}.count();
  tm fields{};
  ::localtime_r(&time, &fields);
  return std::chrono::duration_cast<minutes>(seconds{fields.tm_gmtoff});
}

}  // namespace

const TimeZone& TimeZone::named(std::string_view name) {
  static const auto zones = [] {
    std::vector<TimeZone> all;
    all.reserve(zoneNames.size());
    for (const auto* zoneName : zoneNames) all.push_back(TimeZone(zoneName));
    return all;
  }();
  return *std::ranges::find(zones, name, &TimeZone::name_);
}

TimeZone::TimeZone(const char* name) : name_(name) {
  ::setenv("TZ", name, 1);
  ::tzset();
  constexpr auto step = 3h;  // no offset of zoneNames is in force for less
  Minute last = std::chrono::sys_days{std::chrono::year{2024} / 1 / 1};
  changes_.push_back({last, offsetNow(last)});
  constexpr Minute end = std::chrono::sys_days{std::chrono::year{2040} / 1 / 1};
  for (; last < end; last += step) {
    if (offsetNow(last + step) == changes_.back().offset) continue;
    Minute change = last;
    while (offsetNow(change) == changes_.back().offset) change += 1min;
    changes_.push_back({change, offsetNow(change)});
  }
}

minutes TimeZone::offset(Minute minute) const {
  return std::prev(std::ranges::upper_bound(changes_, minute, {}, &Change::at))->offset;
}

std::string shown(Moment moment, minutes offset) {
  const auto local = std::chrono::floor<seconds>(moment) + offset;
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date{day};
  const auto second = (local - day).count();
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02u/%02u/%04d %02d:%02d:%02d", unsigned{date.month()}, unsigned{date.day()},
                int{date.year()}, static_cast<int>(second / 3600), static_cast<int>(second / 60 % 60),
                static_cast<int>(second % 60));
  return text.data();
}

}  // namespace zt::simulation
