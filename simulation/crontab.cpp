#include "crontab.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "local_time.h"

namespace zt::simulation {
namespace {

using namespace std::chrono_literals;

struct DayField {
  const char* text;
  unsigned accepted;  ///< bits, as in Schedule
};
constexpr DayField every{"*", 0x7F};
// "1-5" has the digits of Monday and Friday.
constexpr std::array<DayField, 10> weekdayFields = {
    every, every, every, {"0", 1}, {"1", 2}, {"6", 0x40}, {"1,3,5", 0x2A}, {"1-5", 0x22}, {"0,6", 0x41}, {"*/2", 4}};
constexpr std::array<DayField, 9> ordinalFields = {
    every, every, every, every, {"1-7", 1}, {"8-14", 2}, {"15-21", 4}, {"22-31", 0x18}, {"1-7,15-21", 5}};

constexpr std::array brokenMinutes = {"*", "0,30", "*/5", "75", "60", "-1", "", " 5", "#0", "0x5"};
constexpr std::array brokenHours = {"*", "24", "-1", "9-17", "", "99999999999999999999"};
constexpr std::array brokenWeekdays = {"7", "8", "", "Mon", "* "};
constexpr std::array brokenOrdinals = {"15", "22-28", "", "1", "** "};

/// A number as the application may write it.
std::string number(Random& random, std::int64_t value) {
  const auto form = random.below(12);
  return (form == 0 ? "+" : form == 1 ? "00" : "") + std::to_string(value);
}

}  // namespace

bool Crontab::Schedule::firesAt(LocalMinute local) const {
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date{day};
  return time == local - day && (weekdays >> std::chrono::weekday{day}.c_encoding() & 1U) != 0 &&
         (ordinals >> ((unsigned{date.day()} - 1) / 7) & 1U) != 0;
}

void Crontab::drawLine(Random& random, minutes time) {
  const auto& weekday = random.pick(weekdayFields);
  const auto& ordinal = random.pick(ordinalFields);
  const std::string name = std::to_string(text_.size());
  std::array<std::string, 6> fields = {number(random, time % 1h / 1min),
                                       number(random, time / 1h),
                                       ordinal.text,
                                       random.oneIn(2) ? "*" : "2",  // the tool ignores the month
                                       weekday.text,
                                       "'/Z.app/ZTUtil' start file:///Copies/no\\%20" + name};
  Schedule schedule{time, weekday.accepted, ordinal.accepted, "file:///Copies/no%20" + name};
  char separator = '\t';
  const bool neverFires = random.oneIn(5);
  if (neverFires) {
    const auto kind = random.below(7);
    if (kind == 0) fields[0] = random.pick(brokenMinutes);
    if (kind == 1) fields[1] = random.pick(brokenHours);
    if (kind == 2) fields[2] = random.pick(brokenOrdinals);
    if (kind == 3) fields[4] = random.pick(brokenWeekdays);
    if (kind == 4) separator = ' ';
    if (kind == 5) fields[5] += "\tmore";
    if (kind == 6) fields[5] = "ztutil file:///Copies/other";
  } else if (random.oneIn(20)) {
    // Fires like others, and wakes the machine: only then does the tool find that there is nothing to start.
    fields[5] = random.oneIn(2) ? "ZTUtil start " : "ZTUtil file:///Copies[";
    schedule.url.clear();
  }
  std::string& line = text_.emplace_back(fields[0]);
  for (std::size_t field = 1; field < fields.size(); ++field) line.append(1, separator).append(fields[field]);
  if (neverFires) return;
  schedules_.push_back(schedule);
  times_.set(static_cast<std::size_t>(time.count()));
}

Crontab Crontab::draw(Random& random) {
  Crontab crontab;
  crontab.text_ = {"# m h dom mon dow command", "MAILTO=\"\"",
                   "17 *\t* * *\tcd / && run-parts --report /etc/cron.hourly"};
  if (random.oneIn(10)) {
    for (auto hour = 0h; hour < 24h; ++hour) crontab.drawLine(random, hour + minutes{random.below(60)});
    return crontab;
  }
  // Many are close together, and in the hours in which clocks change.
  constexpr std::int64_t day = 24L * 60;
  std::int64_t time = 0;  // in minutes
  for (auto left = random.below(16); left > 0; --left) {
    time = random.oneIn(2) ? random.below(random.oneIn(3) ? 4L * 60 : day) : (time + random.below(4)) % day;
    crontab.drawLine(random, minutes{time});
  }
  return crontab;
}

std::vector<std::string> Crontab::dueAt(Minute minute, const TimeZone& zone) const {
  if (next(minute, zone) != minute) return {};  // which is in the cache for most minutes
  std::vector<std::string> urls;
  for (const auto& schedule : schedules_) {
    if (schedule.firesAt(zone.local(minute)) && !schedule.url.empty()) urls.push_back(schedule.url);
  }
  return urls;
}

std::optional<Minute> Crontab::next(Minute from, const TimeZone& zone) const {
  if (schedules_.empty()) return std::nullopt;
  if (searchedIn_ != &zone || from < searchedFrom_ || from > found_) {
    const auto isDue = [&](Minute minute) {
      const auto local = zone.local(minute);
      const minutes time = local - std::chrono::floor<std::chrono::days>(local);
      return times_[static_cast<std::size_t>(time.count())] &&
             std::ranges::any_of(schedules_, [&](const auto& schedule) { return schedule.firesAt(local); });
    };
    searchedIn_ = &zone;
    searchedFrom_ = from;
    for (found_ = from; !isDue(found_);) found_ += 1min;
  }
  return found_;
}

}  // namespace zt::simulation
