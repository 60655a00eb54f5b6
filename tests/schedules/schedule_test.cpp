#include "schedules/schedule.h"

#include "support/test.h"

TEST(Schedule, ReadsWholeNumbersWithAtMostOneSign) {
  const auto minute = [](const std::string& text) { return parse(CrontabLine(text + "\t0\t*\t*\t*\t")).timeOfDay; };
  const std::vector<std::pair<const char*, std::optional<std::chrono::minutes>>> rows = {
      {"0", 0min}, {"007", 7min}, {"+5", 5min}, {"-0", 0min}, {"59", 59min}};
  for (const auto& [text, value] : rows) EXPECT_EQ(minute(text), value) << text;
  for (const auto* text :
       {"60", "-1", "9223372036854775808", "", "+", "-", "+-0", "++5", " 5", "5 ", "0,30", "*/5", "0x5", "٥"}) {
    EXPECT_EQ(minute(text), std::nullopt) << text;
  }
}

TEST(Schedule, FiresByTheRulesOfTheApplication) {
  const Zone utc("UTC0");
  const auto expect = [&](const char* reason, const char* fields, const std::string& time, bool fires) {
    EXPECT_EQ(runsAt(lineOf(fields), at(time + " +0000"), utc.calendar), fires) << reason;
  };
  // March 2027 begins on a Monday and has five of them.
  expect("any day", "0 5 * * *", "2027-03-09 05:00", true);
  expect("seconds are ignored", "0 5 * * *", "2027-03-09 05:00:59", true);
  expect("another minute", "0 5 * * *", "2027-03-09 05:01", false);
  expect("plus signs", "+0 +5 * * *", "2027-03-09 05:00", true);
  expect("the month is ignored", "0 5 * 2 *", "2027-03-09 05:00", true);
  expect("a Monday before the range", "30 9 15-21 * 1", "2027-03-08 09:30", false);
  expect("third Monday", "30 9 15-21 * 1", "2027-03-15 09:30", true);
  expect("in the range, but a Tuesday", "30 9 15-21 * 1", "2027-03-16 09:30", false);
  expect("first day of the second range in a list", "0 5 1-7,8-14 * *", "2027-03-08 05:00", true);
  expect("fourth Monday", "0 5 22-31 * 1", "2027-03-22 05:00", true);
  expect("fifth Monday", "0 5 22-31 * 1", "2027-03-29 05:00", true);
  expect("day before the last range", "0 5 22-31 * *", "2027-03-21 05:00", false);
  expect("a day of the month is not a range", "0 5 15 * *", "2027-03-15 05:00", false);
  expect("1-5 contains a 1", "0 5 * * 1-5", "2027-03-08 05:00", true);
  expect("1-5 contains no 3", "0 5 * * 1-5", "2027-03-10 05:00", false);
  expect("Sunday is 0", "0 5 * * 0", "2027-03-07 05:00", true);
  expect("Sunday is not 7", "0 5 * * 7", "2027-03-07 05:00", false);
  expect("*/2 is not *", "0 5 * * */2", "2027-03-08 05:00", false);
  expect("*/2 contains a 2", "0 5 * * */2", "2027-03-09 05:00", true);
}
