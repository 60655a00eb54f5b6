#include "ztschedules/schedule_description.h"

#include "support/test.h"

TEST(ScheduleDescription, SaysWhenALineFires) {
  const auto description = [](const char* fields) { return describe(parse(lineOf(fields))); };
  EXPECT_EQ(description("0 5 * * *"), "every day at 05:00");
  EXPECT_EQ(description("0 5 * * 0,1,2,3,4,5,6"), "every day at 05:00");
  EXPECT_EQ(description("+5 0 1-7,8-14,15-21,22-31 * *"), "every day at 00:05");
  EXPECT_EQ(description("30 9 15-21 * 1"), "3rd Monday of the month at 09:30");
  EXPECT_EQ(description("45 6 * * 5,1"), "Mon and Fri at 06:45");
  EXPECT_EQ(description("45 6 * * 0"), "every Sunday at 06:45");
  EXPECT_EQ(description("45 6 * * 1,2,3,4,5"), "Mon to Fri at 06:45");
  EXPECT_EQ(description("45 6 * * 1,2"), "Mon and Tue at 06:45");
  EXPECT_EQ(description("45 6 * * 0,5,6"), "Fri to Sun at 06:45");
  EXPECT_EQ(description("45 6 * * 0,1,6"), "Mon, Sat and Sun at 06:45");
  EXPECT_EQ(description("59 23 22-31 * 0"), "4th and 5th Sunday of the month at 23:59");
  EXPECT_EQ(description("59 23 1-7,22-31 * 0,6"), "1st, 4th and 5th Sat and Sun of the month at 23:59");
  EXPECT_EQ(description("0 5 1-7,15-21 * *"), "days 1-7 and 15-21 of the month at 05:00");
  EXPECT_EQ(description("0 5 22-31 * *"), "days 22-31 of the month at 05:00");
  EXPECT_EQ(description("0 5 1-7,8-14,22-31 * 1"), "1st, 2nd, 4th and 5th Monday of the month at 05:00");
  EXPECT_EQ(description("60 5 * * *"), "never");
}
