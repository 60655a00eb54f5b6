#include "schedules/matching.h"

#include <gtest/gtest.h>

#include "fakes/zone.h"
#include "schedules/schedule_lines.h"

namespace zt {
namespace {

TEST(CrontabLine, IsSplitAtEveryTab) {
  using Parts = std::vector<std::string>;
  EXPECT_EQ(CrontabLine("0\t5\t1-7\t*\t1\t/ZTUtil a b").parts(), (Parts{"0", "5", "1-7", "*", "1", "/ZTUtil a b"}));
  EXPECT_EQ(CrontabLine("\t0\t\tx\t").parts(), (Parts{"", "0", "", "x", ""}));
  EXPECT_EQ(CrontabLine("").parts(), (Parts{""}));
  EXPECT_DEATH(canFire(CrontabLine("0\t5\t*\t*")), "^$") << "a missing field stops the process";
}

TEST(Integers, AreWholeTextsWithAtMostOneSign) {
  const std::vector<std::pair<const char*, std::int64_t>> rows = {
      {"0", 0}, {"007", 7}, {"+5", 5}, {"-0", 0}, {"9223372036854775807", INT64_MAX}};
  for (const auto& [text, value] : rows) EXPECT_EQ(readInteger(text), value) << text;
  for (const auto* text : {"9223372036854775808", "", "+", "-", "+-5", "++5", " 5", "5 ", "0,30", "*/5", "0x5", "٥"}) {
    EXPECT_EQ(readInteger(text), std::nullopt) << text;
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
      {"another hour", "0 5 * * *", "2027-03-09 17:00 +0000", false},
      {"a sign is read", "+0 +5 * * *", "2027-03-09 05:00 +0000", true},
      {"no steps, even where cron would", "*/5 5 * * *", "2027-03-09 05:00 +0000", false},
      {"the month is never looked at", "0 5 * 2 *", "2027-03-09 05:00 +0000", true},
      {"third Monday", "30 9 15-21 * 1", "2027-03-15 09:30 +0000", true},
      {"not the second", "30 9 15-21 * 1", "2027-03-08 09:30 +0000", false},
      {"both must accept: no Tuesday", "30 9 15-21 * 1", "2027-03-16 09:30 +0000", false},
      {"first, last day of it", "0 5 1-7 * *", "2027-03-07 05:00 +0000", true},
      {"second in a list, first day of it", "0 5 1-7,8-14 * *", "2027-03-08 05:00 +0000", true},
      {"fourth", "0 5 22-31 * 1", "2027-03-22 05:00 +0000", true},
      {"and the fifth as well", "0 5 22-31 * 1", "2027-03-29 05:00 +0000", true},
      {"not the third", "0 5 22-31 * *", "2027-03-21 05:00 +0000", false},
      {"a range of its own making", "0 5 22-28 * *", "2027-03-22 05:00 +0000", false},
      {"a plain day", "0 5 15 * *", "2027-03-15 05:00 +0000", false},
      {"1-5 has a 1", "0 5 * * 1-5", "2027-03-08 05:00 +0000", true},
      {"but no 3", "0 5 * * 1-5", "2027-03-10 05:00 +0000", false},
      {"Sunday is 0", "0 5 * * 0", "2027-03-07 05:00 +0000", true},
      {"and never 7", "0 5 * * 7", "2027-03-07 05:00 +0000", false},
      {"a star with more is no star", "0 5 * * */2", "2027-03-08 05:00 +0000", false},
      {"but has a 2", "0 5 * * */2", "2027-03-09 05:00 +0000", true},
      {"the same for days", "0 5 */2 * *", "2027-03-02 05:00 +0000", false},
      {"an empty field", "0 5 * * .", "2027-03-08 05:00 +0000", false},
  };
  const Zone utc("UTC0");
  for (const auto& row : rows) {
    EXPECT_EQ(runsAt(lineOf(row.fields), at(row.time), utc.calendar), row.runs) << row.reason;
  }
  const Zone auckland("Pacific/Auckland");
  EXPECT_TRUE(lineOf("30 0 1-7 * 1").runsOnDay(at("2027-02-28 11:30 +0000"), auckland.calendar));
  EXPECT_FALSE(lineOf("30 0 1-7 * 1").runsOnDay(at("2027-03-01 11:00 +0000"), auckland.calendar));
}

}  // namespace
}  // namespace zt
