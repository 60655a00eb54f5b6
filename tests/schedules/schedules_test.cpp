#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "schedules/next_event.h"
#include "schedules/schedule.h"
#include "support/zone.h"
#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;

/// A line whose fields are written with blanks between them, for the eye.
CrontabLine lineOf(std::string fields) {
  std::ranges::replace(fields, ' ', '\t');
  return CrontabLine(fields);
}

TEST(CrontabLine, IsSplitAtEveryTab) {
  using Parts = std::vector<std::string_view>;
  EXPECT_EQ(CrontabLine("0\t5\t1-7\t*\t1\t/ZTUtil a b").parts(), (Parts{"0", "5", "1-7", "*", "1", "/ZTUtil a b"}));
  EXPECT_EQ(CrontabLine("\t0\t\tx\t").parts(), (Parts{"", "0", "", "x", ""}));
  EXPECT_EQ(CrontabLine("").parts(), (Parts{""}));
  EXPECT_DEATH(runsAt(CrontabLine("75\t5\t*\t*"), Instant{}, Zone("UTC0").calendar), "^$");
}

TEST(Schedule, ReadsWholeNumbersWithAtMostOneSign) {
  const auto minute = [](const std::string& text) { return parse(CrontabLine(text + "\t0\t*\t*\t*\t")).timeOfDay; };
  const std::vector<std::pair<const char*, std::optional<std::chrono::minutes>>> rows = {
      {"0", 0min}, {"007", 7min}, {"+5", 5min}, {"-0", 0min}, {"59", 59min}};
  for (const auto& [text, value] : rows) EXPECT_EQ(minute(text), value) << text;
  for (const auto* text :
       {"60", "-1", "9223372036854775808", "", "+", "-", "+-5", "++5", " 5", "5 ", "0,30", "*/5", "0x5", "٥"}) {
    EXPECT_EQ(minute(text), std::nullopt) << text;
  }
}

TEST(Matching, FollowsTheApplicationsRules) {
  struct Row {
    const char* reason;
    const char* fields;
    const char* time;
    bool runs;
  };
  // March 2027 begins on a Monday and has five of them.
  const std::vector<Row> rows = {
      {"any day", "0 5 * * *", "2027-03-09 05:00 +0000", true},
      {"seconds play no part", "0 5 * * *", "2027-03-09 05:00:59 +0000", true},
      {"another minute", "0 5 * * *", "2027-03-09 05:01 +0000", false},
      {"a sign is read", "+0 +5 * * *", "2027-03-09 05:00 +0000", true},
      {"the month is never looked at", "0 5 * 2 *", "2027-03-09 05:00 +0000", true},
      {"a day outside of the range", "30 9 15-21 * 1", "2027-03-08 09:30 +0000", false},
      {"third Monday", "30 9 15-21 * 1", "2027-03-15 09:30 +0000", true},
      {"both must accept: no Tuesday", "30 9 15-21 * 1", "2027-03-16 09:30 +0000", false},
      {"second in a list, first day of it", "0 5 1-7,8-14 * *", "2027-03-08 05:00 +0000", true},
      {"fourth", "0 5 22-31 * 1", "2027-03-22 05:00 +0000", true},
      {"and the fifth as well", "0 5 22-31 * 1", "2027-03-29 05:00 +0000", true},
      {"not the third", "0 5 22-31 * *", "2027-03-21 05:00 +0000", false},
      {"a plain day", "0 5 15 * *", "2027-03-15 05:00 +0000", false},
      {"1-5 has a 1", "0 5 * * 1-5", "2027-03-08 05:00 +0000", true},
      {"but no 3", "0 5 * * 1-5", "2027-03-10 05:00 +0000", false},
      {"Sunday is 0", "0 5 * * 0", "2027-03-07 05:00 +0000", true},
      {"and never 7", "0 5 * * 7", "2027-03-07 05:00 +0000", false},
      {"a star with more is no star", "0 5 * * */2", "2027-03-08 05:00 +0000", false},
      {"but has a 2", "0 5 * * */2", "2027-03-09 05:00 +0000", true},
  };
  const Zone utc("UTC0");
  for (const auto& row : rows) {
    EXPECT_EQ(runsAt(lineOf(row.fields), at(row.time), utc.calendar), row.runs) << row.reason;
  }
  const Zone auckland("Pacific/Auckland");
  EXPECT_TRUE(lineOf("30 0 1-7 * 1").runsOnDay(at("2027-02-28 11:30 +0000"), auckland.calendar));
  EXPECT_FALSE(lineOf("30 0 1-7 * 1").runsOnDay(at("2027-03-01 11:00 +0000"), auckland.calendar));
}

