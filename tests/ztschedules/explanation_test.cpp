#include "ztschedules/explanation.h"

#include "support/test.h"

struct Explanation : testing::Test {
  const Zone zone{"America/New_York"};
  const Instant now = at("2027-11-07 01:30:20 -0400");  // the first 01:30 of the day on which that comes twice

  std::string line(const std::string& number, const std::string& crontab) const {
    return explainLine(crontab, number, now, zone.calendar, {});
  }
};

TEST_F(Explanation, SaysWhatALineMeans) {
  EXPECT_EQ(line("2", "A=b\n" + lineText("30 1 1-7 2 0-1", "x ZTUtil file:///a\\%20b\\!") + "\n"),
            "Line 2: 1st Mon and Sun of the month at 01:30\n"
            "\n"
            "FIELD         TEXT              MEANING\n"
            "minute        30                minute 30 of the hour\n"
            "hour          1                 hour 1 of the day\n"
            "day of month  1-7               days 1-7: the 1st of each weekday\n"
            "month         2                 ignored: every month\n"
            "day of week   0-1               Monday and Sunday\n"
            "command       x ZTUtil          not run, except by cron's daemon\n"
            "URL           file:///a\\%20b\\!  file:///a%20b!\n"
            "\n"
            "warning: month 2 is ignored: the schedule runs in every month; day of week 0-1 means only Monday and "
            "Sunday: list each day, as in 1,2,3 (Sunday is 0)\n"
            "\n"
            "NEXT                      LEFT\n"
            "Sun 2027-11-07 01:30 EDT  now\n"
            "Sun 2027-11-07 01:30 EST  59min\n"
            "Sun 2027-12-05 01:30 EST  28 days\n"
            "Mon 2027-12-06 01:30 EST  29 days\n"
            "Sun 2028-01-02 01:30 EST  56 days\n");
}

TEST_F(Explanation, SaysWhyALineIsNoSchedule) {
  const std::string crontab = "# ZTUtil\n\n#" + lineText("0 5 * * *") + "\nZTUtil\n" +
                              lineText("0 5 * * *", "ZTUtil $a") + "\r\n" + lineText("0 5 * * *") + "\n";
  EXPECT_EQ(line("1", crontab), "Line 1 is no schedule: it is a comment.\n");
  EXPECT_EQ(line("2", crontab), "Line 2 is no schedule: it does not contain ZTUtil.\n");
  EXPECT_EQ(line("3", crontab), "Line 3: never\n\nwarning: commented out: remove # to enable it\n");
  EXPECT_EQ(line("4", crontab).substr(0, 32), "Line 4: never\n\nproblem: 1 field:");
  EXPECT_EQ(line("6", crontab), "Line 6 is no schedule: it continues the one above, which ends in CR LF.\n");
  EXPECT_NE(line("1", lineText("0 5 * * *", "ZTUtil a(") + "\n").find("a(       none\n"), std::string::npos);
  EXPECT_NE(line("1", lineText("0 5 * * *", "ZTUtil a(") + "\n").find("day of week   *        any day\n"),
            std::string::npos);
  EXPECT_EQ(line("1", lineText("0 5 * * *") + "\xff"),
            "Line 1: never\n\nproblem: line 1 is not UTF-8, so no line is read\n");
  for (const auto* number : {"0", "7", "99999999999999999999"}) {
    EXPECT_THROW(line(number, crontab), std::invalid_argument) << number;
  }
}

TEST_F(Explanation, TakesFieldsWithoutALine) {
  const auto fields = [&](const char* text) { return explainFields(text, now, zone.calendar, {.columns = 30}); };
  EXPECT_EQ(fields(" 60\t9  * * 7 "),
            "never\n\n"
            "FIELD    minute\nTEXT     60\nMEANING  invalid\n\n"
            "FIELD    hour\nTEXT     9\nMEANING  hour 9 of the day\n\n"
            "FIELD    day of month\nTEXT     *\nMEANING  any day\n\n"
            "FIELD    month\nTEXT     *\nMEANING  every month\n\n"
            "FIELD    day of week\nTEXT     7\nMEANING  invalid\n\n"
            "problem: minute 60 is not in\nthe range 0 to 59; day of week\n7 matches no day: use 0\n(Sunday) to 6 "
            "(Saturday)\n");
  EXPECT_NE(explainFields("30 1 * * *", now, zone.calendar, {.columns = {}, .hasColor = true})
                .find("\x1b[1mSun 2027-11-07 01:30 EDT"),
            std::string::npos);
  for (const auto* bad : {"", "x", "0 5 * *", "0 5 * * * ZTUtil", "0 5 * * \xff", "# 0 5 * *"}) {
    EXPECT_THROW(fields(bad), std::invalid_argument) << bad;
  }
}
