#include "schedules/crontab_line.h"

#include "support/test.h"

TEST(CrontabLine, IsSplitAtEveryTab) {
  using Parts = std::vector<std::string_view>;
  EXPECT_EQ(CrontabLine("0\t5\t1-7\t*\t1\t/ZTUtil a b").parts(), (Parts{"0", "5", "1-7", "*", "1", "/ZTUtil a b"}));
  EXPECT_EQ(CrontabLine("\t0\t\tx\t").parts(), (Parts{"", "0", "", "x", ""}));
  EXPECT_EQ(CrontabLine("").parts(), Parts{""});
  const Zone utc("UTC0");
  EXPECT_DEATH(runsAt(CrontabLine("75\t5\t*\t*"), Instant{}, utc.calendar), "^$") << "a field is missing";
}

TEST(CrontabLine, RunsOnLocalDays) {
  const Zone auckland("Pacific/Auckland");
  const auto firstMonday = lineOf("30 0 1-7 * 1");
  EXPECT_TRUE(firstMonday.runsOnDay(at("2027-02-28 11:30 +0000"), auckland.calendar));
  EXPECT_FALSE(firstMonday.runsOnDay(at("2027-03-01 11:00 +0000"), auckland.calendar));
}