/// Without its seconds, which are none.
std::string textOf(std::optional<Instant> date, const Calendar& calendar) {
  return date ? util::dateText(*date, calendar).erase(16, 3) : "never";
}

TEST(NextRunDate, FollowsTheWallClock) {
  struct Row {
    const char *reason, *zone, *fields, *reference, *expected;
  };
  const char* newYork = "America/New_York";
  const std::vector<Row> rows = {
      {"over for today", "UTC0", "30 9 * * *", "2027-03-09 10:15:42 +0000", "2027-03-10 09:30 +0000"},
      {"the reference's own minute", "UTC0", "30 9 * * *", "2027-03-09 09:30:59 +0000", "2027-03-09 09:30 +0000"},
      {"third Monday is over", "UTC0", "30 9 15-21 * 1", "2027-03-15 09:31 +0000", "2027-04-19 09:30 +0000"},
      {"over to a leap day", "UTC0", "0 0 * * *", "2028-02-28 00:01 +0000", "2028-02-29 00:00 +0000"},
      {"02:30 is skipped", newYork, "30 2 * * *", "2027-03-13 02:31 -0500", "2027-03-15 02:30 -0400"},
      {"so is that Sunday", newYork, "30 2 * * 0", "2027-03-14 00:00 -0500", "2027-03-21 02:30 -0400"},
      {"01:30 comes twice", newYork, "30 1 * * *", "2027-11-07 00:00 -0400", "2027-11-07 01:30 -0400"},
      {"the second time round", newYork, "30 1 * * *", "2027-11-07 01:31 -0400", "2027-11-07 01:30 -0500"},
      {"half an hour keeps the minute", "Australia/Lord_Howe", "15 3 * * *", "2027-10-02 23:50 +1030",
       "2027-10-03 03:15 +1100"},
      {"midnight is skipped", "Africa/Cairo", "30 0 * * *", "2027-04-29 22:00 +0200", "2027-05-01 00:30 +0300"},
      {"23:30 comes twice", "Africa/Cairo", "30 23 * * *", "2027-10-28 23:31 +0300", "2027-10-28 23:30 +0200"},
      {"yesterday comes again", "XST3XDT2,M3.2.0,M11.1.0/0:01", "30 23 * * 6", "2027-11-07 00:00:30 -0200",
       "2027-11-06 23:30 -0300"},
      {"and this morning, set back by a day", "AAA-12BBB12,J100/12,J200/12", "30 4 * * *", "2027-04-10 11:00 +1200",
       "2027-04-10 04:30 -1200"},
      {"set back for some hours only", "AAA0BBB1,J100/0,J100/5", "30 23 * * *", "2027-04-09 23:50 +0000",
       "2027-04-09 23:30 -0100"},
  };
  for (const auto& row : rows) {
    const Zone zone(row.zone);
    const auto date = lineOf(row.fields).nextRunDate(at(row.reference), zone.calendar);
    EXPECT_EQ(textOf(date, zone.calendar), row.expected) << row.reason;
  }
  for (const auto* never : {"* 9 * * *", "60 9 * * *", "-1 9 * * *", "0 24 * * *", "0 9 * * 7", "0 9 15 * *"}) {
    EXPECT_EQ(lineOf(never).nextRunDate(Instant{}, Zone("UTC0").calendar), std::nullopt) << never;
  }
}

