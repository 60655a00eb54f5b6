#include "schedules/next_event.h"

#include <set>

#include "support/test.h"
#include "util/time_text.h"

/// A date without its seconds, which are always 0.
static std::string textOf(std::optional<Instant> date, const Calendar& calendar) {
  return date ? dateText(*date, calendar).erase(16, 3) : "never";
}

TEST(NextRunDate, FollowsTheWallClock) {
  const auto expect = [](const char* reason, const char* zoneName, const char* fields, const char* reference,
                         const char* date) {
    const Zone zone(zoneName);
    EXPECT_EQ(textOf(lineOf(fields).nextRunDate(at(reference), zone.calendar), zone.calendar), date) << reason;
  };
  const char* newYork = "America/New_York";
  expect("over for today", "UTC0", "30 9 * * *", "2027-03-09 10:15:42 +0000", "2027-03-10 09:30 +0000");
  expect("the reference's own minute", "UTC0", "30 9 * * *", "2027-03-09 09:30:59 +0000", "2027-03-09 09:30 +0000");
  expect("third Monday is over", "UTC0", "30 9 15-21 * 1", "2027-03-15 09:31 +0000", "2027-04-19 09:30 +0000");
  expect("leap day", "UTC0", "0 0 * * *", "2028-02-28 00:01 +0000", "2028-02-29 00:00 +0000");
  expect("02:30 is skipped", newYork, "30 2 * * *", "2027-03-13 02:31 -0500", "2027-03-15 02:30 -0400");
  expect("02:30 is skipped that Sunday", newYork, "30 2 * * 0", "2027-03-14 00:00 -0500", "2027-03-21 02:30 -0400");
  expect("01:30 is repeated", newYork, "30 1 * * *", "2027-11-07 00:00 -0400", "2027-11-07 01:30 -0400");
  expect("the second 01:30", newYork, "30 1 * * *", "2027-11-07 01:31 -0400", "2027-11-07 01:30 -0500");
  expect("half an hour", "Australia/Lord_Howe", "15 3 * * *", "2027-10-02 23:50 +1030", "2027-10-03 03:15 +1100");
  expect("midnight is skipped", "Africa/Cairo", "30 0 * * *", "2027-04-29 22:00 +0200", "2027-05-01 00:30 +0300");
  expect("23:30 is repeated", "Africa/Cairo", "30 23 * * *", "2027-10-28 23:31 +0300", "2027-10-28 23:30 +0200");
  expect("set back from today to yesterday", "XST3XDT2,M3.2.0,M11.1.0/0:01", "30 23 * * 6", "2027-11-07 00:00:30 -0200",
         "2027-11-06 23:30 -0300");
  expect("set back by a day", "AAA-12BBB12,J100/12,J200/12", "30 4 * * *", "2027-04-10 11:00 +1200",
         "2027-04-10 04:30 -1200");
  expect("set back by a day, in almost a day", "AAA-12BBB12,J100/12,J200/12", "10 12 * * *", "2027-04-09 12:30 +1200",
         "2027-04-09 12:10 -1200");
  expect("set back for some hours only", "AAA0BBB3,J100/0,J100/5", "30 21 * * *", "2027-04-09 23:50 +0000",
         "2027-04-09 21:30 -0300");
  for (const auto* never : {"* 9 * * *", "60 9 * * *", "-1 9 * * *", "0 24 * * *", "0 9 * * 7", "0 9 15 * *"}) {
    EXPECT_EQ(lineOf(never).nextRunDate(Instant{}, Zone("UTC0").calendar), std::nullopt) << never;
  }
}

TEST(NextEventDate, IsTheEarliestOfAllLines) {
  const Zone zone("Europe/Berlin");
  const auto next = [&](const std::vector<CrontabLine>& lines) {
    return textOf(nextEventDate(lines, at("2027-03-09 12:00 +0100"), zone.calendar), zone.calendar);
  };
  EXPECT_EQ(next({lineOf("0 8 * * *"), lineOf("0 6 * * 7"), lineOf("0 7 * * *")}), "2027-03-10 07:00 +0100");
  EXPECT_EQ(next({lineOf("0 6 * * 7"), lineOf("* 6 * * *")}), "never");
}

/// The next run date, found by trying every minute.
static Instant scan(const CrontabLine& line, Instant reference, const Calendar& calendar) {
  Instant minute = std::chrono::floor<std::chrono::minutes>(reference);
  while (!runsAt(line, minute, calendar)) minute += 1min;
  return minute;
}

/// The instants from 2026 to 2037 at which the offset changes, and one a year for zones in which it does not.
static std::vector<Instant> changes(const Calendar& calendar) {
  const auto offset = [&](Instant i) { return calendar.localTime(i).time_since_epoch() - i.time_since_epoch(); };
  std::vector<Instant> result;
  const Instant start = at("2026-01-01 00:00 +0000");
  for (Instant i = start; i < at("2038-01-01 00:00 +0000"); i += 15min) {
    if (offset(i) != offset(i - 15min) || (i - start) % std::chrono::days{365} == 0s) result.push_back(i);
  }
  return result;
}

/// Lines at and around the wall times that are skipped or repeated at `change`: daily ones, and for some of the times
/// also lines for the weekday of that day, and for its week of the month.
static std::vector<CrontabLine> linesAround(Instant change, const Calendar& calendar) {
  static constexpr std::array ranges = {"1-7", "8-14", "15-21", "22-31", "22-31"};
  std::set<std::string> all;
  const auto add = [&](LocalTime local, bool dailyOnly) {
    const auto time = formatted(local, "%-M %-H");
    const auto weekday = formatted(local, "%w");
    const auto dayOfMonth = std::stoul(formatted(local, "%d"));
    all.insert(time + " * * *");
    if (dailyOnly) return;
    all.insert(time + " * * " + weekday);
    all.insert(time + " " + ranges.at((dayOfMonth - 1) / 7) + " * " + weekday);
  };
  for (const auto shift : {-61min, -30min, -1min, 0min, 1min, 59min, 60min}) {
    add(calendar.localTime(change - 1s) + 1s + shift, shift != 0min);
    add(calendar.localTime(change) + shift, shift != -30min);
  }
  std::vector<CrontabLine> lines;
  std::ranges::transform(all, std::back_inserter(lines), [](const auto& fields) { return lineOf(fields); });
  return lines;
}

class NextRunDateInZone : public testing::TestWithParam<const char*> {};

TEST_P(NextRunDateInZone, IsTheFirstMinuteThatRuns) {
  const Zone zone(GetParam());
  int compared = 0;
  for (const auto change : changes(zone.calendar)) {
    for (const auto& line : linesAround(change, zone.calendar)) {
      Instant expected{};
      for (const auto shift : {-48h + 7s, -61min + 0s, -30min + 59s, -1s, 0s, 29min + 1s, 61min + 0s, 25h + 0s}) {
        const Instant reference = change + shift;
        // The date that was found from an earlier reference stands until it is over.
        if (expected < std::chrono::floor<std::chrono::minutes>(reference)) {
          expected = scan(line, reference, zone.calendar);
        }
        ASSERT_EQ(textOf(line.nextRunDate(reference, zone.calendar), zone.calendar), textOf(expected, zone.calendar))
            << line.crontabLine() << " from " << dateText(reference, zone.calendar);
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 300);
}

INSTANTIATE_TEST_SUITE_P(Zones, NextRunDateInZone, testing::ValuesIn(zoneNames));