TEST(NextEventDate, IsTheEarliestOfAllLines) {
  const Zone zone("Europe/Berlin");
  const auto next = [&](const std::vector<const char*>& fields) {
    std::vector<CrontabLine> lines;
    std::ranges::transform(fields, std::back_inserter(lines), lineOf);
    return textOf(nextEventDate(lines, at("2027-03-09 12:00 +0100"), zone.calendar), zone.calendar);
  };
  EXPECT_EQ(next({"0 8 * * *", "0 6 * * 7", "0 7 * * *"}), "2027-03-10 07:00 +0100");
  EXPECT_EQ(next({"0 6 * * 7", "* 6 * * *"}), "never");
}

/// The yardstick: minute by minute, without a thought about calendars.
Instant scan(const CrontabLine& line, Instant reference, const Calendar& calendar) {
  Instant minute = std::chrono::floor<std::chrono::minutes>(reference);
  while (!runsAt(line, minute, calendar)) minute += 1min;
  return minute;
}

/// The instants from 2026 to 2037 from which another offset holds, and a day a year for zones without.
std::vector<Instant> changes(const Calendar& calendar) {
  const auto offset = [&](Instant i) { return calendar.localTime(i).time_since_epoch() - i.time_since_epoch(); };
  std::vector<Instant> result;
  const Instant start = at("2026-01-01 00:00 +0000");
  for (Instant i = start; i < at("2038-01-01 00:00 +0000"); i += 15min) {
    if (offset(i) != offset(i - 15min) || (i - start) % days{365} == 0s) result.push_back(i);
  }
  return result;
}

/// Lines at and around the wall times that are skipped or repeated at `change`: daily, and on the
/// weekday and the week of the month of that day.
std::vector<CrontabLine> linesAround(Instant change, const Calendar& calendar) {
  static constexpr std::array ranges = {"1-7", "8-14", "15-21", "22-31", "22-31"};
  std::set<std::string> lines;
  const auto add = [&](LocalTime local, bool dailyOnly) {
    const auto day = std::chrono::floor<days>(local);
    const std::chrono::hh_mm_ss time{local - day};
    const auto start = std::to_string(time.minutes().count()) + " " + std::to_string(time.hours().count());
    const auto weekday = std::to_string(std::chrono::weekday{day}.c_encoding());
    const unsigned dayOfMonth{std::chrono::year_month_day{day}.day()};
    lines.insert(start + " * * *");
    if (dailyOnly) return;
    lines.insert(start + " * * " + weekday);
    lines.insert(start + " " + ranges.at((dayOfMonth - 1) / 7) + " * " + weekday);
  };
  for (const auto shift : {-61min, -30min, -1min, 0min, 1min, 59min, 60min}) {
    add(calendar.localTime(change - 1s) + 1s + shift, shift != 0min);
    add(calendar.localTime(change) + shift, shift != -30min);
  }
  std::vector<CrontabLine> result;
  std::ranges::transform(lines, std::back_inserter(result), lineOf);
  return result;
}

class NextRunDateInZone : public testing::TestWithParam<const char*> {};

TEST_P(NextRunDateInZone, AgreesWithThePlainScan) {
  const Zone zone(GetParam());
  int compared = 0;
  for (const auto change : changes(zone.calendar)) {
    for (const auto& line : linesAround(change, zone.calendar)) {
      Instant expected{};
      for (const auto shift : {-48h + 7s, -61min + 0s, -30min + 59s, -1s, 0s, 29min + 1s, 61min + 0s, 25h + 0s}) {
        const Instant reference = change + shift;
        // What the scan found from an earlier reference stands until the reference has passed it.
        if (expected < std::chrono::floor<std::chrono::minutes>(reference)) {
          expected = scan(line, reference, zone.calendar);
        }
        ASSERT_EQ(textOf(line.nextRunDate(reference, zone.calendar), zone.calendar), textOf(expected, zone.calendar))
            << line.crontabLine() << " from " << util::dateText(reference, zone.calendar);
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 300);
}

INSTANTIATE_TEST_SUITE_P(Zones, NextRunDateInZone, testing::ValuesIn(zoneNames));

}  // namespace
}  // namespace zt
